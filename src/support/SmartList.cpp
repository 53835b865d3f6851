// smartlist_t, the library's growable pointer list.
#include "pos_sdk/smartlist.h"

#include "support/RecordLayout.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace {

// Applications read the list's slots and count straight from the record.
constexpr auto kListRecord =
    pos::layout::layOut({pos::layout::kPointer, pos::layout::kInt32, pos::layout::kInt32});
static_assert(offsetof(smartlist_t, num_used) == kListRecord.offset[1], "list record");
static_assert(offsetof(smartlist_t, capacity) == kListRecord.offset[2], "list record");
static_assert(sizeof(smartlist_t) == kListRecord.size, "list record");

constexpr int kInitialCapacity = 16;

bool validIndex(const smartlist_t *sl, int idx) {
    return sl != nullptr && idx >= 0 && idx < sl->num_used;
}

// Makes room for `needed` elements: the capacity doubles until it is large enough, then
// the slots are reallocated once. New slots are zeroed like those of a fresh list.
bool ensureCapacity(smartlist_t *sl, int needed) {
    if (needed <= sl->capacity) return true;
    int capacity = sl->capacity > 0 ? sl->capacity : kInitialCapacity;
    while (capacity < needed) {
        // Doubling past INT_MAX would overflow; the largest count an int can hold is the cap.
        capacity = capacity > INT_MAX / 2 ? INT_MAX : capacity * 2;
    }
    if (static_cast<size_t>(capacity) > SIZE_MAX / sizeof(void *)) return false;
    void **grown = static_cast<void **>(realloc(sl->list, capacity * sizeof(void *)));
    if (grown == nullptr) return false;
    memset(grown + sl->capacity, 0, (capacity - sl->capacity) * sizeof(void *));
    sl->list = grown;
    sl->capacity = capacity;
    return true;
}

bool hasRoomFor(smartlist_t *sl, int more) {
    if (more > INT_MAX - sl->num_used) return false;
    return ensureCapacity(sl, sl->num_used + more);
}

// Keeps, in order, the elements for which keep(element) is true.
template <typename Keep>
void filterInPlace(smartlist_t *sl, Keep keep) {
    int kept = 0;
    for (int i = 0; i < sl->num_used; ++i) {
        if (keep(sl->list[i])) sl->list[kept++] = sl->list[i];
    }
    sl->num_used = kept;
}

int compareStrings(const char *a, const char *b) {
    // Nulls sort first and equal each other, so a stray null never reaches strcmp.
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    return strcmp(a, b);
}

int compareStringSlots(const void **a, const void **b) {
    return compareStrings(static_cast<const char *>(*a), static_cast<const char *>(*b));
}

int compareAddressSlots(const void **a, const void **b) {
    uintptr_t x = reinterpret_cast<uintptr_t>(*a);
    uintptr_t y = reinterpret_cast<uintptr_t>(*b);
    return (x > y) - (x < y);
}

// Bottom-up merge sort: stable, and it only ever indexes within the two arrays, so a
// comparison function that is not a consistent order cannot make it run off the end.
bool mergeSort(void **items, int n, smartlist_cmp_fn compare) {
    if (n < 2) return true;
    void **scratch = static_cast<void **>(malloc(n * sizeof(void *)));
    if (scratch == nullptr) return false;
    void **from = items;
    void **to = scratch;
    // Runs of `width` merge into runs of twice that; stop doubling before it could overflow.
    for (int width = 1; width < n; width = (width <= n / 2) ? width * 2 : n) {
        for (int lo = 0; lo < n; lo += 2 * width) {
            int mid = lo + width < n ? lo + width : n;
            int hi = mid + width < n ? mid + width : n;
            int i = lo, j = mid, k = lo;
            while (i < mid && j < hi) {
                // Take from the right run only when strictly smaller: that keeps it stable.
                bool right = compare(const_cast<const void **>(&from[j]),
                                     const_cast<const void **>(&from[i])) < 0;
                to[k++] = right ? from[j++] : from[i++];
            }
            while (i < mid) to[k++] = from[i++];
            while (j < hi) to[k++] = from[j++];
        }
        void **swap = from;
        from = to;
        to = swap;
    }
    if (from != items) memcpy(items, from, n * sizeof(void *));
    free(scratch);
    return true;
}

int compareSlots(smartlist_cmp_fn compare, void *const *a, void *const *b) {
    return compare(const_cast<const void **>(a), const_cast<const void **>(b));
}

