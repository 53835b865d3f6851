// The response-line tokenizer and the prefix test.
#include <gtest/gtest.h>

#include <pos_sdk/at.h>

#include <string>

namespace {

TEST(AtTok, IntegersAfterThePrefix) {
    char line[] = "+CSQ: 20,99";
    char *cursor = line;
    int a = 0, b = 0;
    ASSERT_EQ(at_tok_start(&cursor), 0);
    EXPECT_EQ(at_tok_nextint(&cursor, &a), 0);
    EXPECT_TRUE(at_tok_hasmore(&cursor));
    EXPECT_EQ(at_tok_nextint(&cursor, &b), 0);
    EXPECT_EQ(a * 100 + b, 2099);
    EXPECT_FALSE(at_tok_hasmore(&cursor));
    EXPECT_EQ(cursor, nullptr);  // the end of the line
    EXPECT_EQ(at_tok_nextint(&cursor, &a), -1);

    char noColon[] = "OK";
    cursor = noColon;
    EXPECT_EQ(at_tok_start(&cursor), -1);
    EXPECT_EQ(cursor, noColon);
    cursor = nullptr;
    EXPECT_EQ(at_tok_start(&cursor), -1);
    EXPECT_EQ(at_tok_start(nullptr), -1);
}

TEST(AtTok, QuotedStringsHexAndSigns) {
    char line[] = "+COPS: 0, 0,\"CHINA, MOBILE\" ,7,1A2b,-5,  ,x";
    char *cursor = line;
    int mode = -1, format = -1, act = -1, hex = 0, negative = 0, missing = 7;
    char *name = nullptr;
    ASSERT_EQ(at_tok_start(&cursor), 0);
    EXPECT_EQ(at_tok_nextint(&cursor, &mode), 0);
    EXPECT_EQ(at_tok_nextint(&cursor, &format), 0);
    EXPECT_EQ(at_tok_nextstr(&cursor, &name), 0);
    EXPECT_STREQ(name, "CHINA, MOBILE");  // the comma inside the quotes stays
    EXPECT_EQ(at_tok_nextint(&cursor, &act), 0);
    EXPECT_EQ(at_tok_nexthexint(&cursor, &hex), 0);
    EXPECT_EQ(at_tok_nextint(&cursor, &negative), 0);
    EXPECT_EQ(mode + format + act, 7);
    EXPECT_EQ(hex, 0x1a2b);
    EXPECT_EQ(negative, -5);
    EXPECT_EQ(at_tok_nextint(&cursor, &missing), -1);  // blank token: no digit, value stored
    EXPECT_EQ(missing, 0);
    char *last = nullptr;
    EXPECT_EQ(at_tok_nextstr(&cursor, &last), 0);
    EXPECT_STREQ(last, "x");
    EXPECT_EQ(at_tok_nextstr(&cursor, &last), -1);  // past the end
}

TEST(AtTok, BooleansAreZeroOrOne) {
    char line[] = "+X: 1,0,2";
    char *cursor = line;
    char a = 9, b = 9, c = 9;
    ASSERT_EQ(at_tok_start(&cursor), 0);
    EXPECT_EQ(at_tok_nextbool(&cursor, &a), 0);
    EXPECT_EQ(at_tok_nextbool(&cursor, nullptr), 0);  // the value may be dropped
    EXPECT_EQ(at_tok_nextbool(&cursor, &c), -1);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 9);
    EXPECT_EQ(c, 9);
}

TEST(AtTok, UnterminatedQuoteEndsTheLine) {
    char line[] = "+Q: \"abc";
    char *cursor = line;
    char *text = nullptr;
    ASSERT_EQ(at_tok_start(&cursor), 0);
    EXPECT_EQ(at_tok_nextstr(&cursor, &text), 0);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(cursor, nullptr);
}

TEST(StrStartsWith, PrefixesAndEmpty) {
    EXPECT_EQ(strStartsWith("+CME ERROR: 10", "+CME ERROR:"), 1);
    EXPECT_EQ(strStartsWith("OK", ""), 1);
    EXPECT_EQ(strStartsWith("O", "OK"), 0);
    EXPECT_EQ(strStartsWith("NO CARRIER", "NO ANSWER"), 0);
    EXPECT_EQ(strStartsWith(nullptr, "OK"), 0);
}

}  // namespace
