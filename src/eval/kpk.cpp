#include "eval/kpk.h"

#include <array>

#include "board/attacks.h"
#include "board/geometry.h"

namespace {

// Squares of the lone king with which the pawn's side wins: [pawn][strong king]. The pawn is white, on files a to d.
using WinningSets = std::array<std::array<Bitboard, 64>, 32>;
WinningSets strong_to_move, weak_to_move;

int pawn_index(Square pawn) { return file_of(pawn) + 4 * rank_of(pawn); }

// Squares next to a square of the set.
Bitboard king_reach(Bitboard set) {
    const Bitboard sides = shift_sideways(set);
    const Bitboard wide = set | sides;
    return sides | wide << 8 | wide >> 8;
}

// Squares where the lone king may stand with its own side to move.
Bitboard apart(Square pawn, Square strong) {
    return strong == pawn ? 0 : ~(king_attacks(strong) | bit(strong) | bit(pawn));
}

// A pawn on the last rank has won unless the lone king takes it at once.
void solve_promoted(Square pawn) {
    for (const Square strong : ALL_SQUARES) {
        const Bitboard valid = apart(pawn, strong);
        const bool guarded = (king_attacks(strong) & bit(pawn)) != 0;
        strong_to_move[pawn_index(pawn)][strong] = valid;
        weak_to_move[pawn_index(pawn)][strong] = guarded ? valid : valid & ~king_attacks(pawn);
    }
}

// The least fixed point for a pawn whose further squares are solved. The strong side wins when a move of it does; the lone
// king is lost when it can move and all its moves lose.
void solve(Square pawn) {
    auto &strong_wins = strong_to_move[pawn_index(pawn)];
    auto &weak_loses = weak_to_move[pawn_index(pawn)];
    const Square step = pawn + 8;
    for (bool changed = true; changed;) {
        changed = false;
        for (const Square strong : ALL_SQUARES) {
            Bitboard won = weak_to_move[pawn_index(step)][strong];
            if (rank_of(pawn) == 1 && strong != step) won |= weak_to_move[pawn_index(step + 8)][strong] & ~bit(step);
            for (Bitboard moves = king_attacks(strong); moves != 0;) won |= weak_loses[pop_lsb(moves)];
            const Bitboard valid = apart(pawn, strong);
            const Bitboard unchecked = valid & ~pawn_attacks(WHITE, pawn);
            won &= unchecked;

            // Taking an unguarded pawn is a move that does not lose.
            const bool guarded = (king_attacks(strong) & bit(pawn)) != 0;
            const Bitboard targets = guarded ? unchecked : unchecked | bit(pawn);
            const Bitboard lost = valid & king_reach(targets) & ~king_reach(targets & ~won);
            changed |= won != strong_wins[strong] || lost != weak_loses[strong];
            strong_wins[strong] = won;
            weak_loses[strong] = lost;
        }
    }
}

}  // namespace

void build_kpk() {
    for (int file = 0; file < 4; ++file) {
        solve_promoted(make_square(file, 7));
        for (int rank = 6; rank >= 1; --rank) solve(make_square(file, rank));
    }
}

bool kpk_is_won(Colour pawn_side, Square pawn, Square strong_king, Square weak_king, Colour side) {
    int flip = pawn_side == WHITE ? 0 : 56;
    if (file_of(pawn) > 3) flip ^= 7;
    const WinningSets &wins = side == pawn_side ? strong_to_move : weak_to_move;
    return (wins[pawn_index(pawn ^ flip)][strong_king ^ flip] & bit(weak_king ^ flip)) != 0;
}
