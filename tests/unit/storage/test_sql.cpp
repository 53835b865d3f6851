// The SQL access layer on a real SQLite file.
#include "pos_sdk/sql.h"

#include <gtest/gtest.h>

#include <sqlite3.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include <string>

#include "log_capture.h"
#include "temp_dir.h"

namespace {

class SqlTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(dir_.path().empty());
        ASSERT_EQ(SQL_OpenDB(dir_.file("sql.db").c_str()), 0);
        ASSERT_EQ(SQL_Exec("CREATE TABLE t(ID INTEGER PRIMARY KEY, NAME TEXT, DATA blob);"), 0);
        clearLog();
    }
    void TearDown() override { SQL_Close(); }

    TempDir dir_;
};

std::string cellText(int col, unsigned size) {
    char buf[64];
    memset(buf, 'X', sizeof buf);
    EXPECT_EQ(SQL_IPI_GetQueryStringByIndex(col, buf, size), 0);
    return buf;
}

TEST(SqlAddStrDec, KeepsItsOwnSignRule) {
    EXPECT_EQ(SQL_AddStrDec("0042"), 42);
    EXPECT_EQ(SQL_AddStrDec("2147483647"), 2147483647);
    EXPECT_EQ(SQL_AddStrDec("A5"), -5);  // a first character above '9' marks a negative number
    EXPECT_EQ(SQL_AddStrDec("-12"), -288);  // '-' is taken as the digit value -3
    EXPECT_EQ(SQL_AddStrDec(""), 0);
    EXPECT_EQ(SQL_AddStrDec(nullptr), 0);
    // Eleven characters: the place beyond the table adds nothing instead of reading past it.
    EXPECT_EQ(SQL_AddStrDec("91234567890"), 1234567890);
    EXPECT_EQ(SQL_AddStrDec("Z1234567890"), -1234567890);
}

TEST_F(SqlTest, CursorAndEofFollowTheSelectedRows) {
    ASSERT_EQ(SQL_Select("SELECT NAME FROM t;"), 0);
    EXPECT_EQ(SQL_GetTotalNum(), 0);
    EXPECT_EQ(SQL_Eof(), 1);

    ASSERT_EQ(SQL_Exec("INSERT INTO t(NAME) VALUES('one');"), 0);
    ASSERT_EQ(SQL_Select("SELECT NAME FROM t;"), 0);
    EXPECT_EQ(SQL_Eof(), 0);
    EXPECT_EQ(cellText(0, 0), "one");
    SQL_QueryNext();
    EXPECT_EQ(SQL_Eof(), 1);
    // Past the end the cursor reads empty text, not memory beyond the table.
    EXPECT_EQ(cellText(0, 0), "");

    ASSERT_EQ(SQL_Exec("INSERT INTO t(NAME) VALUES('two'); INSERT INTO t(NAME) VALUES('3');"), 0);
    ASSERT_EQ(SQL_Select("SELECT count(*) FROM t;"), 0);
    SQL_GotoRow(0);
    EXPECT_EQ(SQL_GetData(0, nullptr, 0, 0), 3);

    ASSERT_EQ(SQL_Select("SELECT NAME FROM t ORDER BY ID;"), 0);
    EXPECT_EQ(SQL_GetTotalNum(), 3);
    SQL_GotoRow(1);
    EXPECT_EQ(cellText(0, 0), "two");
    SQL_FreeSelectRecord();
    EXPECT_EQ(SQL_GetTotalNum(), 3);  // counts stay; the table is gone
    EXPECT_EQ(cellText(0, 0), "");
}

