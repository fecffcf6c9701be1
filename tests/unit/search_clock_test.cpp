// The plan of a search's time, and what ends it.
#include "search/clock.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr Move BEST = 1, OTHER = 2;

TEST(Clock, TargetTimes) {
    const struct {
        const char *what;
        ClockInput input;  // mode, time, clock, increment, moves to go, whole periods, ply, overhead, pondering, Elo
        double target;
    } cases[] = {
        // clock / moves x 1.3 for pondering x 0.85 below 2400 Elo, plus the increment's share
        {"sudden death, first move", {0, 9.0, 60.0, 0.0, 0, false, 0, 0.05, true, 2500}, 60.0 / 34 * 1.3},
        {"no pondering", {0, 9.0, 60.0, 0.0, 0, false, 0, 0.05, false, 2500}, 60.0 / 34},
        {"weak", {0, 9.0, 60.0, 0.0, 0, false, 0, 0.05, false, 2399}, 60.0 / 34 * 0.85},
        {"ply 21", {0, 9.0, 60.0, 0.0, 0, false, 21, 0.05, false, 2500}, 60.0 / 24},
        {"ply 22", {0, 9.0, 60.0, 0.0, 0, false, 22, 0.05, false, 2500}, 60.0 / 24},
        {"increment", {0, 9.0, 60.0, 2.0, 0, false, 0, 0.05, false, 2500}, 60.0 / 34 + 2.0 * 60.0 / 64.0},
        {"one move to go is capped", {40, 9.0, 10.0, 0.0, 1, false, 0, 0.05, true, 2500}, 5.0},
        {"no move to go is capped", {40, 9.0, 10.0, 0.0, 0, false, 0, 0.05, true, 2500}, 0.65 * 10.0 - 0.25},
        {"three moves to go count as many", {40, 9.0, 10.0, 0.0, 3, false, 0, 0.05, true, 2500}, 10.0 / 4 * 1.3},
        {"empty clock", {0, 9.0, 0.0, 0.0, 0, false, 0, 0.05, true, 2500}, 0.002},
        {"empty clock, increment", {0, 9.0, 0.0, 5.0, 0, false, 0, 0.05, true, 2500}, 0.002},
        {"fixed time", {1, 3.0, 9.0, 0.0, 0, false, 0, 0.05, true, 2500}, 3.0},
        {"no time", {1, -1.0, 9.0, 0.0, 0, false, 0, 0.05, true, 2500}, 0.002},
        {"whole periods decide, not the moves to go", {40, 9.0, 41.0, 0.0, 0, true, 0, 0.05, false, 2500}, 1.0},
    };
    for (const auto &c : cases) EXPECT_NEAR(plan_time(c.input).target, c.target, 1e-9) << c.what;
}

// Each thread: iteration, score, first move, failing low, failing high. Published: BEST with 50 at depth 10.
TEST(Clock, ThreadsThatDisagreeGainTime) {
    const struct {
        const char *what;
        std::vector<ThreadProgress> threads;
        int percent;
    } cases[] = {
        {"nobody", {}, 0},
        {"agreement", {{10, 50, BEST, false, false}}, 0},
        {"an earlier iteration", {{9, 20, BEST, true, false}, {9, 99, OTHER, false, true}}, 0},
        {"a better move", {{10, 74, OTHER, false, false}}, 0},
        {"a better move fails high", {{10, 74, OTHER, false, true}}, 2},
        {"the same in another thread", {{10, 50, BEST, false, false}, {10, 74, OTHER, false, true}}, 0},
        {"a much better move", {{10, 75, OTHER, false, true}}, 4},
        {"the same in another thread", {{10, 50, BEST, false, false}, {11, 75, OTHER, false, false}}, 4},
        {"the move gets worse", {{10, 49, BEST, false, false}}, 0},
        {"the move fails low", {{10, 49, BEST, true, false}, {10, 75, OTHER, false, false}}, 24},
        {"the same in another thread", {{10, 75, OTHER, false, false}, {10, 49, BEST, true, false}}, 16},
    };
    for (const auto &c : cases)
        EXPECT_EQ(thread_extension({1.0, 10, 50, 50, BEST, 5, false, c.threads}), c.percent) << c.what;
}

