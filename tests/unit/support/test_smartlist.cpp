// smartlist_t: the growth and ownership rules callers rely on, then the rest of the family.
#include "pos_sdk/smartlist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<std::string> strings(const smartlist_t *sl) {
    std::vector<std::string> out;
    for (int i = 0; i < sl->num_used; ++i) {
        out.push_back(sl->list[i] ? static_cast<const char *>(sl->list[i]) : "(null)");
    }
    return out;
}

void addStrings(smartlist_t *sl, std::initializer_list<const char *> items) {
    for (const char *s : items) smartlist_add(sl, strdup(s));
}

int compareInts(const void *a, const void *b) {
    int x = *static_cast<const int *>(a), y = *static_cast<const int *>(b);
    return (x > y) - (x < y);
}

int compareKeyToString(const void *key, const void **member) {
    return strcmp(static_cast<const char *>(key), static_cast<const char *>(*member));
}

}  // namespace

TEST(SmartList, GrowsFrom16To32OnlyWhenFull) {
    smartlist_t *sl = smartlist_new();
    ASSERT_NE(sl, nullptr);
    EXPECT_EQ(sl->capacity, 16);
    EXPECT_EQ(sl->num_used, 0);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(sl->list[i], nullptr);

    int items[17];
    void **slots = sl->list;
    for (int i = 0; i < 16; ++i) smartlist_add(sl, &items[i]);
    EXPECT_EQ(sl->list, slots) << "the first 16 adds must not reallocate";
    EXPECT_EQ(sl->capacity, 16);

    smartlist_add(sl, &items[16]);
    EXPECT_EQ(sl->capacity, 32);
    EXPECT_EQ(sl->num_used, 17);
    for (int i = 0; i < 17; ++i) EXPECT_EQ(sl->list[i], &items[i]);

    smartlist_clear(sl);  // clear forgets the stack pointers without freeing them
    EXPECT_EQ(sl->num_used, 0);
    EXPECT_EQ(sl->capacity, 32);
    smartlist_free(sl);
}

TEST(SmartList, DelPopAndFreeFollowTheCoreRules) {
    smartlist_t *sl = smartlist_new();
    char a, b, c;
    smartlist_add(sl, &a);
    smartlist_add(sl, &b);
    smartlist_add(sl, &c);
    smartlist_del(sl, 0);  // the last element fills the hole
    ASSERT_EQ(sl->num_used, 2);
    EXPECT_EQ(sl->list[0], &c);
    EXPECT_EQ(sl->list[1], &b);
    smartlist_del(sl, 2);  // out of range: ignored
    smartlist_del(sl, -1);
    EXPECT_EQ(sl->num_used, 2);

    EXPECT_EQ(smartlist_pop_last(sl), &b);
    EXPECT_EQ(smartlist_pop_last(sl), &c);
    EXPECT_EQ(smartlist_pop_last(sl), nullptr);
    EXPECT_EQ(sl->num_used, 0);

    // smartlist_free releases heap elements and skips nulls (leaks show under ASan).
    smartlist_add(sl, malloc(540));
    smartlist_add(sl, nullptr);
    smartlist_add(sl, malloc(1));
    smartlist_free(sl);
    smartlist_free(nullptr);
}

TEST(SmartList, OrderedEditsAndSetOperations) {
    int v[6];
    smartlist_t *sl = smartlist_new();
    for (int i = 0; i < 4; ++i) smartlist_add(sl, &v[i]);  // v0 v1 v2 v3
    smartlist_insert(sl, 0, &v[4]);                        // v4 v0 v1 v2 v3
    smartlist_insert(sl, 5, &v[5]);                        // ... v5 at the end
    smartlist_insert(sl, 7, &v[5]);                        // out of range: ignored
    smartlist_del_keeporder(sl, 1);                        // v4 v1 v2 v3 v5
    smartlist_reverse(sl);                                 // v5 v3 v2 v1 v4
    std::vector<void *> expected = {&v[5], &v[3], &v[2], &v[1], &v[4]};
    EXPECT_EQ(std::vector<void *>(sl->list, sl->list + sl->num_used), expected);

    smartlist_add_all(sl, sl);  // doubling itself: 10 elements
    smartlist_remove(sl, &v[3]);
    expected = {&v[5], &v[2], &v[1], &v[4], &v[5], &v[2], &v[1], &v[4]};
    EXPECT_EQ(std::vector<void *>(sl->list, sl->list + sl->num_used), expected);

    smartlist_t *other = smartlist_new();
    smartlist_add(other, &v[1]);
    smartlist_add(other, &v[0]);
    EXPECT_TRUE(smartlist_overlap(sl, other));
    EXPECT_TRUE(smartlist_contains(sl, &v[4]));
    EXPECT_FALSE(smartlist_contains(sl, &v[0]));

    smartlist_t *copy = smartlist_new();
    smartlist_add_all(copy, sl);
    smartlist_intersect(copy, other);
    expected = {&v[1], &v[1]};
    EXPECT_EQ(std::vector<void *>(copy->list, copy->list + copy->num_used), expected);
    smartlist_subtract(sl, other);
    expected = {&v[5], &v[2], &v[4], &v[5], &v[2], &v[4]};
    EXPECT_EQ(std::vector<void *>(sl->list, sl->list + sl->num_used), expected);
    smartlist_remove(other, &v[1]);
    smartlist_remove(other, &v[0]);
    EXPECT_FALSE(smartlist_overlap(sl, other));

    smartlist_clear(sl);  // the elements live on the stack: do not let free() see them
    smartlist_clear(other);
    smartlist_clear(copy);
    smartlist_free(sl);
    smartlist_free(other);
    smartlist_free(copy);
}