// ---- heap helpers for the priority queue ----

void swapSlots(smartlist_t *sl, int i, int j) {
    void *tmp = sl->list[i];
    sl->list[i] = sl->list[j];
    sl->list[j] = tmp;
}

void siftUp(smartlist_t *sl, smartlist_pq_cmp_fn compare, int idx) {
    while (idx > 0) {
        int parent = (idx - 1) / 2;
        if (compare(sl->list[idx], sl->list[parent]) >= 0) return;
        swapSlots(sl, idx, parent);
        idx = parent;
    }
}

void siftDown(smartlist_t *sl, smartlist_pq_cmp_fn compare, int idx) {
    for (;;) {
        long long firstChild = 2LL * idx + 1;  // 64-bit: cannot overflow for any int index
        if (firstChild >= sl->num_used) return;
        int left = static_cast<int>(firstChild);
        int least = left;
        int right = left + 1;
        if (right < sl->num_used && compare(sl->list[right], sl->list[left]) < 0) least = right;
        if (compare(sl->list[least], sl->list[idx]) >= 0) return;
        swapSlots(sl, idx, least);
        idx = least;
    }
}

// Removes the heap element at idx by moving the last one there and restoring the order.
void *heapRemoveAt(smartlist_t *sl, smartlist_pq_cmp_fn compare, int idx) {
    void *removed = sl->list[idx];
    sl->list[idx] = sl->list[--sl->num_used];
    if (idx < sl->num_used) {
        siftDown(sl, compare, idx);
        siftUp(sl, compare, idx);
    }
    return removed;
}

// ---- splitting helpers ----

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// Appends [begin, end) of a field after applying the flags; returns 1 if a string was
// added, 0 if the field was dropped as blank, -1 when out of memory.
int addField(smartlist_t *sl, const char *begin, const char *end, int flags) {
    if (flags & (SPLIT_SKIP_SPACE | SPLIT_STRIP_SPACE)) {
        while (begin < end && isSpace(*begin)) ++begin;
    }
    if (flags & SPLIT_STRIP_SPACE) {
        while (end > begin && isSpace(end[-1])) --end;
    }
    if ((flags & SPLIT_IGNORE_BLANK) && begin == end) return 0;
    size_t len = static_cast<size_t>(end - begin);
    char *field = static_cast<char *>(malloc(len + 1));
    if (field == nullptr) return -1;
    memcpy(field, begin, len);
    field[len] = '\0';
    int before = sl->num_used;
    smartlist_add(sl, field);
    if (sl->num_used == before) {
        free(field);
        return -1;
    }
    return 1;
}

// Where the field starting at `from` ends: at the next separator, or the string's end.
const char *fieldEnd(const char *from, const char *sep) {
    if (sep == nullptr) {
        while (*from != '\0' && !isSpace(*from)) ++from;
        return from;
    }
    const char *found = strstr(from, sep);
    return found != nullptr ? found : from + strlen(from);
}

}  // namespace

// ---- core ----

extern "C" POS_API smartlist_t *smartlist_new(void) {
    smartlist_t *sl = static_cast<smartlist_t *>(malloc(sizeof(smartlist_t)));
    if (sl == nullptr) return nullptr;
    sl->list = static_cast<void **>(calloc(kInitialCapacity, sizeof(void *)));
    if (sl->list == nullptr) {
        free(sl);
        return nullptr;
    }
    sl->num_used = 0;
    sl->capacity = kInitialCapacity;
    return sl;
}

extern "C" POS_API void smartlist_free(smartlist_t *sl) {
    if (sl == nullptr) return;
    // Frees the elements, unlike smartlist_clear: kept for compatibility, the Wi-Fi scan
    // releases its records this way.
    for (int i = 0; i < sl->num_used; ++i) free(sl->list[i]);
    free(sl->list);
    free(sl);
}

extern "C" POS_API void smartlist_clear(smartlist_t *sl) {
    if (sl != nullptr) sl->num_used = 0;
}

extern "C" POS_API void smartlist_add(smartlist_t *sl, void *element) {
    if (sl == nullptr || !hasRoomFor(sl, 1)) return;
    sl->list[sl->num_used++] = element;
}

extern "C" POS_API void *smartlist_pop_last(smartlist_t *sl) {
    if (sl == nullptr || sl->num_used <= 0) return nullptr;
    return sl->list[--sl->num_used];
}

