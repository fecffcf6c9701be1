// The plan of a search's time, and what ends it.
#include <gmock/gmock.h>

#include <limits>
#include <tuple>

#include "engine_fixture.h"
#include "platform/clock.h"
#include "search/timing.h"

namespace {

constexpr Move BEST = 1, OTHER = 2;
constexpr double FOR_EVER = std::numeric_limits<double>::infinity();

// A row of the table of extensions.
struct Extension {
    explicit Extension(const std::vector<std::string> &row) {
        const std::vector<double> state = row_numbers(row[1]);
        target = state[0];
        std::istringstream words(row[2]);
        int iteration = 0, score = 0;
        for (std::string move, failing; words >> iteration >> score >> move >> failing;)
            threads.push_back({iteration, score, move == "best" ? BEST : OTHER, failing == "low", failing == "high"});
        clock = {state[1],
                 static_cast<int>(state[2]),
                 static_cast<int>(state[3]),
                 static_cast<int>(state[4]),
                 BEST,
                 static_cast<int>(state[5]),
                 false,
                 threads};
        of_threads = static_cast<int>(row_numbers(row[3])[0]);
        in_all = static_cast<int>(row_numbers(row[3])[1]);
    }
    std::vector<ThreadProgress> threads;
    ClockState clock{};
    double target;
    int of_threads, in_all;
};

class CheckTime : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        apply_option(engine, "Threads", "3");
        begin_search(engine, limits, REQUEST_SEARCH);
        shared.iteration = 12;
        shared.plan = {1000.0, 2000.0, 0.0, 900.0};
    }
    // A search that has run for so many seconds.
    int stops_after(double seconds) {
        shared.stop_flag = STOP_NONE;
        shared.start = monotonic_seconds() - seconds;
        check_time(shared);
        return shared.stop_flag;
    }
    SearchShared &shared = engine.shared;
};

}  // namespace

TEST(Clock, Plans) {
    for (const auto &row : data_rows("search/clock_plan.tsv")) {
        SCOPED_TRACE(row[0]);
        const std::vector<double> in = row_numbers(row[1]);
        const TimePlan plan =
            plan_time({static_cast<int>(in[0]), in[1], in[2], in[3], static_cast<int>(in[4]), in[5] != 0.0,
                       static_cast<int>(in[6]), in[7], in[8] != 0.0, static_cast<int>(in[9])});
        const double planned[] = {plan.target, plan.clock, plan.safety, plan.first_check};
        EXPECT_THAT(planned, testing::Pointwise(testing::DoubleNear(1e-9), row_numbers(row[2])));
    }
}

TEST(Clock, ExtensionsOfThreadsAndTrend) {
    for (const auto &row : data_rows("search/clock_extension.tsv")) {
        const Extension extension(row);
        EXPECT_EQ(thread_extension(extension.clock), extension.of_threads) << row[0];
        EXPECT_EQ(time_extension({extension.target, 60.0, 0.0, 0.0}, extension.clock), extension.in_all) << row[0];
    }
}

TEST(Clock, TimeIsUp) {
    for (const auto &row : data_rows("search/clock_stop.tsv")) {
        const std::vector<double> in = row_numbers(row[1]);
        const auto whole = [&in](int i) { return static_cast<int>(in[i]); };
        EXPECT_EQ(time_is_up({in[0], in[1], in[2], 0.0},
                             {in[3], whole(4), whole(5), whole(6), BEST, whole(7), in[8] != 0.0, {}}),
                  row[2] == "1")
            << row[0];
    }
}

