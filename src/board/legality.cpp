#include "board/legality.h"

#include <algorithm>

#include "board/attacks.h"

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
    const Colour enemy = opponent(side);
    if (from == king && (to == from + 2 || to == from - 2))
        return !square_attacked(pos, from, enemy) && !square_attacked(pos, to, enemy) &&
               !square_attacked(pos, middle(from, to), enemy);

    const Square victim = is_en_passant_capture(pos, m) ? to - pawn_direction(side) : to;
    // As it will be after the move, when the piece taken attacks nothing any more.
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

bool is_legal_move(const Position &pos, Move m) {
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    return std::any_of(static_cast<const MoveEntry *>(list.data()), end,
                       [m](const MoveEntry &entry) { return entry.move == m; });
}

Pins::Pins(const Position &pos, Colour side, bool check)
    : pinned(sole_blockers(pos, pos.king_square[side], opponent(side)) & pos.all(side)), in_check(check) {}

bool is_legal(const Position &pos, Colour side, Move m, const Pins &pins) {
    const Square from = from_square(m);
    const Square king = pos.king_square[side];
    if (pins.in_check || from == king || is_en_passant_capture(pos, m)) return is_legal(pos, side, m);
    if ((pins.pinned & bit(from)) == 0) return true;
    // A pinned piece stays on the line: with king e1, rook e3 and enemy rook e8 it may move to e2 and to e4 ... e8.
    const Square to = to_square(m);
    return ((between(king, to) & bit(from)) | (between(king, from) & bit(to))) != 0;
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
    const int rook_file = file_of(from) + (to > from ? 3 : -4);
    if (rook_file < 0 || rook_file > 7) return false;
    const Square rook = make_square(rook_file, rank_of(from));
    return pos.board[from + direction] == 0 && pos.board[to] == 0 && pos.board[rook] == make_piece(side, ROOK) &&
           !square_attacked(pos, from, opponent(side)) && !square_attacked(pos, from + direction, opponent(side)) &&
           !square_attacked(pos, to, opponent(side));
}

}  // namespace

bool is_pseudo_legal(const Position &pos, Move m, Colour side) {
    if (m == NO_MOVE) return false;
    const Square from = from_square(m);
    const Square to = to_square(m);
    const PieceType type = pos.type_on(from);
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
