// The record database on real SQLite files.
#include "pos_sdk/db.h"
#include "pos_sdk/sql.h"

#include <gtest/gtest.h>

#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "temp_dir.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes pattern(size_t size, unsigned char seed) {
    Bytes out(size);
    for (size_t i = 0; i < size; ++i) out[i] = static_cast<unsigned char>(seed + i * 7);
    return out;
}

class DbTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        ASSERT_EQ(DB_bInitBySysService(dir_.path().c_str(), "app"), 0);
        table_ = DB_hOpen("journal", 64);
        ASSERT_NE(table_, nullptr);
        clearLog();
    }
    void TearDown() override {
        if (table_ != nullptr) DB_vClose(table_);
        DB_vUnInit();
    }

    int append(const char *key, Bytes data) {
        return DB_nAppendRecByKey(table_, key, data.data(), static_cast<int>(data.size()));
    }
    Bytes readByKey(const char *key, size_t size) {
        Bytes out(size, 0xEE);
        int n = DB_nReadRecByKey(table_, key, static_cast<int>(size), out.data());
        return n == static_cast<int>(size) ? out : Bytes();
    }
    Bytes readAt(int index, size_t size) {
        Bytes out(size, 0xEE);
        int n = DB_nReadRec(table_, index, static_cast<int>(size), out.data());
        return n == static_cast<int>(size) ? out : Bytes();
    }
    // The IDs of the table in order, through the SQL layer's own connection.
    std::vector<int> ids() {
        std::vector<int> out;
        EXPECT_EQ(SQL_Select("SELECT ID FROM journal ORDER BY ID;"), 0);
        for (SQL_GotoRow(0); !SQL_Eof(); SQL_QueryNext()) out.push_back(SQL_GetData(0, nullptr, 0, 0));
        return out;
    }

    TempDir dir_;
    void *table_ = nullptr;
};

