// Engines side by side, and one after the other.
#include <gmock/gmock.h>

#include <thread>

#include "base/output.h"
#include "engine/strength.h"
#include "engine_fixture.h"

namespace {

struct Task {
    int megabytes, depth;
    std::vector<std::pair<const char *, const char *>> options;
    std::vector<std::string_view> fens;
};

constexpr std::string_view MIDDLE_GAME = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -";
constexpr std::string_view ROOK_ENDING = "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -";

// Everything that an engine of its own says of a task, but for what depends on the time.
std::string carry_out(const Task &task) {
    std::string said;
    Reporter reporter;
    reporter.context = &said;
    reporter.message = [](void *context, std::string_view text) {
        static_cast<std::string *>(context)->append(text).append("\n");
    };
    reporter.search_line = [](void *context, const SearchLine &line) {
        static_cast<std::string *>(context)->append(
            format_line("%d of %d depth %d/%d score %d nodes %.0f full %.4f %s\n", line.number, line.lines, line.depth,
                        line.selective_depth, line.score, line.nodes, line.hash_fill, coordinates(line.pv[1]).c_str()));
    };
    Engine engine;
    EXPECT_EQ(start_engine(engine, test_settings(task.megabytes), reporter), 0);
    for (const auto &[name, value] : task.options) apply_option(engine, name, value);
    settings_were_changed(engine);
    SearchLimits limits = depth_limits(task.depth);
    limits.fix_time(1000.0);  // contempt counts in searches that are not endless
    for (const std::string_view fen : task.fens) {
        set_fen(engine.game.position, fen);
        said += std::to_string(search(engine, limits).root_eval);
    }
    return said;
}

TEST(Engines, SideBySideSayWhatTheySayAlone) {
    const int depth = short_run() ? 7 : 9;
    const Task tasks[] = {
        {1, depth, {{"Contempt", "40"}, {"MultiPV", "3"}, {"King_Safety", "150,50"}}, {START_FEN, MIDDLE_GAME}},
        {8, depth, {{"Selectivity", "160"}, {"Mtl_Knight", "250,500"}}, {MIDDLE_GAME, ROOK_ENDING}},
    };
    const Task third{2, depth, {{"Threads", "2"}, {"Contempt", "-40"}}, {MIDDLE_GAME, START_FEN}};
    const std::string alone[] = {carry_out(tasks[0]), carry_out(tasks[1])};
    std::string together[2];
    std::thread first([&] { together[0] = carry_out(tasks[0]); });
    std::thread second([&] { together[1] = carry_out(tasks[1]); });
    std::thread beside([&] { EXPECT_THAT(carry_out(third), testing::HasSubstr("score")); });
    for (std::thread *thread : {&first, &second, &beside}) thread->join();
    EXPECT_THAT(together, testing::ElementsAreArray(alone));
}

std::uint64_t nodes_of_a_search(Engine &engine) { return search(engine, depth_limits(6)).stats.nodes; }

TEST(Engines, OptionsStayWithTheirEngine) {
    Engine one, other;
    ASSERT_EQ(start_engine(one, test_settings(1), {}), 0);
    ASSERT_EQ(start_engine(other, test_settings(2), {}), 0);
    const auto values = [](const Engine &engine) {
        std::string text;
        for (const Option &option : option_table())
            text += value_text(engine.settings, option) + ' ' + value_text(engine.default_settings, option) + ' ';
        return text + std::to_string(engine.shared.pool.size) + ' ' + get_fen(engine.game.position);
    };
    const std::string before = values(other);
    for (const Option &option : option_table())
        if (option.kind != OptionKind::TEXT) apply_option(one, option.name, "3,7");
    play_game_move(one.game, parse_coordinates(one.game.position, "e2e4"));
    EXPECT_EQ(one.settings.weights.King_Safety.en, 7);
    EXPECT_EQ(one.shared.pool.size, 3);
    EXPECT_EQ(values(other), before);
    // Stopped and started again it is as new.
    const std::uint64_t expected = nodes_of_a_search(other);
    limit_rate(one, 500.0);
    one.calibrated_nps = one.calibrated_elo = 2500.0;
    begin_search(one, depth_limits(6), REQUEST_ANALYSIS);
    stop_engine(one);
    EXPECT_FALSE(searching(one));
    EXPECT_EQ(one.shared.target_nps, UNLIMITED_NPS);
    EXPECT_EQ(one.calibrated_nps + one.calibrated_elo, 0.0);
    ASSERT_EQ(start_engine(one, test_settings(2), {}), 0);
    EXPECT_EQ(values(one), before);
    EXPECT_EQ(nodes_of_a_search(one), expected);
}

// The tables follow at the next search, and nothing that the old ones have filled is read by it.
TEST_F(EngineTest, ChangedSettingsTakeEffectAtTheNextSearch) {
    Engine fresh;
    Settings changed = test_settings();
    changed.weights.Pawn_Structure = {200, 0};
    changed.search.Selectivity = 160;
    ASSERT_EQ(start_engine(fresh, changed, {}), 0);
    const std::uint64_t plain = nodes_of_a_search(engine), expected = nodes_of_a_search(fresh);
    EXPECT_NE(plain, expected);
    engine.settings = changed;
    clear_table(engine.shared);
    EXPECT_EQ(nodes_of_a_search(engine), plain) << "nobody has said that they were changed";
    settings_were_changed(engine);
    clear_table(engine.shared);
    EXPECT_EQ(nodes_of_a_search(engine), expected);
    EXPECT_FALSE(engine.settings_changed);
}

TEST(Engines, KeepHashAndThreadsInRange) {
    const struct {
        std::int16_t hash, threads, kept_hash, kept_threads;
    } cases[] = {{-1, 0, 0, 1}, {1, 1, 1, 1}, {2, -3, 2, 1}};
    for (const auto &c : cases) {
        Engine engine;
        Settings settings;
        settings.Hash = c.hash;
        settings.Threads = c.threads;
        ASSERT_EQ(start_engine(engine, settings, {}), 0);
        EXPECT_EQ(engine.settings.Hash, c.kept_hash);
        EXPECT_EQ(engine.default_settings.Hash, c.kept_hash);
        EXPECT_FALSE(engine.settings_changed);
        EXPECT_EQ(engine.shared.pool.size, c.kept_threads);
    }
}

// The upper 31 bits of the generator's published values for the seed 0.
TEST(RandomNumbers, AreThoseOfTheGenerator) {
    RandomGenerator random;
    constexpr std::uint64_t VALUES[] = {0xE220A8397B1DCDAF, 0x6E789E6AA1B965F4, 0x06C45D188009454F, 0xF88BB8A8724C81EC};
    for (const std::uint64_t bits : VALUES) EXPECT_EQ(random.next(), static_cast<int>(bits >> 33));
    EXPECT_NE(RandomGenerator(1).next(), RandomGenerator(2).next());
}

}  // namespace
