// Searches, and the plan of their time.
#include "board/fen.h"
#include "engine_fixture.h"

namespace {

class SearchTest : public EngineTest {};

}  // namespace

// White, about to be mated, checks on e8 and h5 for ever: the first return to the root counts as a draw.
TEST_F(SearchTest, SeesRepetitions) {
    const struct {
        const char *fen;
        const char *game;
    } cases[] = {
        {"6k1/6p1/8/7Q/8/8/qr6/7K w - -", ""},
        {"6k1/6p1/8/7Q/8/8/qr6/7K w - -", "h5e8 g8h7 e8h5 h7g8 h5e8 g8h7"},
    };
    for (const auto &c : cases) {
        set_fen(game->position, c.fen);
        play(c.game);
        search_to_depth(8);
        EXPECT_EQ(root_result.score, 0) << c.game;
    }
}

TEST_F(SearchTest, FiftyMoveClockIsADraw) {
    set_fen(game->position, "8/8/8/3k4/8/8/1R6/K7 w - -");
    game->position.fifty = 99;
    search_to_depth(3);
    EXPECT_EQ(root_result.score, 0);
    game->position.fifty = 0;
    search_to_depth(3);
    EXPECT_GT(root_result.score, 300);
}

TEST_F(SearchTest, ThreadsSearchAndStop) {
    for (const int threads : {2, 8}) {
        restart_threads(threads);
        for (int round = 0; round < 3; ++round) {
            search_to_depth(7);
            EXPECT_EQ(root_result.depth, 7);
            EXPECT_NE(root_result.pv[1], NO_MOVE);
        }
        max_depth = MAX_DEPTH;
        search_request = REQUEST_SEARCH;
        begin_search();
        start_search_threads();
        stop_flag = STOP_REPORT;
        wait_until_idle();
        EXPECT_EQ(busy_threads(), 0);
    }
}

// The picker's own stages must deliver exactly the legal moves.
TEST_F(SearchTest, PerftThroughThePicker) {
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
        set_fen(game->position, c.fen);
        prepare_threads();
        SearchThread &thread = search_thread_at(0);
        const bool shorter = short_run() && c.nodes > 500000;
        if (shorter) continue;
        perft(thread, thread.position.side, 1, c.depth);
        EXPECT_EQ(thread.nodes, c.nodes);
    }
}

TEST_F(SearchTest, TargetTimes) {
    const struct {
        const char *what;
        int mode;
        double clock, inc;
        int to_go, overhead, ponder, elo, plies;
        double target;
    } cases[] = {
        // clock / moves x 1.3 for pondering x 0.85 below 2400 Elo, plus the increment's share
        {"sudden death, first move", 0, 60.0, 0.0, 0, 50, 1, 2500, 0, 60.0 / 34 * 1.3},
        {"no pondering", 0, 60.0, 0.0, 0, 50, 0, 2500, 0, 60.0 / 34},
        {"weak", 0, 60.0, 0.0, 0, 50, 0, 2399, 0, 60.0 / 34 * 0.85},
        {"ply 21", 0, 60.0, 0.0, 0, 50, 0, 2500, 21, 60.0 / 24},
        {"ply 22", 0, 60.0, 0.0, 0, 50, 0, 2500, 22, 60.0 / 24},
        {"increment", 0, 60.0, 2.0, 0, 50, 0, 2500, 0, 60.0 / 34 + 2.0 * 60.0 / 64.0},
        {"one move to go is capped", 40, 10.0, 0.0, 1, 50, 1, 2500, 0, 5.0},
        {"no move to go is capped", 40, 10.0, 0.0, 0, 50, 1, 2500, 0, 0.65 * 10.0 - 0.25},
        {"three moves to go count as many", 40, 10.0, 0.0, 3, 50, 1, 2500, 0, 10.0 / 4 * 1.3},
        {"empty clock", 0, 0.0, 0.0, 0, 50, 1, 2500, 0, 0.002},
        {"empty clock, increment", 0, 0.0, 5.0, 0, 50, 1, 2500, 0, 0.002},
        {"fixed time", 1, 3.0, 0.0, 0, 50, 1, 2500, 0, 3.0},
        {"no time", 1, -1.0, 0.0, 0, 50, 1, 2500, 0, 0.002},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        set_fen(game->position, START_FEN);
        for (int i = 0; i < c.plies; ++i) {
            static constexpr std::string_view SHUFFLE[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
            play(SHUFFLE[i % 4]);
        }
        tc_mode = static_cast<std::uint8_t>(c.mode);
        clock_white = clock_black = time_per_move = c.clock;
        increment = c.inc;
        moves_to_go = c.to_go;
        settings.MoveOverhead = static_cast<std::int16_t>(c.overhead);
        settings.Ponder = static_cast<std::int16_t>(c.ponder);
        settings.UCI_Elo = static_cast<std::int16_t>(c.elo);
        search_request = REQUEST_SEARCH;
        begin_search();
        EXPECT_NEAR(target_seconds(), c.target, 1e-9);
    }
    uci_mode = 0;  // at a console the period decides, not moves_to_go
    set_fen(game->position, START_FEN);
    tc_mode = 40;
    clock_white = 41.0;
    increment = 0.0;
    settings.Ponder = 0;
    settings.UCI_Elo = 2500;
    begin_search();
    EXPECT_NEAR(target_seconds(), 1.0, 1e-9);
    uci_mode = 1;
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
        set_fen(game->position, c.fen);
        EXPECT_EQ(unsearchable_reason(game->position).empty(), c.searchable) << c.fen;
    }
}

// A wall of queens fills every list: the move stack must hold it.
TEST_F(SearchTest, WidestPositionFitsTheMoveStack) {
    for (const char *fen :
         {"qqqqqqqk/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQQQQK w - -", "Q6Q/1Q4Q1/8/1Q4Q1/k1Q2Q2/8/1Q1Q1Q2/K2Q2QQ w - -"}) {
        set_fen(game->position, fen);
        if (!unsearchable_reason(game->position).empty()) continue;
        node_limit = short_run() ? 3000 : 30000;
        search_to_depth(MAX_DEPTH);
        node_limit = 0;
        EXPECT_NE(root_result.pv[1], NO_MOVE) << fen;
    }
}
