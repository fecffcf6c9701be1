#include "board/movegen.h"

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

}  // namespace

MoveEntry *gen_captures(const Position &pos, Colour side, MoveEntry *list, Square target) {
    const Bitboard enemy = pos.all(opponent(side));
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
    const Bitboard enemy = pos.all(opponent(side));
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

MoveEntry *gen_moves(const Position &pos, Colour side, MoveEntry *list, Square checker) {
    list = gen_captures(pos, side, list, checker);
    list = gen_promotions(pos, side, true, list);
    return gen_quiets(pos, side, list, checker);
}

MoveEntry *gen_all(const Position &pos, MoveEntry *list) {
    list = gen_moves(pos, pos.side, list, NO_SQUARE);
    terminate_list(list);
    return list;
}
