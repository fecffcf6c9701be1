#include "board/movegen.h"

#include <algorithm>

#include "board/attacks.h"

namespace {

void add(const Position &pos, MoveEntry *&list, Square from, Square to, Move promotion = 0) {
    *list++ = {make_move_word(from, to, promotion), 0, pos.board[from], pos.board[to]};
}

// Moves of one piece to every square of a set, ascending.
void add_targets(const Position &pos, MoveEntry *&list, Square from, Bitboard targets) {
    while (targets != 0) add(pos, list, from, pop_lsb(targets));
}

// Pawn moves to every square of a set, ascending, from `offset` squares behind each.
void add_pawns(const Position &pos, MoveEntry *&list, Bitboard targets, int offset) {
    while (targets != 0) {
        const Square to = pop_lsb(targets);
        add(pos, list, to - offset, to);
    }
}

Bitboard shift(Bitboard b, int offset) { return offset > 0 ? b << offset : b >> -offset; }

// Knights, bishops, rooks and queens, in that order, to the squares of a set.
void add_pieces(const Position &pos, Colour side, MoveEntry *&list, Bitboard targets) {
    const Bitboard occupied = pos.occupied();
    for (Bitboard b = pos.of(side, KNIGHT); b != 0;) {
        const Square from = pop_lsb(b);
        add_targets(pos, list, from, knight_attacks(from) & targets);
    }
    for (Bitboard b = pos.of(side, BISHOP); b != 0;) {
        const Square from = pop_lsb(b);
        add_targets(pos, list, from, bishop_attacks(from, occupied) & targets);
    }
    for (Bitboard b = pos.of(side, ROOK); b != 0;) {
        const Square from = pop_lsb(b);
        add_targets(pos, list, from, rook_attacks(from, occupied) & targets);
    }
    for (Bitboard b = pos.of(side, QUEEN); b != 0;) {
        const Square from = pop_lsb(b);
        add_targets(pos, list, from, queen_attacks(from, occupied) & targets);
    }
}

bool king_at_home_square(const Position &pos, Colour side) {
    return pos.board[pos.king_square[side]] == make_piece(side, KING);
}

// The en-passant square when a pawn can really be taken there: with White to move and ...d7d5 just played, d6 is empty
// and d5 holds a black pawn.
Bitboard en_passant_target(const Position &pos, Colour side) {
    if (pos.ep_square == NO_SQUARE || rank_of(pos.ep_square) == 0 || rank_of(pos.ep_square) == 7) return 0;
    const Square pawn = pos.ep_square - pawn_direction(side);
    const bool takeable = pos.board[pos.ep_square] == 0 && pos.board[pawn] == make_piece(1 - side, PAWN);
    return takeable ? bit(pos.ep_square) : 0;
}

}  // namespace

MoveEntry *gen_captures(const Position &pos, Colour side, MoveEntry *list, Square target) {
    const Bitboard enemy = pos.all(1 - side);
    const Bitboard targets = target != NO_SQUARE ? bit(target) : enemy;

    // Toward the a-file first, then toward the h-file.
    const Bitboard pawns = pos.of(side, PAWN);
    const Bitboard pawn_targets = (targets | en_passant_target(pos, side)) & ~(RANK_1 | RANK_8);
    const int west = pawn_direction(side) - 1;
    const int east = pawn_direction(side) + 1;
    add_pawns(pos, list, shift(pawns & ~FILE_A, west) & pawn_targets, west);
    add_pawns(pos, list, shift(pawns & ~FILE_H, east) & pawn_targets, east);

    add_pieces(pos, side, list, targets);
    if (king_at_home_square(pos, side))
        add_targets(pos, list, pos.king_square[side], king_attacks(pos.king_square[side]) & enemy);
    return list;
}

