// Records applications share with the library: the C compiler's layout, the C++ one and the one
// the field rules give for this target's pointer size must be the same record.
#include <gtest/gtest.h>

#include <stddef.h>
#include <stdint.h>

#include "pos_sdk/pos_sdk.h"
#include "records_c.h"
#include "support/RecordLayout.h"

namespace {

constexpr size_t P = sizeof(void *);

// A field of ALIGN bytes' alignment placed after END bytes.
size_t at(size_t end, size_t align) {
    return (end + align - 1) / align * align;
}

void expectRecord(const CRecord &c, size_t size, size_t o1, size_t o2, size_t o3) {
    EXPECT_EQ(c.size, size);
    EXPECT_EQ(c.offset[0], o1);
    EXPECT_EQ(c.offset[1], o2);
    EXPECT_EQ(c.offset[2], o3);
}

TEST(RecordLayout, SearchHelperIsPointerLengthReservedFunction) {
    const CRecord &c = kCRecordLayout.searchHelper;
    const size_t fn = at(P + 4 + 4, P);
    expectRecord(c, fn + P, P, P + 4, fn);
    // The figures integrators compare against: 24 bytes with the function at 16 on LP64,
    // 16 and 12 on 32-bit ARM.
    if (P == 8) {
        EXPECT_EQ(c.size, 24u);
        EXPECT_EQ(c.offset[2], 16u);
    } else {
        EXPECT_EQ(c.size, 16u);
        EXPECT_EQ(c.offset[2], 12u);
    }
    EXPECT_EQ(sizeof(_SearchingHelper), c.size);
    EXPECT_EQ(offsetof(_SearchingHelper, pfnMatch), c.offset[2]);
}

TEST(RecordLayout, PointerLedRecordsPackTheirCountsAfterThePointer) {
    expectRecord(kCRecordLayout.selectRecord, P + 8, P, P + 4, 0);
    expectRecord(kCRecordLayout.smartlist, P + 8, P, P + 4, 0);
    expectRecord(kCRecordLayout.queue, at(P + 12, P), P, P + 4, P + 8);
    // The bit count comes first: the words pointer is padded to its alignment.
    expectRecord(kCRecordLayout.bitarray, 2 * P, P, 0, 0);
    EXPECT_EQ(sizeof(SQL_SELECT_RECORD), kCRecordLayout.selectRecord.size);
    EXPECT_EQ(sizeof(smartlist_t), kCRecordLayout.smartlist.size);
    EXPECT_EQ(sizeof(queue_t), kCRecordLayout.queue.size);
    EXPECT_EQ(sizeof(bitarray_t), kCRecordLayout.bitarray.size);
}

// The rule calculator the library's compile-time checks use, against records the compiler lays
// out here: padding before a wider field, a trailing pad to the widest alignment, and a
// 64-bit field whose alignment is the target's own.
TEST(RecordLayout, CalculatorAgreesWithTheCompiler) {
    using namespace pos::layout;
    struct Mixed {
        char tag;
        int64_t stamp;
        int32_t count;
        void *data;
        char tail[3];
    };
    constexpr auto mixed = layOut({bytes(1), kInt64, kInt32, kPointer, bytes(3)});
    EXPECT_EQ(mixed.offset[1], offsetof(Mixed, stamp));
    EXPECT_EQ(mixed.offset[2], offsetof(Mixed, count));
    EXPECT_EQ(mixed.offset[3], offsetof(Mixed, data));
    EXPECT_EQ(mixed.offset[4], offsetof(Mixed, tail));
    EXPECT_EQ(mixed.size, sizeof(Mixed));

    // The caller's timer: three 64-bit ticks, 24 bytes on every target.
    constexpr auto timer = layOut({kInt64, kInt64, kInt64});
    EXPECT_EQ(timer.offset[1], offsetof(OS_TIMER_T, Stop));
    EXPECT_EQ(timer.offset[2], offsetof(OS_TIMER_T, TimeLeft));
    EXPECT_EQ(timer.size, sizeof(OS_TIMER_T));
    EXPECT_EQ(kCRecordLayout.timer.size, sizeof(OS_TIMER_T));
    EXPECT_EQ(kCRecordLayout.timer.offset[1], offsetof(OS_TIMER_T, TimeLeft));
}

}  // namespace
