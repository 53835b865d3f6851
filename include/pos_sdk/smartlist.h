/* smartlist_t: a growable list of untyped pointers.
 *
 * Elements belong to whoever put them in, with one deliberate exception: smartlist_free
 * calls free() on every element, so a list handed to it must hold only heap blocks or
 * nulls (the Wi-Fi scan frees its records this way). smartlist_clear frees nothing.
 *
 * Indexes are ints from 0 to num_used - 1. A list starts with 16 slots; when more are
 * needed the capacity doubles until it is large enough, and it never shrinks. Operations
 * that remove or rearrange elements say whether they keep the order. An index out of
 * range, a null list or a null required argument makes an operation do nothing (a
 * function with a result then returns 0, -1 or null as stated). No operation locks. */
#ifndef POS_SDK_SMARTLIST_H
#define POS_SDK_SMARTLIST_H

#include <stddef.h>

#include "pos_export.h"

POS_BEGIN_DECLS

typedef struct smartlist_t {
    void **list;  /* capacity slots, the first num_used in use */
    int num_used; /* elements in use */
    int capacity; /* slots allocated */
} smartlist_t;

/* Comparison of two list slots, as for qsort: negative, zero or positive. */
typedef int (*smartlist_cmp_fn)(const void **a, const void **b);
/* Comparison of a search key with a list slot, negative when KEY sorts first. */
typedef int (*smartlist_key_cmp_fn)(const void *key, const void **member);
/* Comparison of two elements for the priority queue; the least element is popped first. */
typedef int (*smartlist_pq_cmp_fn)(const void *a, const void *b);

/* ---- Core ---------------------------------------------------------------------------- */

/* A new empty list with 16 zeroed slots, or null when out of memory. */
POS_API smartlist_t *smartlist_new(void);

/* Frees every non-null element among the first num_used, then the slots and the record.
 * Null is allowed. */
POS_API void smartlist_free(smartlist_t *sl);

/* Empties the list; the elements are neither freed nor zeroed. */
POS_API void smartlist_clear(smartlist_t *sl);

/* Appends ELEMENT. When out of memory the list is left as it was, without ELEMENT. */
POS_API void smartlist_add(smartlist_t *sl, void *element);

/* Removes and returns the last element; null when the list is empty. */
POS_API void *smartlist_pop_last(smartlist_t *sl);

/* Removes the element at IDX by moving the last element into its slot (fast; the order
 * is not kept). */
POS_API void smartlist_del(smartlist_t *sl, int idx);

/* ---- Adding, removing and rearranging -------------------------------------------------- */

/* Appends every element of S2 to SL, in order (SL and S2 may be the same list). */
POS_API void smartlist_add_all(smartlist_t *sl, const smartlist_t *s2);

/* Removes every element equal (as a pointer) to ELEMENT, keeping the others in order. */
POS_API void smartlist_remove(smartlist_t *sl, const void *element);

/* Removes every string equal (strcmp) to ELEMENT and frees it: the list must hold heap
 * strings, as smartlist_split_string makes. The others keep their order. */
POS_API void smartlist_string_remove(smartlist_t *sl, const char *element);

/* Removes the element at IDX, moving the ones after it down by one. */
POS_API void smartlist_del_keeporder(smartlist_t *sl, int idx);

/* Inserts VAL at IDX (0 to num_used), moving the ones from IDX up by one. */
POS_API void smartlist_insert(smartlist_t *sl, int idx, void *val);

/* Reverses the order of the elements. */
POS_API void smartlist_reverse(smartlist_t *sl);

/* ---- Searching and comparing ---------------------------------------------------------- */

/* 1 if the list holds ELEMENT (as a pointer), else 0. */
POS_API int smartlist_contains(const smartlist_t *sl, const void *element);

/* 1 if the list of strings holds one equal to ELEMENT (strcmp, or strcasecmp for the
 * _case variant), else 0. Null elements are skipped. */
POS_API int smartlist_contains_string(const smartlist_t *sl, const char *element);
POS_API int smartlist_contains_string_case(const smartlist_t *sl, const char *element);

/* Index of the first string equal (strcmp) to ELEMENT, or -1. */
POS_API int smartlist_string_pos(const smartlist_t *sl, const char *element);

/* 1 if the lists hold the same number of elements and each pair, in order, compares
 * equal: as strings (strcmp) or as pointers to int (by value); two nulls in the same
 * place are equal. Two null lists are equal; one null list is not. */
POS_API int smartlist_strings_eq(const smartlist_t *sl1, const smartlist_t *sl2);
POS_API int smartlist_ints_eq(const smartlist_t *sl1, const smartlist_t *sl2);

/* 1 if some non-null element's first LEN bytes equal BUF, else 0. Every element must
 * point to at least LEN bytes. */
POS_API int smartlist_contains_buf(const smartlist_t *sl, const void *buf, size_t len);

