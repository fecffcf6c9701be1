// Searches with threads, and what can be searched.
#include "engine_fixture.h"

using SearchTest = EngineTest;

// White, about to be mated, checks on e8 and h5 for ever: the first return to the root counts as a draw.
TEST_F(SearchTest, SeesRepetitions) {
    const struct {
        const char *fen, *game;
    } cases[] = {
        {"6k1/6p1/8/7Q/8/8/qr6/7K w - -", ""},
        {"6k1/6p1/8/7Q/8/8/qr6/7K w - -", "h5e8 g8h7 e8h5 h7g8 h5e8 g8h7"},
    };
    for (const auto &c : cases) {
        set_fen(pos, c.fen);
        play(c.game);
        search_to_depth(8);
        EXPECT_EQ(result.score, 0) << c.game;
    }
}

TEST_F(SearchTest, FiftyMoveClockIsADraw) {
    set_fen(pos, "8/8/8/3k4/8/8/1R6/K7 w - -");
    pos.fifty = 99;
    search_to_depth(3);
    EXPECT_EQ(result.score, 0);
    pos.fifty = 0;
    search_to_depth(3);
    EXPECT_GT(result.score, 300);
}

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
    const struct {
        const char *fen;
        int depth;
        std::uint64_t nodes;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 4, 197281},
        {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 3, 97862},
        {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 5, 674624},
        {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -", 4, 422333},
        {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -", 4, 2103487},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.fen);
        set_fen(pos, c.fen);
        if (short_run() && c.nodes > 500000) continue;
        SearchThread &thread = prepare_thread(engine);
        perft(thread, ROOT_PLY, c.depth);
        EXPECT_EQ(thread.nodes, c.nodes);
    }
}

TEST_F(SearchTest, UnsearchablePositionsAreNamed) {
    const struct {
        const char *fen;
        bool searchable;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", true},
        {"8/8/8/8/8/8/8/8 w - -", false},
        {"kk6/8/8/8/8/8/8/K7 w - -", false},
        {"k7/8/8/8/8/8/8/K6p w - -", false},
        {"k7/8/8/8/8/8/8/K6r b - -", false},  // White could be captured
        {"8/8/8/8/8/4k3/4K3/8 w - -", false},
        {"kQ6/8/8/8/8/8/8/K7 b - -", true},
        {"k7/8/QQQQQQQQ/QQQQQQQQ/8/8/8/K7 w - -", false},
        {"qqqqqqqk/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQQQQK w - -", true},
    };
    for (const auto &c : cases) {
        set_fen(pos, c.fen);
        EXPECT_EQ(unsearchable_reason(pos).empty(), c.searchable) << c.fen;
    }
}

// A wall of queens fills every list: the move stack must hold it.
TEST_F(SearchTest, WidestPositionFitsTheMoveStack) {
    for (const char *fen :
         {"qqqqqqqk/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQQQQK w - -", "Q6Q/1Q4Q1/8/1Q4Q1/k1Q2Q2/8/1Q1Q1Q2/K2Q2QQ w - -"}) {
        set_fen(pos, fen);
        if (!unsearchable_reason(pos).empty()) continue;
        limits.node_limit = short_run() ? 3000 : 30000;
        search_to_depth(MAX_DEPTH);
        EXPECT_NE(result.pv[1], NO_MOVE) << fen;
    }
}