MoveEntry *gen_promotions(const Position &pos, Colour side, bool under, MoveEntry *list) {
    const auto add_promotions = [&](Square from, Square to) {
        add(pos, list, from, to, PROMOTE_QUEEN);
        if (under) {
            add(pos, list, from, to, PROMOTE_KNIGHT);
            add(pos, list, from, to, PROMOTE_BISHOP);
            add(pos, list, from, to, PROMOTE_ROOK);
        }
    };
    const Bitboard enemy = pos.all(1 - side);
    for (Bitboard pawns = pos.of(side, PAWN) & rank_mask(side == WHITE ? 6 : 1); pawns != 0;) {
        const Square from = pop_lsb(pawns);
        const Square front = from + pawn_direction(side);
        if (pos.board[front] == 0) add_promotions(from, front);
        if (file_of(from) != 0 && (enemy & bit(front - 1)) != 0) add_promotions(from, front - 1);
        if (file_of(from) != 7 && (enemy & bit(front + 1)) != 0) add_promotions(from, front + 1);
    }
    return list;
}

MoveEntry *gen_quiets(const Position &pos, Colour side, MoveEntry *list, Square target) {
    const Bitboard empty = ~pos.occupied();
    const Square king = pos.king_square[side];
    const Bitboard targets = target != NO_SQUARE ? between(target, king) & empty : empty;

    const int forward = pawn_direction(side);
    const Bitboard last_rank = side == WHITE ? RANK_8 : RANK_1;
    const Bitboard second_rank = rank_mask(side == WHITE ? 1 : 6);
    const Bitboard pawns = pos.of(side, PAWN);
    add_pawns(pos, list, shift(pawns, forward) & targets & ~last_rank, forward);
    add_pawns(pos, list, shift(shift(pawns & second_rank, forward) & empty, forward) & targets, 2 * forward);

    add_pieces(pos, side, list, targets);
    if (!king_at_home_square(pos, side)) return list;
    add_targets(pos, list, king, king_attacks(king) & empty);

    if (king == (side == WHITE ? E1 : E8)) {
        const int king_side = side == WHITE ? WHITE_KING_SIDE : BLACK_KING_SIDE;
        const int queen_side = side == WHITE ? WHITE_QUEEN_SIDE : BLACK_QUEEN_SIDE;
        const Bitboard occupied = ~empty;
        if ((pos.castling & king_side) != 0 && (occupied & (bit(king + 1) | bit(king + 2))) == 0)
            add(pos, list, king, king + 2);
        if ((pos.castling & queen_side) != 0 && (occupied & (bit(king - 1) | bit(king - 2) | bit(king - 3))) == 0)
            add(pos, list, king, king - 2);
    }
    return list;
}

MoveEntry *gen_all(const Position &pos, MoveEntry *list) {
    list = gen_captures(pos, pos.side, list, NO_SQUARE);
    list = gen_promotions(pos, pos.side, true, list);
    list = gen_quiets(pos, pos.side, list, NO_SQUARE);
    terminate_list(list);
    return list;
}

MoveEntry *gen_legal(const Position &pos, MoveEntry *list) {
    gen_all(pos, list);
    MoveEntry *end = list;
    for (const MoveEntry *entry = list; entry->move != END_OF_LIST; ++entry)
        if (is_legal(pos, pos.side, entry->move)) *end++ = *entry;
    terminate_list(end);
    return end;
}

bool is_legal(const Position &pos, Colour side, Move m) {
    const Square from = from_square(m);
    const Square to = to_square(m);
    const Square king = pos.king_square[side];
    const Colour enemy = 1 - side;
    if (from == king && (to == from + 2 || to == from - 2))
        return !square_attacked(pos, from, enemy) && !square_attacked(pos, to, enemy) &&
               !square_attacked(pos, (from + to) / 2, enemy);

    const Square victim = is_en_passant_capture(pos, m) ? to - pawn_direction(side) : to;
    const Bitboard occupied = (pos.all(side) & ~bit(from)) | bit(to) | (pos.all(enemy) & ~bit(victim));
    return !square_attacked(pos, from == king ? to : king, enemy, occupied, ~bit(victim));
}

