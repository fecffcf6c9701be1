// Strength limits: the model, the way from a wanted strength to a node rate, calibration, and what the rate does to a
// search.
#include <gmock/gmock.h>

#include "base/output.h"
#include "engine/strength.h"
#include "engine_fixture.h"
#include "platform/clock.h"

namespace {

class StrengthTest : public EngineTest {
protected:
    Settings &settings = engine.settings;
    SharedValue<double> &rate = engine.shared.target_nps;
};

TEST_F(StrengthTest, ModelRisesWithTheRate) {
    for (const auto &row : data_rows("search/strength_model.tsv"))
        EXPECT_NEAR(elo_model(std::stod(row[0])), std::stod(row[1]), 0.001) << row[0];
    limit_rate(engine, 10.0);
    EXPECT_EQ(rate, 30.0);
    limit_rate(engine, 10.5);
    EXPECT_EQ(rate, 10.5);
    EXPECT_EQ(settings.UCI_LimitStrength, 1);
}

TEST_F(StrengthTest, WantedStrengthBecomesANodeRate) {
    std::string said;
    engine.shared.reporter.context = &said;
    engine.shared.reporter.message = [](void *text, std::string_view line) {
        *static_cast<std::string *>(text) = line;
    };
    for (const auto &row : data_rows("search/strength_wanted.tsv")) {
        engine.calibrated_nps = std::stod(row[0]);
        engine.calibrated_elo = std::stod(row[1]);
        settings.UCI_LimitStrength = 1;
        apply_option(engine, "UCI_Elo", row[2]);
        EXPECT_EQ(format_line("%.0f %d %d", rate.load(), settings.UCI_Elo, settings.UCI_LimitStrength), row[3])
            << row[1] << ' ' << row[2];
        EXPECT_EQ(said, format_line("info string target nps = %.0f", rate.load()));
    }
    engine.calibrated_elo = 2923.8;
    for (const int wanted : {0, 1}) {  // nothing wanted, and a strength that no option stores
        settings.UCI_Elo = static_cast<std::int16_t>(wanted);
        apply_target_elo(engine);
        EXPECT_EQ(settings.UCI_Elo, wanted == 0 ? 2923 : 1500);
    }
}

TEST_F(StrengthTest, SlowPlayReducesAtRandom) {
    for (const auto &row : data_rows("search/strength_reductions.tsv")) {
        derive_search_params(settings.search, std::stoi(row[0]), std::stod(row[1]), engine.shared.params);
        EXPECT_EQ(std::to_string(engine.shared.params.random_reduction_rate), row[2]) << row[0] << ' ' << row[1];
    }
}

TEST_F(StrengthTest, CalibrationMeasuresThisMachine) {
    play("e2e4");
    engine.shared.params.random_reduction_rate = 50;
    const double start = monotonic_seconds();
    const double seconds = calibrate_speed(engine);
    EXPECT_GE(seconds, 0.3);
    EXPECT_LE(seconds, monotonic_seconds() - start);
    EXPECT_GT(engine.calibrated_nps, 1000);
    EXPECT_DOUBLE_EQ(engine.calibrated_nps, static_cast<double>(thread().nodes) * 1.17 / (seconds + 0.001));
    EXPECT_EQ(engine.calibrated_elo, elo_model(engine.calibrated_nps));
    EXPECT_EQ(settings.UCI_Elo, static_cast<int>(engine.calibrated_elo));
    EXPECT_EQ(engine.shared.params.random_reduction_rate, 0);
    EXPECT_EQ(thread().eval.evaluations, thread().nodes);
    EXPECT_EQ(get_fen(pos), START_FEN);
    EXPECT_TRUE(is_consistent(thread().position));
}

TEST_F(StrengthTest, SearchKeepsTheRate) {
    settings.UCI_LimitStrength = 1;
    rate = 2000;
    limits.fix_time(0.5);
    result = search(engine, limits);
    EXPECT_EQ(rate, 2000);
    EXPECT_NEAR(static_cast<double>(result.stats.nodes), 2000 * result.elapsed, 100);

    // A rate that comes from no measurement, and one that nobody asks for any more, are no limits.
    for (const double forgotten : {0.0, -1.0}) {
        rate = forgotten;
        begin_search(engine, limits, REQUEST_SEARCH);
        EXPECT_EQ(rate, UNLIMITED_NPS);
    }
    rate = 2000;
    settings.UCI_LimitStrength = 0;
    begin_search(engine, limits, REQUEST_SEARCH);
    EXPECT_EQ(rate, UNLIMITED_NPS);
}

// Below 10,000 nodes a second the first two iterations have narrow windows; below 2400 a move gets less time.
TEST_F(StrengthTest, SlowSearchesStartNarrowly) {
    settings.UCI_LimitStrength = 1;
    for (const auto &row : data_rows("search/strength_windows.tsv")) {
        clear_table(engine.shared);
        set_fen(pos, row[0]);
        rate = std::stod(row[1]);
        search_to_depth(std::stoi(row[2]));
        EXPECT_EQ(format_line("%.0f %d", static_cast<double>(result.stats.nodes), result.score), row[3])
            << row[1] << ' ' << row[2];
    }
    limits.tc_mode = 0;
    double targets[2];
    for (const int elo : {2399, 2400}) {
        settings.UCI_Elo = static_cast<std::int16_t>(elo);
        begin_search(engine, limits, REQUEST_SEARCH);
        targets[elo - 2399] = engine.shared.plan.target;
    }
    EXPECT_DOUBLE_EQ(targets[0], targets[1] * 0.85);
}

}  // namespace
