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

class UciProtocol : public EngineTest {};

TEST_F(UciProtocol, ListsEveryOptionInOrder) {
    std::string expected = "id name Dral 4.0\nid author Brellmoor\n";
    for (const std::string &option :
         parts_of("ConfigFilePath type string default ;Hash type spin default 64 min 0 max 16384;"
                  "Threads type spin default 1 min 1 max 128;Clear_Hash type button;OwnBook type check default false;"
                  "OwnBook_File type string default ;OwnBook_Depth type spin default 28 min 0 max 60;"
                  "OwnBook_Variety type spin default 25 min 0 max 100;SyzygyPath type string default ;"
                  "SyzygyProbeDepth5 type spin default 0 min -5 max 100;"
                  "SyzygyProbeDepth6 type spin default 2 min -5 max 100;Log type check default false;"
                  "Ponder type check default true;MultiPV type spin default 1 min 1 max 255;"
                  "MoveOverhead type spin default 50 min 0 max 5000;UCI_LimitStrength type check default false;"
                  "UCI_Elo type spin default 0 min 0 max #;"  // depends on the speed of the machine
                  "Contempt type spin default 0 min -150 max 150;Selectivity type spin default 100 min 0 max 200;"
                  "Mtl_Pawn type string default 90,110;Mtl_Knight type string default 380,360;"
                  "Mtl_Bishop type string default 390,375;Mtl_Rook type string default 535,635;"
                  "Mtl_Queen type string default 1200,1200;Mtl_BishopPair type string default 30,50"))
        expected += "option name " + option + '\n';
    for (const std::string &name :
         parts_of("PST_Pawn;PST_Knight;PST_Bishop;PST_Rook;PST_Queen;PST_King;Mobility_Knight;Mobility_Bishop;"
                  "Mobility_Rook;Mobility_Queen;Pawn_Structure;Passed_Pawns;King_Safety;Threats"))
        expected += "option name " + name + " type string default 100,100\n";
    const std::regex elo("(name UCI_Elo .* max )\\d+\n");
    EXPECT_EQ(std::regex_replace(joined(listing(engine_)), elo, "$1#\n"), expected + "uciok\n");
}

TEST_F(UciProtocol, IgnoresWhatIsNoCommandAndJoinsPieces) {
    for (const std::string &line :
         parts_of(";   ;Isready;UCI;hello world;isreadyx;"  // no command, or not its exact word
                  "bd;perft 1;new;ev;"                      // console commands
                  "position;position moves e2e4;"           // no position named
                  "ponderhit;stop;debug off;debug;"         // nothing runs
                  "setoption;setoption Hash 5"))
        EXPECT_EQ(replies_to(engine_, line), Lines{}) << "'" << line << "'";
    // A line may arrive in pieces.
    for (const char byte : std::string_view("setoption name Contempt value 12\nisready\n")) {
        engine_.send_raw(std::string_view(&byte, 1));
        std::this_thread::sleep_for(Milliseconds(1));
    }
    EXPECT_EQ(engine_.read_line(), "info string Contempt set to 12");
    EXPECT_EQ(engine_.read_line(), "readyok");
}

TEST_F(UciProtocol, ReadsLinesHoweverTheyAreFramed) {
    using namespace std::string_literals;
    const std::pair<std::string, Lines> CASES[] = {
        {"isready\nsetoption name Contempt value 7\nisready\n",
         {"readyok", "info string Contempt set to 7", "readyok"}},
        {"   isready\nisready now please\nisready \n", {"readyok", "readyok", "readyok"}},
        {"setoption name OwnBook_File value a.bin\r\nisready\r\n",
         {"info string OwnBook_File set to 'a.bin'", "readyok"}},
        {"isready\rsetoption name Contempt value 9\n", {"readyok"}},
        {"setoption name OwnBook_File value me@home.bin\n", {"info string OwnBook_File set to 'me@home.bin'"}},
        {"\xff\xfe\x80\nsetoption name OwnBook_File value \xc3\xa9.bin\n",
         {"info string OwnBook_File set to '\xc3\xa9.bin'"}},
    };
    for (const auto &[bytes, replies] : CASES) {
        engine_.send_raw(bytes);
        for (const std::string &reply : replies) EXPECT_EQ(engine_.read_line(), reply) << bytes;
        EXPECT_EQ(replies_to(engine_, ""), Lines{}) << bytes;
    }
}

TEST_F(UciProtocol, SurvivesLongLinesAndManyLines) {
    for (const std::size_t length : {127, 128, 4999, 5000, 200'000, 1'000'000}) {
        EXPECT_EQ(replies_to(engine_, std::string(length, 'x')), Lines{}) << length;
        // The command word stands, whatever becomes of the tail.
        EXPECT_EQ(replies_to(engine_, "isready " + std::string(length, ' ')), Lines{}) << length;
        EXPECT_EQ(engine_.read_line(), "readyok") << length;
        EXPECT_EQ(replies_to(engine_, "setoption name " + std::string(length, 'n') + " value 1"), Lines{}) << length;
    }
    // Beyond a megabyte a line is cut, and that is said.
    engine_.send(std::string(3'000'000, 'x'));
    const Lines cut = replies_to(engine_, "");
    ASSERT_EQ(cut.size(), 1U);
    EXPECT_TRUE(cut[0].starts_with("info string ")) << cut[0];

    constexpr int MANY = 500;
    std::string flood;
    for (int i = 0; i < MANY; ++i) flood += "setoption name Contempt value " + std::to_string(i % 100) + "\n";
    engine_.send_raw(flood);
    for (int i = 0; i < MANY; ++i)
        ASSERT_EQ(engine_.read_line(), "info string Contempt set to " + std::to_string(i % 100)) << i;
}

TEST_F(UciProtocol, AnswersPromptlyWhileSearching) {
    engine_.send("go infinite");
    engine_.expect_line("info depth 4 ");

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
    EXPECT_LT(quickest(10, [&] { await_ready(engine_); }), scaled(Milliseconds(50)));
    engine_.send("stop");
    read_search(engine_);
    EXPECT_LT(quickest(5,
                       [&] {
                           engine_.send("go infinite");
                           engine_.expect_line("info depth 3 ");
                           engine_.send("stop");
                           read_search(engine_);
                       }),
              scaled(Milliseconds(250)));
}

TEST_F(UciProtocol, DisplaysAndProgressLinesDoNotMix) {
    constexpr int DISPLAYS = 20;
    const Lines display = replies_to(engine_, "_show");
    Lines expected;
    std::string commands = "go depth 8\n";
    for (int i = 0; i < DISPLAYS; ++i) {
        commands += "_show\n";
        expected.insert(expected.end(), display.begin(), display.end());
    }
    for (int round = 0; round < 15; ++round) {
        engine_.send_raw("ucinewgame\n" + commands);
        Lines shown;
        for (const std::string &line : read_search(engine_).lines)
            if (!line.starts_with("info ") && !line.starts_with("bestmove ")) shown.push_back(line);
        const Lines rest = replies_to(engine_, "");
        shown.insert(shown.end(), rest.begin(), rest.end());
        ASSERT_EQ(shown, expected) << round;
    }
}

TEST(UciQuit, EndsTheProgramWhateverItIsDoing) {
    for (const char *before : {"isready", "go infinite", "go ponder"}) {
        SCOPED_TRACE(before);
        EngineProcess engine;
        await_ready(engine);
        engine.send(before);
        quit_and_check(engine);
    }
}

}  // namespace
