// Game text by the rules of each of its readers, and results.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "games/game_text.h"
#include "games/results.h"

namespace {

constexpr GameTextRules SCORED = {
    .tag_lines_end_comments = true, .percent_is_no_tag = true, .longest_move = 5, .comments = true};
constexpr GameTextRules BOOK = {.controls_end_words = false,
                                .round_brackets = true,
                                .remark_lines = true,
                                .tag_lines_in_comments = false,
                                .letters_anywhere = true};

// Moves as they are, <tag line>, {comment}.
std::string events_of(const GameTextRules &rules, std::string_view text) {
    GameTextReader reader(rules);
    std::string shown;
    for (std::size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
        end = std::min(text.find('\n'), text.size());
        reader.start_line(text.substr(0, end));
        for (GameTextEvent event; reader.next(event);) {
            const std::string word(event.text);
            shown += event.kind == GameTextEvent::TAG_LINE  ? "<" + word + ">"
                     : event.kind == GameTextEvent::COMMENT ? "{" + word + "}"
                                                            : word + " ";
        }
    }
    return shown;
}

TEST(GameText, IsReadByTheRulesOfItsReader) {
    const struct {
        std::string_view text;
        const char *plain, *scored, *book;
    } CASES[] = {
        {"[a]\n1.e4 e5 2. Nf3", "<[a]>e4 e5 Nf3 ", "<[a]>e4 e5 Nf3 ", "<[a]>e4 e5 Nf3 "},
        {"e4{x{y}\nz}e5}d4", "e4 e5 d4 ", "e4 {x{y} z}e5 d4 ", "e4 e5 d4 "},
        {"e4 (d4 {)} c4) e5", "e4 c4) e5 ", "e4 {)}c4) e5 ", "e4 c4 e5 "},
        {"e\t4 e\r5", "e e ", "e e ", "e4 e5 "},
        {";e4\n$1 0-0 4e 1...e5", "e5 ", "e5 ", "0-0 4e e5 "},
        {"{\n[b]\ne4", "<[b]>", "<[b]>e4 ", ""},
        {"[%e4\n;d4", "<[%e4>", "", "<[%e4>"},
        {"exd8=Q+", "exd8=Q+ ", "exd8= ", "exd8=Q+ "},
    };
    for (const auto &c : CASES) {
        EXPECT_EQ(events_of({}, c.text), c.plain) << c.text;
        EXPECT_EQ(events_of(SCORED, c.text), c.scored) << c.text;
        EXPECT_EQ(events_of(BOOK, c.text), c.book) << c.text;
    }
}

TEST(Results, HaveOneTextEach) {
    for (const GameResult result : {GameResult::WHITE_WINS, GameResult::BLACK_WINS, GameResult::DRAW}) {
        EXPECT_EQ(result_named(result_text(result)), result);
        EXPECT_EQ(result_in("\"" + std::string(result_text(result)) + "\";"), result);
    }
    EXPECT_EQ(result_named("1/2"), GameResult::UNKNOWN);
    EXPECT_EQ(result_in("1/2"), GameResult::DRAW);
    EXPECT_EQ(result_in("*"), GameResult::UNKNOWN);
}

}  // namespace
