// The record database: fixed-size binary records in SQLite tables, by position or by key.
#include "pos_sdk/db.h"

#include "SqlInternal.h"
#include "pos_sdk/log.h"
#include "pos_sdk/sql.h"
#include "support/RecordLayout.h"

#include <sqlite3.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>

namespace {

constexpr int kNameSize = DB_MAX_TABLE_NAME_LEN + 1;
constexpr int kCwdSize = 80;
constexpr int kPathSize = 128;

// The handle the application holds as void *. The table name comes first so a handle can
// be formatted with "%s" wherever a table name is expected.
struct DbHandle {
    char szTableName[kNameSize];
    int nMaxLenOfRec;  // kept as given; records are checked against the caller's length
    int nLastError;
    int nReserved[8];
};
static_assert(offsetof(DbHandle, szTableName) == 0, "the name must lead the handle");
static_assert(offsetof(DbHandle, nMaxLenOfRec) == 68, "handle layout");
static_assert(offsetof(DbHandle, nLastError) == 72, "handle layout");

// The application's search helper: key pointer, 32-bit length, a reserved word, the match
// function (24 bytes with the function at 16 on 64-bit targets, 16 and 12 on 32-bit ones).
constexpr auto kHelper = pos::layout::layOut(
    {pos::layout::kPointer, pos::layout::kInt32, pos::layout::kInt32, pos::layout::kPointer});
static_assert(offsetof(_SearchingHelper, nKeyLen) == kHelper.offset[1], "search helper layout");
static_assert(offsetof(_SearchingHelper, nReserved) == kHelper.offset[2], "search helper layout");
static_assert(offsetof(_SearchingHelper, pfnMatch) == kHelper.offset[3], "search helper layout");
static_assert(sizeof(_SearchingHelper) == kHelper.size, "search helper layout");

bool g_initialised = false;  // cDbInitFlag
int g_openCount = 0;
char g_appId[DB_MAX_APP_ID_LEN + 1];

// Columns a double-quoted word can resolve to in our statements. SQLite reads "word" as a
// column when one of that name is in scope, and only otherwise as text.
constexpr std::initializer_list<const char *> kRecordColumns = {"ID",    "DATA", "KEYNAME",
                                                                "ROWID", "OID",  "_ROWID_"};
constexpr std::initializer_list<const char *> kMasterColumns = {
    "type", "name", "tbl_name", "rootpage", "sql", "ROWID", "OID", "_ROWID_"};

DbHandle *asHandle(void *h) {
    return static_cast<DbHandle *>(h);
}

bool initialised() {
    if (g_initialised) return true;
    Log_Err("Not Initialized");
    return false;
}

// Logs MESSAGE (when given), marks the handle's parameter error and fails.
int refuse(DbHandle *h, const char *message) {
    if (message != nullptr) Log_Err("%s", message);
    if (h != nullptr) h->nLastError = DB_ERR_PARAM;
    return -1;
}

// Holds the SQL semaphore for one operation.
class SqlLock {
  public:
    SqlLock() { SQL_Semaphore_Wait(); }
    ~SqlLock() { SQL_Semaphore_Release(); }
    SqlLock(const SqlLock &) = delete;
    SqlLock &operator=(const SqlLock &) = delete;
};

constexpr const char *kTooLongMessage = "SQL statement too long for the command buffer!!";

// Formats a statement into the shared command buffer. One that would not fit is refused
// (and logged) rather than cut short or written past the buffer.
bool formatCommand(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
bool formatCommand(const char *fmt, ...) {
    char *buf = SQL_GetCommandBuf();
    va_list ap;
    va_start(ap, fmt);
    int n = vsnprintf(buf, SQL_COMMAND_BUF_SIZE, fmt, ap);
    va_end(ap);
    if (n >= 0 && n < SQL_COMMAND_BUF_SIZE) return true;
    buf[0] = '\0';
    Log_Err("%s", kTooLongMessage);
    return false;
}

bool isIdentifierChar(unsigned char c, bool first) {
    if (c >= 0x80 || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return true;
    return !first && ((c >= '0' && c <= '9') || c == '$');
}

// Table names go into statements unquoted, so only a single plain identifier token is
// accepted: anything else could end the statement or add clauses to it.
bool isPlainTableName(const char *name) {
    size_t length = strnlen(name, kNameSize);
    if (length == 0 || length >= static_cast<size_t>(kNameSize)) return false;
    for (size_t i = 0; i < length; ++i) {
        if (!isIdentifierChar(static_cast<unsigned char>(name[i]), i == 0)) return false;
    }
    return true;
}

// A caller's text as an SQL literal. Ordinary text goes between double quotes, as the
// statements have always written keys. An embedded double quote is doubled so the text
// cannot close the literal; text that spells a column in scope is written between single
// quotes instead, or SQLite would compare against that column rather than the text.
class TextLiteral {
  public:
    TextLiteral(const char *text, std::initializer_list<const char *> columns) {
        char quote = namesColumn(text, columns) ? '\'' : '"';
        size_t out = 0;
        text_[out++] = quote;
        for (const char *p = text; *p != '\0'; ++p) {
            if (out + 3 >= sizeof text_) return;  // too long for any statement
            if (*p == quote) text_[out++] = quote;
            text_[out++] = *p;
        }
        text_[out++] = quote;
        text_[out] = '\0';
        fits_ = true;
    }
    bool fits() const { return fits_; }
    const char *c_str() const { return text_; }

  private:
    static bool namesColumn(const char *text, std::initializer_list<const char *> columns) {
        for (const char *column : columns) {
            if (strcasecmp(text, column) == 0) return true;
        }
        return false;
    }

    char text_[SQL_COMMAND_BUF_SIZE];
    bool fits_ = false;
};

// Quietly adds the index that lets keyed operations find a key without scanning the table.
// It must stay out of sight of the documented operations, so its name ("TABLE#KEYNAME"
// padded with '#') fills a whole command buffer: no statement of ours can carry it, so
// DB_bIsExsit, DB_hOpen and DB_bRemove never reach it, while DROP TABLE takes it along.
// A failure only costs speed and stays silent.
void ensureKeyIndex(const char *table) {
    char name[SQL_COMMAND_BUF_SIZE + 1];
    memset(name, '#', SQL_COMMAND_BUF_SIZE);
    name[SQL_COMMAND_BUF_SIZE] = '\0';
    int prefix = snprintf(name, sizeof name, "%s#KEYNAME", table);  // table: 64 at most
    name[prefix] = '#';  // padding goes on where the terminator was
    char sql[2 * SQL_COMMAND_BUF_SIZE];
    snprintf(sql, sizeof sql, "CREATE INDEX IF NOT EXISTS \"%s\" ON %s(KEYNAME);", name, table);
    sqlite3_exec(pos::storage::connection(), sql, nullptr, nullptr, nullptr);
}

// Stores the application id; more than 32 characters is refused.
bool setAppId(const char *appId) {
    if (strnlen(appId, DB_MAX_APP_ID_LEN + 1) > DB_MAX_APP_ID_LEN) {
        Log_Err("DB_nSetAppID faild!!");
        return false;
    }
    memset(g_appId, 0, sizeof g_appId);
    strncpy(g_appId, appId, DB_MAX_APP_ID_LEN);
    return true;
}

// Whether APPID can stand as one file name in a directory: no separator, not "." or "..",
// not empty. Anything else would put the database file somewhere else.
bool isOneFileName(const char *appId) {
    return appId[0] != '\0' && strchr(appId, '/') == nullptr && strcmp(appId, ".") != 0 &&
           strcmp(appId, "..") != 0;
}

// Opens PATH and finishes initialisation; DIRFORLOG is named in the failure message.
int openAndMarkInitialised(char *path, const char *dirForLog) {
    if (DB_vOpenDBFile(path) != 0) {
        Log_Err("current working directory: %s\n", dirForLog);
        return -1;
    }
    SQL_Semaphore_Create();
    g_initialised = true;
    return 0;
}

// Ends a write whose statement has run (RC 0 on success). The lock is still held.
int finishWrite(DbHandle *h, int rc, const char *failMessage, int result) {
    if (rc != 0) {
        Log_Err("%s", failMessage);
        h->nLastError = DB_ERR_SQL;
        return -1;
    }
    sync();  // committed records must survive a power loss on the terminal
    h->nLastError = DB_ERR_NONE;
    return result;
}

// Writes of one blob (parameter 1): append and replace, plain or keyed.
int writeBlob(DbHandle *h, const void *data, int len, const char *failMessage) {
    return finishWrite(h, SQL_ExecEx(SQL_GetCommandBuf(), 1, len, data), failMessage, len);
}

// Reads one record of exactly LEN bytes with the statement in the command buffer.
int readOne(DbHandle *h, int len, void *buf) {
    if (SQL_prepare(SQL_GetCommandBuf()) != 0) {
        Log_Err("DB_nReadRec Select Data Error!!");
        h->nLastError = DB_ERR_SQL;
        return -1;
    }
    int n = SQL_SelectEx(0, len, buf);
    SQL_Finalize();
    if (n == -4) {
        h->nLastError = DB_ERR_NO_ROW;
        return -1;
    }
    return n < 0 ? -1 : n;  // a size mismatch leaves the last error as it was
}

// Refuses a key too long for any statement.
int refuseLongKey(DbHandle *h) {
    return refuse(h, kTooLongMessage);
}

}  // namespace

extern "C" {

POS_API int IsParamIdMatchFunc(const void *key, int keyLen, const void *record, int recordLen) {
    if (key == nullptr || record == nullptr || keyLen < 0 || recordLen < 0) return -1;
    // Never read past the record: a key longer than it compares on the common part and,
    // when that is equal, sorts higher.
    int common = keyLen < recordLen ? keyLen : recordLen;
    int order = memcmp(key, record, static_cast<size_t>(common));
    if (order != 0) return order < 0 ? -1 : 1;
    return keyLen > recordLen ? 1 : 0;
}

POS_API int DB_bInit(const char *appId) {
    if (appId == nullptr) {
        Log_Err("Param Invalid!!");
        return -1;
    }
    if (g_initialised) {
        Log_Warn("cDbInitFlag is 1!");
        return 0;
    }
    if (!setAppId(appId)) return -1;

    char cwd[kCwdSize];
    if (getcwd(cwd, sizeof cwd) == nullptr) {
        Log_Err("current working directory: %s\n", "");
        return -1;
    }
    char path[kPathSize];
    snprintf(path, sizeof path, "%s/LinuxPos.db", cwd);  // 79 + 12 characters always fit
    return openAndMarkInitialised(path, cwd);
}

POS_API int DB_bInitBySysService(const char *dir, const char *appId) {
    if (dir == nullptr || appId == nullptr) {
        Log_Err("Param Invalid!!");
        return -1;
    }
    if (g_initialised) {
        Log_Warn("cDbInitFlag is 1!");
        return 0;
    }
    if (!isOneFileName(appId)) {
        Log_Err("DB_nSetAppID faild!!");
        return -1;
    }
    if (!setAppId(appId)) return -1;

    struct stat st;
    if (stat(dir, &st) != 0) mkdir(dir, 0777);
    char path[kPathSize];
    int n = snprintf(path, sizeof path, "%s/%s.db", dir, appId);
    if (n < 0 || n >= static_cast<int>(sizeof path)) {
        // A path cut short would open some other file; refuse it as a failed open.
        Log_Err("current working directory: %s\n", dir);
        return -1;
    }
    return openAndMarkInitialised(path, dir);
}

POS_API int DB_vOpenDBFile(char *path) {
    if (path == nullptr || g_openCount >= 1) return -1;
    if (SQL_OpenDB(path) != 0) return -1;
    ++g_openCount;
    return 0;
}

POS_API void DB_vUnInit(void) {
    g_openCount = 0;
    g_initialised = false;
    SQL_Close();
}

POS_API void *DB_hOpen(const char *name, int nMaxLenOfRec) {
    if (!initialised()) return nullptr;
    if (name == nullptr) {
        Log_Err("DB_hOpen Param invalid!!");
        return nullptr;
    }
    if (strnlen(name, kNameSize) >= static_cast<size_t>(kNameSize)) return nullptr;
    if (nMaxLenOfRec > DB_MAX_RECORD_LEN) {
        Log_Err("nMaxLenOfRec is too large!!!!");
        return nullptr;
    }
    // A negative maximum would read as no limit at all.
    if (nMaxLenOfRec < 0) {
        Log_Err("DB_hOpen Param invalid!!");
        return nullptr;
    }
    if (!isPlainTableName(name)) {
        Log_Err("DB_hOpen Param invalid!!");
        return nullptr;
    }

    SqlLock lock;
    auto *h = static_cast<DbHandle *>(calloc(1, sizeof(DbHandle)));
    if (h == nullptr) {
        Log_Err("CTBSP_pvNewIt Error!!!!");
        return nullptr;
    }
    formatCommand(
        "CREATE TABLE IF NOT EXISTS %s(ID INTEGER PRIMARY KEY AUTOINCREMENT, DATA blob, "
        "KEYNAME TEXT);",
        name);
    if (SQL_Exec(SQL_GetCommandBuf()) != 0) {
        Log_Err("Create Table Error!!!!");
        free(h);  // nobody can ever free it once we return null
        return nullptr;
    }
    ensureKeyIndex(name);
    strncpy(h->szTableName, name, kNameSize - 1);
    h->nMaxLenOfRec = nMaxLenOfRec;
    return h;
}

POS_API void DB_vClose(void *h) {
    if (g_initialised && h != nullptr) {
        free(h);
        return;
    }
    Log_Err("Not Initialized");
}

POS_API int DB_bClear(void *handle) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr) return -1;  // no handle to keep the error in

    SqlLock lock;
    h->nLastError = DB_ERR_SQL;
    if (SQL_BeginTransaction() != 0) return -1;
    formatCommand("DELETE FROM %s;", h->szTableName);
    if (SQL_Exec(SQL_GetCommandBuf()) != 0) {
        SQL_RollbackTransaction();
        return -1;
    }
    // Restarts the numbering: the next record gets ID 1 again.
    formatCommand("UPDATE sqlite_sequence SET seq = 0 WHERE name='%s';", h->szTableName);
    if (SQL_Exec(SQL_GetCommandBuf()) != 0) {
        SQL_RollbackTransaction();
        Log_Err("UPDATE sqlite_sequence Error!!!!");
        return -1;
    }
    if (SQL_CommitTransaction() != 0) {
        SQL_RollbackTransaction();
        return -1;
    }
    sync();
    h->nLastError = DB_ERR_NONE;
    return 0;
}

POS_API int DB_bRemove(const char *name) {
    if (name == nullptr) return -1;
    if (!initialised()) return -1;

    SqlLock lock;
    bool dropped = isPlainTableName(name) && formatCommand("DROP TABLE %s;", name) &&
                   SQL_Exec(SQL_GetCommandBuf()) == 0;
    if (dropped) {
        Log_Debug("DB_bRemove Table Success!!!");
        return 0;
    }
    sync();  // only the failure path syncs; kept as the library has always done it
    Log_Err("DB_bRemove Table Faild!!!");
    return -1;
}

POS_API int DB_bIsExsit(const char *name) {
    if (!initialised()) return -1;
    if (name == nullptr) {
        Log_Err("DB_bIsExsit Param invalid!!");
        return -1;
    }
    TextLiteral literal(name, kMasterColumns);
    if (!literal.fits()) return refuseLongKey(nullptr);

    SqlLock lock;
    if (!formatCommand("SELECT type FROM sqlite_master WHERE name = %s;", literal.c_str())) {
        return -1;
    }
    if (SQL_Select(SQL_GetCommandBuf()) != 0) {
        Log_Err("DB_nReadRec Select Data Error!!");
        return -1;
    }
    return SQL_GetTotalNum() >= 1 ? 0 : -1;
}

POS_API int DB_nGetRecordSUM(void *handle) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr) {
        Log_Err("DB_nGetRecordSUM Param invalid!!");
        return -1;
    }

    SqlLock lock;
    formatCommand("SELECT count(*) FROM %s;", h->szTableName);
    if (SQL_Select(SQL_GetCommandBuf()) != 0) {
        Log_Err("DB_nGetRecordSUM Error!!");
        h->nLastError = DB_ERR_SQL;
        return -1;
    }
    int rows = SQL_GetTotalNum();
    if (rows == 0) {
        Log_Debug("DB_nGetRecordSUM  SQL_GetTotalNum is 0!!");
        return 0;
    }
    if (rows > 1) {
        Log_Err("DB_nGetRecordSUM  SQL_GetTotalNum Error!!");
        h->nLastError = DB_ERR_SQL;
        return -1;
    }
    SQL_GotoRow(0);
    return SQL_GetData(0, nullptr, 0, 0);
}

