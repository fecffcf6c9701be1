#include "board/exchange.h"

#include <numeric>

#include "test_support.h"

namespace {

Square named_square(const char *name) { return make_square(name[0] - 'a', name[1] - '1'); }

TEST(Exchange, WorkedCases) {
    const struct {
        const char *what, *fen, *move;
        int value;
        bool ok;
    } cases[] = {
        {"queen takes a defended pawn", "4k3/8/4p3/3p4/8/8/8/3QK3 w - -", "d1d5", -900, false},
        {"bishop takes a pawn defended by a pawn", "4k3/8/4p3/3p4/8/8/6B1/4K3 w - -", "g2d5", -230, false},
        {"king takes a defended rook", "4k3/8/4p3/3r4/4K3/8/8/8 w - -", "e4d5", 530 - 9999, false},
        {"the king cannot take back", "8/4k3/3p4/8/8/8/3R4/3R2K1 w - -", "d2d6", 100, true},
        {"en passant starts from an empty square", "4k3/2p5/8/3pP3/8/8/8/4K3 w - d6", "e5d6", -100, true},
        {"bishop behind a pawn that takes", "4k3/8/2p5/3p4/4P3/5B2/8/4K3 w - -", "e4d5", 100, true},
        {"pawn takes a king", "8/8/8/3k4/4P3/8/8/4K3 w - -", "e4d5", 9999, true},
        {"promotion counts as a pawn", "4r2k/3P4/8/8/8/8/8/4K3 w - -", "d7d8", -100, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.fen);
        Position &pos = board->pos;
        const Position before = pos;
        const Square from = named_square(c.move);
        const Square to = named_square(c.move + 2);
        EXPECT_EQ(see_value(pos, pos.side, from, to, pos.occupied(), false), c.value);
        EXPECT_EQ(see_value(pos, pos.side, from, to, pos.occupied(), true), std::max(c.value, 0));
        EXPECT_TRUE(see_at_least(pos, from, to, c.value));
        EXPECT_FALSE(see_at_least(pos, from, to, c.value + 1));
        EXPECT_EQ(see_ok(pos, make_move_word(from, to)), c.ok);
        EXPECT_EQ(differing_fields(before, pos), "");
    }
}

// The same exchange written out as a list of captures on a copied board, folded from its end.
int listed_exchange(const Position &pos, Colour side, Square from, Square to, bool may_stop) {
    constexpr int VALUES[] = {0, 100, 330, 330, 530, 1000, 10000};
    auto board = pos.board;
    const auto next_attacker = [&](Colour colour) {
        Bitboard occupied = 0;
        for (const Square s : ALL_SQUARES)
            if (board[s] != 0) occupied |= Bitboard{1} << s;
        Square best = NO_SQUARE;
        for (const Square s : ALL_SQUARES) {
            if (board[s] == 0 || board[s] / 8 != colour || s == to) continue;
            if ((walked_attacks(board[s], s, occupied) >> to & 1) == 0) continue;
            if (best == NO_SQUARE || board[s] % 8 < board[best] % 8) best = s;
        }
        return best;
    };
    std::vector<int> taken;
    if (from == NO_SQUARE) from = next_attacker(side);
    while (from != NO_SQUARE) {
        const int victim = board[to] % 8;
        taken.push_back(victim == KING ? 9999 : VALUES[victim]);
        if (victim == KING) break;
        board[to] = board[from];
        board[from] = NO_PIECE;
        side = opponent(side);
        from = next_attacker(side);
    }
    // A king taken ends the exchange: its capture cannot be declined away by what would follow.
    return std::accumulate(taken.rbegin(), taken.rend(), std::pair<int, std::size_t>{0, taken.size()},
                           [may_stop](std::pair<int, std::size_t> later, int gain) {
                               const std::size_t index = later.second - 1;
                               const int value = gain - later.first;
                               return std::pair{index == 0 && !may_stop ? value : std::max(value, 0), index};
                           })
        .first;
}

TEST(Exchange, AgreesWithAListOfCaptures) {
    int exchanges = 0;
    for (const std::string &fen : random_game_fens(51, 30, 200, 5)) {
        SCOPED_TRACE(fen);
        const auto board = make_test_position(fen);
        Position &pos = board->pos;
        const Position before = pos;
        for (const MoveEntry &entry : legal_moves(pos)) {
            SCOPED_TRACE(coordinates(entry.move));
            const Square from = from_square(entry.move);
            const Square to = to_square(entry.move);
            const int value = listed_exchange(pos, pos.side, from, to, false);
            ASSERT_EQ(see_value(pos, pos.side, from, to, pos.occupied(), false), value);
            for (const int threshold : {-69, -49, 1, 50, 75, value, value + 1})
                ASSERT_EQ(see_at_least(pos, from, to, threshold), value >= threshold) << threshold;
            constexpr int RANKS[] = {0, 1, 3, 3, 5, 10, 99};
            const bool ok = RANKS[pos.board[from] % 8] <= RANKS[pos.board[to] % 8] ||
                            (pos.board[from] % 8 == PAWN && to == pos.ep_square) || value >= -69;
            ASSERT_EQ(see_ok(pos, entry.move), ok);
            ++exchanges;
        }
        for (const Colour side : {WHITE, BLACK}) {
            for (const Square to : ALL_SQUARES) {
                SCOPED_TRACE(square_name(to));
                if (pos.board[to] == 0 || pos.board[to] / 8 == side) continue;
                for (const bool may_stop : {false, true})
                    ASSERT_EQ(see_value(pos, side, NO_SQUARE, to, pos.occupied(), may_stop),
                              listed_exchange(pos, side, NO_SQUARE, to, may_stop));
            }
        }
        ASSERT_EQ(differing_fields(before, pos), "");
    }
    EXPECT_GT(exchanges, 5000);
}

}  // namespace
