// Strength limits: the model, the way from a wanted strength to a node rate and back, calibration, and the rate itself.
#include <gmock/gmock.h>

#include "engine/strength.h"
#include "engine_fixture.h"
#include "platform/clock.h"

namespace {

class StrengthTest : public EngineTest {
protected:
    // The node rate for a wanted strength on a machine of one million nodes per second.
    double rate_for(int elo) {
        engine.calibrated_nps = 1'000'000;
        engine.calibrated_elo = elo_model(engine.calibrated_nps);
        settings.UCI_LimitStrength = 1;
        settings.UCI_Elo = static_cast<std::int16_t>(elo);
        apply_target_elo(engine);
        return rate;
    }
    Settings &settings = engine.settings;
    SharedValue<double> &rate = engine.shared.target_nps;
};

TEST_F(StrengthTest, ModelRisesWithTheRate) {
    const struct {
        double nps, elo;
    } CASES[] = {{30, 1386.6},        {100, 1713.3},        {1000, 2048.8}, {10000, 2343.1}, {100000, 2633.6},
                 {1'000'000, 2923.8}, {10'000'000, 3213.9}, {10, 1386.6},   {0, 1386.6},     {-5, 1386.6}};
    for (const auto &c : CASES) EXPECT_NEAR(elo_model(c.nps), c.elo, 0.06) << c.nps;
}

TEST_F(StrengthTest, WantedStrengthBecomesANodeRate) {
    for (const int elo : {1500, 1501, 1999, 2000, 2500, 2912}) {
        EXPECT_NEAR(elo_model(rate_for(elo)), elo, 0.5);
        EXPECT_EQ(settings.UCI_Elo, elo);
        EXPECT_EQ(settings.UCI_LimitStrength, 1);
    }
    EXPECT_NEAR(rate_for(1500), 40, 1);
    EXPECT_NEAR(rate_for(2000), 690, 10);
    EXPECT_EQ(rate_for(1000), rate_for(1500));
    for (const int full : {0, 2913, 2923}) {
        EXPECT_EQ(rate_for(full), 1'000'000);
        EXPECT_EQ(settings.UCI_Elo, 2923);
        EXPECT_EQ(settings.UCI_LimitStrength, 0);
    }
    // A faster machine than the interval reaches: its end, not an endless search.
    rate_for(2900);
    engine.calibrated_elo = 3300.0;
    settings.UCI_Elo = 3285;
    apply_target_elo(engine);
    EXPECT_NEAR(rate, 10'000'000, 1);
}

TEST_F(StrengthTest, CalibrationMeasuresThisMachine) {
    play("e2e4");
    const double start = monotonic_seconds();
    const double seconds = calibrate_speed(engine);
    EXPECT_GE(seconds, 0.3);
    EXPECT_LE(seconds, monotonic_seconds() - start);
    EXPECT_GT(engine.calibrated_nps, 1000);
    EXPECT_EQ(engine.calibrated_elo, elo_model(engine.calibrated_nps));
    EXPECT_EQ(settings.UCI_Elo, static_cast<int>(engine.calibrated_elo));
    EXPECT_EQ(get_fen(pos), START_FEN);
    EXPECT_TRUE(is_consistent(thread().position));
}

TEST_F(StrengthTest, SearchKeepsTheRate) {
    settings.UCI_LimitStrength = 1;
    rate = 2000;
    limits.fix_time(1.0);
    result = search(engine, limits);
    EXPECT_EQ(rate, 2000);
    EXPECT_NEAR(static_cast<double>(result.stats.nodes), 2000 * result.elapsed, 100);
    EXPECT_NEAR(result.elapsed, 1.0, 0.5);

    settings.UCI_LimitStrength = 0;  // forgets the rate
    begin_search(engine, limits, REQUEST_SEARCH);
    EXPECT_EQ(rate, UNLIMITED_NPS);

    apply_target_elo(engine);  // before any calibration
    settings.UCI_LimitStrength = 1;
    begin_search(engine, limits, REQUEST_SEARCH);
    EXPECT_EQ(rate, UNLIMITED_NPS);
}

}  // namespace
