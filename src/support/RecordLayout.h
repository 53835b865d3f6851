// Offsets of a C record's fields by the C layout rules, for the pointer size of the build: each
// field starts at the next multiple of its alignment, and the record's size is rounded up to
// its strictest alignment. Records that applications or other processes share are checked
// against these at compile time, so one declaration holds on 32- and 64-bit targets alike.
#ifndef POS_SUPPORT_RECORDLAYOUT_H
#define POS_SUPPORT_RECORDLAYOUT_H

#include <stddef.h>
#include <stdint.h>

namespace pos::layout {

struct Field {
    size_t size;
    size_t align;
};

// The field kinds shared records are made of. A 64-bit integer is 8-aligned on ARM EABI and
// x86-64 but only 4-aligned on 32-bit x86: its alignment is the compiler's, not assumed.
constexpr Field kPointer{sizeof(void *), alignof(void *)};
constexpr Field kInt32{4, alignof(int32_t)};
constexpr Field kInt64{8, alignof(int64_t)};
constexpr Field bytes(size_t n) {
    return Field{n, 1};
}

constexpr size_t roundUp(size_t n, size_t align) {
    return (n + align - 1) / align * align;
}

template <size_t N>
struct Record {
    size_t offset[N];
    size_t size;
};

// The layout of a record whose fields are FIELDS, in order.
template <size_t N>
constexpr Record<N> layOut(const Field (&fields)[N]) {
    Record<N> r{};
    size_t end = 0, align = 1;
    for (size_t i = 0; i < N; ++i) {
        r.offset[i] = roundUp(end, fields[i].align);
        end = r.offset[i] + fields[i].size;
        if (fields[i].align > align) align = fields[i].align;
    }
    r.size = roundUp(end, align);
    return r;
}

}  // namespace pos::layout

#endif
