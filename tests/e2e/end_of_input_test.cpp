// What happens when the input ends without "quit": what was asked is still done, then the program ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "uci_session.h"

namespace {

using namespace e2e;
using Clock = std::chrono::steady_clock;

int count_lines(const Lines &lines, std::string_view beginning) {
    return static_cast<int>(std::count_if(lines.begin(), lines.end(),
                                          [&](const std::string &line) { return line.starts_with(beginning); }));
}

TEST(EndOfInput, WhatWasAskedIsDone) {
    const struct {
        const char *input, *wanted;  // what the lines begin with
        int times;
    } CASES[] = {
        {"", "bestmove", 0},
        {"isready", "readyok", 1},  // the last line may lack its end
        {"position startpos\ngo depth 9\n", "bestmove", 1},
        {"go nodes 20000\n", "bestmove", 1},
        {"go wtime 2000 btime 2000\n", "bestmove", 1},
        {"go infinite\n", "bestmove", 1},
        {"go ponder wtime 100 btime 100\n", "bestmove", 1},
        {"go ponder depth 2\n", "bestmove", 1},
        {"go infinite\ngo depth 3\n", "bestmove", 2},
        {"go depth 3\nquit\nisready\n", "readyok", 0},
        {"position fen 8/8/8/8/8/8/8/8 w - -\ngo infinite\n", "bestmove null", 1},
    };
    for (const auto &c : CASES) {
        SCOPED_TRACE(c.input);
        EngineProcess engine;
        engine.send_raw(c.input);
        engine.close_input();
        const ExitReport report = engine.read_until_exit();
        EXPECT_EQ(report.status, 0) << report.signal;
        EXPECT_EQ(report.errors, "");
        EXPECT_EQ(count_lines(report.lines, c.wanted), c.times) << joined(report.lines);
        if (std::string_view(c.input).ends_with("go depth 9\n")) {  // limits are still reached
            EXPECT_GT(count_lines(report.lines, "info depth 9 seldepth"), 0) << joined(report.lines);
        }
    }
}

TEST(EndOfInput, TimedSearchesUseTheirTime) {
    EngineProcess engine;
    await_ready(engine);
    const auto start = Clock::now();
    engine.send("go movetime 400");
    engine.close_input();
    const ExitReport report = engine.read_until_exit();
    EXPECT_GE(Clock::now() - start, Milliseconds(395));
    EXPECT_EQ(report.status, 0);
    EXPECT_EQ(count_lines(report.lines, "bestmove"), 1);
}

TEST(EndOfInput, ClosesTheConsole) {
    for (const char *input : {"", "go\n", "go 4\n", "perft 3\n"}) {
        SCOPED_TRACE(input);
        EngineProcess engine({"-c"});
        engine.send_raw(input);
        engine.close_input();
        const ExitReport report = engine.read_until_exit();
        EXPECT_EQ(report.status, 0) << report.signal;
        EXPECT_EQ(count_lines(report.lines, "move= "), input[0] == 'g' ? 1 : 0) << joined(report.lines);
    }
}

}  // namespace
