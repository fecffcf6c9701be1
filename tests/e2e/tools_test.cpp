// What the tools do with a signal, a full disk, a folder in place of a file, and files that are large or of odd bytes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>

#include <string>
#include <vector>

#include "uci_session.h"

namespace {

using namespace e2e;
using testing::ContainsRegex;
using testing::HasSubstr;

class Tools : public testing::Test {
protected:
    // What the program prints after the line about its hash table.
    std::string run(const std::vector<std::string> &arguments, std::string_view input = "") {
        EngineProcess engine(arguments, directory_.path());
        engine.send_raw(input);
        engine.close_input();
        ExitReport report = engine.read_until_exit(Milliseconds(60'000));
        EXPECT_EQ(report.status, 0) << engine.transcript();
        EXPECT_EQ(report.errors, "");
        report.lines.erase(report.lines.begin(), report.lines.begin() + 2);
        return joined(report.lines);
    }

    TemporaryDirectory directory_;
};

std::string games(int count, const std::string &result, const std::string &moves) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "[Result \"" + result + "\"]\n" + moves + "\n";
    return text;
}

TEST_F(Tools, CtrlCEndsTheMatch) {
    EngineProcess engine({"-tune4", "-d", "1"}, directory_.path());
    engine.expect_line("ngames= 0");
    for (int i = 0; i < 200 && directory_.read("self.pgn").find("[Game 2]") == std::string::npos; ++i)
        poll(nullptr, 0, 100);
    engine.interrupt();
    EXPECT_EQ(engine.read_until_exit(Milliseconds(60'000)).status, 0);
    EXPECT_THAT(directory_.read("self.pgn"), ContainsRegex("^\\[Event selfplay\\]\n(.*\n)*\\[Game 2\\]\n"));
}

// All records are one position, so that it does not matter which are drawn.
TEST_F(Tools, ATunerGoesOnWhereItWasEnded) {
    std::string records;
    for (int i = 0; i < 1000; ++i)
        records += "r2q3r/1p1bbQ2/4p1Bk/3pP3/1n1P1P1p/pP6/Pn4PP/R1B1R1K1 w - - ce 0; c9 \"1-0\";\n";
    directory_.write("records.epd", records);
    const std::vector<std::string> tune = {"-tune", "records.epd", "-weights", "king_safety"};
    run(tune);
    const std::string log = directory_.read("tune.log");
    const std::string found = directory_.read("tuned.cfg");
    EXPECT_THAT(found, HasSubstr("\nking_safety = 200\n"));
    EngineProcess engine(tune, directory_.path());
    engine.expect_line("pass= 3,");
    engine.interrupt();
    EXPECT_EQ(engine.read_until_exit(Milliseconds(60'000)).status, 0);
    EXPECT_THAT(directory_.read("tune.log"), testing::Not(HasSubstr("pass= 99,")));
    EXPECT_THAT(directory_.read("tuned.cfg"), ContainsRegex("descent, [0-9]+ passes(.*\n)*king_safety = 1"));
    run({"-tune", "records.epd", "-weights", "king_safety", "-resume", "-threads", "2"});
    EXPECT_EQ(directory_.read("tune.log"), log);
    EXPECT_EQ(directory_.read("tuned.cfg"), found);
    EXPECT_EQ(directory_.read("tune.state"), "");
}

// Stopped in the middle, or killed in the middle of a game, a review goes on as if nothing had been.
TEST_F(Tools, AReviewGoesOnWhereItWasStopped) {
    const std::vector<std::string> command = {"-review", "games.pgn", "-d", "7"};
    directory_.write("games.pgn", games(10, "1-0", "1. e4 {a} e5 2. Nf3 g5 1-0") + "1. e4 {open");
    EXPECT_THAT(run(command), HasSubstr("\ngames= 11, damaged= 1, positions= 52\n"));
    const std::string whole = directory_.read("games.review.pgn");
    EngineProcess stopped(command, directory_.path());
    stopped.expect_line("game 2: ");
    stopped.interrupt();
    EXPECT_EQ(stopped.read_until_exit(Milliseconds(60'000)).status, 0);
    const std::string part = directory_.read("games.review.pgn");
    EXPECT_LT(part.size(), whole.size());
    directory_.write("games.review.pgn", part + "[Event \"half a ga");
    EXPECT_THAT(run({"-review", "games.pgn", "-d", "7", "-parallel", "2"}),
                testing::AllOf(HasSubstr("going on after "), HasSubstr("\ngames= 11, damaged= 1, positions= 52\n")));
    EXPECT_EQ(directory_.read("games.review.pgn"), whole);
    EXPECT_FALSE(std::filesystem::exists(directory_.path() / "games.review.state"));
}

TEST_F(Tools, AFullDiskIsReported) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    directory_.write("games.pgn", games(3, "1-0", "1. e4"));
    for (const char *name : {"tmp.epd", "tmp.pgn"})
        std::filesystem::create_symlink("/dev/full", directory_.path() / name);
    EXPECT_EQ(run({"-scan_pgn2", "games.pgn"}), "cannot write all of tmp.epd\ngames= 0, positions= 0\n");
    EXPECT_THAT(run({"-c"}, "e4\nsave\n"), HasSubstr("\ncannot write tmp.pgn\n"));
}

TEST_F(Tools, OutputsThatCannotBeWritten) {
    directory_.write("games.pgn", games(3, "1-0", "1. e4"));
    for (const char *name : {"tmp_book.bin", "tmp.epd", "tmp.pgn", "unsolved.epd", "tune.log", "self.pgn", "trace.txt"})
        std::filesystem::create_directories(directory_.path() / name / "in use");
    EXPECT_THAT(run({"-mkbook", "games.pgn"}), HasSubstr("\ncannot write tmp_book.bin\n"));
    EXPECT_EQ(run({"-scan_pgn2", "games.pgn"}) + run({"-anepd", "games.pgn"}) + run({"-tune", "games.pgn"}), "");
    EXPECT_EQ(run({"-tune4"}), "can't open self.pgn\n");
    EXPECT_THAT(run({"-c"}, "save\nbd\ntrace 1\ne4\nbd\n"), testing::Not(HasSubstr("b KQkq e3")));
}

TEST_F(Tools, ALargeBookIsScaledToItsLargestWeight) {
    directory_.write("games.pgn", games(10'000, "1-0", "1. d4") + games(20'000, "1-0", "1.\ne4") +
                                      games(10, "1-0", "1. a3") + games(3, "1/2-1/2", "1. a3"));
    EXPECT_THAT(run({"-mkbook", "games.pgn"}), HasSubstr("in games.pgn.............................\nwriting book"));
    EXPECT_THAT(
        run({"-c", "-book", "tmp_book.bin"}, "book\n"),
        HasSubstr("\n  e2e4  cnt= 60000, weight= 66.64% -> 66.65%\n  d2d4  cnt= 30000, weight= 33.32% -> 33.32%\n"
                  "  a2a3  cnt=    32, weight=  0.04% ->  0.03%\n"));
}

// A mark of byte order, line ends of another system, lines of any length.
TEST_F(Tools, OddFilesAreRead) {
    const std::string blanks(5000, ' ');
    directory_.write("games.pgn", "\xEF\xBB\xBF[Event \"a\"]\r\n[Result \"1-0\"]\r\n\r\n1.e4" + blanks +
                                      "{+0.10/1} e5 {-0.30/1}\r\n" + "2. Nf3 {+0.20/1}\r\n");
    EXPECT_EQ(run({"-scan_pgn3", "games.pgn"}), "games= 0, positions= 3\n");
    EXPECT_THAT(directory_.read("tmp.epd"), ContainsRegex(" bm e4; ce 10;\n.* bm e5; ce -30;\n.* bm Nf3; ce 20;\n"));
    EXPECT_THAT(run({"-c"}, "load games.pgn\n"),
                HasSubstr("rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n"));
    directory_.write("test.epd",
                     "8/8/8/8/8/8/8/K1k5 b - - bm Kc2; id \"a\";\r\n6k1/5ppp/8/8/8/8/8/R5K1 w - - bm Ra8\r\n");
    EXPECT_THAT(run({"-c"}, "get a\n"), HasSubstr("id \"a\";\n8/8/8/8/8/8/8/K1k5 b - -\n"));
    EXPECT_THAT(run({"-anepd", "test.epd", "-d", "1", "-quiet"}), HasSubstr("1 / 2 correct"));
    EXPECT_EQ(run({"-c"}, "fen " + std::string(10'000, 'Q') + "\n" + blanks + "x" + blanks + "y\nquit\n").find("1."),
              std::string::npos);
}

}  // namespace
