// queue_t: a fixed-capacity first-in, first-out queue of ints in a ring of slots.
#include "pos_sdk/util.h"

#include "support/RecordLayout.h"

#include <cstdio>
#include <cstdlib>

namespace {

// The caller's record: the slots pointer, then three 32-bit counters.
constexpr auto kQueueRecord = pos::layout::layOut(
    {pos::layout::kPointer, pos::layout::kInt32, pos::layout::kInt32, pos::layout::kInt32});
static_assert(offsetof(queue_t, capacity) == kQueueRecord.offset[1], "queue record");
static_assert(offsetof(queue_t, head) == kQueueRecord.offset[2], "queue record");
static_assert(offsetof(queue_t, count) == kQueueRecord.offset[3], "queue record");
static_assert(sizeof(queue_t) == kQueueRecord.size, "queue record");

bool usable(const queue_t *q) {
    return q != nullptr && q->items != nullptr && q->capacity > 0;
}

// Slot of the element `offset` places behind the front.
int slotAt(const queue_t *q, int offset) {
    return static_cast<int>((static_cast<long long>(q->head) + offset) % q->capacity);
}

void resetEmpty(queue_t *q) {
    q->head = 0;
    q->count = 0;
}

}  // namespace

extern "C" POS_API int initQueue(queue_t *q, int capacity) {
    if (q == nullptr) return -1;
    q->items = nullptr;
    q->capacity = 0;
    resetEmpty(q);
    if (capacity < 1) return -1;
    q->items = static_cast<int *>(malloc(static_cast<size_t>(capacity) * sizeof(int)));
    if (q->items == nullptr) return -1;
    q->capacity = capacity;
    return 0;
}

extern "C" POS_API int enQueue(queue_t *q, int value) {
    if (isFullQueue(q)) return -1;
    q->items[slotAt(q, q->count)] = value;
    ++q->count;
    return 0;
}

extern "C" POS_API int deQueue(queue_t *q, int *value) {
    if (!usable(q) || q->count <= 0) return -1;
    if (value != nullptr) *value = q->items[q->head];
    q->head = slotAt(q, 1);
    --q->count;
    return 0;
}

extern "C" POS_API void clearQueue(queue_t *q) {
    if (q != nullptr) resetEmpty(q);
}

extern "C" POS_API void destroyQueue(queue_t *q) {
    if (q == nullptr) return;
    free(q->items);
    q->items = nullptr;
    q->capacity = 0;
    resetEmpty(q);
}

extern "C" POS_API int isEmptyQueue(const queue_t *q) {
    return getQueueLen(q) == 0;
}

extern "C" POS_API int isFullQueue(const queue_t *q) {
    return !usable(q) || q->count >= q->capacity;
}

extern "C" POS_API int getQueueLen(const queue_t *q) {
    return usable(q) ? q->count : 0;
}

extern "C" POS_API void printQueue(const queue_t *q) {
    printf("[");
    for (int i = 0; i < getQueueLen(q); ++i) printf(i == 0 ? "%d" : " %d", q->items[slotAt(q, i)]);
    printf("]\n");
}