extern "C" POS_API void smartlist_del(smartlist_t *sl, int idx) {
    // An index outside the list is ignored rather than moving memory outside the slots.
    if (!validIndex(sl, idx)) return;
    sl->list[idx] = sl->list[--sl->num_used];
}

// ---- adding, removing and rearranging ----

extern "C" POS_API void smartlist_add_all(smartlist_t *sl, const smartlist_t *s2) {
    if (sl == nullptr || s2 == nullptr || s2->num_used <= 0) return;
    int n = s2->num_used;  // read first: s2 may be sl itself
    if (!hasRoomFor(sl, n)) return;
    memmove(sl->list + sl->num_used, s2->list, n * sizeof(void *));
    sl->num_used += n;
}

extern "C" POS_API void smartlist_remove(smartlist_t *sl, const void *element) {
    if (sl == nullptr) return;
    filterInPlace(sl, [element](void *e) { return e != element; });
}

extern "C" POS_API void smartlist_string_remove(smartlist_t *sl, const char *element) {
    if (sl == nullptr || element == nullptr) return;
    filterInPlace(sl, [element](void *e) {
        if (e == nullptr || strcmp(static_cast<char *>(e), element) != 0) return true;
        free(e);
        return false;
    });
}

extern "C" POS_API void smartlist_del_keeporder(smartlist_t *sl, int idx) {
    if (!validIndex(sl, idx)) return;
    memmove(sl->list + idx, sl->list + idx + 1, (sl->num_used - idx - 1) * sizeof(void *));
    --sl->num_used;
}

extern "C" POS_API void smartlist_insert(smartlist_t *sl, int idx, void *val) {
    if (sl == nullptr || idx < 0 || idx > sl->num_used || !hasRoomFor(sl, 1)) return;
    memmove(sl->list + idx + 1, sl->list + idx, (sl->num_used - idx) * sizeof(void *));
    sl->list[idx] = val;
    ++sl->num_used;
}

extern "C" POS_API void smartlist_reverse(smartlist_t *sl) {
    if (sl == nullptr) return;
    for (int i = 0, j = sl->num_used - 1; i < j; ++i, --j) swapSlots(sl, i, j);
}

// ---- searching and comparing ----

extern "C" POS_API int smartlist_contains(const smartlist_t *sl, const void *element) {
    if (sl == nullptr) return 0;
    for (int i = 0; i < sl->num_used; ++i) {
        if (sl->list[i] == element) return 1;
    }
    return 0;
}

extern "C" POS_API int smartlist_string_pos(const smartlist_t *sl, const char *element) {
    if (sl == nullptr || element == nullptr) return -1;
    for (int i = 0; i < sl->num_used; ++i) {
        const char *s = static_cast<const char *>(sl->list[i]);
        if (s != nullptr && strcmp(s, element) == 0) return i;
    }
    return -1;
}

extern "C" POS_API int smartlist_contains_string(const smartlist_t *sl, const char *element) {
    return smartlist_string_pos(sl, element) >= 0;
}

extern "C" POS_API int smartlist_contains_string_case(const smartlist_t *sl, const char *element) {
    if (sl == nullptr || element == nullptr) return 0;
    for (int i = 0; i < sl->num_used; ++i) {
        const char *s = static_cast<const char *>(sl->list[i]);
        if (s != nullptr && strcasecmp(s, element) == 0) return 1;
    }
    return 0;
}

namespace {

// Element-wise equality of two lists; both null counts as equal.
template <typename Equal>
int listsEqual(const smartlist_t *a, const smartlist_t *b, Equal equal) {
    if (a == nullptr || b == nullptr) return a == b;
    if (a->num_used != b->num_used) return 0;
    for (int i = 0; i < a->num_used; ++i) {
        const void *x = a->list[i];
        const void *y = b->list[i];
        if (x == nullptr || y == nullptr) {
            if (x != y) return 0;
        } else if (!equal(x, y)) {
            return 0;
        }
    }
    return 1;
}

}  // namespace

extern "C" POS_API int smartlist_strings_eq(const smartlist_t *sl1, const smartlist_t *sl2) {
    return listsEqual(sl1, sl2, [](const void *x, const void *y) {
        return strcmp(static_cast<const char *>(x), static_cast<const char *>(y)) == 0;
    });
}

