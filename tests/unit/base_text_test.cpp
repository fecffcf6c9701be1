#include "base/text.h"

#include <limits>

#include <gtest/gtest.h>

TEST(Text, LeadingNumbers) {
    const struct {
        const char *text;
        std::int64_t integer;
        double number;
    } cases[] = {
        {"", 0, 0.0},  {"abc", 0, 0.0},    {"12abc", 12, 12.0}, {"  -7 3", -7, -7.0}, {"+5", 5, 5.0},   {"+-5", 0, 0.0},
        {"-", 0, 0.0}, {"1.75s", 1, 1.75}, {"nan", 0, 0.0},     {"inf", 0, 0.0},      {"0x10", 0, 0.0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(leading_integer(c.text), c.integer) << c.text;
        EXPECT_EQ(leading_number(c.text), c.number) << c.text;
    }
    EXPECT_EQ(leading_integer("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(leading_integer("-99999999999999999999"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(clamped_integer("99999999999999999999", -5, 100), 100);
    EXPECT_EQ(clamped_integer("-99999999999999999999", -5, 100), -5);
}

TEST(Text, Words) {
    std::string_view text = "  go  depth 5 ";
    EXPECT_EQ(next_word(text), "go");
    EXPECT_EQ(next_word(text), "depth");
    EXPECT_EQ(next_word(text), "5");
    EXPECT_TRUE(next_word(text).empty());

    const auto words = split_words("one two  three four", 3, 3);
    ASSERT_EQ(words.size(), 3U);
    EXPECT_EQ(words[2], "thr");
}