TEST_F(SqlTest, CopiesCutAtSizeMinusOne) {
    ASSERT_EQ(SQL_Exec("INSERT INTO t(NAME) VALUES('abcde'); INSERT INTO t(NAME) VALUES(NULL);"),
              0);
    ASSERT_EQ(SQL_Select("SELECT NAME, ID FROM t ORDER BY ID;"), 0);
    EXPECT_EQ(cellText(0, 5), "abcd");   // exactly size characters: cut to size - 1
    EXPECT_EQ(cellText(0, 6), "abcde");  // size - 1 characters: whole
    EXPECT_EQ(cellText(0, 1), "");
    EXPECT_EQ(cellText(0, 0), "abcde");  // 0 means unbounded
    EXPECT_EQ(cellText(2, 64), "");      // no such column
    EXPECT_EQ(cellText(-1, 64), "");

    char buf[8];
    EXPECT_EQ(SQL_GetData(0, buf, 4, 1), 0);
    EXPECT_STREQ(buf, "abc");

    // The same rules on a caller-held record, with zero-based data rows.
    sqlite3 *raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.file("sql.db").c_str(), &raw), SQLITE_OK);
    SQL_SELECT_RECORD rec = {nullptr, 0, 0};
    ASSERT_EQ(sqlite3_get_table(raw, "SELECT ID, NAME FROM t ORDER BY ID;", &rec.ppszTable,
                                &rec.nRowCount, &rec.nColumnCount, nullptr),
              SQLITE_OK);
    memset(buf, 'X', sizeof buf);
    EXPECT_EQ(SQL_GetStringData(&rec, 0, 1, buf, sizeof buf), 0);
    EXPECT_STREQ(buf, "abcde");
    EXPECT_EQ(SQL_GetStringData(&rec, 1, 0, buf, 2), 0);
    EXPECT_STREQ(buf, "2");
    EXPECT_EQ(SQL_GetStringData(&rec, 0, 1, buf, 3), 0);
    EXPECT_STREQ(buf, "ab");
    EXPECT_EQ(SQL_GetStringData(&rec, 1, 1, buf, sizeof buf), 0);  // null cell
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(SQL_GetStringData(&rec, 2, 0, buf, sizeof buf), 0);  // no such row
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(SQL_GetStringData(&rec, 0, 2, buf, sizeof buf), 0);  // no such column
    EXPECT_STREQ(buf, "");
    sqlite3_free_table(rec.ppszTable);
    sqlite3_close(raw);
}

TEST_F(SqlTest, BlobStatementsNeedTheExactSize) {
    const unsigned char blob[5] = {1, 2, 0, 4, 5};
    ASSERT_EQ(SQL_ExecEx("INSERT INTO t(DATA) VALUES(?);", 1, sizeof blob, blob), 0);
    ASSERT_EQ(SQL_ExecEx("INSERT INTO t(DATA) VALUES(?);", 1, 3, blob), 0);

    ASSERT_EQ(SQL_prepare("SELECT DATA FROM t ORDER BY ID;"), 0);
    unsigned char buf[8];
    memset(buf, 0xEE, sizeof buf);
    EXPECT_EQ(SQL_SelectEx(0, 4, buf), -1);  // one byte short of the stored blob
    EXPECT_TRUE(logged("nLenOfBuffer is 4 blob_size is 5"));
    EXPECT_EQ(buf[0], 0xEE);  // nothing copied
    EXPECT_EQ(SQL_SelectEx(0, 3, buf), 3);
    EXPECT_EQ(memcmp(buf, blob, 3), 0);
    EXPECT_EQ(buf[3], 0xEE);
    EXPECT_EQ(SQL_SelectEx(0, 3, buf), -4);  // no more rows
    EXPECT_TRUE(logged("sqlite3_step Error ,rc 101!"));
    EXPECT_EQ(SQL_Finalize(), 0);
    EXPECT_EQ(SQL_SelectEx(0, 3, buf), -4);  // nothing prepared: no crash

    EXPECT_EQ(SQL_ExecEx(nullptr, 1, 0, blob), -1);
    EXPECT_TRUE(logged("SQL_ExecEx Param Invalid!"));
    EXPECT_EQ(SQL_ExecEx("INSERT INTO nosuch VALUES(?);", 1, 1, blob), -1);
    EXPECT_TRUE(logged("sqlite3_prepare_v2 error!"));
    EXPECT_EQ(SQL_ExecEx("INSERT INTO t(ID) VALUES(1);", 1, 1, blob), -1);  // no parameter
    EXPECT_TRUE(logged("sqlite3_bind_blob error!"));
    EXPECT_EQ(SQL_ExecEx("INSERT INTO t(ID, DATA) VALUES(1, ?);", 1, 1, blob), -1);  // taken
    EXPECT_TRUE(logged("sqlite3_step error!"));
    EXPECT_EQ(SQL_prepare("SELECT nothing FROM t;"), -1);
    EXPECT_TRUE(logged("sqlite3_prepare_v2 Error!"));
}