extern "C" POS_API int smartlist_ints_eq(const smartlist_t *sl1, const smartlist_t *sl2) {
    return listsEqual(sl1, sl2, [](const void *x, const void *y) {
        return *static_cast<const int *>(x) == *static_cast<const int *>(y);
    });
}

extern "C" POS_API int smartlist_contains_buf(const smartlist_t *sl, const void *buf, size_t len) {
    if (sl == nullptr || buf == nullptr) return 0;
    for (int i = 0; i < sl->num_used; ++i) {
        if (sl->list[i] != nullptr && memcmp(sl->list[i], buf, len) == 0) return 1;
    }
    return 0;
}

extern "C" POS_API int smartlist_overlap(const smartlist_t *sl1, const smartlist_t *sl2) {
    if (sl1 == nullptr || sl2 == nullptr) return 0;
    for (int i = 0; i < sl2->num_used; ++i) {
        if (smartlist_contains(sl1, sl2->list[i])) return 1;
    }
    return 0;
}

extern "C" POS_API void smartlist_intersect(smartlist_t *sl1, const smartlist_t *sl2) {
    if (sl1 == nullptr || sl2 == nullptr || sl1 == sl2) return;
    filterInPlace(sl1, [sl2](void *e) { return smartlist_contains(sl2, e) != 0; });
}

extern "C" POS_API void smartlist_subtract(smartlist_t *sl1, const smartlist_t *sl2) {
    if (sl1 == nullptr || sl2 == nullptr) return;
    if (sl1 == sl2) {
        sl1->num_used = 0;  // everything in the list is in the list
        return;
    }
    filterInPlace(sl1, [sl2](void *e) { return smartlist_contains(sl2, e) == 0; });
}

// ---- sorting ----

extern "C" POS_API void smartlist_sort(smartlist_t *sl, smartlist_cmp_fn compare) {
    if (sl == nullptr || compare == nullptr) return;
    mergeSort(sl->list, sl->num_used, compare);
}

extern "C" POS_API void smartlist_sort_strings(smartlist_t *sl) {
    smartlist_sort(sl, compareStringSlots);
}

extern "C" POS_API void smartlist_sort_pointers(smartlist_t *sl) {
    smartlist_sort(sl, compareAddressSlots);
}

