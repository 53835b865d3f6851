// The SQL access layer: one process-wide SQLite connection and the scratch state around it.
#include "pos_sdk/sql.h"

#include "SqlInternal.h"
#include "pos_sdk/log.h"
#include "support/RecordLayout.h"

#include <errno.h>
#include <semaphore.h>
#include <sqlite3.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>

namespace {

// The select record applications hand back to SQL_GetStringData: the table pointer, then the
// row and column counts.
constexpr auto kSelectRecord =
    pos::layout::layOut({pos::layout::kPointer, pos::layout::kInt32, pos::layout::kInt32});
static_assert(offsetof(SQL_SELECT_RECORD, nRowCount) == kSelectRecord.offset[1], "select record");
static_assert(offsetof(SQL_SELECT_RECORD, nColumnCount) == kSelectRecord.offset[2],
              "select record");
static_assert(sizeof(SQL_SELECT_RECORD) == kSelectRecord.size, "select record");

constexpr int kOpenAttempts = 5;
constexpr useconds_t kOpenRetryPauseUs = 200000;
// How long a statement waits for another process to let go of the database file.
constexpr int kBusyTimeoutMs = 5000;
// SQL_GetData reads numbers through a scratch cell of 11 characters and a terminator.
constexpr unsigned kNumberCellSize = 12;

// Place values for SQL_AddStrDec, indexed by the number of characters after the current one.
constexpr uint32_t kPowersOfTen[] = {1u,      10u,      100u,      1000u,      10000u,
                                     100000u, 1000000u, 10000000u, 100000000u, 1000000000u};
constexpr size_t kPowerCount = sizeof kPowersOfTen / sizeof kPowersOfTen[0];

struct SqlState {
    sqlite3 *db = nullptr;
    char *errorText = nullptr;
    int lastResultCode = 0;
    SQL_SELECT_RECORD select = {nullptr, 0, 0};
    int currentRow = 0;  // 1 is the first data row: row 0 of the table holds the column names
    sqlite3_stmt *stmt = nullptr;
    char commandBuf[SQL_COMMAND_BUF_SIZE] = {};
    sem_t semaphore;
};

SqlState g_sql;

// Logs the text SQLite left from the last exec or get-table, then drops it.
void reportErrorText() {
    if (g_sql.errorText == nullptr) return;
    if (g_sql.errorText[0] != '\0') Log_Err("%s\n", sqlite3_errmsg(g_sql.db));
    sqlite3_free(g_sql.errorText);
    g_sql.errorText = nullptr;
}

void freeSelectTable() {
    if (g_sql.select.ppszTable == nullptr) return;
    sqlite3_free_table(g_sql.select.ppszTable);
    g_sql.select.ppszTable = nullptr;
}

void finalizeStatement() {
    if (g_sql.stmt == nullptr) return;
    sqlite3_finalize(g_sql.stmt);
    g_sql.stmt = nullptr;
}

// The text of table row TABLEROW (0 is the header), column COL, or null when the cell is
// null or lies outside the record. Rows are checked as well as columns: a cursor moved past
// the end must not read beyond the table.
const char *cellAt(const SQL_SELECT_RECORD &rec, long long tableRow, int col) {
    if (rec.ppszTable == nullptr || col < 0 || col >= rec.nColumnCount) return nullptr;
    if (tableRow < 1 || tableRow > rec.nRowCount) return nullptr;
    return rec.ppszTable[col + tableRow * rec.nColumnCount];
}

// A cell of SIZE characters or more is cut to SIZE - 1; a SIZE of 0 copies without bound.
void copyCell(const char *cell, char *dst, unsigned size) {
    if (cell == nullptr) {
        dst[0] = '\0';
        return;
    }
    size_t length = strlen(cell);
    if (size != 0 && length >= size) {
        memcpy(dst, cell, size - 1);
        dst[size - 1] = '\0';
        return;
    }
    memcpy(dst, cell, length + 1);
}

}  // namespace

namespace pos::storage {

sqlite3 *connection() {
    return g_sql.db;
}

}  // namespace pos::storage