TEST(DbInit, AppIdAndOneInitialisation) {
    TempDir dir;
    clearLog();
    EXPECT_EQ(DB_bInit(nullptr), -1);
    EXPECT_TRUE(logged(kPrioError, "Param Invalid!!"));
    EXPECT_EQ(DB_bInitBySysService(dir.path().c_str(), nullptr), -1);

    const std::string id33(33, 'a');
    const std::string id32(32, 'b');
    EXPECT_EQ(DB_bInitBySysService(dir.path().c_str(), id33.c_str()), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nSetAppID faild!!"));
    EXPECT_EQ(DB_hOpen("t", 4), nullptr);
    EXPECT_TRUE(logged(kPrioError, "Not Initialized"));

    // The directory is created, and the app id names the file.
    const std::string sub = dir.file("sub");
    ASSERT_EQ(DB_bInitBySysService(sub.c_str(), id32.c_str()), 0);
    struct stat st;
    EXPECT_EQ(stat((sub + "/" + id32 + ".db").c_str(), &st), 0);

    clearLog();
    EXPECT_EQ(DB_bInit("other"), 0);  // already initialised: a no-op
    EXPECT_TRUE(logged(kPrioWarn, "cDbInitFlag is 1!"));
    EXPECT_EQ(stat(dir.file("LinuxPos.db").c_str(), &st), -1);
    DB_vUnInit();

    // DB_bInit opens LinuxPos.db in the working directory; the app id is not in the name.
    char old[512];
    ASSERT_NE(getcwd(old, sizeof old), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    EXPECT_EQ(DB_bInit(id32.c_str()), 0);
    EXPECT_EQ(stat(dir.file("LinuxPos.db").c_str(), &st), 0);
    DB_vUnInit();
    ASSERT_EQ(chdir(old), 0);

    // An opened database refuses a second file until uninitialised.
    char path[] = "/tmp/pos_storage_never.db";
    ASSERT_EQ(DB_bInitBySysService(dir.path().c_str(), "x"), 0);
    EXPECT_EQ(DB_vOpenDBFile(path), -1);
    EXPECT_EQ(DB_vOpenDBFile(nullptr), -1);
    DB_vUnInit();
    EXPECT_EQ(DB_nGetLastError(nullptr), -1);
}

TEST_F(DbTest, TableNamesAndSizes) {
    const std::string name64(64, 'n');
    const std::string name65(65, 'n');
    void *h = DB_hOpen(name64.c_str(), DB_MAX_RECORD_LEN);
    ASSERT_NE(h, nullptr);
    EXPECT_STREQ(static_cast<const char *>(h), name64.c_str());  // the name leads the handle
    DB_vClose(h);
    EXPECT_EQ(DB_hOpen(name65.c_str(), 16), nullptr);
    EXPECT_TRUE(loggedLines().empty());
    EXPECT_EQ(DB_hOpen("big", DB_MAX_RECORD_LEN + 1), nullptr);
    EXPECT_TRUE(logged(kPrioError, "nMaxLenOfRec is too large!!!!"));
    EXPECT_EQ(DB_hOpen(nullptr, 16), nullptr);
    EXPECT_TRUE(logged(kPrioError, "DB_hOpen Param invalid!!"));
    EXPECT_EQ(DB_hOpen("select", 16), nullptr);  // SQLite refuses a keyword
    EXPECT_TRUE(logged(kPrioError, "Create Table Error!!!!"));

    // A name is one plain identifier: nothing can be smuggled into the statements.
    EXPECT_EQ(DB_hOpen("x(a);DROP TABLE journal;--", 16), nullptr);
    EXPECT_EQ(DB_hOpen("t WHERE 1", 16), nullptr);
    EXPECT_EQ(DB_bRemove("journal;DROP TABLE journal"), -1);
    EXPECT_EQ(DB_bIsExsit("journal"), 0);

    EXPECT_EQ(DB_bIsExsit(name64.c_str()), 0);
    EXPECT_EQ(DB_bIsExsit("nosuch"), -1);
    EXPECT_EQ(DB_bIsExsit("name"), -1);  // not compared with sqlite_master's own column
    EXPECT_EQ(DB_bIsExsit("x\" OR \"1\"=\"1"), -1);
    EXPECT_EQ(DB_bIsExsit(nullptr), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_bIsExsit Param invalid!!"));

    clearLog();
    EXPECT_EQ(DB_bRemove(name64.c_str()), 0);
    EXPECT_TRUE(logged(kPrioDebug, "DB_bRemove Table Success!!!"));
    EXPECT_EQ(DB_bIsExsit(name64.c_str()), -1);
    EXPECT_EQ(DB_bRemove(name64.c_str()), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_bRemove Table Faild!!!"));
    EXPECT_EQ(DB_bRemove(nullptr), -1);

    // The largest record makes it through whole.
    Bytes large = pattern(DB_MAX_RECORD_LEN, 3);
    ASSERT_EQ(append("large", large), DB_MAX_RECORD_LEN);
    EXPECT_EQ(readByKey("large", large.size()), large);
}

TEST_F(DbTest, RecordsByPosition) {
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(append(("k" + std::to_string(i)).c_str(), pattern(16, i)), 16);
    }
    EXPECT_EQ(DB_nGetLastError(table_), 0);
    EXPECT_EQ(DB_nGetRecordSUM(table_), 4);
    EXPECT_EQ(readAt(3, 16), pattern(16, 3));

    // One past the end: no row.
    Bytes buf(16);
    EXPECT_EQ(DB_nReadRec(table_, 4, 16, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_NO_ROW);
    // A wrong length reads nothing and leaves the last error alone.
    ASSERT_EQ(readAt(0, 16), pattern(16, 0));
    EXPECT_EQ(DB_nReadRec(table_, 0, 15, buf.data()), -1);
    EXPECT_EQ(DB_nReadRec(table_, 0, 17, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_NO_ROW);
    EXPECT_EQ(DB_nReadRec(table_, -1, 16, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_PARAM);
    EXPECT_TRUE(logged(kPrioError, "DB_nReadRec Param invalid!!"));

    Bytes first(16);
    EXPECT_EQ(DB_nGetFirstRecord(table_, 99, first.data(), 16), 16);
    EXPECT_EQ(first, pattern(16, 0));
    EXPECT_EQ(DB_nGetFirstRecord(table_, 0, nullptr, 16), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nGetFirstRecord Param invalid!!"));

    // Replace is bounded by the count, with the delete message.
    Bytes fresh = pattern(16, 100);
    EXPECT_EQ(DB_nReplaceRec(table_, 4, fresh.data(), 16), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_bDeleteRec nIndex invalid!!"));
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_PARAM);
    EXPECT_EQ(DB_nReplaceRec(table_, 3, fresh.data(), 16), 16);
    EXPECT_EQ(DB_nGetLastError(table_), 0);
    EXPECT_EQ(readAt(3, 16), fresh);
    EXPECT_EQ(readByKey("k3", 16), fresh);

    // Deleting renumbers every later record.
    EXPECT_EQ(DB_bDeleteRec(table_, 1), 0);
    EXPECT_EQ(DB_nGetRecordSUM(table_), 3);
    EXPECT_EQ(readAt(1, 16), pattern(16, 2));
    EXPECT_EQ(DB_bDeleteRec(table_, -1), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_bDeleteRec Param invalid!!"));

    // The plain append names two of three columns: SQLite refuses it, as it always has.
    clearLog();
    EXPECT_EQ(DB_nAppendRec(table_, reinterpret_cast<char *>(fresh.data()), 16), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nAppendRec Faild!!!"));
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_SQL);
    EXPECT_EQ(DB_nGetRecordSUM(table_), 3);
    EXPECT_EQ(DB_nGetRecordSUM(nullptr), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nGetRecordSUM Param invalid!!"));
}

TEST_F(DbTest, ClearRestartsNumbering) {
    ASSERT_EQ(append("a", pattern(8, 1)), 8);
    ASSERT_EQ(append("b", pattern(8, 2)), 8);
    ASSERT_EQ(DB_bDeleteRecByKey(table_, "b"), 0);
    ASSERT_EQ(append("c", pattern(8, 3)), 8);
    EXPECT_EQ(ids(), (std::vector<int>{1, 3}));  // IDs are never reused by themselves

    EXPECT_EQ(DB_bClear(table_), 0);
    EXPECT_EQ(DB_nGetLastError(table_), 0);
    EXPECT_EQ(DB_nGetRecordSUM(table_), 0);
    ASSERT_EQ(append("d", pattern(8, 4)), 8);
    EXPECT_EQ(ids(), (std::vector<int>{1}));
    EXPECT_EQ(readAt(0, 8), pattern(8, 4));
    EXPECT_EQ(DB_bClear(nullptr), -1);

    // Uninitialised, every operation refuses without touching the handle.
    DB_vUnInit();
    clearLog();
    Bytes buf(8);
    EXPECT_EQ(DB_nReadRec(table_, 0, 8, buf.data()), -1);
    EXPECT_EQ(DB_bClear(table_), -1);
    EXPECT_EQ(DB_nGetLastError(table_), -1);
    EXPECT_TRUE(logged(kPrioError, "Not Initialized"));
    ASSERT_EQ(DB_bInitBySysService(dir_.path().c_str(), "app"), 0);
    EXPECT_EQ(readAt(0, 8), pattern(8, 4));
}

TEST_F(DbTest, KeysOfAnyTextStayData) {
    const std::vector<std::string> keys = {
        "plain",      "with space",  "quote\"inside", "\"",         "\"\"",
        "'",          "%s%n%d",      "x\"; DROP TABLE journal; --", "KEYNAME",
        "id",         "DATA",        "rowid",         "\xE4\xB8\xAD\xE6\x96\x87", "",
        std::string(400, 'L')};
    for (size_t i = 0; i < keys.size(); ++i) {
        ASSERT_EQ(append(keys[i].c_str(), pattern(12, i)), 12) << keys[i];
    }
    EXPECT_EQ(DB_bIsExsit("journal"), 0);
    EXPECT_EQ(DB_nGetRecordSUM(table_), static_cast<int>(keys.size()));
    for (size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(readByKey(keys[i].c_str(), 12), pattern(12, i)) << keys[i];
    }

    // Replacing or deleting one key touches that record only.
    Bytes fresh = pattern(12, 200);
    EXPECT_EQ(DB_nReplaceRecByKey(table_, "KEYNAME", 12, fresh.data()), 12);
    EXPECT_EQ(readByKey("KEYNAME", 12), fresh);
    EXPECT_EQ(readByKey("plain", 12), pattern(12, 0));
    EXPECT_EQ(DB_bDeleteRecByKey(table_, "KEYNAME"), 0);
    EXPECT_EQ(DB_bDeleteRecByKey(table_, "\""), 0);
    EXPECT_EQ(DB_nGetRecordSUM(table_), static_cast<int>(keys.size()) - 2);
    EXPECT_EQ(readByKey("\"\"", 12), pattern(12, 4));

    // A missing key is "no row"; a wrong length leaves that error standing.
    Bytes buf(12);
    EXPECT_EQ(DB_nReadRecByKey(table_, "KEYNAME", 12, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_NO_ROW);
    EXPECT_EQ(DB_nReadRecByKey(table_, "plain", 11, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_NO_ROW);

    // A key too long for the command buffer is refused before SQLite sees anything.
    const std::string huge(600, 'H');
    clearLog();
    EXPECT_EQ(append(huge.c_str(), pattern(12, 1)), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_PARAM);
    EXPECT_TRUE(logged(kPrioError, "SQL statement too long for the command buffer!!"));
    EXPECT_EQ(DB_nReadRecByKey(table_, huge.c_str(), 12, buf.data()), -1);
    EXPECT_EQ(DB_bDeleteRecByKey(table_, huge.c_str()), -1);
    EXPECT_EQ(DB_nReplaceRecByKey(table_, huge.c_str(), 12, buf.data()), -1);
    EXPECT_EQ(DB_nGetRecordSUM(table_), static_cast<int>(keys.size()) - 2);

    EXPECT_EQ(DB_nAppendRecByKey(table_, nullptr, buf.data(), 12), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nAppendRec Param invalid!!"));
    EXPECT_EQ(DB_nReplaceRecByKey(table_, "plain", 12, nullptr), -1);
    EXPECT_EQ(DB_bDeleteRecByKey(table_, nullptr), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_PARAM);
}

// Names of the objects sqlite_master lists for TABLE, apart from the table itself.
std::vector<std::string> companionsOf(const char *table) {
    std::vector<std::string> names;
    std::string sql =
        std::string("SELECT name FROM sqlite_master WHERE tbl_name = '") + table +
        "' AND name <> '" + table + "';";
    EXPECT_EQ(SQL_Select(sql.c_str()), 0);
    for (SQL_GotoRow(0); !SQL_Eof(); SQL_QueryNext()) {
        char name[1024];
        SQL_IPI_GetQueryStringByIndex(0, name, sizeof name);
        names.push_back(name);
    }
    return names;
}

TEST_F(DbTest, KeyIndexStaysOutOfSight) {
    // The key index exists, but no documented operation can name it.
    std::vector<std::string> companions = companionsOf("journal");
    ASSERT_EQ(companions.size(), 1u);
    const std::string &index = companions[0];
    EXPECT_EQ(DB_bIsExsit(index.c_str()), -1);
    EXPECT_EQ(DB_hOpen(index.c_str(), 16), nullptr);
    EXPECT_EQ(DB_bRemove(index.c_str()), -1);
    EXPECT_EQ(companionsOf("journal").size(), 1u);

    // Reopening does not add another; dropping the table takes it along.
    void *again = DB_hOpen("journal", 64);
    ASSERT_NE(again, nullptr);
    DB_vClose(again);
    EXPECT_EQ(companionsOf("journal").size(), 1u);
    clearLog();
    EXPECT_EQ(DB_bRemove("journal"), 0);
    EXPECT_TRUE(companionsOf("journal").empty());
    EXPECT_EQ(DB_bIsExsit("journal"), -1);
    EXPECT_TRUE(logged(kPrioDebug, "DB_bRemove Table Success!!!"));
}

int matchFirstByte(const void *key, int, const void *record, int) {
    return *static_cast<const unsigned char *>(key) == *static_cast<const unsigned char *>(record)
               ? 0
               : 1;
}

TEST_F(DbTest, SearchStopsAtTheFirstMatchOrAnotherSize) {
    ASSERT_EQ(append("a", Bytes(8, 'a')), 8);
    ASSERT_EQ(append("b", Bytes(8, 'b')), 8);
    ASSERT_EQ(append("c", Bytes(8, 'b')), 8);
    _SearchingHelper helper = {"b", 1, 0, IsParamIdMatchFunc};
    char buf[8];
    int index = -1;
    EXPECT_EQ(DB_nSearchRec(table_, &helper, 8, buf, &index), 8);
    EXPECT_EQ(index, 1);  // the first in ID order wins
    EXPECT_EQ(memcmp(buf, "bbbbbbbb", 8), 0);

    helper.pvKey = "z";
    EXPECT_EQ(DB_nSearchRec(table_, &helper, 8, buf, &index), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_NO_ROW);

    // Sizes 8, 9, 8 where only the third matches: the nine-byte record ends the search.
    ASSERT_EQ(DB_bClear(table_), 0);
    ASSERT_EQ(append("1", Bytes(8, 'x')), 8);
    ASSERT_EQ(append("2", Bytes(9, 'x')), 9);
    ASSERT_EQ(append("3", Bytes(8, 'y')), 8);
    helper = {"y", 1, 0, matchFirstByte};
    index = -1;
    EXPECT_EQ(DB_nSearchRec(table_, &helper, 8, buf, &index), -1);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(DB_nGetLastError(table_), 0);  // left as the last append set it

    helper.pfnMatch = nullptr;
    EXPECT_EQ(DB_nSearchRec(table_, &helper, 8, buf, &index), -1);
    EXPECT_EQ(DB_nGetLastError(table_), DB_ERR_PARAM);
    helper.pfnMatch = matchFirstByte;
    EXPECT_EQ(DB_nSearchRec(table_, &helper, 0, buf, &index), -1);
    EXPECT_EQ(DB_nSearchRec(table_, nullptr, 8, buf, &index), -1);

    // The library's matcher: memcmp order over the key's bytes, never past the record.
    EXPECT_EQ(IsParamIdMatchFunc("abc", 3, "abcdef", 6), 0);
    EXPECT_EQ(IsParamIdMatchFunc("abb", 3, "abcdef", 6), -1);
    EXPECT_EQ(IsParamIdMatchFunc("abd", 3, "abcdef", 6), 1);
    EXPECT_EQ(IsParamIdMatchFunc("abcdefg", 7, "abcdef", 6), 1);
    EXPECT_EQ(IsParamIdMatchFunc(nullptr, 1, "a", 1), -1);
}

TEST_F(DbTest, ThreadsShareOneDatabaseSafely) {
    constexpr int kThreads = 3;
    constexpr int kPerThread = 15;
    std::vector<std::thread> threads;
    std::vector<int> failures(kThreads, 0);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &failures] {
            for (int i = 0; i < kPerThread; ++i) {
                std::string key = "t" + std::to_string(t) + "-" + std::to_string(i);
                Bytes data = pattern(32, static_cast<unsigned char>(t * 50 + i));
                Bytes back(32);
                if (DB_nAppendRecByKey(table_, key.c_str(), data.data(), 32) != 32 ||
                    DB_nReadRecByKey(table_, key.c_str(), 32, back.data()) != 32 || back != data) {
                    ++failures[t];
                }
            }
        });
    }
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(failures, std::vector<int>(kThreads, 0));
    EXPECT_EQ(DB_nGetRecordSUM(table_), kThreads * kPerThread);
}

}  // namespace
