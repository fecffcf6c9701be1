#include "base/text.h"
#include "test_support.h"

TEST(Text, LeadingNumbers) {
    check_rows("base/numbers.tsv", 1, [](const auto &row) {
        return fields(leading_integer(row[0]), leading_number(row[0]), clamped_integer(row[0], -5, 100));
    });
    EXPECT_EQ(leading_number("1" + std::string(400, '0')), 1e15);
}

TEST(Text, Words) {
    std::string_view text = "  go\t depth 5 ";
    EXPECT_EQ(next_word(text), "go");
    EXPECT_EQ(text, "\t depth 5 ");
    EXPECT_EQ(next_word(text), "depth");
    EXPECT_EQ(next_word(text), "5");
    EXPECT_EQ(next_word(text), "");
    const auto words = split_words("one two  three four", 3, 3);
    ASSERT_EQ(words.size(), 3U);
    EXPECT_EQ(fields(words[0], words[2], word_at(words, 1), word_at(words, 3)), "one | thr | two | ");
}
