// The record database on real SQLite files.
#include "pos_sdk/db.h"
#include "pos_sdk/sql.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <string.h>
#include <unistd.h>

#include <thread>

#include "storage_test.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes pattern(size_t size, size_t seed) {
    Bytes out(size);
    for (size_t i = 0; i < size; ++i) out[i] = static_cast<unsigned char>(seed * 31 + i * 7);
    return out;
}

class DbTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(DB_bInitBySysService(dir_.path().c_str(), "app"), 0);
        h_ = DB_hOpen("journal", 64);
        ASSERT_NE(h_, nullptr);
        g_logged.clear();
    }
    void TearDown() override {
        DB_vClose(h_);
        DB_vUnInit();
    }

    int append(const std::string &key, Bytes data) {
        return DB_nAppendRecByKey(h_, key.c_str(), data.data(), static_cast<int>(data.size()));
    }
    Bytes byKey(const std::string &key, size_t size) {
        Bytes out(size);
        int n = DB_nReadRecByKey(h_, key.c_str(), static_cast<int>(size), out.data());
        return n == static_cast<int>(size) ? out : Bytes();
    }
    Bytes at(int index, size_t size) {
        Bytes out(size);
        int n = DB_nReadRec(h_, index, static_cast<int>(size), out.data());
        return n == static_cast<int>(size) ? out : Bytes();
    }
    // Column 0 of every row SQL yields, through the library's own connection.
    std::vector<std::string> column(const std::string &sql) {
        std::vector<std::string> out;
        EXPECT_EQ(SQL_Select(sql.c_str()), 0);
        for (SQL_GotoRow(0); !SQL_Eof(); SQL_QueryNext()) {
            char text[1024];
            SQL_IPI_GetQueryStringByIndex(0, text, sizeof text);
            out.push_back(text);
        }
        return out;
    }

    TempDir dir_;
    void *h_ = nullptr;
};

