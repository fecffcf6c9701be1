#include "board/exchange.h"

#include <algorithm>
#include <array>

#include "board/attacks.h"

namespace {

constexpr int LONGEST_EXCHANGE = 64;  // any set-up may be asked about

// The pieces of both colours that attack a square, while they capture there one after the other. Looked up once: after a
// capture only lines that the capturing piece has opened are looked at again.
class Attackers {
public:
    Attackers(const Position &pos, Square target, Bitboard occupied) : pos_(pos), target_(target), occupied_(occupied) {
        const Bitboard queens = both(QUEEN);
        diagonal_ = both(BISHOP) | queens;
        straight_ = both(ROOK) | queens;
        set_ =
            ((pawn_attacks(BLACK, target) & pos.of(WHITE, PAWN)) | (pawn_attacks(WHITE, target) & pos.of(BLACK, PAWN)) |
             (knight_attacks(target) & both(KNIGHT)) | (king_attacks(target) & both(KING)) |
             (bishop_attacks(target, occupied) & diagonal_) | (rook_attacks(target, occupied) & straight_)) &
            occupied;
    }

    // Square of the least valuable attacker of a side (the lowest square of equals), or NO_SQUARE.
    Square least(Colour side) const {
        const Bitboard own = set_ & pos_.all(side);
        if (own == 0) return NO_SQUARE;
        for (const PieceType type : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN})
            if (const Bitboard pieces = own & pos_.of(side, type); pieces != 0) return lsb(pieces);
        return pos_.king_square[side];
    }

    // The piece that has captured stands on the target now.
    void remove(Square from) {
        occupied_ &= ~bit(from);
        if ((bishop_span(target_) & bit(from)) != 0) set_ |= bishop_attacks(target_, occupied_) & diagonal_;
        if ((rook_span(target_) & bit(from)) != 0) set_ |= rook_attacks(target_, occupied_) & straight_;
        set_ &= occupied_;
    }

private:
    Bitboard both(PieceType type) const { return pos_.of(WHITE, type) | pos_.of(BLACK, type); }

    const Position &pos_;
    const Square target_;
    Bitboard occupied_;
    Bitboard diagonal_, straight_;  // bishops and queens, rooks and queens
    Bitboard set_;
};

// What `side` gains by capturing `victim`, first with the piece on `from` (NO_SQUARE: nobody can). `occupied` blocks
// sliders; `type_on` tells what stands on a square.
template <typename TypeOn>
int swap_off(const Position &pos, TypeOn type_on, Colour side, Square from, Square to, PieceType victim,
             Bitboard occupied, bool may_stop) {
    if (from == NO_SQUARE) return 0;
    if (victim == KING) return SEE_KING_TAKEN;
    std::array<int, LONGEST_EXCHANGE> gains;
    int captures = 0;
    int value = 0;

    // Forward: who captures what
    Attackers attackers(pos, to, occupied & ~bit(from));
    while (true) {
        gains[captures++] = SEE_VALUES[victim];
        victim = type_on(from);
        side = opponent(side);
        from = attackers.least(side);
        if (from == NO_SQUARE) break;
        if (victim == KING) {
            value = SEE_KING_TAKEN;
            break;
        }
        attackers.remove(from);
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

int see_value(const Position &pos, Colour side, Square from, Square to, bool may_stop) {
    const auto type_on = [&pos](Square s) { return pos.type_on(s); };
    const Bitboard occupied = pos.occupied();
    if (from == NO_SQUARE) from = least_attacker(pos, to, side, occupied);
    return swap_off(pos, type_on, side, from, to, pos.type_on(to), occupied, may_stop);
}

int see_reply(const Position &pos, Square from, Square to) {
    // Two kings can leave the king square on any other piece, so the squares of the move may be asked about.
    const auto type_on = [&pos, from, to](Square s) {
        if (s == to) return pos.type_on(from);
        return s == from ? NO_TYPE : pos.type_on(s);
    };
    const Colour side = opponent(colour_of(pos.board[from]));
    const Bitboard occupied = pos.occupied() & ~bit(from);
    const Square answer = least_attacker(pos, to, side, occupied, ~bit(from));
    return swap_off(pos, type_on, side, answer, to, pos.type_on(from), occupied, true);
}

bool see_at_least(const Position &pos, Square from, Square to, int threshold) {
    Colour side = colour_of(pos.board[from]);
    PieceType victim = pos.type_on(to);
    if (victim == KING) return SEE_KING_TAKEN >= threshold;
    // The side that answers may win at most `limit` in the rest of the exchange, which can be less than all of it; the other
    // one must win at least `needed` in its turn.
    int limit = SEE_VALUES[victim] - threshold;
    if (limit < 0) return false;
    victim = pos.type_on(from);
    int needed = SEE_VALUES[victim] - limit;
    if (needed <= 0) return true;

    // Most exchanges end with the first answer, or for want of one.
    side = opponent(side);
    Bitboard occupied = pos.occupied() & ~bit(from);
    from = least_attacker(pos, to, side, occupied, occupied);
    if (from == NO_SQUARE) return true;
    if (victim == KING) return SEE_KING_TAKEN <= limit;
    victim = pos.type_on(from);
    limit = SEE_VALUES[victim] - needed;
    if (limit < 0) return false;

    Attackers attackers(pos, to, occupied & ~bit(from));
    while (true) {
        side = opponent(side);
        from = attackers.least(side);
        if (from == NO_SQUARE) return false;
        if (victim == KING) return SEE_KING_TAKEN >= needed;
        victim = pos.type_on(from);
        needed = SEE_VALUES[victim] - limit;
        if (needed <= 0) return true;
        attackers.remove(from);

        side = opponent(side);
        from = attackers.least(side);
        if (from == NO_SQUARE) return true;
        if (victim == KING) return SEE_KING_TAKEN <= limit;
        victim = pos.type_on(from);
        limit = SEE_VALUES[victim] - needed;
        if (limit < 0) return false;
        attackers.remove(from);
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