bool no_legal_moves(const Position &pos) {
    MoveList list;
    gen_all(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry->move != END_OF_LIST; ++entry)
        if (is_legal(pos, pos.side, entry->move)) return false;
    return true;
}

namespace {

bool pawn_can_move(const Position &pos, Colour side, Square from, Square to) {
    const int forward = pawn_direction(side);
    if ((pawn_attacks(side, from) & bit(to)) != 0)
        return pos.board[to] != 0 || (en_passant_target(pos, side) & bit(to)) != 0;
    if (pos.board[to] != 0) return false;
    return to == from + forward ||
           (to == from + 2 * forward && relative_rank(side, from) == 1 && pos.board[from + forward] == 0);
}

bool king_can_move(const Position &pos, Colour side, Square from, Square to) {
    if ((king_attacks(from) & bit(to)) != 0) return true;
    // Castling: the king on its own first rank (not necessarily at home), its rook at the usual distance.
    if (relative_rank(side, from) != 0 || (to != from + 2 && to != from - 2) || rank_of(to) != rank_of(from))
        return false;
    const int direction = to > from ? 1 : -1;
    const Square rook = to > from ? from + 3 : from - 4;
    if (rook < 0 || rook > 63 || rank_of(rook) != rank_of(from)) return false;
    return pos.board[from + direction] == 0 && pos.board[to] == 0 && pos.board[rook] == make_piece(side, ROOK) &&
           !square_attacked(pos, from, 1 - side) && !square_attacked(pos, from + direction, 1 - side) &&
           !square_attacked(pos, to, 1 - side);
}

}  // namespace

bool is_pseudo_legal(const Position &pos, Move m, Colour side) {
    if (m == NO_MOVE) return false;
    const Square from = from_square(m);
    const Square to = to_square(m);
    const int type = pos.type_on(from);
    if ((pos.all(side) & bit(from)) == 0 || (pos.all(side) & bit(to)) != 0 || pos.type_on(to) == KING) return false;
    const bool promotes = type == PAWN && relative_rank(side, to) == 7;
    if (((m & PROMOTE_ANY) != 0) != promotes) return false;
    switch (type) {
    case PAWN: return pawn_can_move(pos, side, from, to);
    case KNIGHT: return (knight_attacks(from) & bit(to)) != 0;
    case BISHOP: return (bishop_span(from) & bit(to)) != 0 && (between(from, to) & pos.occupied()) == 0;
    case ROOK: return (rook_span(from) & bit(to)) != 0 && (between(from, to) & pos.occupied()) == 0;
    case QUEEN:
        return ((bishop_span(from) | rook_span(from)) & bit(to)) != 0 && (between(from, to) & pos.occupied()) == 0;
    default: return king_can_move(pos, side, from, to);
    }
}

namespace {

// Type of the piece after the move.
int type_after(const MoveEntry &entry) {
    if ((entry.move & PROMOTE_BISHOP) != 0) return BISHOP;
    if ((entry.move & PROMOTE_KNIGHT) != 0) return KNIGHT;
    if ((entry.move & PROMOTE_QUEEN) != 0) return QUEEN;
    return (entry.move & PROMOTE_ROOK) != 0 ? ROOK : type_of(entry.piece);
}

bool direct_check(const Position &pos, Colour side, int type, Square to, Square king) {
    const bool clear = (between(to, king) & pos.occupied()) == 0;
    const bool diagonal = (bishop_span(to) & bit(king)) != 0;
    const bool straight = (rook_span(to) & bit(king)) != 0;
    switch (type) {
    case PAWN: return (pawn_attacks(side, to) & bit(king)) != 0;
    case KNIGHT: return (knight_attacks(to) & bit(king)) != 0;
    case BISHOP: return diagonal && clear;
    case ROOK: return straight && clear;
    case QUEEN: return (diagonal || straight) && clear;
    default: return false;
    }
}

bool any_clear_line(Bitboard sliders, Square king, Bitboard occupied) {
    while (sliders != 0)
        if ((between(pop_lsb(sliders), king) & occupied) == 0) return true;
    return false;
}

}  // namespace