POS_API int DB_nGetLastError(void *handle) {
    if (!g_initialised || handle == nullptr) return -1;
    return asHandle(handle)->nLastError;
}

POS_API int DB_nReadRec(void *handle, int index, int len, void *buf) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || buf == nullptr || index < 0) {
        return refuse(h, "DB_nReadRec Param invalid!!");
    }
    SqlLock lock;
    formatCommand("SELECT DATA FROM %s ORDER BY ID limit %d, 1;", h->szTableName, index);
    return readOne(h, len, buf);
}

POS_API int DB_nGetFirstRecord(void *handle, int /*unused*/, void *buf, int len) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || buf == nullptr) return refuse(h, "DB_nGetFirstRecord Param invalid!!");
    SqlLock lock;
    formatCommand("SELECT DATA FROM %s ORDER BY ID limit 0, 1;", h->szTableName);
    return readOne(h, len, buf);
}

POS_API int DB_nAppendRec(void *handle, char *data, int len) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || data == nullptr || len < 0) {
        return refuse(h, "DB_nAppendRec Param invalid!!");
    }
    SqlLock lock;
    // Two values for three columns: tables made by DB_hOpen refuse it and only the keyed
    // append stores records in them. Kept for compatibility.
    formatCommand("INSERT INTO %s VALUES(NULL, ?);", h->szTableName);
    return writeBlob(h, data, len, "DB_nAppendRec Faild!!!");
}

