// The record database in a fresh directory.
#include <pos_sdk/db.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

const char kTable[] = "selftest_records";

// Fixed-size records, as the terminal's applications keep them.
struct Record {
    char id[8];
    int amount;
};

Record makeRecord(const char *id, int amount) {
    Record r;
    memset(&r, 0, sizeof r);
    snprintf(r.id, sizeof r.id, "%s", id);
    r.amount = amount;
    return r;
}

std::string describe(void *table, int result) {
    return "result " + std::to_string(result) + ", last error " +
           std::to_string(DB_nGetLastError(table));
}

void testKeys(Checks &checks, void *table) {
    bool appended = true;
    const char *ids[] = {"A001", "B002", "C003"};
    for (int i = 0; i < 3; ++i) {
        Record r = makeRecord(ids[i], (i + 1) * 100);
        appended = DB_nAppendRecByKey(table, ids[i], &r, sizeof r) == sizeof r && appended;
    }
    int count = DB_nGetRecordSUM(table);
    checks.check("three records appended by key", appended && count == 3, got(count));

    Record r{};
    int n = DB_nReadRecByKey(table, "B002", sizeof r, &r);
    checks.check("read by key B002", n == sizeof r && r.amount == 200 && strcmp(r.id, "B002") == 0,
                 describe(table, n) + ", amount " + std::to_string(r.amount));

    Record changed = makeRecord("B002", 250);
    n = DB_nReplaceRecByKey(table, "B002", sizeof changed, &changed);
    r = Record{};
    DB_nReadRecByKey(table, "B002", sizeof r, &r);
    checks.check("replace by key B002", n == sizeof changed && r.amount == 250,
                 describe(table, n) + ", amount " + std::to_string(r.amount));

    n = DB_nReadRecByKey(table, "Z999", sizeof r, &r);
    checks.check("read of a missing key fails with last error -4",
                 n == -1 && DB_nGetLastError(table) == DB_ERR_NO_ROW, describe(table, n));
}

void testPositions(Checks &checks, void *table) {
    Record r{};
    int n = DB_nReadRec(table, 2, sizeof r, &r);
    checks.check("read position 2", n == sizeof r && strcmp(r.id, "C003") == 0,
                 describe(table, n) + ", id \"" + std::string(r.id, strnlen(r.id, 8)) + "\"");

    Record changed = makeRecord("C003", 333);
    n = DB_nReplaceRec(table, 2, &changed, sizeof changed);
    r = Record{};
    DB_nReadRec(table, 2, sizeof r, &r);
    checks.check("replace position 2", n == sizeof changed && r.amount == 333,
                 describe(table, n) + ", amount " + std::to_string(r.amount));

    int status = DB_bDeleteRec(table, 0);
    r = Record{};
    n = DB_nReadRec(table, 0, sizeof r, &r);
    checks.check(
        "delete position 0 moves B002 to the front",
        status == 0 && n == sizeof r && strcmp(r.id, "B002") == 0 && DB_nGetRecordSUM(table) == 2,
        describe(table, status));

    status = DB_bDeleteRecByKey(table, "B002");
    int count = DB_nGetRecordSUM(table);
    checks.check("delete by key B002 leaves one record", status == 0 && count == 1,
                 describe(table, status) + ", count " + std::to_string(count));

    n = DB_nReadRec(table, 5, sizeof r, &r);
    checks.check("read past the end fails", n == -1, describe(table, n));
}

int matchAmount(const void *key, int keyLen, const void *record, int recordLen) {
    if (keyLen != sizeof(int) || recordLen != sizeof(Record)) return -1;
    int wanted;
    memcpy(&wanted, key, sizeof wanted);
    Record r;
    memcpy(&r, record, sizeof r);
    return r.amount == wanted ? 0 : 1;
}

void testSearch(Checks &checks, void *table) {
    Record extra = makeRecord("D004", 400);
    DB_nAppendRecByKey(table, "D004", &extra, sizeof extra);
    int wanted = 400;
    _SearchingHelper helper = {&wanted, sizeof wanted, 0, matchAmount};
    Record found{};
    int index = -1;
    int n = DB_nSearchRec(table, &helper, sizeof found, reinterpret_cast<char *>(&found), &index);
    checks.check("search finds amount 400 at position 1",
                 n == sizeof found && index == 1 && strcmp(found.id, "D004") == 0,
                 describe(table, n) + ", index " + std::to_string(index));

    wanted = 999;
    n = DB_nSearchRec(table, &helper, sizeof found, reinterpret_cast<char *>(&found), &index);
    checks.check("search for a missing amount fails with last error -4",
                 n == -1 && DB_nGetLastError(table) == DB_ERR_NO_ROW, describe(table, n));
}

void testTable(Checks &checks) {
    void *table = DB_hOpen(kTable, sizeof(Record));
    if (!checks.check("open table", table != nullptr)) return;
    checks.check("the table exists", DB_bIsExsit(kTable) == 0);
    testKeys(checks, table);
    testPositions(checks, table);
    testSearch(checks, table);

    int status = DB_bClear(table);
    int count = DB_nGetRecordSUM(table);
    checks.check("clear empties the table", status == 0 && count == 0,
                 describe(table, status) + ", count " + std::to_string(count));
    DB_vClose(table);

    status = DB_bRemove(kTable);
    checks.check("remove drops the table", status == 0 && DB_bIsExsit(kTable) != 0, got(status));
    checks.check("open refuses a name with a quote", DB_hOpen("bad'name", 16) == nullptr);
}

}  // namespace

void testDatabase(Checks &checks, const Expectations &) {
    char dir[] = "/tmp/pos_selftest_db.XXXXXX";
    if (!checks.check("fresh directory under /tmp", mkdtemp(dir) != nullptr)) return;
    std::string path = std::string(dir) + "/com.pos.selftest.db";
    int status = DB_bInitBySysService(dir, "com.pos.selftest");
    bool created = access(path.c_str(), F_OK) == 0;
    if (checks.check("DB_bInitBySysService creates " + path, status == 0 && created, got(status))) {
        testTable(checks);
        DB_vUnInit();
    }
    unlink(path.c_str());
    rmdir(dir);
}

}  // namespace selftest