// The same extensions out of what the threads have published: after 1000 of 2000 seconds one percent is 10 seconds.
TEST_F(CheckTime, GathersWhatTheThreadsHaveFound) {
    for (const auto &row : data_rows("search/clock_extension.tsv")) {
        const Extension extension(row);
        if (extension.clock.elapsed <= 0.5 * extension.target) continue;
        SCOPED_TRACE(row[0]);
        for (int i = 0; i < shared.pool.size; ++i) {
            const bool told = i < static_cast<int>(extension.threads.size());
            const ThreadProgress progress = told ? extension.threads[i] : ThreadProgress{};
            SearchThread &record = search_thread_at(shared.pool, i);
            record.eval.iteration = static_cast<std::uint8_t>(progress.iteration);
            record.score = static_cast<std::int16_t>(progress.score);
            record.line[1] = progress.first_move;
            record.aspiration = progress.failing_low ? FAILING_LOW : progress.failing_high ? FAILING_HIGH : 0;
        }
        const int depth = extension.clock.depth;
        shared.iteration = static_cast<std::uint8_t>(depth);
        shared.result.score = static_cast<std::int16_t>(extension.clock.score);
        shared.result.score_by_depth[depth - 1] = static_cast<std::int16_t>(extension.clock.score_before);
        shared.result.pv[1] = BEST;
        shared.result.change_depth = static_cast<std::int8_t>(extension.clock.change_depth);
        shared.plan.target = 1000.0 - 10.0 * extension.in_all + 5.0;
        EXPECT_EQ(stops_after(1000.0), STOP_NONE);
        shared.plan.target -= 10.0;
        EXPECT_EQ(stops_after(1000.0), STOP_REPORT);
    }
}

TEST_F(CheckTime, DecidesOnlyInRunningSearches) {
    for (const auto &row : data_rows("search/clock_running.tsv")) {
        SCOPED_TRACE(row[0]);
        const std::vector<double> in = row_numbers(row[1]);
        shared.search_state = static_cast<std::uint8_t>(in[0]);
        shared.iteration = static_cast<std::uint8_t>(in[1]);
        shared.single_reply = static_cast<std::uint8_t>(in[2]);
        shared.plan.first_check = in[3];
        EXPECT_EQ(stops_after(in[4]), std::stoi(row[2]));
        EXPECT_GE(shared.elapsed, in[4]);
        if (pondering(engine)) {
            end_pondering(engine);
            EXPECT_EQ(stops_after(in[4]), STOP_REPORT) << "the time before the hit counts";
        }
    }
    shared.stop_flag = STOP_SHUTDOWN;
    check_time(shared);
    EXPECT_EQ(shared.stop_flag, STOP_SHUTDOWN);
    shared.plan.first_check = FOR_EVER;
    EXPECT_EQ(stops_after(FOR_EVER), STOP_REPORT) << "at the moment of the first decision";
}

// What the plan is made of, and who is told.
TEST_F(CheckTime, PlansByGameLimitsAndSettings) {
    SearchPlan told{};
    shared.reporter.context = &told;
    shared.reporter.planned = [](void *context, const Position &, const SearchPlan &plan) {
        *static_cast<SearchPlan *>(context) = plan;
    };
    play("e2e4");
    engine.settings.MoveOverhead = 400;
    engine.settings.UCI_Elo = 1500;
    limits.clock = {90.0, 50.0};
    limits.increment = 2.0;
    limits.moves_to_go = 7;
    for (const int mode : {0, 1, 1, 40, 40, 40}) {
        engine.settings.Ponder = engine.settings.Ponder == 0;
        limits.count_period = !limits.count_period && engine.settings.Ponder == 0;
        limits.tc_mode = mode;
        limits.time_per_move = engine.settings.Ponder == 0 ? 6000.0 : 5999.0;
        begin_search(engine, limits, REQUEST_SEARCH);
        const TimePlan plan = plan_time(
            {mode, limits.time_per_move, 50.0, 2.0, 7, limits.count_period, 1, 0.4, engine.settings.Ponder != 0, 1500});
        EXPECT_EQ(std::tie(shared.plan.target, shared.plan.clock, shared.plan.safety, shared.plan.first_check),
                  std::tie(plan.target, plan.clock, plan.safety, plan.first_check));
        EXPECT_EQ(std::tie(told.game_ply, told.target, told.clock), std::make_tuple(1, plan.target, plan.clock));
        EXPECT_EQ(shared.eval_tables.contempt_active, plan.target < 6000.0);
    }
    told = {};
    limits.noise = NO_PROGRESS_LINES;
    begin_search(engine, limits, REQUEST_SEARCH);
    EXPECT_EQ(told.target, 0.0);
}
