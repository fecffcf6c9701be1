#include "base/text.h"
#include "test_support.h"

namespace {

// Set up where Black was to move, with an en-passant square, a clock and a history: only the side to move may stay.
TEST(SetUp, ReadsAndWritesText) {
    check_rows("board/set_ups.tsv", 2, [](const auto &row) {
        const auto board = make_test_position();
        Position &pos = board->pos;
        for (const char *move : {"g1f3", "g8f6", "e2e4"}) make_move(pos, parse_coordinates(pos, move));
        pos.fifty = 9;
        const FenReading reading = set_fen(pos, row[1]);
        EXPECT_TRUE(is_consistent(pos));
        EXPECT_EQ(fields(int{pos.fifty}, board->history.undo_count, board->history.ply, board->history.current_move),
                  "0 | 0 | 1 | 0");
        return fields(get_fen(pos), reading.rights_dropped, skip_blanks(reading.rest), pos.key, pos.pawn_key,
                      unsearchable_reason(pos));
    });
}

TEST(Repetitions, AreCountedBackToTheLastIrreversibleMove) {
    check_rows("board/repetitions.tsv", 4, [](const auto &row) {
        const auto board = make_test_position(row[1]);
        Position &pos = board->pos;
        std::string_view moves = row[2];
        for (std::string_view move = next_word(moves); !move.empty(); move = next_word(moves)) {
            if (move == "pass")
                make_null_move(pos);
            else
                make_move(pos, parse_coordinates(pos, move));
        }
        return fields(int{pos.fifty}, count_repetitions(pos), is_draw_by_repetition(pos, std::stoi(row[3])));
    });
}

// The clock stops at 255.
TEST(History, HoldsTheLongestGameAndASearch) {
    const auto board = make_test_position();
    Position &pos = board->pos;
    constexpr const char *TOUR[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    const std::string before = state_of(pos);
    constexpr int PLIES = MAX_GAME_MOVES + 68;
    for (int i = 1; i <= PLIES; ++i) {
        make_move(pos, parse_coordinates(pos, TOUR[(i - 1) % 4]));
        ASSERT_EQ(int{pos.fifty}, std::min(i, 255));
    }
    make_null_move(pos);
    EXPECT_EQ(int{pos.fifty}, 255);
    EXPECT_EQ(pos.history->ply, PLIES + 2);
    unmake_null_move(pos);
    for (int i = PLIES; i > 0; --i) {
        ASSERT_EQ(coordinates(pos.history->current_move), TOUR[(i - 1) % 4]);
        unmake_move(pos);
    }
    EXPECT_EQ(state_of(pos), before);
}

// The multipliers send no two sets of blockers that differ to one place.
TEST(Sliders, ReachWhatNothingStandsBefore) {
    make_test_position();
    std::mt19937_64 random(1);
    for (int i = 0; i < (short_run() ? 500 : 4000); ++i) {
        Bitboard occupied = random();
        for (int thin = i % 4; thin > 0; --thin) occupied &= random();
        for (const Square s : ALL_SQUARES) {
            Bitboard straight = 0, diagonal = 0;
            for (const Square to : ALL_SQUARES) {
                if ((between(s, to) & occupied) != 0) continue;
                straight |= rook_span(s) & bit(to);
                diagonal |= bishop_span(s) & bit(to);
            }
            ASSERT_EQ(rook_attacks(s, occupied), straight) << square_name(s);
            ASSERT_EQ(bishop_attacks(s, occupied), diagonal) << square_name(s);
        }
    }
}

}  // namespace