TEST(SmartList, StringLookupsAndComparisons) {
    smartlist_t *sl = smartlist_new();
    addStrings(sl, {"alpha", "Beta", "gamma", "beta"});
    smartlist_add(sl, nullptr);
    EXPECT_EQ(smartlist_string_pos(sl, "gamma"), 2);
    EXPECT_EQ(smartlist_string_pos(sl, "delta"), -1);
    EXPECT_TRUE(smartlist_contains_string(sl, "beta"));
    EXPECT_FALSE(smartlist_contains_string(sl, "ALPHA"));
    EXPECT_TRUE(smartlist_contains_string_case(sl, "ALPHA"));
    EXPECT_TRUE(smartlist_contains_buf(sl, "gam", 3));
    EXPECT_FALSE(smartlist_contains_buf(sl, "gax", 3));

    smartlist_string_remove(sl, "beta");  // frees the removed string, keeps the order
    EXPECT_EQ(strings(sl), (std::vector<std::string>{"alpha", "Beta", "gamma", "(null)"}));

    smartlist_t *same = smartlist_new();
    addStrings(same, {"alpha", "Beta", "gamma"});
    smartlist_add(same, nullptr);
    EXPECT_TRUE(smartlist_strings_eq(sl, same));
    smartlist_reverse(same);
    EXPECT_FALSE(smartlist_strings_eq(sl, same));
    EXPECT_FALSE(smartlist_strings_eq(sl, nullptr));
    EXPECT_TRUE(smartlist_strings_eq(nullptr, nullptr));

    int x = 7, y = 7, z = 8;
    smartlist_t *i1 = smartlist_new(), *i2 = smartlist_new();
    smartlist_add(i1, &x);
    smartlist_add(i2, &y);
    EXPECT_TRUE(smartlist_ints_eq(i1, i2));  // compared by value, not by address
    i2->list[0] = &z;
    EXPECT_FALSE(smartlist_ints_eq(i1, i2));
    smartlist_clear(i1);
    smartlist_clear(i2);
    smartlist_free(i1);
    smartlist_free(i2);
    smartlist_free(sl);
    smartlist_free(same);
}