extern "C" POS_API int smartlist_bsearch_idx(const smartlist_t *sl, const void *key,
                                             smartlist_key_cmp_fn compare, int *found_out) {
    if (found_out != nullptr) *found_out = 0;
    if (sl == nullptr || compare == nullptr) return -1;
    // Lower bound: the first index whose element does not sort before the key.
    int lo = 0, hi = sl->num_used;
    while (lo < hi) {
        int mid = lo + (hi - lo) / 2;
        if (compare(key, const_cast<const void **>(&sl->list[mid])) > 0) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    if (found_out != nullptr && lo < sl->num_used) {
        *found_out = compare(key, const_cast<const void **>(&sl->list[lo])) == 0;
    }
    return lo;
}

extern "C" POS_API void *smartlist_bsearch(const smartlist_t *sl, const void *key,
                                           smartlist_key_cmp_fn compare) {
    int found = 0;
    int idx = smartlist_bsearch_idx(sl, key, compare, &found);
    return found ? sl->list[idx] : nullptr;
}

extern "C" POS_API void smartlist_uniq(smartlist_t *sl, smartlist_cmp_fn compare,
                                       void (*free_fn)(void *)) {
    if (sl == nullptr || compare == nullptr || sl->num_used < 2) return;
    int kept = 1;
    for (int i = 1; i < sl->num_used; ++i) {
        if (compareSlots(compare, &sl->list[kept - 1], &sl->list[i]) == 0) {
            if (free_fn != nullptr) free_fn(sl->list[i]);
        } else {
            sl->list[kept++] = sl->list[i];
        }
    }
    sl->num_used = kept;
}

extern "C" POS_API void smartlist_uniq_strings(smartlist_t *sl) {
    smartlist_uniq(sl, compareStringSlots, free);
}

extern "C" POS_API void *smartlist_get_most_frequent_(const smartlist_t *sl,
                                                      smartlist_cmp_fn compare, int *count_out) {
    void *best = nullptr;
    int bestCount = 0;
    if (sl != nullptr && compare != nullptr) {
        int runStart = 0;
        for (int i = 1; i <= sl->num_used; ++i) {
            bool runEnds =
                i == sl->num_used || compareSlots(compare, &sl->list[runStart], &sl->list[i]) != 0;
            if (!runEnds) continue;
            if (i - runStart > bestCount) {  // strictly longer: the first run wins a tie
                bestCount = i - runStart;
                best = sl->list[runStart];
            }
            runStart = i;
        }
    }
    if (count_out != nullptr) *count_out = bestCount;
    return best;
}

extern "C" POS_API const char *smartlist_get_most_frequent_string_(const smartlist_t *sl,
                                                                   int *count_out) {
    return static_cast<const char *>(
        smartlist_get_most_frequent_(sl, compareStringSlots, count_out));
}

extern "C" POS_API const char *smartlist_get_most_frequent_string(const smartlist_t *sl) {
    return smartlist_get_most_frequent_string_(sl, nullptr);
}

// ---- priority queue ----

extern "C" POS_API void smartlist_pqueue_add(smartlist_t *sl, smartlist_pq_cmp_fn compare,
                                             void *item) {
    if (sl == nullptr || compare == nullptr || !hasRoomFor(sl, 1)) return;
    sl->list[sl->num_used++] = item;
    siftUp(sl, compare, sl->num_used - 1);
}

extern "C" POS_API void *smartlist_pqueue_pop(smartlist_t *sl, smartlist_pq_cmp_fn compare) {
    if (sl == nullptr || compare == nullptr || sl->num_used <= 0) return nullptr;
    return heapRemoveAt(sl, compare, 0);
}

extern "C" POS_API void smartlist_pqueue_remove(smartlist_t *sl, smartlist_pq_cmp_fn compare,
                                                void *item) {
    if (sl == nullptr || compare == nullptr) return;
    for (int i = 0; i < sl->num_used; ++i) {
        if (sl->list[i] == item) {
            heapRemoveAt(sl, compare, i);
            return;
        }
    }
}

// ---- splitting and joining ----

extern "C" POS_API int smartlist_split_string(smartlist_t *sl, const char *str, const char *sep,
                                              int flags, int max) {
    if (sl == nullptr || str == nullptr) return -1;
    if (sep != nullptr && *sep == '\0') sep = nullptr;
    size_t sepLen = sep != nullptr ? strlen(sep) : 0;
    int added = 0;
    int made = 0;  // fields made, dropped blanks included, for the MAX limit
    const char *cursor = str;
    if (sep == nullptr) {
        while (isSpace(*cursor)) ++cursor;  // white-space splitting has no leading field
        if (*cursor == '\0') return 0;
    }
    for (;;) {
        bool last = max > 0 && made == max - 1;
        const char *end = last ? cursor + strlen(cursor) : fieldEnd(cursor, sep);
        int result = addField(sl, cursor, end, flags);
        if (result < 0) return added;
        added += result;
        ++made;
        if (*end == '\0') return added;
        if (sep != nullptr) {
            cursor = end + sepLen;
        } else {
            cursor = end;
            while (isSpace(*cursor)) ++cursor;
            if (*cursor == '\0') return added;
        }
    }
}

extern "C" POS_API char *smartlist_join_strings2(const smartlist_t *sl, const char *join,
                                                 size_t join_len, int terminate, size_t *len_out) {
    if (sl == nullptr || (join == nullptr && join_len > 0)) return nullptr;
    size_t total = 0;
    for (int i = 0; i < sl->num_used; ++i) {
        const char *s = static_cast<const char *>(sl->list[i]);
        if (s != nullptr) total += strlen(s);
    }
    int joins = sl->num_used > 0 ? sl->num_used - 1 + (terminate ? 1 : 0) : 0;
    total += static_cast<size_t>(joins) * join_len;
    char *out = static_cast<char *>(malloc(total + 1));
    if (out == nullptr) return nullptr;
    char *p = out;
    for (int i = 0; i < sl->num_used; ++i) {
        const char *s = static_cast<const char *>(sl->list[i]);
        if (s != nullptr) {
            size_t n = strlen(s);
            memcpy(p, s, n);
            p += n;
        }
        if (i < sl->num_used - 1 || terminate) {
            if (join_len > 0) memcpy(p, join, join_len);
            p += join_len;
        }
    }
    *p = '\0';
    if (len_out != nullptr) *len_out = total;
    return out;
}

extern "C" POS_API char *smartlist_join_strings(const smartlist_t *sl, const char *join,
                                                int terminate, size_t *len_out) {
    if (join == nullptr) join = "";
    return smartlist_join_strings2(sl, join, strlen(join), terminate, len_out);
}
