// Engines side by side, and one after the other.
#include <gmock/gmock.h>

#include <thread>

#include "base/output.h"
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
        auto &text = *static_cast<std::string *>(context);
        text += format_line("%d of %d depth %d/%d score %d nodes %.0f full %.4f", line.number, line.lines, line.depth,
                            line.selective_depth, line.score, line.nodes, line.hash_fill);
        for (const Move *m = &line.pv[1]; *m != NO_MOVE; ++m) text += ' ' + coordinates(*m);
        text += '\n';
    };
    Engine engine;
    EXPECT_EQ(start_engine(engine, test_settings(task.megabytes), reporter), 0);
    for (const auto &[name, value] : task.options) apply_option(engine, name, value);
    settings_were_changed(engine);
    SearchLimits limits = depth_limits(task.depth);
    limits.fix_time(1000.0);  // contempt counts in searches that are not endless
    for (const std::string_view fen : task.fens) {
        set_fen(engine.game.position, fen);
        const SearchResult result = search(engine, limits);
        said += format_line("%s %s score %d depth %d nodes %.0f eval %d\n", coordinates(result.best).c_str(),
                            coordinates(result.ponder).c_str(), result.score, result.depth,
                            static_cast<double>(result.stats.nodes), result.root_eval);
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
    for (int round = 0; round < 2; ++round) {
        std::string together[2];
        std::thread first([&] { together[0] = carry_out(tasks[0]); });
        std::thread second([&] { together[1] = carry_out(tasks[1]); });
        std::thread beside([&] { EXPECT_THAT(carry_out(third), testing::HasSubstr("score")); });
        for (std::thread *thread : {&first, &second, &beside}) thread->join();
        EXPECT_THAT(together, testing::ElementsAreArray(alone));
    }
}

TEST(Engines, OptionsStayWithTheirEngine) {
    Engine one, other;
    ASSERT_EQ(start_engine(one, test_settings(1), {}), 0);
    ASSERT_EQ(start_engine(other, test_settings(2), {}), 0);
    const auto values = [](const Engine &engine) {
        std::string text;
        for (const Option &option : option_table()) text += value_text(engine.settings, option) + ' ';
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
    const auto nodes = [](Engine &engine) { return search(engine, depth_limits(6)).stats.nodes; };
    const std::uint64_t expected = nodes(other);
    for (int round = 0; round < 2; ++round) {
        stop_engine(one);
        ASSERT_EQ(start_engine(one, test_settings(2), {}), 0);
        EXPECT_EQ(values(one), before);
        EXPECT_EQ(nodes(one), expected);
    }
}

}  // namespace
