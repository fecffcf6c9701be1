// An engine inside the test process, and what is asked of it.
#pragma once

#include <iterator>
#include <sstream>

#include "engine/engine.h"
#include "engine/life.h"
#include "engine/options.h"
#include "search/threads.h"
#include "test_support.h"

inline Settings test_settings(int megabytes = 4) {
    Settings settings;
    settings.Hash = static_cast<std::int16_t>(megabytes);
    return settings;
}

// Only the depth ends the search, and progress is told at once.
inline SearchLimits depth_limits(int depth) {
    SearchLimits limits;
    limits.fix_time(UNLIMITED_TIME);
    limits.max_depth = depth;
    return limits;
}

class EngineTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(start_engine(engine, test_settings(), {}), 0); }

    SearchThread &thread() { return search_thread_at(engine.shared.pool, 0); }

    // Searches the game position to a depth with the whole pool, and with nobody at the clock who would end the search of
    // a forced move. Returns the nodes of all threads.
    std::uint64_t search_to_depth(int depth) {
        limits.max_depth = depth;
        begin_search(engine, limits, REQUEST_SEARCH);
        release_threads(engine);
        wait_until_idle(engine.shared.pool);
        result = finish_search(engine);
        return result.stats.nodes;
    }

    void play(std::string_view moves) {
        while (!moves.empty()) {
            const std::size_t blank = moves.find(' ');
            const Move m = parse_coordinates(pos, moves.substr(0, blank));
            ASSERT_NE(m, NO_MOVE) << moves;
            make_move(pos, m);
            moves = blank == std::string_view::npos ? std::string_view{} : moves.substr(blank + 1);
        }
    }

    Engine engine;
    Position &pos = engine.game.position;
    SearchLimits limits = depth_limits(MAX_DEPTH);
    SearchResult result;
};

// The numbers of a field of a row.
inline std::vector<double> row_numbers(const std::string &field) {
    std::istringstream words(field);
    return {std::istream_iterator<double>(words), {}};
}
