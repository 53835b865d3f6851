// Record database against raw SQLite running the same statements in the same run.
//
// Every iteration times our call and the raw equivalent (prepare, bind, step, finalize, and
// sync() after a write, as the library does), alternating which goes first, so drift on a
// shared machine hits both sides alike. Reported per benchmark: the medians ours_us and
// raw_us, and ratio, the median of ours / raw over the iterations. The tables hold 10,000 records
// of 64 bytes with keys "k00000"...
//
// The library indexes KEYNAME. The raw reference runs on the schema exactly as created by
// the CREATE TABLE statement (no index); the "indexed" reference adds the same index, and
// "ours without index" drops it from one of our tables, so both figures can be compared.
#include "pos_sdk/db.h"
#include "pos_sdk/sql.h"

#include <benchmark/benchmark.h>

#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int kRecords = 10000;
constexpr int kRecordSize = 64;
constexpr const char *kSchema =
    "CREATE TABLE IF NOT EXISTS %s(ID INTEGER PRIMARY KEY AUTOINCREMENT, DATA blob, "
    "KEYNAME TEXT);";

using Clock = std::chrono::steady_clock;

struct Fixture {
    std::string dir;
    sqlite3 *raw = nullptr;
    void *indexed = nullptr;    // ours, as DB_hOpen makes it
    void *unindexed = nullptr;  // ours with the key index dropped
    void *appends = nullptr;    // ours, grows during the append benchmark
    unsigned char record[kRecordSize];
};
Fixture g;

std::string keyOf(int i) {
    char key[16];
    snprintf(key, sizeof key, "k%05d", i);
    return key;
}

