#include "tablebase/board.h"

#include "board/attacks.h"

namespace {

// [promotion code]
constexpr std::array<Move, 5> ENGINE_PROMOTIONS = {0, PROMOTE_QUEEN, PROMOTE_ROOK, PROMOTE_BISHOP, PROMOTE_KNIGHT};
constexpr int PROMOTION_ORDER[] = {1, 4, 2, 3};

constexpr Bitboard LAST_RANKS = RANK_1 | RANK_8;

TbMove tb_move(Square from, Square to, int promotion = 0) {
    return static_cast<TbMove>(promotion << 12 | from << 6 | to);
}

// Whether pieces of the set `by`, of colour `colour`, attack a square.
bool is_attacked(const TbPosition &pos, Square s, Bitboard by, Colour colour) {
    const Bitboard occupied = pos.occupied();
    return (king_attacks(s) & pos.kings & by) != 0 || (knight_attacks(s) & pos.knights & by) != 0 ||
           (pawn_attacks(opponent(colour), s) & pos.pawns & by) != 0 ||
           ((pos.rooks | pos.queens) & by & rook_span(s) & rook_attacks(s, occupied)) != 0 ||
           ((pos.bishops | pos.queens) & by & bishop_span(s) & bishop_attacks(s, occupied)) != 0;
}

void add_moves(TbMoveList &list, Square from, Bitboard targets) {
    while (targets != 0) list.add(tb_move(from, pop_lsb(targets)));
}

void add_pawn_moves(TbMoveList &list, Square from, Bitboard targets) {
    while (targets != 0) {
        const Square to = pop_lsb(targets);
        if ((bit(to) & LAST_RANKS) == 0) {
            list.add(tb_move(from, to));
        } else {
            for (const int promotion : PROMOTION_ORDER) list.add(tb_move(from, to, promotion));
        }
    }
}

// Moves of all pieces but pawns to squares of `allowed`.
void add_piece_moves(const TbPosition &pos, Bitboard allowed, TbMoveList &list) {
    const Bitboard own = pos.of_side();
    const Bitboard occupied = pos.occupied();
    for (Bitboard pieces = own & ~pos.pawns; pieces != 0;) {
        const Square from = pop_lsb(pieces);
        const Bitboard piece = bit(from);
        Bitboard targets = 0;
        if ((piece & pos.kings) != 0) targets = king_attacks(from);
        if ((piece & pos.knights) != 0) targets = knight_attacks(from);
        if ((piece & (pos.rooks | pos.queens)) != 0) targets |= rook_attacks(from, occupied);
        if ((piece & (pos.bishops | pos.queens)) != 0) targets |= bishop_attacks(from, occupied);
        add_moves(list, from, targets & allowed);
    }
}

void add_pawn_captures(const TbPosition &pos, TbMoveList &list) {
    const Bitboard targets = pos.of_other() | (pos.ep != NO_SQUARE ? bit(pos.ep) : 0);
    for (Bitboard pawns = pos.of_side() & pos.pawns; pawns != 0;) {
        const Square from = pop_lsb(pawns);
        add_pawn_moves(list, from, pawn_attacks(pos.side, from) & targets);
    }
}

void add_pawn_pushes(const TbPosition &pos, TbMoveList &list) {
    const Colour colour = pos.side;
    const int forward = pawn_direction(colour);
    const Bitboard empty = ~pos.occupied();
    for (Bitboard pawns = pos.of_side() & pos.pawns & ~LAST_RANKS; pawns != 0;) {
        const Square from = pop_lsb(pawns);
        Bitboard targets = bit(from + forward) & empty;
        if (targets != 0 && relative_rank(colour, from) == 1) targets |= bit(from + 2 * forward) & empty;
        add_pawn_moves(list, from, targets);
    }
}

// Whether the en-passant square is real: empty, with a pawn just beyond it. Set-ups may name any square.
bool has_en_passant_pawn(const Position &pos) {
    if (pos.ep_square == NO_SQUARE || relative_rank(pos.side, pos.ep_square) != 5) return false;
    const Square pawn = pos.ep_square - pawn_direction(pos.side);
    return pos.board[pos.ep_square] == 0 && pos.board[pawn] == make_piece(opponent(pos.side), PAWN);
}

}  // namespace

TbPosition tb_position(const Position &pos, int fifty) {
    const auto both = [&pos](PieceType type) { return pos.of(WHITE, type) | pos.of(BLACK, type); };
    TbPosition tb;
    tb.white = pos.all(WHITE);
    tb.black = pos.all(BLACK);
    tb.kings = both(KING);
    tb.queens = both(QUEEN);
    tb.rooks = both(ROOK);
    tb.bishops = both(BISHOP);
    tb.knights = both(KNIGHT);
    tb.pawns = both(PAWN);
    tb.fifty = static_cast<std::uint8_t>(fifty);
    tb.ep = has_en_passant_pawn(pos) ? Square{pos.ep_square} : NO_SQUARE;
    tb.side = pos.side;
    return tb;
}

