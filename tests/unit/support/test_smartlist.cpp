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

std::vector<void *> items(const smartlist_t *sl) {
    return std::vector<void *>(sl->list, sl->list + sl->num_used);
}

std::vector<std::string> strings(const smartlist_t *sl) {
    std::vector<std::string> out;
    for (void *p : items(sl)) out.push_back(p ? static_cast<const char *>(p) : "(null)");
    return out;
}

smartlist_t *heapStrings(std::initializer_list<const char *> texts) {
    smartlist_t *sl = smartlist_new();
    for (const char *s : texts) smartlist_add(sl, strdup(s));
    return sl;
}

// For lists of stack pointers: smartlist_free would free() its elements.
void releaseShell(smartlist_t *sl) {
    smartlist_clear(sl);
    smartlist_free(sl);
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

    int v[17];
    void **slots = sl->list;
    for (int i = 0; i < 16; ++i) smartlist_add(sl, &v[i]);
    EXPECT_EQ(sl->list, slots) << "the first 16 adds must not reallocate";
    EXPECT_EQ(sl->capacity, 16);
    smartlist_add(sl, &v[16]);
    EXPECT_EQ(sl->capacity, 32);
    EXPECT_EQ(sl->num_used, 17);
    for (int i = 0; i < 17; ++i) EXPECT_EQ(sl->list[i], &v[i]);
    releaseShell(sl);
}

TEST(SmartList, DelPopAndFreeFollowTheCoreRules) {
    smartlist_t *sl = smartlist_new();
    char a, b, c;
    for (char *p : {&a, &b, &c}) smartlist_add(sl, p);
    smartlist_del(sl, 0);  // the last element fills the hole
    EXPECT_EQ(items(sl), (std::vector<void *>{&c, &b}));
    smartlist_del(sl, 2);  // out of range: ignored
    EXPECT_EQ(sl->num_used, 2);

    EXPECT_EQ(smartlist_pop_last(sl), &b);
    EXPECT_EQ(smartlist_pop_last(sl), &c);
    EXPECT_EQ(smartlist_pop_last(sl), nullptr);
    EXPECT_EQ(sl->num_used, 0);

    // smartlist_free releases heap elements and skips nulls (a leak shows under ASan).
    smartlist_add(sl, malloc(540));
    smartlist_add(sl, nullptr);
    smartlist_free(sl);
}

TEST(SmartList, OrderedEditsAndSetOperations) {
    int v[6];
    smartlist_t *sl = smartlist_new();
    for (int i = 0; i < 4; ++i) smartlist_add(sl, &v[i]);  // v0 v1 v2 v3
    smartlist_insert(sl, 0, &v[4]);                        // v4 v0 v1 v2 v3
    smartlist_insert(sl, 5, &v[5]);                        // v4 v0 v1 v2 v3 v5
    smartlist_insert(sl, 7, &v[5]);                        // out of range: ignored
    smartlist_del_keeporder(sl, 1);                        // v4 v1 v2 v3 v5
    smartlist_reverse(sl);                                 // v5 v3 v2 v1 v4
    smartlist_add_all(sl, sl);                             // twice over
    smartlist_remove(sl, &v[3]);
    EXPECT_EQ(items(sl),
              (std::vector<void *>{&v[5], &v[2], &v[1], &v[4], &v[5], &v[2], &v[1], &v[4]}));

    smartlist_t *other = smartlist_new();
    smartlist_add(other, &v[1]);
    smartlist_add(other, &v[0]);
    EXPECT_TRUE(smartlist_overlap(sl, other));
    smartlist_t *common = smartlist_new();
    smartlist_add_all(common, sl);
    smartlist_intersect(common, other);
    EXPECT_EQ(items(common), (std::vector<void *>{&v[1], &v[1]}));
    smartlist_subtract(sl, other);
    EXPECT_EQ(items(sl), (std::vector<void *>{&v[5], &v[2], &v[4], &v[5], &v[2], &v[4]}));
    EXPECT_FALSE(smartlist_overlap(sl, other));
    releaseShell(sl);
    releaseShell(other);
    releaseShell(common);
}

