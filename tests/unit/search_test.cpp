// Searches with threads, and what can be searched.
#include "engine_fixture.h"

using SearchTest = EngineTest;

TEST_F(SearchTest, ThreadsSearchAndStop) {
    for (const int threads : {2, 8}) {
        apply_option(engine, "Threads", std::to_string(threads));
        for (int round = 0; round < 3; ++round) {
            search_to_depth(7);
            EXPECT_EQ(result.depth, 7);
            EXPECT_NE(result.pv[1], NO_MOVE);
        }
        limits.max_depth = MAX_DEPTH;
        begin_search(engine, limits, REQUEST_SEARCH);
        release_threads(engine);
        stop_and_wait(engine, STOP_REPORT);
        EXPECT_FALSE(threads_busy(engine));
    }
}

TEST_F(SearchTest, PerftCountsLegalMoves) {
    for (const auto &row : data_rows("search/perft.tsv")) {
        if (short_run() && row[2].size() > 5) continue;
        set_fen(pos, row[0]);
        SearchThread &thread = prepare_thread(engine);
        perft(thread, ROOT_PLY, std::stoi(row[1]));
        EXPECT_EQ(std::to_string(thread.nodes), row[2]) << row[0];
    }
}

TEST_F(SearchTest, UnsearchablePositionsAreNamed) {
    for (const auto &row : data_rows("search/positions.tsv")) {
        set_fen(pos, row[0]);
        EXPECT_EQ(unsearchable_reason(pos).empty(), row[1] == "yes") << row[0];
    }
}

// A wall of queens fills every list: the move stack must hold it.
TEST_F(SearchTest, WidestPositionFitsTheMoveStack) {
    set_fen(pos, "qqqqqqqk/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQQQQK w - -");
    limits.node_limit = short_run() ? 3000 : 30000;
    search_to_depth(MAX_DEPTH);
    EXPECT_NE(result.pv[1], NO_MOVE);
}
