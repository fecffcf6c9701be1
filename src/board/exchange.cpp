#include "board/exchange.h"

#include <algorithm>
#include <array>

#include "board/attacks.h"

namespace {

constexpr int LONGEST_EXCHANGE = 64;  // any set-up may be asked about

// `type_on` tells what stands on a square. `among`: the pieces that may capture after the one on `from`, and in its place
// when there is none.
template <typename TypeOn>
int swap_off(const Position &pos, TypeOn type_on, Colour side, Square from, Square to, Bitboard occupied,
             Bitboard among, bool may_stop) {
    std::array<int, LONGEST_EXCHANGE> gains;
    int captures = 0;
    PieceType victim = type_on(to);
    int value = 0;

    // Forward: who captures what
    if (from == NO_SQUARE) from = least_attacker(pos, to, side, occupied, among);
    while (from != NO_SQUARE) {
        if (victim == KING) {
            value = SEE_KING_TAKEN;
            break;
        }
        gains[captures++] = SEE_VALUES[victim];
        victim = type_on(from);
        // The piece that has captured now stands on `to`.
        among &= ~bit(from);
        occupied &= ~bit(from);
        side = opponent(side);
        from = least_attacker(pos, to, side, occupied, among);
    }

    // Backward: what each side gains when it may stop before a loss
    while (captures > 0) {
        --captures;
        value = gains[captures] - value;
        if (captures > 0 || may_stop) value = std::max(value, 0);
    }
    return value;
}

}  // namespace

int see_value(const Position &pos, Colour side, Square from, Square to, Bitboard occupied, bool may_stop) {
    const auto type_on = [&pos](Square s) { return pos.type_on(s); };
    return swap_off(pos, type_on, side, from, to, occupied, ~Bitboard{0}, may_stop);
}

int see_reply(const Position &pos, Square from, Square to) {
    // Two kings can leave the king square on any other piece, so the squares of the move may be asked about.
    const auto type_on = [&pos, from, to](Square s) {
        if (s == to) return pos.type_on(from);
        return s == from ? NO_TYPE : pos.type_on(s);
    };
    const Colour side = opponent(colour_of(pos.board[from]));
    return swap_off(pos, type_on, side, NO_SQUARE, to, pos.occupied() & ~bit(from), ~bit(from), true);
}

bool see_at_least(const Position &pos, Square from, Square to, int threshold) {
    Colour side = colour_of(pos.board[from]);
    PieceType victim = pos.type_on(to);
    if (victim == KING) return SEE_KING_TAKEN >= threshold;
    // The side that answers may win at most `limit` in the rest of the exchange, which can be less than all of it; the other
    // one must win at least `needed` in its turn.
    int limit = SEE_VALUES[victim] - threshold;
    if (limit < 0) return false;
    Bitboard unused = ~Bitboard{0};
    Bitboard occupied = pos.occupied();
    const auto capture = [&] {
        victim = pos.type_on(from);
        unused &= ~bit(from);
        occupied &= ~bit(from);
        side = opponent(side);
    };
    while (true) {
        capture();
        const int needed = SEE_VALUES[victim] - limit;
        if (needed <= 0) return true;
        from = least_attacker(pos, to, side, occupied, unused);
        if (from == NO_SQUARE) return true;
        if (victim == KING) return SEE_KING_TAKEN <= limit;

        capture();
        limit = SEE_VALUES[victim] - needed;
        if (limit < 0) return false;
        from = least_attacker(pos, to, side, occupied, unused);
        if (from == NO_SQUARE) return false;
        if (victim == KING) return SEE_KING_TAKEN >= needed;
    }
}

bool see_ok(const Position &pos, Move m) {
    const Square from = from_square(m);
    const Square to = to_square(m);
    const PieceType mover = pos.type_on(from);
    const PieceType captured = pos.type_on(to);
    if (PIECE_RANK[mover] <= PIECE_RANK[captured]) return true;
    if ((to == pos.ep_square && mover == PAWN) || captured == KING) return true;
    return see_at_least(pos, from, to, -SEE_TOLERANCE);
}