TEST(SmartList, StringLookupsAndComparisons) {
    smartlist_t *sl = heapStrings({"alpha", "Beta", "gamma", "beta"});
    smartlist_add(sl, nullptr);
    EXPECT_EQ(smartlist_string_pos(sl, "gamma"), 2);
    EXPECT_EQ(smartlist_string_pos(sl, "delta"), -1);
    EXPECT_FALSE(smartlist_contains_string(sl, "ALPHA"));
    EXPECT_TRUE(smartlist_contains_string_case(sl, "ALPHA"));
    EXPECT_TRUE(smartlist_contains_buf(sl, "gam", 3));

    smartlist_string_remove(sl, "beta");  // frees the removed string, keeps the order
    smartlist_t *same = heapStrings({"alpha", "Beta", "gamma"});
    smartlist_add(same, nullptr);
    EXPECT_TRUE(smartlist_strings_eq(sl, same));
    smartlist_reverse(same);
    EXPECT_FALSE(smartlist_strings_eq(sl, same));

    int x = 7, y = 7, z = 8;
    smartlist_t *i1 = smartlist_new(), *i2 = smartlist_new();
    smartlist_add(i1, &x);
    smartlist_add(i2, &y);
    EXPECT_TRUE(smartlist_ints_eq(i1, i2));  // by value, not by address
    i2->list[0] = &z;
    EXPECT_FALSE(smartlist_ints_eq(i1, i2));
    releaseShell(i1);
    releaseShell(i2);
    smartlist_free(sl);
    smartlist_free(same);
}

TEST(SmartList, SortSearchUniqAndMostFrequent) {
    smartlist_t *sl = heapStrings({"pear", "apple", "fig", "pear", "apple", "kiwi", "pear", "fig"});
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
    EXPECT_STREQ(static_cast<char *>(smartlist_bsearch(sl, "kiwi", compareKeyToString)), "kiwi");
    EXPECT_EQ(smartlist_bsearch(sl, "zucchini", compareKeyToString), nullptr);

    smartlist_uniq_strings(sl);  // frees the duplicates (checked by ASan)
    EXPECT_EQ(strings(sl), (std::vector<std::string>{"apple", "fig", "kiwi", "pear"}));
    EXPECT_STREQ(smartlist_get_most_frequent_string(sl), "apple");  // a tie goes to the first
    smartlist_free(sl);

    // Every length up to 70 against std::stable_sort, with many equal keys.
    std::mt19937 rng(3);
    for (int n = 0; n <= 70; ++n) {
        std::vector<int> keys(n);
        for (int &k : keys) k = static_cast<int>(rng() % 5);
        smartlist_t *ints = smartlist_new();
        std::vector<void *> expected;
        for (int &k : keys) smartlist_add(ints, &k), expected.push_back(&k);
        smartlist_sort(ints, [](const void **a, const void **b) { return compareInts(*a, *b); });
        std::stable_sort(expected.begin(), expected.end(),
                         [](void *a, void *b) { return compareInts(a, b) < 0; });
        ASSERT_EQ(items(ints), expected) << n;
        releaseShell(ints);
    }
}

TEST(SmartList, PriorityQueuePopsInAscendingOrder) {
    std::mt19937 rng(42);
    std::vector<int> values(200);
    for (int &v : values) v = static_cast<int>(rng() % 1000);
    smartlist_t *pq = smartlist_new();
    for (int &v : values) smartlist_pqueue_add(pq, compareInts, &v);

    // Take some out from the middle; the rest must still come out sorted.
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
        smartlist_split_string(sl, " a,b,, c ", ",", SPLIT_STRIP_SPACE | SPLIT_IGNORE_BLANK, 0), 3);
    EXPECT_EQ(smartlist_split_string(sl, "k1=v=1", "=", 0, 2), 2);  // the last takes the rest
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
}