TEST(DbInit, AppIdFileAndSingleInitialisation) {
    TempDir dir;
    g_logged.clear();
    EXPECT_EQ(DB_bInit(nullptr), -1);
    EXPECT_TRUE(logged(kPrioError, "Param Invalid!!"));
    EXPECT_EQ(DB_bInitBySysService(dir.path().c_str(), std::string(33, 'a').c_str()), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nSetAppID faild!!"));
    EXPECT_EQ(DB_hOpen("t", 4), nullptr);
    EXPECT_TRUE(logged(kPrioError, "Not Initialized"));

    // An id is one file name: nothing may lead the database out of its directory.
    for (const char *id : {"../escaped", "a/b", "..", ".", ""}) {
        EXPECT_EQ(DB_bInitBySysService(dir.file("ids").c_str(), id), -1) << id;
    }
    EXPECT_FALSE(std::filesystem::exists(dir.file("escaped.db")));
    EXPECT_FALSE(std::filesystem::exists(dir.file("ids/a")));

    const std::string id32(32, 'b');
    ASSERT_EQ(DB_bInitBySysService(dir.file("sub").c_str(), id32.c_str()), 0);  // makes sub/
    EXPECT_TRUE(std::filesystem::exists(dir.file("sub/" + id32 + ".db")));
    EXPECT_EQ(DB_bInit("other"), 0);
    EXPECT_TRUE(logged(kPrioWarn, "cDbInitFlag is 1!"));
    char other[] = "/tmp/never.db";
    EXPECT_EQ(DB_vOpenDBFile(other), -1);  // one database at a time
    DB_vUnInit();

    const auto old = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    EXPECT_EQ(DB_bInit(id32.c_str()), 0);
    EXPECT_TRUE(std::filesystem::exists(dir.file("LinuxPos.db")));
    DB_vUnInit();
    std::filesystem::current_path(old);
}

TEST_F(DbTest, TableNamesSizesAndTheHiddenKeyIndex) {
    const std::string name64(64, 'n');
    void *h = DB_hOpen(name64.c_str(), DB_MAX_RECORD_LEN);
    ASSERT_NE(h, nullptr);
    EXPECT_STREQ(static_cast<const char *>(h), name64.c_str());  // the name leads the handle
    DB_vClose(h);
    EXPECT_EQ(DB_hOpen(std::string(65, 'n').c_str(), 16), nullptr);
    EXPECT_TRUE(g_logged.empty());
    EXPECT_EQ(DB_hOpen("big", DB_MAX_RECORD_LEN + 1), nullptr);
    EXPECT_TRUE(logged(kPrioError, "nMaxLenOfRec is too large!!!!"));
    EXPECT_EQ(DB_hOpen("negative", -1), nullptr);
    EXPECT_EQ(DB_bIsExsit("negative"), -1);
    EXPECT_EQ(DB_hOpen("select", 16), nullptr);
    EXPECT_TRUE(logged(kPrioError, "Create Table Error!!!!"));
    // Names are single identifiers: nothing rides along into the statements.
    EXPECT_EQ(DB_hOpen("x(a);DROP TABLE journal;--", 16), nullptr);
    EXPECT_EQ(DB_bRemove("journal;DROP TABLE journal"), -1);
    EXPECT_EQ(DB_bIsExsit("x\" OR \"1\"=\"1"), -1);
    EXPECT_EQ(DB_bIsExsit("name"), -1);  // text, not sqlite_master's column
    EXPECT_EQ(DB_bIsExsit(name64.c_str()), 0);

    // The key index exists beside the table, but no documented operation can reach it.
    auto companions = column(
        "SELECT name FROM sqlite_master WHERE tbl_name = 'journal' "
        "AND name <> 'journal';");
    ASSERT_EQ(companions.size(), 1u);
    EXPECT_EQ(DB_bIsExsit(companions[0].c_str()), -1);
    EXPECT_EQ(DB_bRemove(companions[0].c_str()), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_bRemove Table Faild!!!"));
    EXPECT_EQ(DB_bRemove("journal"), 0);
    EXPECT_TRUE(logged(kPrioDebug, "DB_bRemove Table Success!!!"));
    EXPECT_TRUE(column("SELECT name FROM sqlite_master WHERE tbl_name = 'journal';").empty());
    EXPECT_EQ(DB_bIsExsit("journal"), -1);
}

TEST_F(DbTest, RecordsByPosition) {
    for (int i = 0; i < 4; ++i) ASSERT_EQ(append("k" + std::to_string(i), pattern(16, i)), 16);
    EXPECT_EQ(DB_nGetRecordSUM(h_), 4);
    EXPECT_EQ(at(3, 16), pattern(16, 3));
    Bytes buf(16);
    EXPECT_EQ(DB_nReadRec(h_, 4, 16, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_NO_ROW);
    ASSERT_EQ(at(0, 16), pattern(16, 0));
    EXPECT_EQ(DB_nReadRec(h_, 0, 15, buf.data()), -1);  // wrong size: last error untouched
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_NO_ROW);
    EXPECT_EQ(DB_nReadRec(h_, -1, 16, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_PARAM);
    EXPECT_TRUE(logged(kPrioError, "DB_nReadRec Param invalid!!"));
    EXPECT_EQ(DB_nGetFirstRecord(h_, 99, buf.data(), 16), 16);
    EXPECT_EQ(buf, pattern(16, 0));

    Bytes fresh = pattern(16, 100);
    EXPECT_EQ(DB_nReplaceRec(h_, 4, fresh.data(), 16), -1);  // at the count
    EXPECT_TRUE(logged(kPrioError, "DB_bDeleteRec nIndex invalid!!"));
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_PARAM);
    EXPECT_EQ(DB_nReplaceRec(h_, 3, fresh.data(), 16), 16);
    EXPECT_EQ(DB_nGetLastError(h_), 0);
    EXPECT_EQ(byKey("k3", 16), fresh);
    EXPECT_EQ(DB_bDeleteRec(h_, 1), 0);  // later records move up
    EXPECT_EQ(at(1, 16), pattern(16, 2));

    // Two values for three columns: SQLite refuses the plain append, as it always has.
    EXPECT_EQ(DB_nAppendRec(h_, reinterpret_cast<char *>(fresh.data()), 16), -1);
    EXPECT_TRUE(logged(kPrioError, "DB_nAppendRec Faild!!!"));
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_SQL);
    EXPECT_EQ(DB_nGetRecordSUM(h_), 3);
}

TEST_F(DbTest, ClearRestartsNumberingAndUninitRefuses) {
    ASSERT_EQ(append("a", pattern(8, 1)), 8);
    ASSERT_EQ(append("b", pattern(8, 2)), 8);
    ASSERT_EQ(DB_bDeleteRecByKey(h_, "b"), 0);
    ASSERT_EQ(append("c", pattern(8, 3)), 8);
    EXPECT_EQ(column("SELECT ID FROM journal ORDER BY ID;"), (std::vector<std::string>{"1", "3"}));
    EXPECT_EQ(DB_bClear(h_), 0);
    EXPECT_EQ(DB_nGetRecordSUM(h_), 0);
    ASSERT_EQ(append("d", pattern(8, 4)), 8);
    EXPECT_EQ(column("SELECT ID FROM journal;"), (std::vector<std::string>{"1"}));

    DB_vUnInit();
    g_logged.clear();
    Bytes buf(8);
    EXPECT_EQ(DB_nReadRec(h_, 0, 8, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(h_), -1);
    EXPECT_TRUE(logged(kPrioError, "Not Initialized"));
    ASSERT_EQ(DB_bInitBySysService(dir_.path().c_str(), "app"), 0);
    EXPECT_EQ(at(0, 8), pattern(8, 4));  // the handle works again, the record is still there
}

TEST_F(DbTest, KeysOfAnyTextStayData) {
    const std::vector<std::string> keys = {"plain",
                                           "quote\"in",
                                           "\"",
                                           "\"\"",
                                           "'",
                                           "%s%n%d",
                                           "x\"; DROP TABLE journal; --",
                                           "KEYNAME",
                                           "id",
                                           "rowid",
                                           "",
                                           std::string(400, 'L')};
    for (size_t i = 0; i < keys.size(); ++i) ASSERT_EQ(append(keys[i], pattern(12, i)), 12);
    for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(byKey(keys[i], 12), pattern(12, i)) << i;

    Bytes fresh = pattern(12, 99);
    EXPECT_EQ(DB_nReplaceRecByKey(h_, "KEYNAME", 12, fresh.data()), 12);
    EXPECT_EQ(byKey("KEYNAME", 12), fresh);
    EXPECT_EQ(byKey("plain", 12), pattern(12, 0));
    EXPECT_EQ(DB_bDeleteRecByKey(h_, "KEYNAME"), 0);  // that record alone
    EXPECT_EQ(DB_bDeleteRecByKey(h_, "\""), 0);
    EXPECT_EQ(DB_nGetRecordSUM(h_), static_cast<int>(keys.size()) - 2);
    Bytes buf(12);
    EXPECT_EQ(DB_nReadRecByKey(h_, "KEYNAME", 12, buf.data()), -1);
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_NO_ROW);

    // Too long for the command buffer: refused before SQLite sees anything.
    const std::string huge(600, 'H');
    EXPECT_EQ(append(huge, pattern(12, 1)), -1);
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_PARAM);
    EXPECT_TRUE(logged(kPrioError, "SQL statement too long for the command buffer!!"));
    EXPECT_EQ(DB_bDeleteRecByKey(h_, huge.c_str()), -1);
    EXPECT_EQ(DB_nGetRecordSUM(h_), static_cast<int>(keys.size()) - 2);
}