extern "C" {

POS_API int SQL_OpenDB(const char *filename) {
    // Release whatever an earlier open left, so replacing the connection cannot leak it.
    SQL_Close();
    g_sql.select = {nullptr, 0, 0};
    g_sql.currentRow = 0;
    g_sql.lastResultCode = 1;
    if (filename == nullptr) return -1;

    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        sqlite3 *db = nullptr;
        g_sql.lastResultCode = sqlite3_open(filename, &db);
        if (g_sql.lastResultCode == SQLITE_OK) {
            // Several processes may share one database file: a statement that finds it
            // locked by another waits for it (up to a bound) instead of failing at once.
            sqlite3_busy_timeout(db, kBusyTimeoutMs);
            g_sql.db = db;
            return 0;
        }
        // Three blanks before DBName, as the message has always read.
        Log_Err("Can't open database: %s   DBName = %s\n", sqlite3_errmsg(db), filename);
        // A failed open still hands back a handle; close it rather than leak one per try.
        sqlite3_close(db);
        usleep(kOpenRetryPauseUs);
    }
    return -1;
}

POS_API int SQL_Close(void) {
    if (g_sql.errorText != nullptr) {
        sqlite3_free(g_sql.errorText);
        g_sql.errorText = nullptr;
    }
    freeSelectTable();
    finalizeStatement();
    if (g_sql.db != nullptr) {
        sqlite3_close(g_sql.db);
        g_sql.db = nullptr;
    }
    return 0;
}

POS_API int SQL_Exec(const char *sql) {
    if (g_sql.db == nullptr || sql == nullptr) {
        g_sql.lastResultCode = SQLITE_MISUSE;
        return -1;
    }
    g_sql.lastResultCode = sqlite3_exec(g_sql.db, sql, nullptr, nullptr, &g_sql.errorText);
    reportErrorText();
    return g_sql.lastResultCode != SQLITE_OK ? -1 : 0;
}

POS_API int SQL_BeginTransaction(void) {
    return SQL_Exec("begin transaction");
}

POS_API int SQL_CommitTransaction(void) {
    return SQL_Exec("commit transaction");
}

POS_API int SQL_RollbackTransaction(void) {
    return SQL_Exec("rollback transaction");
}

POS_API int SQL_Select(const char *sql) {
    g_sql.currentRow = 1;
    freeSelectTable();
    if (g_sql.db == nullptr || sql == nullptr) {
        g_sql.select.nRowCount = 0;
        g_sql.select.nColumnCount = 0;
        g_sql.lastResultCode = SQLITE_MISUSE;
        return -1;
    }
    g_sql.lastResultCode =
        sqlite3_get_table(g_sql.db, sql, &g_sql.select.ppszTable, &g_sql.select.nRowCount,
                          &g_sql.select.nColumnCount, &g_sql.errorText);
    reportErrorText();
    return g_sql.lastResultCode != SQLITE_OK ? -1 : 0;
}

POS_API int SQL_FreeSelectRecord(void) {
    freeSelectTable();
    return 0;
}

POS_API int SQL_GetTotalNum(void) {
    return g_sql.select.nRowCount;
}

POS_API int SQL_QueryNext(void) {
    // Saturate instead of overflowing; a cursor that far along is past the end either way.
    if (g_sql.currentRow < INT32_MAX) ++g_sql.currentRow;
    return 0;
}

POS_API int SQL_GotoRow(int row) {
    g_sql.currentRow = row < INT32_MAX ? row + 1 : row;
    return 0;
}

POS_API int SQL_Eof(void) {
    return g_sql.currentRow > g_sql.select.nRowCount ? 1 : 0;
}

POS_API int SQL_IPI_GetQueryStringByIndex(int col, char *dst, unsigned size) {
    if (dst == nullptr) return -1;
    copyCell(cellAt(g_sql.select, g_sql.currentRow, col), dst, size);
    return 0;
}

POS_API int SQL_GetStringData(const SQL_SELECT_RECORD *rec, int row, int col, char *dst,
                              unsigned size) {
    if (rec == nullptr || dst == nullptr) return -1;
    copyCell(cellAt(*rec, static_cast<long long>(row) + 1, col), dst, size);
    return 0;
}

POS_API int SQL_GetData(int col, char *buf, unsigned size, int type) {
    if (type == 1) return SQL_IPI_GetQueryStringByIndex(col, buf, size) == 0 ? 0 : -1;
    char number[kNumberCellSize];
    SQL_IPI_GetQueryStringByIndex(col, number, sizeof number);
    return SQL_AddStrDec(number);
}

