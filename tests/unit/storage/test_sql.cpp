// The SQL access layer on a real SQLite file.
#include "pos_sdk/sql.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <string.h>

#include "storage_test.h"

namespace {

class SqlTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(SQL_OpenDB(dir_.file("sql.db").c_str()), 0);
        ASSERT_EQ(SQL_Exec("CREATE TABLE t(ID INTEGER PRIMARY KEY, NAME TEXT, DATA blob);"), 0);
        g_logged.clear();
    }
    void TearDown() override { SQL_Close(); }

    TempDir dir_;
};

std::string cell(int col, unsigned size) {
    char buf[32];
    memset(buf, 'X', sizeof buf);
    SQL_IPI_GetQueryStringByIndex(col, buf, size);
    return buf;
}

TEST(SqlAddStrDec, KeepsItsOwnSignRule) {
    EXPECT_EQ(SQL_AddStrDec("0042"), 42);
    EXPECT_EQ(SQL_AddStrDec("2147483647"), 2147483647);
    EXPECT_EQ(SQL_AddStrDec("A5"), -5);
    EXPECT_EQ(SQL_AddStrDec("-12"), -288);
    EXPECT_EQ(SQL_AddStrDec(nullptr), 0);
    // An eleventh place lies beyond the table: it adds nothing instead of reading past it.
    EXPECT_EQ(SQL_AddStrDec("91234567890"), 1234567890);
    EXPECT_EQ(SQL_AddStrDec("Z1234567890"), -1234567890);
}

TEST_F(SqlTest, CursorEofAndCopyRules) {
    ASSERT_EQ(SQL_Select("SELECT NAME FROM t;"), 0);
    EXPECT_EQ(SQL_Eof(), 1);
    ASSERT_EQ(SQL_Exec("INSERT INTO t(NAME) VALUES('abcde'); INSERT INTO t VALUES(7, NULL, 1);"),
              0);
    ASSERT_EQ(SQL_Select("SELECT count(*) FROM t;"), 0);
    SQL_GotoRow(0);
    EXPECT_EQ(SQL_GetData(0, nullptr, 0, 0), 2);

    ASSERT_EQ(SQL_Select("SELECT NAME, ID FROM t ORDER BY ID;"), 0);
    EXPECT_EQ(SQL_Eof(), 0);
    EXPECT_EQ(cell(0, 5), "abcd");  // exactly SIZE characters: cut to SIZE - 1
    EXPECT_EQ(cell(0, 6), "abcde");
    EXPECT_EQ(cell(0, 0), "abcde");  // 0: no bound
    EXPECT_EQ(cell(2, 9), "");
    EXPECT_EQ(cell(-1, 9), "");
    SQL_QueryNext();
    EXPECT_EQ(SQL_Eof(), 0);
    EXPECT_EQ(cell(0, 9), "");  // null cell
    EXPECT_EQ(SQL_GetData(1, nullptr, 0, 0), 7);
    SQL_QueryNext();
    EXPECT_EQ(SQL_Eof(), 1);
    EXPECT_EQ(cell(1, 9), "");  // past the end: nothing read beyond the table

    // The same rules on a record the caller holds, at zero-based data rows.
    SQL_SELECT_RECORD rec = {nullptr, 0, 0};
    sqlite3 *raw = nullptr;
    ASSERT_EQ(sqlite3_open(dir_.file("sql.db").c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_get_table(raw, "SELECT ID, NAME FROM t ORDER BY ID;", &rec.ppszTable,
                                &rec.nRowCount, &rec.nColumnCount, nullptr),
              SQLITE_OK);
    char buf[8];
    SQL_GetStringData(&rec, 0, 1, buf, 3);
    EXPECT_STREQ(buf, "ab");
    SQL_GetStringData(&rec, 1, 0, buf, sizeof buf);
    EXPECT_STREQ(buf, "7");
    SQL_GetStringData(&rec, 2, 0, buf, sizeof buf);
    EXPECT_STREQ(buf, "");
    sqlite3_free_table(rec.ppszTable);
    sqlite3_close(raw);
}

TEST_F(SqlTest, BlobsComeBackOnlyAtTheirExactSize) {
    const unsigned char blob[5] = {1, 2, 0, 4, 5};
    ASSERT_EQ(SQL_ExecEx("INSERT INTO t(DATA) VALUES(?);", 1, 5, blob), 0);
    ASSERT_EQ(SQL_prepare("SELECT DATA FROM t;"), 0);
    unsigned char buf[8];
    memset(buf, 0xEE, sizeof buf);
    EXPECT_EQ(SQL_SelectEx(0, 4, buf), -1);
    EXPECT_TRUE(logged(kPrioError, "nLenOfBuffer is 4 blob_size is 5"));
    EXPECT_EQ(buf[0], 0xEE);
    SQL_Finalize();
    ASSERT_EQ(SQL_prepare("SELECT DATA FROM t;"), 0);
    EXPECT_EQ(SQL_SelectEx(0, 5, buf), 5);
    EXPECT_EQ(memcmp(buf, blob, 5), 0);
    EXPECT_EQ(buf[5], 0xEE);
    EXPECT_EQ(SQL_SelectEx(0, 5, buf), -4);
    EXPECT_TRUE(logged(kPrioError, "sqlite3_step Error ,rc 101!"));

    EXPECT_EQ(SQL_ExecEx(nullptr, 1, 0, blob), -1);
    EXPECT_TRUE(logged(kPrioError, "SQL_ExecEx Param Invalid!"));
    EXPECT_EQ(SQL_ExecEx("INSERT INTO t(ID) VALUES(1);", 1, 1, blob), -1);  // no parameter
    EXPECT_TRUE(logged(kPrioError, "sqlite3_bind_blob error!"));
    EXPECT_EQ(SQL_ExecEx("INSERT INTO t(ID, DATA) VALUES(1, ?);", 1, 1, blob), -1);  // taken
    EXPECT_TRUE(logged(kPrioError, "sqlite3_step error!"));
}

TEST_F(SqlTest, FailuresAreReportedAndLogged) {
    EXPECT_EQ(SQL_Exec("INSERT INTO nosuch VALUES(1);"), -1);
    EXPECT_TRUE(logged(kPrioError, "no such table: nosuch\n"));
    EXPECT_EQ(SQL_ExecEx("INSERT INTO nosuch VALUES(?);", 1, 0, ""), -1);
    EXPECT_TRUE(logged(kPrioError, "sqlite3_prepare_v2 error!"));
    EXPECT_EQ(SQL_prepare("SELECT nothing FROM t;"), -1);
    EXPECT_TRUE(logged(kPrioError, "sqlite3_prepare_v2 Error!"));

    SQL_Close();  // closed: every call fails cleanly
    EXPECT_EQ(SQL_Exec("SELECT 1;"), -1);
    EXPECT_EQ(SQL_Select("SELECT 1;"), -1);
    EXPECT_EQ(SQL_SelectEx(0, 0, nullptr), -4);

    const std::string path = dir_.file("missing/db");
    g_logged.clear();
    EXPECT_EQ(SQL_OpenDB(path.c_str()), -1);
    EXPECT_EQ(countLogged(kPrioError,
                          "Can't open database: unable to open database file   "
                          "DBName = " +
                              path + "\n"),
              5);
}

}  // namespace
