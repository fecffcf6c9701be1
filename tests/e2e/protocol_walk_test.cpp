// A random walk through the UCI conversation: any command at any time. Whatever is said, each "go" gets one "bestmove",
// each "isready" its "readyok" at once, lines of play are legal, and the program ends when it is told to.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "uci_session.h"

namespace {

using namespace e2e;
using Clock = std::chrono::steady_clock;

// Sanitized: eight instrumented search threads on few cores.
Milliseconds ready_within() { return Milliseconds(sanitized() ? 500 : 50); }

constexpr const char *POSITIONS[] = {
    "startpos",
    "startpos moves e2e4 e7e5 g1f3 b8c6 f1b5",
    "startpos moves g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8",
    "fen r1bq1rk1/pp2bppp/2n1pn2/3p4/3P1B2/2NBPN2/PP3PPP/R2Q1RK1 w - -",
    "fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "fen R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - -",  // 218 moves
    "fen 8/8/8/8/8/5K2/4Q3/7k w - -",
    "fen 8/k7/3p4/p2P1p2/P2P1P2/8/8/K7 w - -",
    "fen 7k/5Q2/6K1/8/8/8/8/8 b - -",  // stalemate
    "fen 7k/6Q1/6K1/8/8/8/8/8 b - -",  // mate
    "fen 8/8/8/8/8/8/8/K1k5 w - - 100 1",
    "fen QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/8/8/8/8/K6k w - -",  // refused
};
const Lines SEARCHES = parts_of(
    "go movetime 5;go depth 3;go nodes 500;go wtime 100 btime 100;go wtime 50 btime 50 winc 5 binc 5 movestogo 2;"
    "go infinite;go ponder wtime 200 btime 200;go depth 0;go movetime 1;go nodes 1;go wtime -5 btime 0;"
    "go ponder depth 2;go;go infinite depth 2");
const Lines SETTINGS = parts_of(
    "setoption name MultiPV value 3;setoption name MultiPV value 1;setoption name Hash value 1;"
    "setoption name Hash value 8;setoption name Hash value 0;setoption name Threads value 1;"
    "setoption name Threads value 2;setoption name Threads value 8;setoption name Clear_Hash;"
    "setoption name Contempt value 20;setoption name Mtl_Knight value 300,;setoption name Selectivity value 150;"
    "setoption name OwnBook value true;setoption name OwnBook_File value nothing;"
    "setoption name SyzygyPath value none;setoption name King_Safety value 50,50;"
    "setoption name Ponder value false;setoption name UCI_LimitStrength value true;"
    "setoption name UCI_Elo value 2800;setoption name UCI_LimitStrength value false;ucinewgame;uci;debug on;"
    "nonsense;position;setoption;register later;_show");

class Walk {
public:
    explicit Walk(unsigned seed) : random_(seed) {
        await_ready(referee_);
        restart();
    }

    void step() {
        const unsigned kind = pick(100);
        if (kind < 25)
            check_ready();
        else if (kind < 45)
            engine_->send(SETTINGS[pick(std::size(SETTINGS))]);
        else if (kind < 60) {
            position_ = POSITIONS[pick(std::size(POSITIONS))];
            engine_->send("position " + position_);
        } else if (kind < 82) {
            engine_->send(SEARCHES[pick(std::size(SEARCHES))]);
            ++outstanding_;
            searched_.insert(position_);
        } else if (kind < 96)
            engine_->send(kind < 92 ? "stop" : "ponderhit");
        else if (kind < 98)
            poll(nullptr, 0, static_cast<int>(pick(30)));
        else
            kind == 98 ? finish() : quit();
    }

    // All searches answered, and not one answer more.
    void finish() {
        // Held searches start one after the other, each may have to be stopped.
        const Clock::time_point end = Clock::now() + scaled(Milliseconds(20'000));
        while (outstanding_ > 0 && Clock::now() < end) {
            engine_->send("stop");
            check_ready();
            poll(nullptr, 0, 2);
        }
        check_ready();
        EXPECT_EQ(outstanding_, 0) << engine_->transcript();
    }

    void quit() {
        engine_->send("quit");
        const Clock::time_point start = Clock::now();
        const ExitReport report = engine_->read_until_exit(Milliseconds(5'000));
        EXPECT_LT(Clock::now() - start, scaled(Milliseconds(1'000))) << engine_->transcript();
        EXPECT_EQ(report.status, 0) << report.errors << engine_->transcript();
        EXPECT_EQ(report.errors, "");
        restart();
    }

private:
    unsigned pick(std::size_t count) { return static_cast<unsigned>(random_() % count); }

    void restart() {
        engine_ = std::make_unique<EngineProcess>();
        outstanding_ = 0;
        last_line_.clear();
        position_ = "startpos";
        await_ready(*engine_);
    }

    // Everything said up to the answer is looked at.
    void check_ready() {
        engine_->send("isready");
        const Clock::time_point start = Clock::now();
        const Lines lines = engine_->expect_line([](std::string_view line) { return line == "readyok"; });
        EXPECT_LT(Clock::now() - start, scaled(ready_within())) << engine_->transcript();
        for (const std::string &line : lines) look_at(line);
        if (outstanding_ == 0) {
            searched_.clear();
            searched_.insert(position_);
        }
    }

    void look_at(const std::string &line) {
        static const std::regex BEST("bestmove (null|([a-h][1-8]){2}[qrbn]?)( ponder ([a-h][1-8]){2}[qrbn]?)?");
        if (line.starts_with("bestmove")) {
            std::smatch best;
            ASSERT_TRUE(std::regex_match(line, best, BEST)) << line;
            EXPECT_TRUE(last_line_.empty() || best[1] == last_line_) << engine_->transcript();
            last_line_.clear();
            EXPECT_GT(outstanding_--, 0) << line << '\n' << engine_->transcript();
        }
        if (!line.starts_with("info ") || line.find(" pv ") == std::string::npos) return;
        const auto info = parse_info(line);
        ASSERT_TRUE(info.has_value()) << line;
        EXPECT_LE(std::abs(std::stoi(info->score.substr(info->score.find(' ')))), 9899) << line;
        last_line_ = info->pv[0];
        EXPECT_TRUE(playable(info->pv)) << line << '\n' << engine_->transcript();
    }

    // Whether the moves can be played from a position that was searched since all was quiet.
    bool playable(const std::vector<std::string> &moves) {
        std::string text;
        for (const std::string &move : moves) text += " " + move;
        for (const std::string &position : searched_) {
            const bool has_moves = position.find(" moves ") != std::string::npos;
            if (replies_to(referee_, "position " + position + (has_moves ? "" : " moves") + text).empty()) return true;
        }
        return false;
    }

    std::mt19937 random_;
    std::unique_ptr<EngineProcess> engine_;
    EngineProcess referee_;
    int outstanding_ = 0;
    std::string position_;
    std::string last_line_;  // first move of the last line of play since the last answer
    std::set<std::string> searched_;
};

// DRAL_TEST_WALK_STEPS and DRAL_TEST_WALK_SEED make the walk longer, or another one.
TEST(ProtocolWalk, EveryGoIsAnsweredOnce) {
    const char *steps = std::getenv("DRAL_TEST_WALK_STEPS");
    const char *seed = std::getenv("DRAL_TEST_WALK_SEED");
    Walk walk(seed != nullptr ? static_cast<unsigned>(std::atoi(seed)) : 1);
    for (int i = steps != nullptr ? std::atoi(steps) : 400; i > 0; --i) {
        walk.step();
        if (testing::Test::HasFailure()) return;
    }
    walk.finish();
    walk.quit();
}

}  // namespace