/* 1 if the two lists share at least one element (as a pointer), else 0. */
POS_API int smartlist_overlap(const smartlist_t *sl1, const smartlist_t *sl2);

/* Removes from SL1 the elements that are not in SL2 (intersect) or that are in SL2
 * (subtract), comparing pointers; the remaining elements keep their order. */
POS_API void smartlist_intersect(smartlist_t *sl1, const smartlist_t *sl2);
POS_API void smartlist_subtract(smartlist_t *sl1, const smartlist_t *sl2);

/* ---- Sorting ----------------------------------------------------------------------- */

/* Sorts with COMPARE, which receives pointers to two slots. The sort is stable, and an
 * inconsistent COMPARE gives an unspecified order but never touches memory outside the
 * list. When out of memory the list is left unsorted. */
POS_API void smartlist_sort(smartlist_t *sl, smartlist_cmp_fn compare);

/* Sorts a list of strings in strcmp order (nulls first), or any list by the addresses of
 * its elements. */
POS_API void smartlist_sort_strings(smartlist_t *sl);
POS_API void smartlist_sort_pointers(smartlist_t *sl);

/* On a list sorted by the order COMPARE describes, returns an element that compares equal
 * to KEY, or null. */
POS_API void *smartlist_bsearch(const smartlist_t *sl, const void *key,
                                smartlist_key_cmp_fn compare);

/* On a sorted list, returns the index of the first element equal to KEY and sets
 * *FOUND_OUT to 1; otherwise returns the index where KEY would be inserted to keep the
 * order and sets *FOUND_OUT to 0. FOUND_OUT may be null. A null list or COMPARE gives -1. */
POS_API int smartlist_bsearch_idx(const smartlist_t *sl, const void *key,
                                  smartlist_key_cmp_fn compare, int *found_out);

/* On a sorted list, removes each element that compares equal to the one before it,
 * keeping the first of every run; FREE_FN (may be null) is called on each removed
 * element. The string variant compares with strcmp and frees the removed strings. */
POS_API void smartlist_uniq(smartlist_t *sl, smartlist_cmp_fn compare, void (*free_fn)(void *));
POS_API void smartlist_uniq_strings(smartlist_t *sl);

/* On a sorted list, returns the element with the longest run of equal elements (the
 * first such run on a tie) and stores its length in *COUNT_OUT (may be null; 0 with a
 * null result for an empty list). The string variants compare with strcmp; the one
 * without a count is a shorthand. */
POS_API void *smartlist_get_most_frequent_(const smartlist_t *sl, smartlist_cmp_fn compare,
                                           int *count_out);
POS_API const char *smartlist_get_most_frequent_string(const smartlist_t *sl);
POS_API const char *smartlist_get_most_frequent_string_(const smartlist_t *sl, int *count_out);

/* ---- Priority queue -------------------------------------------------------------------- */

/* The list as a binary min-heap under COMPARE: add inserts ITEM, pop removes and returns
 * the least element (null when empty), remove takes out ITEM (compared as a pointer)
 * wherever it is. Use only these three on a list kept as a heap. */
POS_API void smartlist_pqueue_add(smartlist_t *sl, smartlist_pq_cmp_fn compare, void *item);
POS_API void *smartlist_pqueue_pop(smartlist_t *sl, smartlist_pq_cmp_fn compare);
POS_API void smartlist_pqueue_remove(smartlist_t *sl, smartlist_pq_cmp_fn compare, void *item);

/* ---- Splitting and joining ------------------------------------------------------------- */

/* Flags of smartlist_split_string. */
enum {
    SPLIT_SKIP_SPACE = 0x01,   /* drop white space at the start of each field */
    SPLIT_IGNORE_BLANK = 0x02, /* drop fields left empty */
    SPLIT_STRIP_SPACE = 0x04,  /* drop white space at both ends of each field */
};

/* Splits STR at each occurrence of the string SEP (or at runs of white space when SEP is
 * null or empty) and appends each field to SL as a new heap string. With MAX > 0, at
 * most MAX fields are made and the last one takes the rest of STR. Returns the number of
 * strings appended, or -1 for a null SL or STR. */
POS_API int smartlist_split_string(smartlist_t *sl, const char *str, const char *sep, int flags,
                                   int max);

/* Returns a new heap string of the list's strings with JOIN between them (and after the
 * last one too if TERMINATE is non-zero); null elements count as empty. Stores the
 * length, without the terminator, in *LEN_OUT if LEN_OUT is not null. Returns null for a
 * null SL or when out of memory. The 2 variant takes a JOIN of JOIN_LEN bytes, which may
 * contain zero bytes. */
POS_API char *smartlist_join_strings(const smartlist_t *sl, const char *join, int terminate,
                                     size_t *len_out);
POS_API char *smartlist_join_strings2(const smartlist_t *sl, const char *join, size_t join_len,
                                      int terminate, size_t *len_out);

POS_END_DECLS

#endif