// Of 10 seconds.
TEST(Clock, FallingScoresGainTimeAndSteadyMovesLoseIt) {
    const std::vector<ThreadProgress> nobody;
    const std::vector<ThreadProgress> failing_low = {{12, 0, OTHER, false, false}, {12, -99, BEST, true, false}};
    const struct {
        const char *what;
        double elapsed;
        int depth, score, before, change_depth;
        const std::vector<ThreadProgress> &threads;
        int percent;
    } cases[] = {
        {"a fall by more than 4 x 15", 9.0, 12, -61, 0, 2, nobody, 24},
        {"by more than 2 x 15", 9.0, 12, -60, 0, 2, nobody, 10},
        {"by more than 15", 9.0, 12, -30, 0, 2, nobody, 4},
        {"by 959 / 16 + 15 at a high score", 9.0, 12, 959 - 74, 959, 12, nobody, 2},
        {"by more than 300 at a very high one", 9.0, 12, 960 - 301, 960, 2, nobody, 24},
        {"by more than 75", 9.0, 12, 960 - 76, 960, 2, nobody, 4},
        {"half of it in the first iterations", 9.0, 3, -61, 0, 2, nobody, 12},
        {"steady in the first iterations", 9.0, 4, 0, 0, 4, nobody, 0},
        {"a new move", 1.0, 12, 0, 0, 12, nobody, 2},
        {"a fairly new one", 1.0, 12, 0, 0, 11, nobody, 1},
        {"an old one, early", 5.0, 12, 0, 0, 1, nobody, 0},
        {"stood for five iterations", 5.1, 12, 0, 0, 7, nobody, 0},
        {"for six", 5.1, 12, 0, 0, 6, nobody, -1},
        {"for ten", 5.1, 12, 0, 0, 2, nobody, -2},
        {"the threads decide alone", 9.0, 12, 0, 0, 2, failing_low, 16},
        {"and over a small fall", 9.0, 12, -30, 0, 2, failing_low, 16},
        {"but not over a large one", 9.0, 12, -61, 0, 2, failing_low, 24},
    };
    for (const auto &c : cases)
        EXPECT_EQ(time_extension({10.0, 60.0, 0.0, 0.0},
                                 {c.elapsed, c.depth, c.score, c.before, BEST, c.change_depth, false, c.threads}),
                  c.percent)
            << c.what;
}

TEST(Clock, TimeIsUp) {
    const struct {
        const char *what;
        TimePlan plan;
        double elapsed;
        int depth, change_depth;
        bool single_reply, up;
    } cases[] = {
        {"within the target", {1.0, 11.0, 0.025, 0.015}, 0.97, 12, 7, false, false},
        {"beyond it", {1.0, 11.0, 0.025, 0.015}, 0.98, 12, 7, false, true},
        {"a new move gains 2 percent of 10 seconds", {1.0, 11.0, 0.025, 0.015}, 1.17, 12, 12, false, false},
        {"and no more", {1.0, 11.0, 0.025, 0.015}, 1.18, 12, 12, false, true},
        {"a forced move", {1.0, 11.0, 0.025, 0.015}, 0.02, 5, 5, true, true},
        {"a forced move, not deep enough", {1.0, 11.0, 0.025, 0.015}, 0.02, 4, 4, true, false},
        {"five safeties are left", {1.0, 0.5, 0.025, 0.015}, 0.37, 12, 7, false, false},
        {"and are not", {1.0, 0.5, 0.025, 0.015}, 0.38, 12, 7, false, true},
        {"a fixed time, used to its end", {1.0, 1.0, 0.0, 0.015}, 0.999, 12, 7, false, false},
        {"and over", {1.0, 1.0, 0.0, 0.015}, 1.0, 12, 7, false, true},
    };
    for (const auto &c : cases)
        EXPECT_EQ(time_is_up(c.plan, {c.elapsed, c.depth, 0, 0, BEST, c.change_depth, c.single_reply, {}}), c.up)
            << c.what;
}

}  // namespace