bool tb_is_valid(const TbPosition &pos) {
    const Bitboard types[] = {pos.kings, pos.queens, pos.rooks, pos.bishops, pos.knights, pos.pawns};
    Bitboard together = 0;
    for (const Bitboard type : types) {
        if ((together & type) != 0) return false;
        together |= type;
    }
    if ((pos.white & pos.black) != 0 || together != pos.occupied() || popcount(pos.white & pos.kings) != 1 ||
        popcount(pos.black & pos.kings) != 1 || (pos.pawns & LAST_RANKS) != 0)
        return false;
    return !is_attacked(pos, lsb(pos.of_other() & pos.kings), pos.of_side(), pos.side);
}

Move tb_engine_move(TbMove m) { return make_move_word(tb_from(m), tb_to(m), ENGINE_PROMOTIONS[tb_promotion(m)]); }

void tb_gen_captures(const TbPosition &pos, TbMoveList &list) {
    add_piece_moves(pos, pos.of_other(), list);
    add_pawn_captures(pos, list);
}

void tb_gen_moves(const TbPosition &pos, TbMoveList &list) {
    tb_gen_captures(pos, list);
    add_piece_moves(pos, ~pos.occupied(), list);
    add_pawn_pushes(pos, list);
}

bool tb_is_pawn_move(const TbPosition &pos, TbMove m) { return (bit(tb_from(m)) & pos.pawns) != 0; }

bool tb_is_en_passant(const TbPosition &pos, TbMove m) {
    return pos.ep != NO_SQUARE && tb_to(m) == pos.ep && tb_is_pawn_move(pos, m) &&
           file_of(tb_from(m)) != file_of(tb_to(m));
}

bool tb_is_capture(const TbPosition &pos, TbMove m) {
    return (bit(tb_to(m)) & pos.of_other()) != 0 || tb_is_en_passant(pos, m);
}

bool tb_do_move(const TbPosition &pos, TbMove m, TbPosition &next) {
    const Square from = tb_from(m);
    const Square to = tb_to(m);
    const Bitboard moved = bit(from) | bit(to);
    const Colour colour = pos.side;
    const bool pawn_move = tb_is_pawn_move(pos, m);
    const Bitboard captured = tb_is_en_passant(pos, m) ? bit(to - pawn_direction(colour)) : bit(to) & pos.of_other();

    next = pos;
    Bitboard &own = pos.side == WHITE ? next.white : next.black;
    Bitboard &other = pos.side == WHITE ? next.black : next.white;
    own ^= moved;
    other &= ~captured;
    for (Bitboard *type : {&next.kings, &next.queens, &next.rooks, &next.bishops, &next.knights, &next.pawns}) {
        *type &= ~captured;
        if ((*type & bit(from)) != 0) *type ^= moved;
    }
    if (const int promotion = tb_promotion(m); promotion != 0) {
        Bitboard *const promoted[] = {nullptr, &next.queens, &next.rooks, &next.bishops, &next.knights};
        next.pawns &= ~bit(to);
        *promoted[promotion] |= bit(to);
    }
    next.ep = NO_SQUARE;
    if (pawn_move && (from ^ to) == 16) {
        const Square passed = middle(from, to);
        if ((pawn_attacks(colour, passed) & pos.pawns & pos.of_other()) != 0) next.ep = passed;
    }
    next.fifty = static_cast<std::uint8_t>(pawn_move || captured != 0 ? 0 : pos.fifty + 1);
    next.side = opponent(pos.side);
    return !is_attacked(next, lsb(own & next.kings), other, opponent(colour));
}

bool tb_in_check(const TbPosition &pos) {
    return is_attacked(pos, lsb(pos.of_side() & pos.kings), pos.of_other(), opponent(pos.side));
}

bool tb_has_ordinary_move(const TbPosition &pos) {
    TbMoveList list;
    tb_gen_moves(pos, list);
    TbPosition next;
    for (const TbMove m : list)
        if (!tb_is_en_passant(pos, m) && tb_do_move(pos, m, next)) return true;
    return false;
}

bool tb_is_mate(const TbPosition &pos) {
    if (!tb_in_check(pos) || tb_has_ordinary_move(pos)) return false;
    TbMoveList list;
    tb_gen_captures(pos, list);
    TbPosition next;
    for (const TbMove m : list)
        if (tb_is_en_passant(pos, m) && tb_do_move(pos, m, next)) return false;
    return true;
}
