// Durability: a writer killed with SIGKILL at a random moment loses nothing whose append
// had already returned success.
#include "pos_sdk/db.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "storage_test.h"

namespace {

constexpr int kSize = 96;

void fillRecord(uint32_t id, unsigned char *out) {
    for (int i = 0; i < kSize; ++i) out[i] = static_cast<unsigned char>(id * 31 + i * 7);
    memcpy(out, &id, sizeof id);
}

std::string keyOf(uint32_t id) {
    return "txn-" + std::to_string(id);
}

// Appends keyed records until killed, reporting each success through FD.
[[noreturn]] void runWriter(const std::string &dir, uint32_t id, int fd) {
    if (DB_bInitBySysService(dir.c_str(), "durable") != 0) _exit(2);
    void *h = DB_hOpen("journal", kSize);
    for (unsigned char record[kSize];; ++id) {
        fillRecord(id, record);
        if (DB_nAppendRecByKey(h, keyOf(id).c_str(), record, kSize) != kSize) _exit(3);
        if (write(fd, &id, sizeof id) != static_cast<ssize_t>(sizeof id)) _exit(4);
    }
}

std::vector<uint32_t> writeUntilKilled(const std::string &dir, uint32_t firstId, int delayUs) {
    int fds[2];
    if (pipe(fds) != 0) return {};
    pid_t child = fork();
    if (child == 0) runWriter(dir, firstId, fds[1]);
    close(fds[1]);
    // The kill comes a random time after the first append: opening the database and the
    // table first can take longer than the whole delay on a loaded machine.
    std::vector<uint32_t> ids;
    uint32_t id;
    if (read(fds[0], &id, sizeof id) == static_cast<ssize_t>(sizeof id)) ids.push_back(id);
    usleep(static_cast<useconds_t>(delayUs));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "writer ended early with " << WEXITSTATUS(status);
    while (read(fds[0], &id, sizeof id) == static_cast<ssize_t>(sizeof id)) ids.push_back(id);
    close(fds[0]);
    return ids;
}

TEST(DbDurability, EveryReportedAppendSurvivesSigkill) {
    TempDir dir;
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delayUs(150000, 900000);

    size_t reportedTotal = 0;
    for (uint32_t round = 0; round < 3; ++round) {
        auto reported = writeUntilKilled(dir.path(), round * 1000000, delayUs(random));
        ASSERT_FALSE(reported.empty());
        reportedTotal += reported.size();

        ASSERT_EQ(DB_bInitBySysService(dir.path().c_str(), "durable"), 0);
        void *h = DB_hOpen("journal", kSize);
        ASSERT_NE(h, nullptr);
        unsigned char expected[kSize], actual[kSize];
        for (uint32_t id : reported) {
            fillRecord(id, expected);
            ASSERT_EQ(DB_nReadRecByKey(h, keyOf(id).c_str(), kSize, actual), kSize) << id;
            ASSERT_EQ(memcmp(actual, expected, kSize), 0) << id;
        }
        // At most the append in flight at each kill committed without being reported, and
        // it can only be the newest record.
        const int count = DB_nGetRecordSUM(h);
        EXPECT_GE(count, static_cast<int>(reportedTotal));
        EXPECT_LE(count, static_cast<int>(reportedTotal + round + 1));
        ASSERT_EQ(DB_nReadRec(h, count - 1, kSize, actual), kSize);
        uint32_t newest;
        memcpy(&newest, actual, sizeof newest);
        EXPECT_TRUE(newest == reported.back() || newest == reported.back() + 1) << newest;
        DB_vClose(h);
        DB_vUnInit();
    }
}

}  // namespace
