// Durability: a writer killed with SIGKILL at a random moment loses nothing whose append
// had already returned success.
#include "pos_sdk/db.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

#include "temp_dir.h"

namespace {

constexpr int kRecordSize = 96;
constexpr char kTable[] = "journal";

void fillRecord(uint32_t id, unsigned char *out) {
    for (int i = 0; i < kRecordSize; ++i) out[i] = static_cast<unsigned char>(id * 31 + i * 7);
    memcpy(out, &id, sizeof id);
}

std::string keyOf(uint32_t id) { return "txn-" + std::to_string(id); }

// The writer: appends keyed records forever and reports each success through FD.
[[noreturn]] void runWriter(const std::string &dir, uint32_t firstId, int fd) {
    if (DB_bInitBySysService(dir.c_str(), "durable") != 0) _exit(2);
    void *h = DB_hOpen(kTable, kRecordSize);
    if (h == nullptr) _exit(3);
    for (uint32_t id = firstId;; ++id) {
        unsigned char record[kRecordSize];
        fillRecord(id, record);
        if (DB_nAppendRecByKey(h, keyOf(id).c_str(), record, kRecordSize) != kRecordSize) continue;
        if (write(fd, &id, sizeof id) != static_cast<ssize_t>(sizeof id)) _exit(4);
    }
}

// Runs a writer for DELAYUS microseconds, kills it and returns the ids it reported.
std::vector<uint32_t> writeUntilKilled(const std::string &dir, uint32_t firstId, int delayUs) {
    int fds[2];
    if (pipe(fds) != 0) return {};
    pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        runWriter(dir, firstId, fds[1]);
    }
    close(fds[1]);
    usleep(static_cast<useconds_t>(delayUs));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "writer ended early";

    std::vector<uint32_t> ids;
    uint32_t id;
    while (read(fds[0], &id, sizeof id) == static_cast<ssize_t>(sizeof id)) ids.push_back(id);
    close(fds[0]);
    return ids;
}

TEST(DbDurability, EveryReportedAppendSurvivesSigkill) {
    TempDir dir;
    ASSERT_FALSE(dir.path().empty());
    std::random_device seedSource;
    const unsigned seed = seedSource();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delayUs(150000, 900000);

    size_t survivors = 0;
    for (uint32_t round = 0; round < 3; ++round) {
        const uint32_t firstId = round * 1000000;
        std::vector<uint32_t> reported = writeUntilKilled(dir.path(), firstId, delayUs(random));
        ASSERT_FALSE(reported.empty()) << "the writer stored nothing in round " << round;

        ASSERT_EQ(DB_bInitBySysService(dir.path().c_str(), "durable"), 0);
        void *h = DB_hOpen(kTable, kRecordSize);
        ASSERT_NE(h, nullptr);
        survivors += reported.size();
        // The append in flight when the kill came may have committed without being reported.
        EXPECT_GE(DB_nGetRecordSUM(h), static_cast<int>(survivors));
        EXPECT_LE(DB_nGetRecordSUM(h), static_cast<int>(survivors + round + 1));
        for (uint32_t id : reported) {
            unsigned char expected[kRecordSize];
            unsigned char actual[kRecordSize];
            fillRecord(id, expected);
            ASSERT_EQ(DB_nReadRecByKey(h, keyOf(id).c_str(), kRecordSize, actual), kRecordSize)
                << "lost " << keyOf(id);
            ASSERT_EQ(memcmp(actual, expected, kRecordSize), 0) << "damaged " << keyOf(id);
        }
        // The newest record is the last reported one, or the one in flight after it.
        const int count = DB_nGetRecordSUM(h);
        unsigned char last[kRecordSize];
        ASSERT_EQ(DB_nReadRec(h, count - 1, kRecordSize, last), kRecordSize);
        uint32_t lastId;
        memcpy(&lastId, last, sizeof lastId);
        EXPECT_TRUE(lastId == reported.back() || lastId == reported.back() + 1) << lastId;
        DB_vClose(h);
        DB_vUnInit();
    }
}

}  // namespace
