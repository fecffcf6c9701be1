// The dialogue itself: greetings, framing of lines, words that are not commands.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <string>
#include <thread>

#include "uci_session.h"

namespace {

using namespace e2e;

TEST(UciProtocol, ListsEveryOptionInOrder) {
    const Lines expected = {
        "id name Dral 4.0",
        "id author Brellmoor",
        "option name ConfigFilePath type string default ",
        "option name Hash type spin default 64 min 0 max 16384",
        "option name Threads type spin default 1 min 1 max 128",
        "option name Clear_Hash type button",
        "option name OwnBook type check default false",
        "option name OwnBook_File type string default ",
        "option name OwnBook_Depth type spin default 28 min 0 max 60",
        "option name OwnBook_Variety type spin default 25 min 0 max 100",
        "option name SyzygyPath type string default ",
        "option name SyzygyProbeDepth5 type spin default 0 min -5 max 100",
        "option name SyzygyProbeDepth6 type spin default 2 min -5 max 100",
        "option name Log type check default false",
        "option name Ponder type check default true",
        "option name MultiPV type spin default 1 min 1 max 255",
        "option name MoveOverhead type spin default 50 min 0 max 5000",
        "option name UCI_LimitStrength type check default false",
        "option name UCI_Elo type spin default 0 min 0 max #",  // depends on the speed of the machine
        "option name Contempt type spin default 0 min -150 max 150",
        "option name Selectivity type spin default 100 min 0 max 200",
        "option name Mtl_Pawn type string default 90,110",
        "option name Mtl_Knight type string default 380,360",
        "option name Mtl_Bishop type string default 390,375",
        "option name Mtl_Rook type string default 535,635",
        "option name Mtl_Queen type string default 1200,1200",
        "option name Mtl_BishopPair type string default 30,50",
        "option name PST_Pawn type string default 100,100",
        "option name PST_Knight type string default 100,100",
        "option name PST_Bishop type string default 100,100",
        "option name PST_Rook type string default 100,100",
        "option name PST_Queen type string default 100,100",
        "option name PST_King type string default 100,100",
        "option name Mobility_Knight type string default 100,100",
        "option name Mobility_Bishop type string default 100,100",
        "option name Mobility_Rook type string default 100,100",
        "option name Mobility_Queen type string default 100,100",
        "option name Pawn_Structure type string default 100,100",
        "option name Passed_Pawns type string default 100,100",
        "option name King_Safety type string default 100,100",
        "option name Threats type string default 100,100",
        "uciok",
    };
    EngineProcess engine;
    await_ready(engine);
    Lines lines = listing(engine);
    for (std::string &line : lines)
        if (line.starts_with("option name UCI_Elo ")) line = std::regex_replace(line, std::regex("max \\d+$"), "max #");
    EXPECT_EQ(joined(lines), joined(expected));
    quit_and_check(engine);
}

TEST(UciProtocol, SaysNothingToWhatIsNoCommand) {
    EngineProcess engine;
    await_ready(engine);
    const char *const LINES[] = {
        "",
        "   ",
        "Isready",
        "UCI",
        "hello world",
        "isreadyx",  // no command, or not its exact word
        "bd",
        "perft 1",
        "new",
        "ev",  // console commands
        "position",
        "position moves e2e4",  // no position named
        "ponderhit",
        "stop",
        "debug off",
        "debug",  // nothing runs
        "setoption",
        "setoption Hash 5",
    };
    for (const char *line : LINES) EXPECT_EQ(replies_to(engine, line), Lines{}) << "'" << line << "'";
    quit_and_check(engine);
}

TEST(UciProtocol, ReadsLinesHoweverTheyAreFramed) {
    struct Case {
        const char *what;
        std::string bytes;
        Lines replies;
    };
    using namespace std::string_literals;
    const Case CASES[] = {
        {"several in one write",
         "isready\nsetoption name Contempt value 7\nisready\n",
         {"readyok", "info string Contempt set to 7", "readyok"}},
        {"more words and blanks", "   isready\nisready now please\nisready \n", {"readyok", "readyok", "readyok"}},
        {"carriage returns",
         "setoption name OwnBook_File value a.bin\r\nisready\r\n",
         {"info string OwnBook_File set to 'a.bin'", "readyok"}},
        {"text after a carriage return", "isready\rsetoption name Contempt value 9\n", {"readyok"}},
        {"zero bytes end lines", "isready\0isready\0"s, {"readyok", "readyok"}},
        {"empty lines between", "\n\n\r\n\0\nisready\n"s, {"readyok"}},
        {"at sign inside a value",
         "setoption name OwnBook_File value me@home.bin\n",
         {"info string OwnBook_File set to 'me@home.bin'"}},
        {"bytes above 127",
         "\xff\xfe\x80\nsetoption name OwnBook_File value \xc3\xa9.bin\n",
         {"info string OwnBook_File set to '\xc3\xa9.bin'"}},
    };
    EngineProcess engine;
    await_ready(engine);
    for (const Case &c : CASES) {
        engine.send_raw(c.bytes);
        for (const std::string &reply : c.replies) EXPECT_EQ(engine.read_line(), reply) << c.what;
        EXPECT_EQ(replies_to(engine, ""), Lines{}) << c.what;
    }
    quit_and_check(engine);
}

TEST(UciProtocol, JoinsALineThatArrivesInPieces) {
    EngineProcess engine;
    await_ready(engine);
    for (const char byte : std::string_view("setoption name Contempt value 12\nisready\n")) {
        engine.send_raw(std::string_view(&byte, 1));
        std::this_thread::sleep_for(Milliseconds(3));
    }
    EXPECT_EQ(engine.read_line(), "info string Contempt set to 12");
    EXPECT_EQ(engine.read_line(), "readyok");
    quit_and_check(engine);
}

TEST(UciProtocol, SurvivesLongLinesAndManyLines) {
    EngineProcess engine;
    await_ready(engine);
    for (const std::size_t length : {126, 127, 128, 4998, 4999, 5000, 5001, 200'000, 1'000'000}) {
        EXPECT_EQ(replies_to(engine, std::string(length, 'x')), Lines{}) << length;
        // The command word stands, whatever becomes of the tail.
        engine.send("isready " + std::string(length, ' '));
        EXPECT_EQ(engine.read_line(), "readyok") << length;
        EXPECT_EQ(replies_to(engine, "setoption name " + std::string(length, 'n') + " value 1"), Lines{}) << length;
    }
    // Beyond a megabyte a line is cut, and that is said.
    engine.send(std::string(3'000'000, 'x'));
    const Lines cut = replies_to(engine, "");
    ASSERT_EQ(cut.size(), 1U);
    EXPECT_TRUE(cut[0].starts_with("info string ")) << cut[0];

    constexpr int MANY = 500;
    std::string flood;
    for (int i = 0; i < MANY; ++i) flood += "setoption name Contempt value " + std::to_string(i % 100) + "\n";
    engine.send_raw(flood);
    for (int i = 0; i < MANY; ++i)
        ASSERT_EQ(engine.read_line(), "info string Contempt set to " + std::to_string(i % 100)) << i;
    quit_and_check(engine);
}

TEST(UciProtocol, AnswersPromptlyWhileSearching) {
    EngineProcess engine;
    await_ready(engine);
    engine.send("go infinite");
    engine.expect_line("info depth 4 ");

    // The quickest of several tries: a loaded machine may delay any single one.
    const auto quickest = [&](int tries, const auto &ask) {
        using Clock = std::chrono::steady_clock;
        auto best = Clock::duration::max();
        for (int i = 0; i < tries; ++i) {
            const auto start = Clock::now();
            ask();
            best = std::min(best, Clock::now() - start);
        }
        return best;
    };
    EXPECT_LT(quickest(10, [&] { await_ready(engine); }), scaled(Milliseconds(50)));
    engine.send("stop");
    read_search(engine);
    EXPECT_LT(quickest(5,
                       [&] {
                           engine.send("go infinite");
                           engine.expect_line("info depth 3 ");
                           engine.send("stop");
                           read_search(engine);
                       }),
              scaled(Milliseconds(250)));
    quit_and_check(engine);
}

TEST(UciProtocol, EndsOnQuitWhateverItIsDoing) {
    for (const char *before : {"isready", "go infinite", "go ponder", "go depth 60", "go wtime 600000 btime 600000"}) {
        SCOPED_TRACE(before);
        EngineProcess engine;
        await_ready(engine);
        engine.send(before);
        quit_and_check(engine);
    }
}

}  // namespace