POS_API int SQL_AddStrDec(const char *text) {
    if (text == nullptr) return 0;
    size_t length = strlen(text);
    bool negative = false;
    // Unsigned arithmetic: the table is unsigned and out-of-range text wraps instead of
    // overflowing a signed sum.
    uint32_t sum = 0;
    for (size_t i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        size_t remaining = length - 1 - i;
        // Only a first character above '9' marks a negative number; a '-' is taken as the
        // digit -3 ("-12" reads -288). Kept for compatibility with stored data and callers.
        if (i == 0 && c > '9') {
            negative = true;
            continue;
        }
        // Characters beyond the table's ten places have no place value; they add nothing.
        if (remaining >= kPowerCount) continue;
        sum += static_cast<uint32_t>(c - '0') * kPowersOfTen[remaining];
    }
    if (negative) sum = 0u - sum;
    return static_cast<int32_t>(sum);
}

POS_API int SQL_ExecEx(const char *sql, int index, int len, const void *blob) {
    // A negative length would make SQLite read an undefined amount.
    if (sql == nullptr || g_sql.db == nullptr || len < 0) {
        Log_Err("SQL_ExecEx Param Invalid!");
        return -1;
    }
    finalizeStatement();  // a statement still prepared would otherwise leak here
    if (sqlite3_prepare_v2(g_sql.db, sql, -1, &g_sql.stmt, nullptr) != SQLITE_OK ||
        g_sql.stmt == nullptr) {
        Log_Err("sqlite3_prepare_v2 error!");
        return -1;
    }
    if (sqlite3_bind_blob(g_sql.stmt, index, blob, len, SQLITE_STATIC) != SQLITE_OK) {
        Log_Err("sqlite3_bind_blob error!");
        finalizeStatement();
        return -1;
    }
    g_sql.lastResultCode = sqlite3_step(g_sql.stmt);
    finalizeStatement();
    if (g_sql.lastResultCode != SQLITE_DONE) {
        Log_Err("sqlite3_step error!");
        return -1;
    }
    return 0;
}

POS_API int SQL_prepare(const char *sql) {
    finalizeStatement();  // a statement still prepared would otherwise leak here
    if (g_sql.db == nullptr || sql == nullptr ||
        sqlite3_prepare_v2(g_sql.db, sql, -1, &g_sql.stmt, nullptr) != SQLITE_OK ||
        g_sql.stmt == nullptr) {
        Log_Err("sqlite3_prepare_v2 Error!");
        return -1;
    }
    return 0;
}

POS_API int SQL_SelectEx(int col, int len, void *buf) {
    int rc = g_sql.stmt != nullptr ? sqlite3_step(g_sql.stmt) : SQLITE_MISUSE;
    g_sql.lastResultCode = rc;
    if (rc != SQLITE_ROW) {
        // Also the normal end of the rows (code 101).
        Log_Err("sqlite3_step Error ,rc %d!", rc);
        return -4;
    }
    const void *blob = sqlite3_column_blob(g_sql.stmt, col);
    int size = sqlite3_column_bytes(g_sql.stmt, col);
    if (blob == nullptr) {
        Log_Err("sqlite3_column_blob is null");
        return -1;
    }
    if (size != len) {
        Log_Err("nLenOfBuffer is %d blob_size is %d", len, size);
        return -1;
    }
    if (buf == nullptr) return -1;
    memcpy(buf, blob, static_cast<size_t>(size));
    return size;
}

POS_API int SQL_Finalize(void) {
    finalizeStatement();
    return 0;
}

POS_API int SQL_Semaphore_Create(void) {
    return sem_init(&g_sql.semaphore, 0, 1);
}

POS_API int SQL_Semaphore_Destroy(void) {
    return sem_destroy(&g_sql.semaphore);
}

POS_API int SQL_Semaphore_Wait(void) {
    // A signal must not let the caller through without the lock.
    int rc;
    while ((rc = sem_wait(&g_sql.semaphore)) != 0 && errno == EINTR) {
    }
    return rc;
}

POS_API int SQL_Semaphore_Release(void) {
    return sem_post(&g_sql.semaphore);
}

POS_API char *SQL_GetCommandBuf(void) {
    return g_sql.commandBuf;
}

}  // extern "C"
