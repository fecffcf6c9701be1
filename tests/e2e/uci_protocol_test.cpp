// The stream of bytes under the protocol: framing, long lines, floods, promptness, the end of input, exit statuses.
#include <thread>

#include "uci_session.h"

namespace {

using namespace e2e;

std::string knight_dance(int plies) {
    static const char *const MOVES[] = {" g1f3", " g8f6", " f3g1", " f6g8"};
    std::string text;
    for (int i = 0; i < plies; ++i) text += MOVES[i % 4];
    return text;
}

using UciProtocol = EngineTest;

TEST_F(UciProtocol, ReadsLinesHoweverTheyAreFramed) {
    directory_.write("dos.cfg", "OwnBook_File = \xc3\xa9.bin\r\n");
    const std::pair<std::string, Lines> CASES[] = {
        {"isready\nsetoption name Contempt value 7\nisready\n",
         {"readyok", "info string Contempt set to 7", "readyok"}},
        {"setoption name OwnBook_File value a.bin\r\nisready\r\n",
         {"info string OwnBook_File set to 'a.bin'", "readyok"}},
        {"isready\rsetoption name Contempt value 9\n", {"readyok"}},
        {std::string("isready\0isready\n", 16), {"readyok", "readyok"}},
        {"\xff\xfe\x80\nposition startpos moves \xff\xff\xff\xff\n", {"info string illegal move \xff\xff\xff\xff"}},
        {"setoption name ConfigFilePath value dos.cfg\n",
         {"info string ConfigFilePath set to 'dos.cfg'", "info string loading parameters from dos.cfg",
          "info string OwnBook_File set to '\xc3\xa9.bin'"}},
    };
    for (const auto &[bytes, replies] : CASES) {
        engine_.send_raw(bytes);
        for (const std::string &reply : replies) EXPECT_EQ(engine_.read_line(), reply) << bytes;
        EXPECT_EQ(replies_to(engine_, ""), Lines{}) << bytes;
    }
    for (const char byte : std::string_view("isready\n")) {
        engine_.send_raw(std::string_view(&byte, 1));
        std::this_thread::sleep_for(Milliseconds(1));
    }
    EXPECT_EQ(engine_.read_line(), "readyok");
}

TEST_F(UciProtocol, SurvivesLongLinesAndManyLines) {
    constexpr std::size_t LONGEST = 1 << 20;
    for (const std::size_t length : {std::size_t{128}, std::size_t{5000}, LONGEST - 8, LONGEST}) {
        const Lines cut(length == LONGEST ? 1 : 0, "info string input line cut at 1048576 characters");
        EXPECT_EQ(replies_to(engine_, std::string(length, 'x')), Lines{}) << length;
        // The command word stands, whatever becomes of the tail.
        EXPECT_EQ(replies_to(engine_, "isready" + std::string(length - 6, ' ')), length == LONGEST ? cut : Lines{})
            << length;
        EXPECT_EQ(engine_.read_line(), "readyok") << length;
    }
    constexpr int MANY = 500;
    std::string flood;
    for (int i = 0; i < MANY; ++i) flood += "setoption name Contempt value " + std::to_string(i % 100) + "\n";
    engine_.send_raw(flood);
    for (int i = 0; i < MANY; ++i)
        ASSERT_EQ(engine_.read_line(), "info string Contempt set to " + std::to_string(i % 100)) << i;
}

TEST_F(UciProtocol, TakesLongGames) {
    EXPECT_EQ(replies_to(engine_, "position startpos moves" + knight_dance(8196) + " e2e4 e7e5 d2d4 d7d5"), Lines{});
    EXPECT_TRUE(playable(engine_, "startpos moves e2e4 e7e5 d2d4 d7d5", {search(engine_, "go depth 2").best}));
    // Longer ones change nothing.
    engine_.send("position startpos moves d2d4");
    for (const int plies : {8201, 100'000})
        EXPECT_EQ(replies_to(engine_, "position startpos moves" + knight_dance(plies)),
                  Lines{"info string more than 8200 moves"});
    EXPECT_TRUE(playable(engine_, "startpos moves d2d4", {search(engine_, "go depth 2").best}));
}

TEST_F(UciProtocol, AnswersPromptlyWhileSearching) {
    engine_.send("go infinite");
    engine_.expect_line("info depth 4 ");
    // The quickest of several tries: a loaded machine may delay any single one.
    const auto quickest = [&](int tries, const auto &ask) {
        auto best = Clock::duration::max();
        for (int i = 0; i < tries; ++i) {
            const auto start = Clock::now();
            ask();
            best = std::min(best, Clock::now() - start);
        }
        return best;
    };
    EXPECT_LT(quickest(10, [&] { await_ready(engine_); }), scaled(Milliseconds(50)));
    EXPECT_LT(quickest(10, [&] { search(engine_, "stop\ngo infinite"); }), scaled(Milliseconds(100)));
}

TEST_F(UciProtocol, DisplaysAndProgressLinesDoNotMix) {
    const std::string display = joined(replies_to(engine_, "_show"));
    std::string commands = "ucinewgame\ngo depth 8\n", expected;
    for (int i = 0; i < 20; ++i) {
        commands += "_show\n";
        expected += display;
    }
    for (int round = 0; round < 15; ++round) {
        engine_.send_raw(commands);
        std::string shown;
        for (const Lines &lines : {read_search(engine_).lines, replies_to(engine_, "")})
            for (const std::string &line : lines)
                if (!line.starts_with("info ") && !line.starts_with("bestmove ")) shown += line + '\n';
        ASSERT_EQ(shown, expected) << round;
    }
}

// What was asked is still done when the input ends without "quit".
TEST(EndOfInput, WhatWasAskedIsDone) {
    const struct {
        const char *input, *wanted;  // what the lines begin with
        int times;
        Lines arguments = {};
    } CASES[] = {
        {"", "bestmove", 0},
        {"isready", "readyok", 1},  // the last line may lack its end
        {"position startpos\ngo depth 9\n", "info depth 9 seldepth", 2},
        {"go movetime 400\n", "bestmove", 1},
        {"go infinite\n", "bestmove", 1},
        {"go ponder wtime 100 btime 100\n", "bestmove", 1},
        {"go infinite\ngo depth 3\n", "bestmove", 2},
        {"go depth 3\nquit\nisready\n", "readyok", 0},
        {"", "move= ", 0, {"-c"}},
        {"go\n", "move= ", 1, {"-c"}},
    };
    for (const auto &c : CASES) {
        SCOPED_TRACE(c.input);
        EngineProcess engine(c.arguments);
        const auto start = Clock::now();
        engine.send_raw(c.input);
        engine.close_input();
        const ExitReport report = engine.read_until_exit();
        EXPECT_EQ(std::to_string(report.status) + report.errors, "0");
        EXPECT_EQ(std::count_if(report.lines.begin(), report.lines.end(),
                                [&](const std::string &line) { return line.starts_with(c.wanted); }),
                  c.times)
            << joined(report.lines);
        EXPECT_GE(Clock::now() - start, Milliseconds(std::string_view(c.input) == "go movetime 400\n" ? 695 : 0));
    }
}

TEST(ExitStatus, TellsHowTheProgramEnds) {
    for (const char *before : {"isready", "go infinite", "go ponder", "go infinite\ngo infinite"}) {
        EngineProcess engine;
        await_ready(engine);
        engine.send(before);
        quit_and_check(engine);
    }
    if (sanitized()) return;  // the limit is on address space, of which sanitizers reserve terabytes
    TemporaryDirectory directory;
    directory.write("KQvK.rtbw", "");
    std::filesystem::resize_file(directory.path() / "KQvK.rtbw", 2'000'000'000);
    const struct {
        const char *arguments, *input;
        int status;
        const char *errors;
    } CASES[] = {
        {"-hash 4096", "", 1, ""},
        {"-hash 1 -threads 128", "", 1, ""},
        {"", "setoption name Hash value 4096\ngo depth 1\n", 255, ""},
        {"-hash 1", "setoption name Threads value 128\n", 255, ""},
        {"-hash 1 -tbpath .", "position fen 8/8/8/3k4/8/8/7Q/4K3 w - -\ngo depth 1\n", 1,
         "MapViewOfFile() failed, name = KQvK.rtbw, error = 12.\n"},
    };
    for (const auto &c : CASES) {
        const std::string limited = "ulimit -v 1000000; exec '" + engine_binary().string() + "' " + c.arguments;
        EngineProcess engine({"-c", limited}, directory.path(), "/bin/sh");
        engine.send_raw(c.input);
        const ExitReport report = engine.read_until_exit();
        EXPECT_EQ(report.status, c.status) << c.arguments << c.input << joined(report.lines);
        EXPECT_EQ(report.errors, c.errors);
    }
}

}  // namespace
