// The Polyglot book format, drawing a move from a book, and files that are no books.
#include <gmock/gmock.h>

#include <sys/stat.h>

#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "book/format.h"
#include "book/probe.h"
#include "frontend/book_listing.h"
#include "search/limits.h"
#include "test_support.h"

namespace {

using testing::HasSubstr;

std::uint16_t book_move(const std::string &from, const std::string &to, int promotion = 0) {
    const auto square = [](const std::string &name) { return (name[1] - '1') * 8 + name[0] - 'a'; };
    return static_cast<std::uint16_t>(promotion << 12 | square(from) << 6 | square(to));
}

class BookTest : public testing::Test {
protected:
    void SetUp() override {
        path_ = std::filesystem::temp_directory_path() / ("dral-book-" + std::to_string(getpid()));
        name_ = path_.string();
        options_.file = name_;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    void write(const std::string &bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }

    // A book with the given moves of one position between two others.
    void write_book(const Position &pos, const std::vector<std::pair<std::uint16_t, std::uint16_t>> &moves) const {
        const std::uint64_t key = polyglot_key(pos);
        std::string bytes;
        const auto add = [&bytes](std::uint64_t k, std::uint16_t move, std::uint16_t weight) {
            const auto entry = book_entry_bytes({k, move, weight, 0});
            bytes.append(entry.data(), entry.size());
        };
        add(key - 1, book_move("a2", "a3"), 500);
        for (const auto &[move, weight] : moves) add(key, move, weight);
        add(key + 1, book_move("h2", "h3"), 500);
        write(bytes);
    }

    BookDraw draw(const Position &pos) { return probe_book(pos, options_, random_); }
    std::string drawn(const Position &pos) { return coordinates(draw(pos).move); }
    static std::string shown(const BookDraw &draw, BookProtocol protocol, double noise = 0.0) {
        testing::internal::CaptureStdout();
        print_book_draw(draw, protocol, noise);
        return testing::internal::GetCapturedStdout();
    }

    std::filesystem::path path_;
    std::string name_;
    BookOptions options_{"", 25};
    RandomGenerator random_{4711};
};

TEST(BookFormat, KeysAreThePublishedOnes) {
    const std::filesystem::path file = test_data_directory() / "polyglot" / "keys.txt";
    std::ifstream in(file);
    if (!in) GTEST_SKIP() << "no test data: " << file;
    std::string key;
    std::string fen;
    int count = 0;
    while (in >> key && std::getline(in >> std::ws, fen)) {
        EXPECT_EQ(polyglot_key(make_test_position(fen)->pos), std::stoull(key, nullptr, 16)) << fen;
        ++count;
    }
    EXPECT_EQ(count, 14);
}

TEST(BookFormat, MovesAndBytesSurviveTheRoundTrip) {
    const struct {
        std::uint16_t coded;
        const char *move;
        bool and_back;
    } CASES[] = {
        {book_move("e2", "e4"), "e2e4", true},     {book_move("e1", "h1"), "e1g1", true},
        {book_move("e1", "a1"), "e1c1", true},     {book_move("e8", "h8"), "e8g8", true},
        {book_move("e8", "a8"), "e8c8", true},     {book_move("a7", "a8", 1), "a7a8n", true},
        {book_move("a7", "a8", 2), "a7a8b", true}, {book_move("a7", "a8", 3), "a7a8r", true},
        {book_move("a7", "a8", 4), "a7a8q", true}, {book_move("a7", "a8", 5), "null", false},
        {book_move("e1", "g1"), "e1g1", false},
    };
    for (const auto &c : CASES) {
        EXPECT_EQ(coordinates(move_from_book(c.coded)), c.move);
        EXPECT_EQ(move_to_book(move_from_book(c.coded)) == c.coded, c.and_back) << c.move;
    }
    const auto bytes = book_entry_bytes({0x0123456789ABCDEF, 0x1FB2, 0xFFFE, 0x89ABCDEF});
    EXPECT_EQ(std::string(bytes.data(), bytes.size()),
              std::string("\x01\x23\x45\x67\x89\xAB\xCD\xEF\x1F\xB2\xFF\xFE\x89\xAB\xCD\xEF"));
    std::istringstream in(std::string(bytes.data(), bytes.size()) + "rest of 15 byte");
    BookEntry entry;
    ASSERT_TRUE(read_book_entry(in, entry));
    EXPECT_EQ(entry.key, 0x0123456789ABCDEF);
    EXPECT_EQ(entry.move, 0x1FB2);
    EXPECT_EQ(entry.weight, 0xFFFE);
    EXPECT_EQ(entry.learn, 0x89ABCDEF);
    EXPECT_FALSE(read_book_entry(in, entry));
}

// Moves and weights read from the file by hand.
TEST_F(BookTest, ListsTheMovesOfARealBook) {
    const std::filesystem::path file = test_data_directory() / "polyglot" / "performance.bin";
    if (!std::filesystem::exists(file)) GTEST_SKIP() << "no test data: " << file;
    std::filesystem::create_symlink(std::filesystem::absolute(file), path_);
    const struct {
        const char *fen, *moves;
    } CASES[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", "e2e4 1 d2d4 1 c2c4 1 "},
        {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3", "e7e5 1 c7c5 1 "},
        {"rnbqkbnr/pp1ppppp/8/2p5/4P3/8/PPPP1PPP/RNBQKBNR w KQkq c6", "g1f3 306 b1c3 12 c2c3 10 "},
        {"r1bqkb1r/1ppp1ppp/p1n2n2/4p3/B3P3/5N2/PPPP1PPP/RNBQK2R w KQkq -", "e1h1 82 "},
        {"rnbqkbnr/pppppppp/8/8/8/P7/1PPPPPPP/RNBQKBNR w KQkq -", ""},
    };
    static const std::regex LISTED("  (\\S{4})  cnt= +(\\d+), weight= *[\\d.]+% -> *[\\d.]+%\n");
    for (const auto &c : CASES) {
        const auto board = make_test_position(c.fen);
        const BookDraw draw = this->draw(board->pos);
        const Move move = draw.move;
        const std::string text = shown(draw, BookProtocol::CONSOLE);
        EXPECT_EQ(shown(draw, BookProtocol::CONSOLE, NO_PROGRESS_LINES), "");
        std::string listed;
        for (std::sregex_iterator it(text.begin(), text.end(), LISTED), end; it != end; ++it)
            listed += it->str(1) + ' ' + it->str(2) + ' ';
        EXPECT_EQ(listed, c.moves) << c.fen << '\n' << text;
        EXPECT_EQ(move != NO_MOVE, *c.moves != '\0') << c.fen;
        if (move == NO_MOVE) continue;
        EXPECT_THAT(text, HasSubstr("\nselecting " + coordinates(move) + "\n"));  // castling as it is played
    }
}

TEST_F(BookTest, VarietyShiftsTheShares) {
    const auto board = make_test_position();
    write_book(board->pos, {{book_move("e2", "e4"), 100}, {book_move("d2", "d4"), 60}, {book_move("c2", "c4"), 10}});
    const struct {
        int variety;
        double e4, d4, c4;  // expected shares
    } CASES[] = {
        {0, 75.0 / 110, 35.0 / 110, 0.0},  // 25 off each weight
        {25, 100.0 / 170, 60.0 / 170, 10.0 / 170},
        {60, 135.0 / 275, 95.0 / 275, 45.0 / 275},  // 35 added
        {100, 175.0 / 395, 135.0 / 395, 85.0 / 395},
    };
    constexpr int DRAWS = 10000;
    for (const auto &c : CASES) {
        options_.variety = c.variety;
        std::map<std::string, int> count;
        for (int i = 0; i < DRAWS; ++i) ++count[drawn(board->pos)];
        EXPECT_NEAR(count["e2e4"] / double{DRAWS}, c.e4, 0.015) << c.variety;
        EXPECT_NEAR(count["d2d4"] / double{DRAWS}, c.d4, 0.015) << c.variety;
        EXPECT_NEAR(count["c2c4"] / double{DRAWS}, c.c4, 0.015) << c.variety;
        EXPECT_EQ(count["e2e4"] + count["d2d4"] + count["c2c4"], DRAWS);
    }
}

TEST_F(BookTest, ShowsTheMovesAsEachProtocolDoes) {
    const auto board = make_test_position("7k/P7/8/8/8/8/8/4K2R w K -");
    write_book(board->pos, {{book_move("a7", "a8", 4), 100}, {book_move("e1", "h1"), 10}, {book_move("e1", "f1"), 0}});
    options_.variety = 100;
    EXPECT_THAT(shown(draw(board->pos), BookProtocol::CONSOLE),
                HasSubstr("  a7a8  cnt=   100, weight= 90.91% -> 52.24%\n"
                          "  e1h1  cnt=    10, weight=  9.09% -> 25.37%\n"
                          "  e1f1  cnt=     0, weight=  0.00% -> 22.39%\nselecting "));
    options_.variety = 25;
    EXPECT_EQ(shown(draw(board->pos), BookProtocol::UCI), "info string ( book moves are: a7a8 e1h1  )\n");
}

TEST_F(BookTest, PlaysLegalMovesOnly) {
    const struct {
        const char *fen;
        std::uint16_t coded;
        const char *played;
    } CASES[] = {
        {"4k3/8/8/8/8/8/8/R3K2R w KQ -", book_move("e1", "h1"), "e1g1"},
        {"4k3/8/8/8/8/8/8/R3K2R w KQ -", book_move("e1", "a1"), "e1c1"},
        {"4k3/8/8/8/8/8/8/R3K2R w Q -", book_move("e1", "h1"), "null"},
        {"4k3/P7/8/8/8/8/8/4K3 w - -", book_move("a7", "a8", 1), "a7a8n"},
        {"4k3/P7/8/8/8/8/8/4K3 w - -", book_move("a7", "a8", 7), "null"},
        {"4k3/4r3/8/8/8/8/4B3/4K3 w - -", book_move("e2", "d3"), "null"},  // pinned
        {"4k3/8/8/8/8/8/8/4K3 w - -", book_move("a1", "a1"), "null"},
        {"4k3/8/8/8/8/8/8/4K3 w - -", 0xFFFF, "null"},
    };
    for (const auto &c : CASES) {
        const auto board = make_test_position(c.fen);
        write_book(board->pos, {{c.coded, 1}});
        const Position before = board->pos;
        EXPECT_EQ(drawn(board->pos), c.played) << c.fen;
        EXPECT_EQ(differing_fields(board->pos, before), "");
    }
}

TEST_F(BookTest, TakesTheFirst128EntriesOfAKey) {
    const auto board = make_test_position();
    std::vector<std::pair<std::uint16_t, std::uint16_t>> moves(128, {book_move("e2", "e4"), 1});
    moves.push_back({book_move("d2", "d4"), 65535});
    write_book(board->pos, moves);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(drawn(board->pos), "e2e4");
}

TEST_F(BookTest, AnyFileIsHarmless) {
    const auto board = make_test_position();
    const auto expect_nothing = [&](const char *what) {
        const BookDraw draw = this->draw(board->pos);
        EXPECT_EQ(coordinates(draw.move), "null") << what;
        EXPECT_TRUE(draw.choices.empty()) << what;
    };
    expect_nothing("missing");
    Random random(3);
    std::string bytes;
    for (const std::size_t size : {0, 1, 15, 16, 17, 31, 4096, 65543}) {
        bytes.clear();
        while (bytes.size() < size) bytes += static_cast<char>(random.below(256));
        write(bytes);
        expect_nothing("random bytes");
    }
    write_book(board->pos, {{book_move("e2", "e4"), 0}, {book_move("d2", "d4"), 0}});
    expect_nothing("weights 0");
    std::filesystem::resize_file(path_, (std::uint64_t{2} << 30) + 7);
    expect_nothing("sparse and unsorted, 2 GB");
    std::filesystem::remove(path_);
    std::filesystem::create_directory(path_);
    expect_nothing("directory");
    std::filesystem::remove(path_);
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    expect_nothing("pipe");
    options_.file = "";
    expect_nothing("no name");

    // Unsorted files make the search miss entries, or find them.
    std::filesystem::remove(path_);
    options_.file = name_;
    bytes.clear();
    for (int i = 0; i < 1000; ++i) {
        const auto entry =
            book_entry_bytes({i % 3 == 0 ? polyglot_key(board->pos) : random.bits(), book_move("e2", "e4"), 1, 0});
        bytes.append(entry.data(), entry.size());
    }
    write(bytes);
    EXPECT_THAT(drawn(board->pos), testing::AnyOf("null", "e2e4"));
}

}  // namespace
