#include "board/see.h"

#include <algorithm>

#include "board/attacks.h"

namespace {

// Puts the capturing piece on `to` for as long as it lives: the board entries change and the piece leaves its type
// bitboard; what it captured stays in its bitboards, since nothing on `to` attacks `to`.
class SimulatedCapture {
public:
    SimulatedCapture(Position &pos, Square from, Square to)
        : pos_(pos), from_(from), to_(to), mover_(pos.board[from]), victim_(pos.board[to]) {
        pos_.board[to] = mover_;
        pos_.board[from] = 0;
        pos_.pieces[colour_of(mover_)][type_of(mover_)] ^= bit(from);
    }
    ~SimulatedCapture() {
        pos_.board[to_] = victim_;
        pos_.board[from_] = mover_;
        pos_.pieces[colour_of(mover_)][type_of(mover_)] ^= bit(from_);
    }
    SimulatedCapture(const SimulatedCapture &) = delete;
    SimulatedCapture &operator=(const SimulatedCapture &) = delete;

private:
    Position &pos_;
    Square from_, to_;
    std::uint8_t mover_, victim_;
};

}  // namespace

int see_value(Position &pos, Colour side, Square from, Square to, Bitboard occupied, bool may_stop) {
    if (from == NO_SQUARE) {
        from = least_attacker(pos, to, side, occupied);
        if (from == NO_SQUARE) return 0;
    }
    if (pos.type_on(to) == KING) return SEE_KING_TAKEN;
    const int gain = SEE_VALUES[pos.type_on(to)];
    const SimulatedCapture capture(pos, from, to);
    const int value = gain - see_value(pos, 1 - side, NO_SQUARE, to, occupied & ~bit(from), true);
    return may_stop ? std::max(value, 0) : value;
}

bool see_ok(Position &pos, Move m) {
    const Square from = from_square(m);
    const Square to = to_square(m);
    const int mover = pos.type_on(from);
    const int captured = pos.type_on(to);
    if (PIECE_RANK[mover] <= PIECE_RANK[captured]) return true;
    if ((to == pos.ep_square && mover == PAWN) || captured == KING) return true;
    return see_value(pos, pos.side, from, to, pos.occupied(), false) >= -SEE_TOLERANCE;
}
