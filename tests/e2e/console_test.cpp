// The console protocol: boards, counts of moves, settings, searches.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>

#include "uci_session.h"

namespace {

using namespace e2e;

const std::string START_BOARD =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\n"
    "  r n b q k b n r\n"
    "  o o o o o o o o\n"
    "  - + - + - + - +\n"
    "  + - + - + - + -\n"
    "  - + - + - + - +\n"
    "  + - + - + - + -\n"
    "  P P P P P P P P\n"
    "  R N B Q K B N R\n"
    "white\n"
    "\n";

class Console : public testing::Test {
protected:
    Console() {
        Lines lines = engine_.expect_line("white");
        lines.push_back(engine_.read_line());
        EXPECT_TRUE(joined(lines).ends_with(START_BOARD)) << joined(lines);
    }
    // All that the line prints; a setting that answers at once marks the end.
    Lines replies(std::string_view line) {
        engine_.send(line);
        engine_.send("set ponder 1");
        Lines lines = engine_.expect_line("ponder set to 1");
        lines.pop_back();
        return lines;
    }

    void TearDown() override { quit_and_check(engine_); }

    EngineProcess engine_{{"-c"}};
};

// In the start position everything is symmetric but the tempo: material is 8 x 90 + 2 x 380 + 2 x 390 + 2 x 535 + 1200 + 30,
// and each knight has -21 x 36 / 42 for its square and nothing for its two squares.
TEST_F(Console, ShowsTheEvaluation) {
    const std::string view =
        "eval= 16, qscore= 16, stage= 0, draw_adj= 1.00\n"
        "\n"
        "           white    black     diff\n"
        "mtl=        4560     4560        0   ( :: )\n"
        "pos=        -207     -223       16\n"
        "pawns=       -36      -36        0\n"
        "knights=     -36      -36        0\n"
        "bishops=     -58      -58        0\n"
        "rooks=       -32      -32        0\n"
        "queens=      -16      -16        0\n"
        "kings=       -45      -45        0\n"
        "passers=       0        0        0\n"
        " r n b q k b n r      -16  -18  -29  -16  -45  -29  -18  -16\n"
        " o o o o o o o o       -8   -4   -2   -4   -4   -2   -4   -8\n"
        " - + - + - + - +        -    -    -    -    -    -    -    -\n"
        " + - + - + - + -        -    -    -    -    -    -    -    -\n"
        " - + - + - + - +        -    -    -    -    -    -    -    -\n"
        " + - + - + - + -        -    -    -    -    -    -    -    -\n"
        " P P P P P P P P       -8   -4   -2   -4   -4   -2   -4   -8\n"
        " R N B Q K B N R      -16  -18  -29  -16  -45  -29  -18  -16\n"
        "white\n";
    EXPECT_TRUE(joined(replies("ev")).ends_with(view)) << joined(replies("ev"));
    EXPECT_EQ(joined(replies("bd")), START_BOARD);
    replies("set debug 1");
    EXPECT_TRUE(joined(replies("bd")).ends_with(view));
    replies("set debug 0");

    // The knight on d4 is pinned by the rook; White has a pawn, Black a rook more.
    replies("fen 3rk3/8/7P/8/3N1n2/8/3K4/8 w - -");
    const std::string text = joined(replies("ev"));
    EXPECT_NE(text.find("\npinned pieces on :  d4\n"), std::string::npos) << text;
    EXPECT_NE(text.find("(P :: R)\n"), std::string::npos) << text;
    EXPECT_EQ(joined(replies("fen 8/8/8/8/8/8/8/8 w - -")).find("eval="), std::string::npos);
    EXPECT_EQ(joined(replies("ev")).find("eval="), std::string::npos) << "no view of a board without kings";
}

TEST_F(Console, ShowsTheEvaluationTables) {
    const std::string text = joined(replies("sp"));
    EXPECT_TRUE(text.starts_with("piece values=  90/110  380/360  390/375  535/635  1200/1200\nbishop_pair= 30 , 50\n"))
        << text;
    for (const char *line : {
             "\n10:     25    30    36    42    49    56    64    72    81    90 \n",
             "\nPawnShield[]= 0 6 12 18 24 30 36 42 48 54 54 54 54 54 54 54 54 54 54 54 54 54 54\n",
             "\n 11  nmob=   0/  0  bmob= 23/ 27  rmob= 20/ 26  qmob=   4/ 10\n",
             "\nqueen_mob[28] = 19/50\n",
             "\nrank=7,  ppawn= 132 , 200\n",
             "\npawn_storm= -9/0\n",
             "\nDefended Pawn\n",
         })
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

TEST_F(Console, ShowsPositions) {
    const Lines board = replies("fen 4k2b/8/8/8/3pP3/8/1N6/4K2R b K e3");
    EXPECT_EQ(board[5], "  - + - o P + - +");
    EXPECT_EQ(board[9], "black");
    EXPECT_EQ(replies("bd").front(), "4k2b/8/8/8/3pP3/8/1N6/4K2R b K e3");
    EXPECT_EQ(joined(replies("new")), START_BOARD);
    // Whatever the text, a board is shown and the console lives on.
    for (const std::string &fen :
         Lines{"", "8/8/8/8/8/8/8/8 b", std::string(10'000, 'Q'), "kkkkkkkkkkkkkkk/9/0/pppppppppp b KQkq h9 x y z"}) {
        const Lines lines = replies("fen " + fen);
        EXPECT_GE(lines.size(), 11U) << fen.substr(0, 50);
        replies("perft 2");
        replies("swap");
        replies("mv");
    }
    EXPECT_EQ(joined(replies("new")), START_BOARD);
}

TEST_F(Console, CountsMovePathsAndValuesCaptures) {
    replies("fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
    for (const auto &[depth, nodes] : {std::pair("1", "48"), {"2", "2039"}, {"3", "97862"}}) {
        const std::string line = replies("perft " + std::string(depth)).back();
        const std::regex form("visited " + std::string(nodes) + " nodes in \\d+\\.\\d{3} seconds, nps= \\d+");
        EXPECT_TRUE(std::regex_match(line, form)) << line;
    }
    for (const char *line : {"perft", "perft 0", "perft -1", "perft x"}) {
        const Lines refusal = replies(line);
        EXPECT_EQ(refusal.size(), 1U) << line;
        EXPECT_EQ(joined(refusal).find("visited"), std::string::npos) << line;
    }
    // The values of captures.
    replies("fen 4k3/8/2p5/3p4/4P3/8/8/4K3 w - -");
    EXPECT_EQ(joined(replies("swap")), "sq= e4, swap=  100\nsq= d5, swap=    0\n");
    replies("fen q3k3/8/8/3R4/8/8/8/4K3 b - -");
    EXPECT_EQ(joined(replies("swap")), "sq= d5, swap=  530\n");
}

TEST_F(Console, AnswersSettings) {
    const std::pair<const char *, Lines> CASES[] = {
        {"set level 40 5:00 2", {"set level to 40 moves in 300.00 seconds, inc 2.00"}},
        {"set level 1 1:30 0.5", {"set level to 1 moves in 90.00 seconds, inc 0.50"}},
        {"set NMP_depth 4", {"NMP_depth set to 4"}},
        {"set Selectivity 90", {"Selectivity set to 90"}},
        {"set ss 0", {"selectivity set to OFF"}},
        {"set ss 1", {"set default personality"}},
    };
    for (const auto &[line, expected] : CASES) EXPECT_EQ(replies(line), expected) << line;
    // Settings without an answer, and what is no command.
    for (const std::string &line :
         Lines{"set hash 2", "set noise 0", "set multipv 2", "set", "set nothing 5", "", "   ", "isready", "go_ 5",
               "BD", "one two three four five six seven eight nine ten eleven twelve",
               std::string(5000, 'w') + ' ' + std::string(5000, 'v')})
        EXPECT_EQ(replies(line), Lines{}) << line.substr(0, 80);
}

class ConsoleSearch : public Console {
protected:
    // The two lines that sum a search up, and all before them.
    Lines summary() {
        const Lines lines = engine_.expect_line("Hash fill= ");
        static const std::regex FIRST(
            "move= (null|[a-h][1-8][a-h][1-8](=[QRBN])?), time= \\d+\\.\\d{3}, score= -?\\d+, nodes= \\d+, "
            "nps= \\d+K ebf= \\d+\\.\\d\\d");
        static const std::regex SECOND(
            "Hash fill= \\d+\\.\\d%, Hash hits: main= \\d+\\.\\d%, pawn= \\d+\\.\\d%, eval= \\d+\\.\\d%, TB=\\d+K");
        if (lines.size() < 2) throw EngineFailure("no result");
        EXPECT_TRUE(std::regex_match(lines[lines.size() - 2], FIRST)) << lines[lines.size() - 2];
        EXPECT_TRUE(std::regex_match(lines.back(), SECOND)) << lines.back();
        return lines;
    }
    static int last_depth(const Lines &lines) {
        static const std::regex PROGRESS("\\d\\d\\] (\\d\\d)[ .] +\\d+\\.\\d +\\d+K +-?\\d+  .*");
        int depth = -1;
        std::smatch part;
        for (const std::string &line : lines)
            if (std::regex_match(line, part, PROGRESS)) depth = std::stoi(part[1]);
        return depth;
    }
};

TEST_F(ConsoleSearch, AnalysesToADepthOrUntilStopped) {
    for (const char *command : {"go", "an"}) {
        engine_.send(std::string(command) + " 5");
        EXPECT_EQ(last_depth(summary()), 5);
        engine_.send(command);
        engine_.expect_line("00] 06");
        engine_.send(".");
        EXPECT_GE(last_depth(summary()), 6);
    }
}

TEST_F(ConsoleSearch, SearchesWithTheLimitsThatAreSet) {
    engine_.send("set depth 4");
    engine_.send("mv");
    EXPECT_EQ(last_depth(summary()), 4);
    // The move is not played.
    EXPECT_TRUE(joined(replies("bd")).ends_with(START_BOARD));

    EngineProcess limited({"-c", "-d", "3"});
    limited.send("mv");
    EXPECT_EQ(last_depth(limited.expect_line("Hash fill= ")), 3);
    quit_and_check(limited);

    EngineProcess nodes({"-c", "-n", "30000"});
    nodes.send("mv");
    const std::string text = joined(nodes.expect_line("Hash fill= "));
    std::smatch part;
    ASSERT_TRUE(std::regex_search(text, part, std::regex("score= -?\\d+, nodes= (\\d+),"))) << text;
    EXPECT_NEAR(std::stoi(part[1]), 30'000, 100);
    quit_and_check(nodes);
}

TEST_F(ConsoleSearch, ANewPositionAbandonsTheSearch) {
    for (const char *command : {"new", "fen 4k3/8/8/8/8/8/8/4K2R w K -"}) {
        engine_.send("go");
        engine_.expect_line("00] 05");
        engine_.send(command);
        summary();
        engine_.send("go 3");
        summary();
    }
    EXPECT_NE(joined(replies("bd")).find("4k3/8/8/8/8/8/8/4K2R w K -\n"), std::string::npos);
}

TEST(ConsoleSwitch, UciEndsTheConsole) {
    EngineProcess engine({"-c"});
    engine.send_raw("bd\nuci\nbd\nperft 1\nisready\n");
    engine.expect_line("uciok");
    EXPECT_EQ(engine.read_line(), "readyok");
    EXPECT_NE(search(engine, "go depth 3").best, "null");
    quit_and_check(engine);
}

}  // namespace
