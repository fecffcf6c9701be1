// "go" and what ends a search: limits, "stop", pondering, other commands.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "uci_session.h"

namespace {

using namespace e2e;
using Clock = std::chrono::steady_clock;

constexpr const char *MIDDLE_GAME = "fen r1bq1rk1/pp2bppp/2n1pn2/3p4/3P1B2/2NBPN2/PP3PPP/R2Q1RK1 w - -";

class SearchCommands : public EngineTest {
protected:
    // Whether the moves can be played one after another from the position ("startpos" or "fen ...").
    bool playable(const std::string &position, const std::vector<std::string> &moves) {
        std::string line = "position " + position;
        if (line.find(" moves ") == std::string::npos) line += " moves";
        for (const std::string &move : moves) line += " " + move;
        return replies_to(engine_, line).empty();
    }
    // Starts a search and lets it get going.
    void begin(std::string_view go) {
        engine_.send(go);
        engine_.expect_line("info depth 3 ");
    }
};

TEST_F(SearchCommands, ProgressNeverGoesBackAndItsLinesCanBePlayed) {
    engine_.send("setoption name Hash value 1");
    for (const std::string position :
         {"startpos", "fen 8/2P5/8/8/1k6/8/p3K3/8 b - -", "fen r3k2r/8/8/1pP5/8/8/8/R3K2R w KQkq b6", MIDDLE_GAME}) {
        SCOPED_TRACE(position);
        engine_.send("position " + position);
        const SearchReport report = search(engine_, "go depth 8");
        for (const InfoLine &info : report.infos) EXPECT_TRUE(playable(position, info.pv)) << joined(report.lines);
        for (std::size_t i = 1; i < report.infos.size(); ++i) {
            const InfoLine &before = report.infos[i - 1], &now = report.infos[i];
            EXPECT_GE(now.depth, before.depth);
            EXPECT_GE(now.nodes, before.nodes);
            EXPECT_GE(now.time, before.time);
            EXPECT_LE(now.hashfull, 1000);
        }
        EXPECT_EQ(report.last().depth, 8);
        EXPECT_GE(report.last().seldepth, 8);
        EXPECT_GT(report.last().hashfull, 0);
        EXPECT_EQ(report.best, report.last().pv[0]);
        EXPECT_EQ(report.ponder, report.last().pv.size() > 1 ? report.last().pv[1] : "");
    }
    // After a few seconds the root moves are announced as well, next to lines of play in their usual form.
    engine_.send("go infinite");
    const std::string line = engine_.expect_line("info currmove ").back();
    EXPECT_TRUE(std::regex_match(line, std::regex("info currmove ([a-h][1-8]){2} currmovenumber [1-9]\\d?"))) << line;
    engine_.send("stop");
    read_search(engine_);
}

TEST_F(SearchCommands, LimitsHoldUntilTheyAreReplaced) {
    EXPECT_EQ(search(engine_, "go depth 1").last().depth, 1);
    // No iteration at all, and no harm to the next search.
    EXPECT_TRUE(search(engine_, "go depth 0").infos.empty());
    search(engine_, "go depth -3");
    EXPECT_EQ(search(engine_, "go depth 3").last().depth, 3);
    EXPECT_EQ(search(engine_, "go movetime 60000").last().depth, 3);
    EXPECT_EQ(search(engine_, "go wtime 600000 btime 600000").last().depth, 3);
    EXPECT_GT(search(engine_, "go wtime 3000 btime 3000 movestogo 10").last().depth, 3);
    // Bare kings: every iteration is short, so the cap is reached.
    engine_.send("position fen 8/8/4k3/8/8/3K4/8/8 w - -");
    EXPECT_EQ(search(engine_, "go depth 99").last().depth, 66);
    EXPECT_EQ(search(engine_, "go infinite").last().depth, 66);
    engine_.send("position " + std::string(MIDDLE_GAME));
    for (int i = 0; i < 4; ++i) {
        const long long nodes = search(engine_, "go nodes 100000").last().nodes;
        EXPECT_GE(nodes, 96'100);
        EXPECT_LE(nodes, 104'000 + 100);
    }
}

// Times are kept; clocks that are short, gone or below zero are all answered, and never so late that the game is lost.
TEST_F(SearchCommands, TimesAndShortClocks) {
    const struct {
        const char *go;
        int least, most;  // ms
    } CASES[] = {
        {"go movetime 50", 45, 250},
        {"go movetime 400", 395, 600},
        {"go wtime 1000 btime 1000", 0, 1000},
        {"go wtime 500 btime 500 winc 10 binc 10", 0, 500},
        {"go wtime 300 btime 300 movestogo 1", 0, 300},
        {"go wtime 0 btime 0", 0, 0},
        {"go wtime -500 btime -500 movestogo 0", 0, 0},
        {"go wtime 1000 btime 1000 movestogo -1", 0, 1000},
        {"go movetime -10", 0, 0},
    };
    for (const auto &c : CASES) {
        const auto start = Clock::now();
        EXPECT_NE(search(engine_, c.go).best, "null") << c.go;
        const auto taken = Clock::now() - start;
        EXPECT_GE(taken, Milliseconds(c.least)) << c.go;
        EXPECT_LE(taken, Milliseconds(c.most) + scaled(Milliseconds(300))) << c.go;
    }
}

// The plan is written into the log. It is 15 % shorter at a playing strength below 2400, which depends on the machine.
class TimePlan : public EngineTest {
protected:
    TimePlan() : EngineTest({"-log"}) {}
};

TEST_F(TimePlan, FollowsTheClockOfTheSideToMove) {
    const struct {
        const char *position, *go;
        double seconds;
        bool scaled;
    } CASES[] = {
        {"startpos", "go wtime 60000 btime 1000", 60.0 / 34 * 1.3, true},
        {"startpos moves e2e4", "go wtime 1000 btime 60000", 60.0 / 34 * 1.3, true},
        {"startpos", "go wtime -500 btime 60000", 0.002, false},
        {"startpos", "go wtime 10000 btime 1000 movestogo 9", 1.3, true},
        {"startpos", "go movetime 2500", 2.5, false},
    };
    const auto planned_for = [&](const std::string &position, const std::string &go) {
        engine_.send("position " + position);
        engine_.send(go);
        engine_.send("isready");
        engine_.send("stop");
        engine_.expect_line("bestmove ");
        const std::string log = directory_.read("dral.log");
        static const std::string WORD = "trg_time= ";
        return std::stod(log.substr(log.rfind(WORD) + WORD.size()));
    };
    for (const auto &c : CASES) {
        const double planned = planned_for(c.position, c.go);
        const double expected = c.scaled && planned < 0.9 * c.seconds ? 0.85 * c.seconds : c.seconds;
        EXPECT_NEAR(planned, expected, 0.0006) << c.go;
    }
    // An increment adds to the plan, and counts for its own side only.
    engine_.send("ucinewgame");
    const double plain = planned_for("startpos", "go wtime 60000 btime 60000 binc 5000");
    EXPECT_NEAR(planned_for("startpos", "go wtime 60000 btime 60000 winc 1000") - plain, 60.0 / 62, 0.002);
}

TEST_F(SearchCommands, PonderingEndsWithStopOrPonderhit) {
    const std::pair<const char *, const char *> CASES[] = {
        {"go ponder wtime 200 btime 200", "ponderhit"},
        {"go ponder wtime 200 btime 200", "stop"},
        {"go ponder depth 3", "ponderhit"},  // long over when the end comes
        {"go ponder depth 3", "stop"},
        {"go ponder infinite", "stop"},
    };
    for (const auto &[go, end] : CASES) {
        // The depth limit of an earlier case does not end this one.
        search(engine_, "go depth 60 movetime 1");
        begin(go);
        std::this_thread::sleep_for(Milliseconds(200));
        for (const std::string &line : replies_to(engine_, "")) EXPECT_FALSE(line.starts_with("bestmove")) << go;
        engine_.send(end);
        EXPECT_NE(read_search(engine_, Milliseconds(3000)).best, "null") << go;
    }
}

TEST_F(SearchCommands, AnotherGoReplacesTheRunningSearch) {
    for (const char *first : {"go infinite", "go ponder", "go ponder depth 3", "go wtime 600000 btime 600000"}) {
        SCOPED_TRACE(first);
        engine_.send("go infinite");  // lifts earlier limits
        engine_.send("stop");
        read_search(engine_);
        engine_.send("position startpos moves e2e4");
        begin(first);
        // What follows a waiting "go" waits with it.
        engine_.send_raw("go depth 4\nposition startpos\n");
        read_search(engine_);
        const SearchReport second = read_search(engine_);
        EXPECT_EQ(second.last().depth, 4);
        const SearchReport third = search(engine_, "go depth 2");
        EXPECT_TRUE(playable("startpos moves e2e4", second.last().pv)) << joined(second.lines);
        EXPECT_TRUE(playable("startpos", third.last().pv)) << joined(third.lines);
    }
    // Two searches without an end of their own.
    begin("go infinite");
    engine_.send("go infinite");
    read_search(engine_);
    engine_.expect_line("info depth 3 ");
    // What follows a second "go" in the same write belongs to that search, not to the one it overtakes.
    engine_.send_raw("go infinite\nstop\n");
    for (int i = 0; i < 2; ++i) read_search(engine_);
    begin("go ponder wtime 1000 btime 1000");
    engine_.send_raw("go ponder wtime 1000 btime 1000\nponderhit\n");
    for (int i = 0; i < 2; ++i) read_search(engine_);
    EXPECT_EQ(replies_to(engine_, "stop"), Lines{});
}

TEST_F(SearchCommands, MultiPvShowsDifferentMoves) {
    const struct {
        const char *position, *wanted;
        int lines;
    } CASES[] = {
        {"startpos", "4", 4},
        {"startpos", "255", 20},                    // all moves there are
        {"fen 7k/8/6K1/8/8/8/8/R7 b - -", "3", 1},  // one legal move
        {"fen 8/2P5/8/8/1k6/8/p3K3/8 b - -", "2", 2},
    };
    for (const auto &c : CASES) {
        SCOPED_TRACE(c.position);
        engine_.send("setoption name MultiPV value " + std::string(c.wanted));
        engine_.send("position " + std::string(c.position));
        const SearchReport report = search(engine_, "go depth 4");
        std::map<int, std::map<int, std::string>> first_moves;  // [depth][line]
        for (const InfoLine &info : report.infos) first_moves[info.depth].emplace(info.multipv, info.pv[0]);
        for (const auto &[depth, moves] : first_moves) {
            EXPECT_EQ(moves.begin()->first, 1);
            EXPECT_EQ(moves.rbegin()->first, c.lines) << joined(report.lines);
            std::set<std::string> different;
            for (const auto &[line, move] : moves) different.insert(move);
            EXPECT_EQ(static_cast<int>(different.size()), c.lines) << joined(report.lines);
        }
        EXPECT_NE(report.best, "null");
    }
    engine_.send("setoption name MultiPV value 1");
    EXPECT_EQ(search(engine_, "go depth 3").last().multipv, 0);
}

TEST_F(SearchCommands, MatesAndEndsOfTheGame) {
    const struct {
        const char *fen, *best, *score;  // best "null": the game is over; score "": no line is shown
    } CASES[] = {
        {"6k1/5ppp/8/8/8/8/8/R3K3 w Q -", "a1a8", "mate 1"},
        {"7k/8/6K1/8/8/8/8/R7 b - -", "h8g8", "mate -2"},  // mated by the reply: counted with the mated position
        {"R5k1/5ppp/8/8/8/8/8/6K1 b - -", "null", ""},     // mated
        {"7k/5Q2/6K1/8/8/8/8/8 b - -", "null", ""},        // stalemate
    };
    for (const char *threads : {"1", "2"}) {
        engine_.send("setoption name Threads value " + std::string(threads));
        for (const auto &c : CASES) {
            engine_.send("position fen " + std::string(c.fen));
            const SearchReport report = search(engine_, "go depth 5");
            EXPECT_EQ(report.best, c.best) << c.fen;
            EXPECT_EQ(report.infos.empty() ? "" : report.last().score, c.score) << c.fen;
            EXPECT_EQ(search(engine_, "go wtime 1000 btime 1000").best, c.best) << c.fen;
        }
    }
    // A lone legal move needs no thought: in check from a8, only Kb1.
    engine_.send("position fen r5k1/8/8/8/8/2pp4/2r5/K2R4 w - -");
    const auto start = Clock::now();
    EXPECT_EQ(search(engine_, "go wtime 600000 btime 600000").best, "a1b1");
    EXPECT_LT(Clock::now() - start, scaled(Milliseconds(3000)));
}

TEST_F(SearchCommands, TheSameSearchGivesTheSameLines) {
    const auto searched = [&](EngineProcess &engine, const std::string &position) {
        engine.send("position " + position);
        std::string text;
        for (const std::string &line : search(engine, "go depth 8").lines)
            if (parse_info(line) || line.starts_with("bestmove")) text += line + '\n';
        return std::regex_replace(text, std::regex("(time|nps) \\d+"), "$1");
    };
    EngineProcess other;
    for (const std::string &position : {std::string("startpos"), std::string(MIDDLE_GAME)}) {
        const std::string first = searched(engine_, position);
        for (const char *reset : {"setoption name Clear_Hash", "ucinewgame"}) {
            engine_.send(reset);
            EXPECT_EQ(searched(engine_, position), first) << reset;
        }
        EXPECT_EQ(searched(other, position), first) << "in another process";
        for (EngineProcess *engine : {&engine_, &other}) engine->send("ucinewgame");
    }
    quit_and_check(other);
}

TEST_F(SearchCommands, ThreadsChangeBetweenAndDuringSearches) {
    for (const std::string threads : {"2", "8", "1"}) {
        SCOPED_TRACE(threads);
        begin("go infinite");
        engine_.send("setoption name Threads value " + threads);  // ends the search, which still has its result
        EXPECT_NE(read_search(engine_).best, "null");
        engine_.send("position startpos moves e2e4");
        const SearchReport report = search(engine_, "go depth 7");
        EXPECT_EQ(report.last().depth, 7);
        EXPECT_TRUE(playable("startpos moves e2e4", report.last().pv));
    }
}

TEST_F(SearchCommands, OptionsAndNewGamesDuringASearch) {
    for (const char *threads : {"1", "2"}) {
        const std::string same_threads = "setoption name Threads value " + std::string(threads);
        engine_.send(same_threads);
        engine_.send("go infinite");
        engine_.expect_line([](std::string_view line) { return line.find(" depth 3 ") != line.npos; });
        engine_.send(same_threads);
        for (const std::string setting : {"Hash value 3", "Clear_Hash", "MultiPV value 3", "Mtl_Queen value 900,900"})
            engine_.send("setoption name " + setting);
        // None of these ended it.
        for (const std::string &line : replies_to(engine_, "")) EXPECT_FALSE(line.starts_with("bestmove"));
        engine_.send("ucinewgame");  // does end it
        EXPECT_NE(read_search(engine_).best, "null");
        EXPECT_NE(search(engine_, "go depth 5").best, "null");
        EXPECT_EQ(replies_to(engine_, "stop"), Lines{});
    }
}

}  // namespace
