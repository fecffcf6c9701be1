// A running engine inside the test process: tables, pool, transposition table and game record.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/control.h"
#include "board/attacks.h"
#include "board/notation.h"
#include "eval/kpk.h"
#include "eval/parameters.h"
#include "search/params.h"
#include "search/report.h"
#include "search/search.h"
#include "search/settings.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"
#include "test_support.h"

class EngineTest : public testing::Test {
protected:
    void SetUp() override {
        init_attacks();
        build_kpk();
        generate_hash_codes();
        settings = Settings{};
        settings.Hash = 4;
        noise = NO_PROGRESS_LINES;
        tt_age = 1;
        node_limit = 0;
        ASSERT_TRUE(allocate_game());
        ASSERT_EQ(start_threads(1), 0);
        ASSERT_TRUE(tt_allocate());
        derive_search_params();
        derive_eval_tables(settings.weights, eval_tables);
        settings.settings_changed = 0;
        set_fen(game->position, START_FEN);
    }
    void TearDown() override {
        stop_threads();
        tt_free();
        free_game();
    }

    void restart_threads(int count) {
        stop_threads();
        ASSERT_EQ(start_threads(count), 0);
    }

    // Searches the game position to a depth with the whole pool; returns the nodes of all threads.
    std::uint64_t search_to_depth(int depth) {
        tc_mode = 1;
        time_per_move = UNLIMITED_TIME;
        max_depth = static_cast<std::uint8_t>(depth);
        search_request = REQUEST_SEARCH;
        begin_search();
        search_request = REQUEST_NONE;
        start_search_threads();
        wait_until_idle();
        search_state = REQUEST_NONE;
        return sum_thread_stats().nodes;
    }

    void play(std::string_view moves) {
        while (!moves.empty()) {
            const std::size_t blank = moves.find(' ');
            const Move m = parse_coordinates(game->position, moves.substr(0, blank));
            ASSERT_NE(m, NO_MOVE) << moves;
            make_move(game->position, m);
            moves = blank == std::string_view::npos ? std::string_view{} : moves.substr(blank + 1);
        }
    }

    std::string best_move() const { return move_to_text(root_result.pv[1], PromotionStyle::LOWER_CASE); }
};

// The same placement with the colours exchanged and without castling rights, which no evaluation reads.
inline std::string mirrored(const std::string &fen) {
    const std::size_t blank = fen.find(' ');
    std::string board;
    for (std::size_t start = 0; start <= blank;) {
        const std::size_t end = std::min(fen.find('/', start), blank);
        std::string rank = fen.substr(start, end - start);
        board = board.empty() ? rank : rank.append("/").append(board);
        start = end + 1;
    }
    for (char &c : board)
        c = static_cast<char>(std::isupper(static_cast<unsigned char>(c)) ? std::tolower(c) : std::toupper(c));
    return board + (fen[blank + 1] == 'w' ? " b - -" : " w - -");
}