void rawExec(const std::string &sql) {
    char *error = nullptr;
    if (sqlite3_exec(g.raw, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        fprintf(stderr, "raw: %s: %s\n", sql.c_str(), error);
        exit(1);
    }
}

std::string schemaFor(const char *table) {
    char sql[256];
    snprintf(sql, sizeof sql, kSchema, table);
    return sql;
}

// Raw: one statement with one blob parameter, then sync() as the library does after writes.
void rawWrite(const char *sql, const void *blob, int len) {
    sqlite3_stmt *stmt = nullptr;
    sqlite3_prepare_v2(g.raw, sql, -1, &stmt, nullptr);
    sqlite3_bind_blob(stmt, 1, blob, len, SQLITE_STATIC);
    if (sqlite3_step(stmt) != SQLITE_DONE) abort();
    sqlite3_finalize(stmt);
    sync();
}

// Raw: the first row's blob copied out when it has exactly LEN bytes.
int rawRead(const char *sql, int len, void *buf) {
    sqlite3_stmt *stmt = nullptr;
    sqlite3_prepare_v2(g.raw, sql, -1, &stmt, nullptr);
    int result = -1;
    if (sqlite3_step(stmt) == SQLITE_ROW && sqlite3_column_bytes(stmt, 0) == len) {
        memcpy(buf, sqlite3_column_blob(stmt, 0), static_cast<size_t>(len));
        result = len;
    }
    sqlite3_finalize(stmt);
    return result;
}

// Raw: the search loop, reading each record in ID order until the caller's match function
// accepts one. noipa (noinline for Clang, which has no such attribute and propagates nothing
// into an exported function) keeps the match an indirect call, as it is for the library.
#if defined(__clang__)
#define POS_NOIPA __attribute__((noinline))
#else
#define POS_NOIPA __attribute__((noipa))
#endif
POS_NOIPA int rawSearch(const char *table, const void *key, int keyLen, DB_MATCH_FUNC match,
                        int len, void *buf) {
    char sql[128];
    snprintf(sql, sizeof sql, "SELECT DATA FROM %s ORDER BY ID", table);
    sqlite3_stmt *stmt = nullptr;
    sqlite3_prepare_v2(g.raw, sql, -1, &stmt, nullptr);
    int found = -1;
    for (int position = 0; sqlite3_step(stmt) == SQLITE_ROW; ++position) {
        if (sqlite3_column_bytes(stmt, 0) != len) break;
        memcpy(buf, sqlite3_column_blob(stmt, 0), static_cast<size_t>(len));
        if (match(key, keyLen, buf, len) == 0) {
            found = position;
            break;
        }
    }
    sqlite3_finalize(stmt);
    return found;
}

// Fills TABLE of the raw connection and of ours (through the SQL layer) with the same rows.
void populate(const char *table) {
    char sql[128];
    snprintf(sql, sizeof sql, "INSERT INTO %s VALUES(NULL, ?, \"%%s\");", table);
    rawExec("begin transaction");
    SQL_BeginTransaction();
    for (int i = 0; i < kRecords; ++i) {
        char statement[160];
        snprintf(statement, sizeof statement, sql, keyOf(i).c_str());
        memcpy(g.record, keyOf(i).c_str(), 6);  // the record starts with its key
        sqlite3_stmt *stmt = nullptr;
        sqlite3_prepare_v2(g.raw, statement, -1, &stmt, nullptr);
        sqlite3_bind_blob(stmt, 1, g.record, kRecordSize, SQLITE_STATIC);
        sqlite3_step(stmt);
        sqlite3_finalize(stmt);
        SQL_ExecEx(statement, 1, kRecordSize, g.record);
    }
    rawExec("commit transaction");
    SQL_CommitTransaction();
}

// Drops whatever index the library keeps on TABLE, to measure it without one.
void dropOurIndexes(const char *table) {
    std::string query =
        std::string("SELECT name FROM sqlite_master WHERE type = 'index' AND tbl_name = '") +
        table + "';";
    if (SQL_Select(query.c_str()) != 0) exit(1);
    std::vector<std::string> names;
    for (SQL_GotoRow(0); !SQL_Eof(); SQL_QueryNext()) {
        char name[1024];
        SQL_IPI_GetQueryStringByIndex(0, name, sizeof name);
        names.push_back(name);
    }
    for (const auto &name : names) SQL_Exec(("DROP INDEX \"" + name + "\";").c_str());
}

void setUp() {
    char pattern[] = "/tmp/pos_storage_bench_XXXXXX";
    if (mkdtemp(pattern) == nullptr) exit(1);
    g.dir = pattern;
    for (int i = 0; i < kRecordSize; ++i) g.record[i] = static_cast<unsigned char>(i * 13);

    if (DB_bInitBySysService(g.dir.c_str(), "bench") != 0) exit(1);
    g.indexed = DB_hOpen("indexed", kRecordSize);
    g.unindexed = DB_hOpen("unindexed", kRecordSize);
    g.appends = DB_hOpen("appends", kRecordSize);
    if (!g.indexed || !g.unindexed || !g.appends) exit(1);
    dropOurIndexes("unindexed");

    if (sqlite3_open((g.dir + "/raw.db").c_str(), &g.raw) != SQLITE_OK) exit(1);
    for (const char *table : {"indexed", "unindexed", "appends"}) rawExec(schemaFor(table));
    rawExec("CREATE INDEX indexed_key ON indexed(KEYNAME);");

    populate("indexed");
    populate("unindexed");
}

void tearDown() {
    DB_vClose(g.indexed);
    DB_vClose(g.unindexed);
    DB_vClose(g.appends);
    DB_vUnInit();
    sqlite3_close(g.raw);
    std::error_code ignored;
    std::filesystem::remove_all(g.dir, ignored);
}

double secondsOf(const std::function<void()> &work) {
    auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// Times OURS and RAW once each per iteration, alternating the order. The ratio is the
// median of the per-iteration ratios: each pair runs back to back, so a stall from sync()
// or a neighbour's build that spans both cancels out, and medians ignore the rest.
void compare(benchmark::State &state, const std::function<void(int)> &ours,
             const std::function<void(int)> &raw) {
    std::vector<double> oursTimes;
    std::vector<double> rawTimes;
    std::vector<double> ratios;
    int i = 0;
    for (auto _ : state) {
        double o, r;
        if (i % 2 == 0) {
            o = secondsOf([&] { ours(i); });
            r = secondsOf([&] { raw(i); });
        } else {
            r = secondsOf([&] { raw(i); });
            o = secondsOf([&] { ours(i); });
        }
        oursTimes.push_back(o);
        rawTimes.push_back(r);
        ratios.push_back(o / r);
        state.SetIterationTime(o);
        ++i;
    }
    state.counters["ours_us"] = median(oursTimes) * 1e6;
    state.counters["raw_us"] = median(rawTimes) * 1e6;
    state.counters["ratio"] = median(ratios);
}

int scattered(int i) {
    return (i * 7919) % kRecords;
}

void check(bool ok) {
    if (!ok) {
        fprintf(stderr, "benchmark operation failed\n");
        abort();
    }
}

void BM_AppendRecByKey(benchmark::State &state) {
    compare(
        state,
        [](int i) {
            std::string key = "o" + std::to_string(i);
            check(DB_nAppendRecByKey(g.appends, key.c_str(), g.record, kRecordSize) == kRecordSize);
        },
        [](int i) {
            char sql[128];
            snprintf(sql, sizeof sql, "INSERT INTO %s VALUES(NULL, ?, \"%s\");", "appends",
                     ("r" + std::to_string(i)).c_str());
            rawWrite(sql, g.record, kRecordSize);
        });
}

// Keyed read, ours with its index against raw SQLite on the schema as created (no index).
void readByKey(benchmark::State &state, void *ours, const char *rawTable) {
    unsigned char buf[kRecordSize];
    compare(
        state,
        [&](int i) {
            check(DB_nReadRecByKey(ours, keyOf(scattered(i)).c_str(), kRecordSize, buf) ==
                  kRecordSize);
        },
        [&](int i) {
            char sql[128];
            snprintf(sql, sizeof sql, "SELECT DATA FROM %s WHERE KEYNAME is \"%s\";", rawTable,
                     keyOf(scattered(i)).c_str());
            check(rawRead(sql, kRecordSize, buf) == kRecordSize);
        });
}

void BM_ReadRecByKey_OursIndexed_vs_RawPlain(benchmark::State &state) {
    readByKey(state, g.indexed, "unindexed");
}
void BM_ReadRecByKey_OursIndexed_vs_RawIndexed(benchmark::State &state) {
    readByKey(state, g.indexed, "indexed");
}
void BM_ReadRecByKey_OursWithoutIndex_vs_RawPlain(benchmark::State &state) {
    readByKey(state, g.unindexed, "unindexed");
}

void BM_ReadRec(benchmark::State &state) {
    const int position = static_cast<int>(state.range(0));
    unsigned char buf[kRecordSize];
    compare(
        state,
        [&](int) { check(DB_nReadRec(g.indexed, position, kRecordSize, buf) == kRecordSize); },
        [&](int) {
            char sql[128];
            snprintf(sql, sizeof sql, "SELECT DATA FROM %s ORDER BY ID limit %d, 1;", "indexed",
                     position);
            check(rawRead(sql, kRecordSize, buf) == kRecordSize);
        });
}

int matchKey(const void *key, int keyLen, const void *record, int) {
    return memcmp(key, record, static_cast<size_t>(keyLen)) == 0 ? 0 : 1;
}

void BM_SearchRec(benchmark::State &state) {
    const int target = static_cast<int>(state.range(0));
    const std::string key = keyOf(target);
    char buf[kRecordSize];
    compare(
        state,
        [&](int) {
            _SearchingHelper helper = {key.c_str(), 6, 0, matchKey};
            int index = -1;
            check(DB_nSearchRec(g.indexed, &helper, kRecordSize, buf, &index) == kRecordSize &&
                  index == target);
        },
        [&](int) {
            check(rawSearch("indexed", key.c_str(), 6, matchKey, kRecordSize, buf) == target);
        });
}

BENCHMARK(BM_AppendRecByKey)->UseManualTime()->Iterations(300)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReadRecByKey_OursIndexed_vs_RawPlain)
    ->UseManualTime()
    ->Iterations(1000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReadRecByKey_OursIndexed_vs_RawIndexed)
    ->UseManualTime()
    ->Iterations(3000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReadRecByKey_OursWithoutIndex_vs_RawPlain)
    ->UseManualTime()
    ->Iterations(1000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReadRec)
    ->Arg(0)
    ->Arg(kRecords - 1)
    ->UseManualTime()
    ->Iterations(1000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchRec)
    ->Arg(kRecords - 1)
    ->UseManualTime()
    ->Iterations(200)
    ->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    setUp();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    tearDown();
    return 0;
}
