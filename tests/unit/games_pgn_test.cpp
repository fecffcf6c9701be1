// Whole games of PGN files, with all that their writers got wrong.
#include <gmock/gmock.h>

#include "games/pgn.h"
#include "test_support.h"

namespace {

// What is read from a file and, with the moves played out, written again: '\' stands for the end of a line, '^' for a
// carriage return, '~' for a control character, '`' for a backslash. A game without tags gets seven, which are left out;
// '!' marks damage.
std::string rewritten(std::string text) {
    for (char &c : text) c = c == '\\' ? '\n' : c == '^' ? '\r' : c == '~' ? '\1' : c == '`' ? '\\' : c;
    const std::string path =
        (std::filesystem::temp_directory_path() / ("dral-pgn-" + std::to_string(getpid()))).string();
    std::ofstream(path, std::ios::binary) << text;
    auto lines = std::make_unique<LineReader>(path.c_str(), 100);
    PgnReader reader(*lines);
    const auto board = make_test_position();
    std::string shown;
    for (PgnGame read; reader.next(read);) {
        const bool tags = !read.tags.empty();
        play_out(board->pos, read);
        std::string written = write_pgn(read);
        if (!tags) written.erase(0, written.find("\n\n") + 2);
        written.erase(written.size() - 2);
        std::replace(written.begin(), written.end(), '\\', '`');
        std::replace(written.begin(), written.end(), '\n', '\\');
        shown += (shown.empty() ? "" : " // ") + std::string(read.damaged ? "! " : "") + written;
    }
    lines.reset();
    std::filesystem::remove(path);
    return shown.empty() ? "-" : shown;
}

TEST(Pgn, IsReadAsPeopleWriteItAndWrittenToTheRules) {
    check_rows("games/pgn.tsv", 1, [](const auto &row) { return rewritten(row[0]); });
}

TEST(Pgn, LinesAreShorterThanEightyColumnsAndCommandsStayWhole) {
    std::string text = "1. e4 {[%clk 0:00:01][%emt 5] ";
    for (int i = 0; i < 100; ++i) text += i % 7 == 0 ? "50 % of [%csl Ga1,Rb2] " : "word; ";
    const std::string first = rewritten(text + "} e5 *");
    EXPECT_EQ(rewritten(first), first);
    EXPECT_THAT(first, testing::Not(testing::AnyOf(testing::HasSubstr("\\%"), testing::HasSubstr("\\;"),
                                                   testing::HasSubstr("csl\\"))));
    std::size_t longest = 0;
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
        end = first.find('\\', at);
        longest = std::max(longest, std::min(end, first.size()) - at);
    }
    EXPECT_THAT(longest, testing::AllOf(testing::Ge(75u), testing::Le(79u)));
}

TEST(Pgn, AGameLargerThanAMegabyteIsCut) {
    std::string text = "[Event \"a\"]\n1. e4 e5 {";
    for (int i = 0; i < 150'000; ++i) text += "12345 \n";
    const std::string written = rewritten(text + "} 2. Nf3 *\n[Event \"b\"]\n1. d4 *");
    EXPECT_LT(written.size(), 1'100'000u);
    EXPECT_THAT(written.substr(0, 20), testing::StartsWith("! [Event \"a\"]"));
    EXPECT_THAT(written.substr(written.size() - 40), testing::EndsWith(" // [Event \"b\"]\\\\1. d4 *"));
}

}  // namespace