POS_API int DB_nReplaceRec(void *handle, int index, void *data, int len) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || data == nullptr || index < 0 || len < 0) {
        return refuse(h, "DB_nReplaceRec Param invalid!!");
    }
    // The count is taken under its own lock, so it may change before the update runs.
    if (index >= DB_nGetRecordSUM(h)) {
        // The delete message on purpose, kept for compatibility with log watchers.
        return refuse(h, "DB_bDeleteRec nIndex invalid!!");
    }
    SqlLock lock;
    formatCommand("UPDATE %s SET DATA = ? WHERE ID = (select ID from %s ORDER BY ID Limit %d,1);",
                  h->szTableName, h->szTableName, index);
    return writeBlob(h, data, len, "DB_nReplaceRec Faild!!!");
}

POS_API int DB_bDeleteRec(void *handle, int index) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || index < 0) return refuse(h, "DB_bDeleteRec Param invalid!!");
    SqlLock lock;
    formatCommand("DELETE FROM %s WHERE ID = (select ID from %s ORDER BY ID limit %d, 1);",
                  h->szTableName, h->szTableName, index);
    return finishWrite(h, SQL_Exec(SQL_GetCommandBuf()), "DB_bDeleteRec Faild!!!", 0);
}

POS_API int DB_nReadRecByKey(void *handle, const char *key, int len, void *buf) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || buf == nullptr || key == nullptr) {
        return refuse(h, "DB_nReadRec Param invalid!!");
    }
    TextLiteral literal(key, kRecordColumns);
    if (!literal.fits()) return refuseLongKey(h);
    SqlLock lock;
    if (!formatCommand("SELECT DATA FROM %s WHERE KEYNAME is %s;", h->szTableName,
                       literal.c_str())) {
        return refuse(h, nullptr);
    }
    return readOne(h, len, buf);
}

