/* The shared records as a C application's compiler lays them out. */
#include <stddef.h>

#include "pos_sdk/pos_sdk.h"
#include "records_c.h"

const struct CRecordLayout kCRecordLayout = {
    .searchHelper = {sizeof(_SearchingHelper),
                     {offsetof(_SearchingHelper, nKeyLen), offsetof(_SearchingHelper, nReserved),
                      offsetof(_SearchingHelper, pfnMatch)}},
    .selectRecord = {sizeof(SQL_SELECT_RECORD),
                     {offsetof(SQL_SELECT_RECORD, nRowCount),
                      offsetof(SQL_SELECT_RECORD, nColumnCount), 0}},
    .smartlist = {sizeof(smartlist_t),
                  {offsetof(smartlist_t, num_used), offsetof(smartlist_t, capacity), 0}},
    .bitarray = {sizeof(bitarray_t), {offsetof(bitarray_t, words), 0, 0}},
    .queue = {sizeof(queue_t),
              {offsetof(queue_t, capacity), offsetof(queue_t, head), offsetof(queue_t, count)}},
    .timer = {sizeof(OS_TIMER_T), {offsetof(OS_TIMER_T, Stop), offsetof(OS_TIMER_T, TimeLeft), 0}},
};