int matchFirstByte(const void *key, int, const void *record, int) {
    return *static_cast<const char *>(key) == *static_cast<const char *>(record) ? 0 : 1;
}

TEST_F(DbTest, SearchStopsAtTheFirstMatchOrAnotherSize) {
    ASSERT_EQ(append("a", Bytes(8, 'a')), 8);
    ASSERT_EQ(append("b", Bytes(8, 'b')), 8);
    ASSERT_EQ(append("c", Bytes(8, 'b')), 8);
    _SearchingHelper helper = {"bb", 2, 0, IsParamIdMatchFunc};
    char buf[8];
    int index = -1;
    EXPECT_EQ(DB_nSearchRec(h_, &helper, 8, buf, &index), 8);
    EXPECT_EQ(index, 1);
    helper.pvKey = "bc";
    EXPECT_EQ(DB_nSearchRec(h_, &helper, 8, buf, &index), -1);
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_NO_ROW);

    // Sizes 8, 9, 8 with a match only in the third: the nine-byte record ends the search.
    ASSERT_EQ(DB_bClear(h_), 0);
    ASSERT_EQ(append("1", Bytes(8, 'x')), 8);
    ASSERT_EQ(append("2", Bytes(9, 'x')), 9);
    ASSERT_EQ(append("3", Bytes(8, 'y')), 8);
    helper = {"y", 1, 0, matchFirstByte};
    EXPECT_EQ(DB_nSearchRec(h_, &helper, 8, buf, &index), -1);
    EXPECT_EQ(DB_nGetLastError(h_), 0);
    helper.pfnMatch = nullptr;
    EXPECT_EQ(DB_nSearchRec(h_, &helper, 8, buf, &index), -1);
    EXPECT_EQ(DB_nGetLastError(h_), DB_ERR_PARAM);

    EXPECT_EQ(IsParamIdMatchFunc("abb", 3, "abcdef", 6), -1);
    EXPECT_EQ(IsParamIdMatchFunc("abd", 3, "abcdef", 6), 1);
    EXPECT_EQ(IsParamIdMatchFunc("abcdefg", 7, "abcdef", 6), 1);  // never past the record
}