POS_API int DB_nAppendRecByKey(void *handle, const char *key, void *data, int len) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || data == nullptr || key == nullptr || len < 0) {
        return refuse(h, "DB_nAppendRec Param invalid!!");
    }
    TextLiteral literal(key, kRecordColumns);
    if (!literal.fits()) return refuseLongKey(h);
    SqlLock lock;
    if (!formatCommand("INSERT INTO %s VALUES(NULL, ?, %s);", h->szTableName, literal.c_str())) {
        return refuse(h, nullptr);
    }
    return writeBlob(h, data, len, "DB_nAppendRec Faild!!!");
}

POS_API int DB_bDeleteRecByKey(void *handle, const char *key) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || key == nullptr) return refuse(h, "DB_bDeleteRec Param invalid!!");
    TextLiteral literal(key, kRecordColumns);
    if (!literal.fits()) return refuseLongKey(h);
    SqlLock lock;
    if (!formatCommand("DELETE FROM %s WHERE KEYNAME = %s;", h->szTableName, literal.c_str())) {
        return refuse(h, nullptr);
    }
    return finishWrite(h, SQL_Exec(SQL_GetCommandBuf()), "DB_bDeleteRec Faild!!!", 0);
}

POS_API int DB_nReplaceRecByKey(void *handle, const char *key, int len, void *data) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || data == nullptr || key == nullptr || len < 0) {
        // The append message on purpose, kept for compatibility with log watchers.
        return refuse(h, "DB_nAppendRec Param invalid!!");
    }
    TextLiteral literal(key, kRecordColumns);
    if (!literal.fits()) return refuseLongKey(h);
    SqlLock lock;
    if (!formatCommand("UPDATE %s SET DATA = ? WHERE KEYNAME = %s;", h->szTableName,
                       literal.c_str())) {
        return refuse(h, nullptr);
    }
    return writeBlob(h, data, len, "DB_nReplaceRec Faild!!!");
}

POS_API int DB_nSearchRec(void *handle, _SearchingHelper *helper, int len, char *buf, int *index) {
    if (!initialised()) return -1;
    DbHandle *h = asHandle(handle);
    if (h == nullptr || helper == nullptr || buf == nullptr || index == nullptr || len < 1 ||
        helper->pfnMatch == nullptr) {
        return refuse(h, nullptr);
    }

    SqlLock lock;
    formatCommand("SELECT DATA FROM %s ORDER BY ID", h->szTableName);
    if (SQL_prepare(SQL_GetCommandBuf()) != 0) {
        Log_Err("DB_nReadRec Select Data Error!!");
        h->nLastError = DB_ERR_SQL;
        return -1;
    }
    // The first record in ID order that matches wins; a record of another size ends the
    // search at once.
    int n;
    for (int position = 0; (n = SQL_SelectEx(0, len, buf)) >= 0; ++position) {
        if (helper->pfnMatch(helper->pvKey, helper->nKeyLen, buf, len) == 0) {
            *index = position;
            SQL_Finalize();
            return n;
        }
    }
    SQL_Finalize();
    if (n == -4) h->nLastError = DB_ERR_NO_ROW;
    return -1;
}

}  // extern "C"