TEST_F(SqlTest, FailuresAreLoggedAndTransactionsRollBack) {
    EXPECT_EQ(SQL_Exec("INSERT INTO nosuch VALUES(1);"), -1);
    EXPECT_TRUE(logged(kPrioError, "no such table: nosuch\n"));
    EXPECT_EQ(SQL_Select("SELECT * FROM nosuch;"), -1);
    EXPECT_EQ(SQL_GetTotalNum(), 0);
    EXPECT_EQ(SQL_Eof(), 1);

    ASSERT_EQ(SQL_BeginTransaction(), 0);
    ASSERT_EQ(SQL_Exec("INSERT INTO t(NAME) VALUES('gone');"), 0);
    ASSERT_EQ(SQL_RollbackTransaction(), 0);
    ASSERT_EQ(SQL_BeginTransaction(), 0);
    ASSERT_EQ(SQL_Exec("INSERT INTO t(NAME) VALUES('kept');"), 0);
    ASSERT_EQ(SQL_CommitTransaction(), 0);
    ASSERT_EQ(SQL_Select("SELECT NAME FROM t;"), 0);
    ASSERT_EQ(SQL_GetTotalNum(), 1);
    EXPECT_EQ(cellText(0, 0), "kept");
    EXPECT_EQ(SQL_CommitTransaction(), -1);  // none open

    // Closed: every call fails cleanly.
    SQL_Close();
    EXPECT_EQ(SQL_Exec("SELECT 1;"), -1);
    EXPECT_EQ(SQL_Select("SELECT 1;"), -1);
    EXPECT_EQ(SQL_prepare("SELECT 1;"), -1);
    EXPECT_EQ(SQL_ExecEx("SELECT 1;", 1, 0, ""), -1);
}

TEST(SqlOpen, RetriesFiveTimesThenFails) {
    clearLog();
    const char *path = "/nonexistent-dir/x/db.sqlite";
    EXPECT_EQ(SQL_OpenDB(path), -1);
    int attempts = 0;
    for (const auto &line : loggedLines()) {
        if (line.priority == kPrioError &&
            line.text == std::string("Can't open database: unable to open database file   "
                                     "DBName = ") + path + "\n") {
            ++attempts;
        }
    }
    EXPECT_EQ(attempts, 5);
    EXPECT_EQ(SQL_Exec("SELECT 1;"), -1);
}

TEST(SqlSemaphore, SerialisesHolders) {
    ASSERT_EQ(SQL_Semaphore_Create(), 0);
    ASSERT_EQ(SQL_Semaphore_Wait(), 0);
    std::atomic<bool> entered{false};
    std::thread other([&] {
        SQL_Semaphore_Wait();
        entered = true;
        SQL_Semaphore_Release();
    });
    usleep(50000);
    EXPECT_FALSE(entered.load());
    ASSERT_EQ(SQL_Semaphore_Release(), 0);
    other.join();
    EXPECT_TRUE(entered.load());
    EXPECT_EQ(SQL_Semaphore_Destroy(), 0);
}

}  // namespace