TEST(DbProcesses, ProcessesSharingADatabaseWaitForEachOther) {
    TempDir dir;
    constexpr int kProcesses = 4, kRecords = 40;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid != 0) {
            children.push_back(pid);
            continue;
        }
        int failed = DB_bInitBySysService(dir.path().c_str(), "shared") != 0;
        void *h = failed ? nullptr : DB_hOpen("journal", 16);
        char record[16];
        for (int i = 0; h != nullptr && i < kRecords; ++i) {
            snprintf(record, sizeof record, "p%d-%03d", p, i);
            failed += DB_nAppendRecByKey(h, record, record, sizeof record) != int(sizeof record);
        }
        _exit(h == nullptr || failed != 0 ? 1 : 0);
    }
    for (pid_t pid : children) {
        int status = -1;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a writer gave up";
    }
    ASSERT_EQ(DB_bInitBySysService(dir.path().c_str(), "shared"), 0);
    void *h = DB_hOpen("journal", 16);
    EXPECT_EQ(DB_nGetRecordSUM(h), kProcesses * kRecords);
    DB_vClose(h);
    DB_vUnInit();
}

TEST_F(DbTest, ThreadsShareTheDatabaseSafely) {
    std::vector<std::thread> threads;
    std::vector<int> failures(3, 0);
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([this, t, &failures] {
            for (int i = 0; i < 15; ++i) {
                std::string key = std::to_string(t) + "-" + std::to_string(i);
                failures[t] += append(key, pattern(32, t * 50 + i)) != 32 ||
                               byKey(key, 32) != pattern(32, t * 50 + i);
            }
        });
    }
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(failures, std::vector<int>(3, 0));
    EXPECT_EQ(DB_nGetRecordSUM(h_), 45);
}

}  // namespace
