// Game text by the rules of each of its readers, EPD records, results, and the lines of files.
#include "base/line_reader.h"
#include "games/epd.h"
#include "games/game_text.h"
#include "games/results.h"
#include "test_support.h"

namespace {

constexpr GameTextRules SCORED = {
    .tag_lines_end_comments = true, .percent_is_no_tag = true, .longest_move = 5, .comments = true};
constexpr GameTextRules BOOK = {.controls_end_words = false,
                                .round_brackets = true,
                                .remark_lines = true,
                                .tag_lines_in_comments = false,
                                .letters_anywhere = true};

// '\' stands for the end of a line, '^' for a carriage return and '~' for a tab.
std::string plain_text(std::string text) {
    for (char &c : text) c = c == '\\' ? '\n' : c == '^' ? '\r' : c == '~' ? '\t' : c;
    return text;
}

// Moves as they are, <tag line>, {comment}.
std::string events_of(const GameTextRules &rules, const std::string &text) {
    GameTextReader reader(rules);
    std::istringstream lines(text);
    std::string shown;
    for (std::string line; std::getline(lines, line);) {
        reader.start_line(line);
        for (GameTextEvent event; reader.next(event);) {
            const std::string word(event.text);
            shown += event.kind == GameTextEvent::TAG_LINE  ? " <" + word + ">"
                     : event.kind == GameTextEvent::COMMENT ? " {" + word + "}"
                                                            : " " + word;
        }
    }
    return shown.empty() ? "-" : shown.substr(1);
}

TEST(GameText, IsReadByTheRulesOfItsReader) {
    check_rows("games/game_text.tsv", 1, [](const auto &row) {
        const std::string text = plain_text(row[0]);
        return fields(events_of({}, text), events_of(SCORED, text), events_of(BOOK, text));
    });
}

TEST(Epd, RecordsHaveFourFieldsAndOperations) {
    check_rows("games/epd.tsv", 1, [](const auto &row) {
        EpdRecord r;
        const bool read = parse_epd_record(plain_text(row[0]), r);
        return fields(read, r.fen, r.bm, r.am, r.ce, r.c0, r.c6, r.id, without_annotation(r.bm));
    });
    EpdRecord r;
    parse_epd_record(std::string(300, 'k').append(" w - - bm ").append(600, 'a'), r);
    EXPECT_EQ(fields(r.fen.size(), r.bm.size()), "255 | 511");
}

TEST(Results, AreNamedAndFound) {
    check_rows("games/results.tsv", 1, [](const auto &row) {
        const GameResult found = result_in(row[0]);
        return fields(result_text(result_named(row[0])), result_text(found), points_of_white(found));
    });
    EXPECT_EQ(fields(result_text(win_of(WHITE)), result_text(win_of(BLACK))), "1-0 | 0-1");
}

// "text:1" for a piece that ends its line, "text:0" for one that does not.
TEST(LineReader, CutsLongLinesIntoPieces) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("dral-lines-" + std::to_string(getpid()))).string();
    std::ofstream(path, std::ios::binary) << std::string("abc\nabcd\n\nab\0cd\nx\r\nend", 22);
    {
        LineReader pieces(path.c_str(), 4);
        std::string shown;
        for (std::string_view piece; pieces.next(piece);)
            shown += fields(piece, pieces.line_ended(), pieces.position()) + '/';
        EXPECT_EQ(shown,
                  "abc | 1 | 4/abcd | 0 | 8/ | 1 | 9/ | 1 | 10/ab | 0 | 14/d | 1 | 16/x\r | 1 | 19/end | 0 | 22/");
        EXPECT_EQ(pieces.size(), 22);
        LineReader whole(path.c_str(), 4);
        shown.clear();
        for (std::string line; whole.next_whole(line);) shown += line + '/';
        EXPECT_EQ(shown, "abc/abcd//abd/x\r/end/");
    }
    EXPECT_FALSE(LineReader(std::filesystem::temp_directory_path().string().c_str(), 4).is_open());
    std::filesystem::remove(path);
    EXPECT_FALSE(LineReader(path.c_str(), 4).is_open());
}

}  // namespace
