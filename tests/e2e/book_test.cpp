// Opening books: built from games, played from under both protocols.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "uci_session.h"

namespace {

using namespace e2e;
using testing::ElementsAre;
using testing::HasSubstr;

// Moves of a book file in file order, as "move weight", by key. Every key must come after the one before it.
std::map<std::uint64_t, Lines> book_content(const std::string &bytes) {
    std::map<std::uint64_t, Lines> content;
    EXPECT_EQ(bytes.size() % 16, 0U);
    const auto number = [&bytes](std::size_t at, std::size_t length) {
        std::uint64_t value = 0;
        for (std::size_t i = at; i < at + length; ++i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
        return value;
    };
    const auto square = [](std::uint64_t s) {
        return std::string{static_cast<char>('a' + s % 8), static_cast<char>('1' + s / 8)};
    };
    std::uint64_t last = 0;
    for (std::size_t at = 0; at + 16 <= bytes.size(); at += 16) {
        const std::uint64_t key = number(at, 8);
        const std::uint64_t move = number(at + 8, 2);
        EXPECT_GE(key, last);
        EXPECT_EQ(number(at + 12, 4), 0U);
        last = key;
        content[key].push_back(square(move >> 6 & 63) + square(move & 63) + " nbrq"[move >> 12] + ' ' +
                               std::to_string(number(at + 10, 2)));
    }
    return content;
}

constexpr std::uint64_t START_KEY = 0x463B96181691FC9C;
constexpr std::uint64_t AFTER_E4_KEY = 0x823C9B50FD114196;

std::string game(std::string_view result, std::string_view moves) {
    return "[Event \"x\"]\n[Result \"" + std::string(result) + "\"]\n\n" + std::string(moves) + '\n';
}

std::string repeated(int count, const std::string &text) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

struct Building {
    std::string output;
    std::map<std::uint64_t, Lines> content;
};

Building build(const std::string &games) {
    TemporaryDirectory directory;
    directory.write("games.pgn", games);
    directory.write("tmp_book.bin", "an old file");
    EngineProcess engine({"-mkbook", "games.pgn"}, directory.path());
    const ExitReport report = engine.read_until_exit();
    EXPECT_EQ(report.status, 0);
    EXPECT_EQ(report.errors, "");
    return {joined(report.lines), book_content(directory.read("tmp_book.bin"))};
}

TEST(BookBuilding, CountsResultsFromTheMoversView) {
    const Building built = build(
        repeated(3, game("1-0", "1. e4 e5 2. Nf3")) +  // e4 score 12
        repeated(2, game("0-1", "1. d4 d5")) +         // d4 -4, d5 8 with 2 wins
        game("1-0", "1. d4") + repeated(3, game("1/2-1/2", "1. d4 d5")) +
        repeated(3, game("1-0", "1. c4 {with (a remark\n over } two lines) } e5 (1... c5 2. g3) 2. g3 $1 ; 3 wins")) +
        repeated(4, game("0-1", "1. e4 c5 2. Nf3 d6 0-1")) +  // e4 12 - 8, c5 16, d6 16
        repeated(9, game("*", "1. b3")));
    EXPECT_THAT(built.output, HasSubstr("Creating file tmp_book.bin from games in games.pgn\n"
                                        "writing book file ...\nngames= 25, nmoves= 11\ndone\n"));
    EXPECT_THAT(built.content.at(START_KEY), ElementsAre("c2c4  12"));
    EXPECT_THAT(built.content.at(AFTER_E4_KEY), ElementsAre("c7c5  16"));
}

TEST(BookBuilding, SortsByWeightAndScalesLargeScores) {
    const Building built = build(repeated(10000, game("1-0", "1. d4")) + repeated(20000, game("1-0", "1.\ne4")) +
                                 repeated(10, game("1-0", "1. a3")) + repeated(3, game("1/2-1/2", "1. a3")));
    EXPECT_THAT(built.content.at(START_KEY), ElementsAre("e2e4  60000", "d2d4  30000", "a2a3  32"));
    EXPECT_THAT(built.output, HasSubstr("from games in games.pgn.............................\nwriting"));
}

TEST(BookBuilding, ReadsTheOpeningOnly) {
    std::string shuffle;
    for (int i = 0; i < 8; ++i) shuffle += "Nf3 Nf6 Ng1 Ng8\n";
    // 32 plies; the line that starts at ply 36 is not read, the one before it is read to its end.
    const std::string moves = shuffle + "Nf3 Nf6 Ng1 Ng8 e4 e5\nd4 d5\n";
    const Building built = build(repeated(3, game("1-0", moves)));
    EXPECT_THAT(built.content.at(START_KEY), ElementsAre("g1f3  108", "e2e4  12"));
    EXPECT_THAT(built.output, HasSubstr("nmoves= 6\n"));
}

TEST(BookBuilding, AMoveThatDoesNotReadEndsItsGame) {
    const Building built =
        build(repeated(3, game("1-0", "1. e4 Zz9 2. d4")) + repeated(3, game("1-0", "1. e4 e5 2. Nf3 0-1 Nc6")) +
              repeated(3, "[Event \"no result\"]\n\n1. d4\n") +
              repeated(3, game("1-0",
                               "1. e4 e5 2. Bc4 Nc6 3. Nf3\n"
                               "(3. d3 Nf6) Nf6 4. O-O\r\n")));
    EXPECT_THAT(built.content.at(START_KEY), ElementsAre("e2e4  36"));
    EXPECT_THAT(built.output, HasSubstr("ngames= 9, nmoves= 8\n"));
    int castlings = 0;
    for (const auto &[key, moves] : built.content)
        for (const std::string &move : moves) castlings += move == "e1h1  12";
    EXPECT_EQ(castlings, 1);
}

TEST(BookBuilding, FilesThatCannotBeReadOrWritten) {
    EngineProcess missing({"-mkbook", "missing.pgn"});
    EXPECT_EQ(joined(missing.read_until_exit().lines), "info string allocated 64 Mbytes for hash table\n\n");

    TemporaryDirectory directory;
    directory.write("games.pgn", repeated(3, game("1-0", "1. e4")));
    std::filesystem::create_directories(directory.path() / "tmp_book.bin" / "in use");
    EngineProcess engine({"-mkbook", "games.pgn"}, directory.path());
    EXPECT_THAT(joined(engine.read_until_exit().lines), HasSubstr("\ncannot write tmp_book.bin\n"));
}

// A book with 1. e4, 1... c5 and castling.
class BookPlay : public testing::Test {
protected:
    BookPlay() {
        directory_.write("games.pgn", repeated(3, game("1-0", "1. e4")) + repeated(3, game("0-1", "1. e4 c5")) +
                                          repeated(3, game("1-0", "1. e4 e5 2. Nf3 Nc6 3. Bc4 Nf6 4. O-O")));
        EngineProcess engine({"-mkbook", "games.pgn"}, directory_.path());
        engine.read_until_exit();
    }
    TemporaryDirectory directory_;
};

TEST_F(BookPlay, AnswersFromTheBookWhileTheGameIsYoung) {
    EngineProcess engine({"-book", "tmp_book.bin"}, directory_.path());
    await_ready(engine);
    engine.send("setoption name OwnBook value true");
    engine.send("position startpos moves e2e4");
    engine.expect_line("info string OwnBook set to 1");
    EXPECT_THAT(search(engine, "go depth 3").lines,
                ElementsAre("info string setting search and eval params...", "info string ( book moves are: c7c5  )",
                            "info string book move is c7c5", "bestmove c7c5"));
    engine.send("position startpos moves e2e4 e7e5 g1f3 b8c6 f1c4 g8f6");
    EXPECT_EQ(search(engine, "go depth 3").best, "e1g1");
    engine.send("go ponder depth 3");  // no answer before the ponder move is hit
    EXPECT_EQ(replies_to(engine, "debug off").back(), "info string book move is e1g1");
    EXPECT_EQ(search(engine, "ponderhit").best, "e1g1");

    engine.send("setoption name OwnBook_Depth value 6");
    engine.expect_line("info string OwnBook_Depth set to 6");
    EXPECT_FALSE(search(engine, "go depth 3").infos.empty());

    // At the second repetition the search decides.
    const std::string shuffle = " g1f3 g8f6 f3g1 f6g8";
    engine.send("setoption name OwnBook_Depth value 60");
    engine.send("position startpos moves" + shuffle + shuffle + shuffle);
    EXPECT_TRUE(search(engine, "go depth 3").infos.empty());
    quit_and_check(engine);
}

TEST_F(BookPlay, TheConsoleListsAndPlays) {
    EngineProcess engine({"-c", "-book", "tmp_book.bin"}, directory_.path());
    engine.expect_line("white");
    engine.send("book");
    EXPECT_THAT(engine.expect_line("selecting"), testing::Contains(HasSubstr("  e2e4  cnt=")));
    EXPECT_EQ(engine.read_line(), "");
    engine.send("uci");
    engine.send("setoption name OwnBook value true");
    engine.send("go depth 2");
    engine.expect_line("bestmove e2e4");
    quit_and_check(engine);
}

}  // namespace