namespace {

// Pieces of `colour` that alone stand between a square and a slider of `slider_side`.
Bitboard sole_blockers(const Position &pos, Square target, Colour slider_side, Colour colour) {
    const Bitboard queens = pos.of(slider_side, QUEEN);
    Bitboard sliders = (bishop_span(target) & (pos.of(slider_side, BISHOP) | queens)) |
                       (rook_span(target) & (pos.of(slider_side, ROOK) | queens));
    const Bitboard occupied = pos.occupied();
    Bitboard sole = 0;
    while (sliders != 0) {
        const Bitboard blockers = between(target, pop_lsb(sliders)) & occupied;
        if ((blockers & (blockers - 1)) == 0) sole |= blockers;
    }
    return sole & pos.all(colour);
}

}  // namespace

bool is_legal_move(const Position &pos, Move m) {
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    return std::any_of(static_cast<const MoveEntry *>(list.data()), end,
                       [m](const MoveEntry &entry) { return entry.move == m; });
}

Pins::Pins(const Position &pos, Colour side, bool check)
    : pinned(sole_blockers(pos, pos.king_square[side], 1 - side, side)), in_check(check) {}

bool is_legal(const Position &pos, Colour side, Move m, const Pins &pins) {
    const Square from = from_square(m);
    const Square king = pos.king_square[side];
    if (pins.in_check || from == king || is_en_passant_capture(pos, m)) return is_legal(pos, side, m);
    if ((pins.pinned & bit(from)) == 0) return true;
    // A pinned piece stays on the line: with king e1, rook e3 and enemy rook e8 it may move to e2 and to e4 ... e8.
    const Square to = to_square(m);
    return ((between(king, to) & bit(from)) | (between(king, from) & bit(to))) != 0;
}

CheckSquares::CheckSquares(const Position &pos, Colour side) {
    const Square king = pos.king_square[1 - side];
    const Bitboard occupied = pos.occupied();
    from[NO_TYPE] = from[KING] = from[7] = 0;
    from[PAWN] = pawn_attacks(1 - side, king);
    from[KNIGHT] = knight_attacks(king);
    from[BISHOP] = bishop_attacks(king, occupied);
    from[ROOK] = rook_attacks(king, occupied);
    from[QUEEN] = from[BISHOP] | from[ROOK];
    discoverers = sole_blockers(pos, king, side, side);
}

int gives_check(const Position &pos, Colour side, const MoveEntry &entry, const CheckSquares &squares) {
    if ((squares.discoverers & bit(from_square(entry.move))) != 0) return gives_check(pos, side, entry);
    return (squares.from[static_cast<std::size_t>(type_after(entry))] & bit(to_square(entry.move))) != 0 ? 1 : 0;
}

int gives_check(const Position &pos, Colour side, const MoveEntry &entry) {
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    const Square king = pos.king_square[1 - side];
    constexpr std::uint32_t SLIDER_COUNTS = 0xFFF00;
    if ((pos.material[side] & SLIDER_COUNTS) != 0) {
        const Bitboard occupied = (pos.occupied() & ~bit(from)) | bit(to);
        const Bitboard queens = pos.of(side, QUEEN);
        // A slider behind the start square on a line through the king: with rook e1, bishop e4 and king e8, every bishop
        // move uncovers the rook.
        if ((rook_span(king) & bit(from)) != 0 &&
            any_clear_line((pos.of(side, ROOK) | queens) & rook_span(king) & rook_span(from), king, occupied))
            return 2;
        if ((bishop_span(king) & bit(from)) != 0 &&
            any_clear_line((pos.of(side, BISHOP) | queens) & bishop_span(king) & bishop_span(from), king, occupied))
            return 2;
    }
    return direct_check(pos, side, type_after(entry), to, king) ? 1 : 0;
}
