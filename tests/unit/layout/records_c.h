/* Sizes and field offsets of the shared records, filled in by a C translation unit. */
#ifndef POS_TESTS_RECORDS_C_H
#define POS_TESTS_RECORDS_C_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* size, then the offsets of the second, third and fourth fields (0 where there is none) */
struct CRecord {
    size_t size;
    size_t offset[3];
};

struct CRecordLayout {
    struct CRecord searchHelper, selectRecord, smartlist, bitarray, queue, timer;
};

extern const struct CRecordLayout kCRecordLayout;

#ifdef __cplusplus
}
#endif

#endif