TEST(SmartList, SortSearchUniqAndMostFrequent) {
    smartlist_t *sl = smartlist_new();
    addStrings(sl, {"pear", "apple", "fig", "pear", "apple", "kiwi", "pear", "fig"});
    smartlist_sort_strings(sl);
    EXPECT_EQ(strings(sl), (std::vector<std::string>{"apple", "apple", "fig", "fig", "kiwi", "pear",
                                                     "pear", "pear"}));
    int count = 0;
    EXPECT_STREQ(smartlist_get_most_frequent_string_(sl, &count), "pear");
    EXPECT_EQ(count, 3);

    int found = -1;
    EXPECT_EQ(smartlist_bsearch_idx(sl, "fig", compareKeyToString, &found), 2);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(smartlist_bsearch_idx(sl, "grape", compareKeyToString, &found), 4);
    EXPECT_EQ(found, 0);
    EXPECT_EQ(smartlist_bsearch_idx(sl, "zucchini", compareKeyToString, &found), 8);
    EXPECT_EQ(found, 0);
    EXPECT_STREQ(static_cast<char *>(smartlist_bsearch(sl, "kiwi", compareKeyToString)), "kiwi");
    EXPECT_EQ(smartlist_bsearch(sl, "lime", compareKeyToString), nullptr);

    smartlist_uniq_strings(sl);  // frees the duplicates (checked by ASan)
    EXPECT_EQ(strings(sl), (std::vector<std::string>{"apple", "fig", "kiwi", "pear"}));
    // Every run is now one long: the tie goes to the first.
    EXPECT_STREQ(smartlist_get_most_frequent_string(sl), "apple");
    smartlist_free(sl);

    // Sorting by the first character only shows whether equal keys keep their order.
    smartlist_t *pairs = smartlist_new();
    addStrings(pairs, {"b1", "a1", "b2", "a2", "b3", "a3"});
    smartlist_sort(pairs, [](const void **a, const void **b) {
        return *static_cast<const char *>(*a) - *static_cast<const char *>(*b);
    });
    EXPECT_EQ(strings(pairs), (std::vector<std::string>{"a1", "a2", "a3", "b1", "b2", "b3"}));
    smartlist_free(pairs);

    // Every length up to 70 against std::stable_sort, with many equal keys.
    std::mt19937 rng(3);
    for (int n = 0; n <= 70; ++n) {
        std::vector<int> keys(n);
        for (int &k : keys) k = static_cast<int>(rng() % 5);
        smartlist_t *ints = smartlist_new();
        for (int &k : keys) smartlist_add(ints, &k);
        smartlist_sort(ints, [](const void **a, const void **b) { return compareInts(*a, *b); });
        std::vector<int *> expected;
        for (int &k : keys) expected.push_back(&k);
        std::stable_sort(expected.begin(), expected.end(), [](int *a, int *b) { return *a < *b; });
        ASSERT_EQ(std::vector<void *>(ints->list, ints->list + n),
                  std::vector<void *>(expected.begin(), expected.end()))
            << n;
        smartlist_clear(ints);
        smartlist_free(ints);
    }

    char block[4];
    smartlist_t *ptrs = smartlist_new();
    for (char *p : {&block[2], &block[0], &block[3], &block[1]}) smartlist_add(ptrs, p);
    smartlist_sort_pointers(ptrs);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ptrs->list[i], &block[i]);
    smartlist_clear(ptrs);
    smartlist_free(ptrs);
}

TEST(SmartList, PriorityQueuePopsInAscendingOrder) {
    std::mt19937 rng(42);
    std::vector<int> values(200);
    for (int &v : values) v = static_cast<int>(rng() % 1000);
    smartlist_t *pq = smartlist_new();
    for (int &v : values) smartlist_pqueue_add(pq, compareInts, &v);

    // Take a few out from the middle; the rest must still come out sorted.
    std::vector<int> expected;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i % 7 == 3) {
            smartlist_pqueue_remove(pq, compareInts, &values[i]);
        } else {
            expected.push_back(values[i]);
        }
    }
    std::sort(expected.begin(), expected.end());
    std::vector<int> popped;
    while (void *p = smartlist_pqueue_pop(pq, compareInts)) popped.push_back(*(int *)p);
    EXPECT_EQ(popped, expected);
    smartlist_free(pq);
}

TEST(SmartList, SplitAndJoin) {
    smartlist_t *sl = smartlist_new();
    EXPECT_EQ(smartlist_split_string(sl, " a , b,, c ", ",", 0, 0), 4);
    EXPECT_EQ(strings(sl), (std::vector<std::string>{" a ", " b", "", " c "}));
    smartlist_free(sl);

    sl = smartlist_new();
    EXPECT_EQ(
        smartlist_split_string(sl, " a , b,, c ", ",", SPLIT_STRIP_SPACE | SPLIT_IGNORE_BLANK, 0),
        3);
    EXPECT_EQ(smartlist_split_string(sl, "k1=v=1", "=", SPLIT_SKIP_SPACE, 2), 2);
    EXPECT_EQ(smartlist_split_string(sl, "  x\t y\n", nullptr, 0, 0), 2);
    EXPECT_EQ(strings(sl), (std::vector<std::string>{"a", "b", "c", "k1", "v=1", "x", "y"}));

    size_t len = 0;
    char *joined = smartlist_join_strings(sl, "::", 0, &len);
    EXPECT_STREQ(joined, "a::b::c::k1::v=1::x::y");
    EXPECT_EQ(len, strlen(joined));
    free(joined);
    joined = smartlist_join_strings2(sl, "\0", 1, 1, &len);  // zero bytes between and after
    EXPECT_EQ(std::string(joined, len), std::string("a\0b\0c\0k1\0v=1\0x\0y\0", 17));
    free(joined);
    smartlist_free(sl);

    sl = smartlist_new();
    joined = smartlist_join_strings(sl, ",", 1, &len);
    EXPECT_STREQ(joined, "");
    EXPECT_EQ(len, 0u);
    free(joined);
    EXPECT_EQ(smartlist_split_string(sl, nullptr, ",", 0, 0), -1);
    smartlist_free(sl);
}
