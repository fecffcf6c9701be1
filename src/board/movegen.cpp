#include "board/movegen.h"

#include "board/attacks.h"

namespace {

// Moves to every square of a set, ascending, from `origin(to)`. Quiet moves need not look at what stands there.
enum Targets { EMPTY_SQUARES, ANY_SQUARES };

template <Targets TARGETS, typename Origin>
MoveEntry *add_moves(const Position &pos, MoveEntry *list, Piece piece, Bitboard targets, Origin origin) {
    for (; targets != 0; targets &= targets - 1) {
        const Square to = lsb(targets);
        *list++ = {make_move_word(origin(to), to), piece, TARGETS == EMPTY_SQUARES ? NO_PIECE : pos.board[to]};
    }
    return list;
}

// Moves of the piece on `from` to every square of a set, ascending.
template <Targets TARGETS>
MoveEntry *add_targets(const Position &pos, MoveEntry *list, Piece piece, Square from, Bitboard targets) {
    return add_moves<TARGETS>(pos, list, piece, targets, [from](Square) { return from; });
}

// Pawn moves to every square of a set, ascending, from `offset` squares behind each.
template <Targets TARGETS>
MoveEntry *add_pawns(const Position &pos, Colour side, MoveEntry *list, Bitboard targets, int offset) {
    return add_moves<TARGETS>(pos, list, make_piece(side, PAWN), targets, [offset](Square to) { return to - offset; });
}

Bitboard shift(Bitboard b, int offset) { return offset > 0 ? b << offset : b >> -offset; }

// Knights, bishops, rooks and queens, in that order, to the squares of a set.
template <Targets TARGETS>
MoveEntry *add_pieces(const Position &pos, Colour side, MoveEntry *list, Bitboard targets) {
    const Bitboard occupied = pos.occupied();
    const auto add_kind = [&](PieceType type, auto attacks) {
        const Piece piece = make_piece(side, type);
        for (Bitboard pieces = pos.of(side, type); pieces != 0; pieces &= pieces - 1) {
            const Square from = lsb(pieces);
            list = add_targets<TARGETS>(pos, list, piece, from, attacks(from, occupied) & targets);
        }
    };
    add_kind(KNIGHT, [](Square s, Bitboard) { return knight_attacks(s); });
    add_kind(BISHOP, bishop_attacks);
    add_kind(ROOK, rook_attacks);
    add_kind(QUEEN, queen_attacks);
    return list;
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
    list = add_pawns<ANY_SQUARES>(pos, side, list, shift(pawns & ~FILE_A, west) & pawn_targets, west);
    list = add_pawns<ANY_SQUARES>(pos, side, list, shift(pawns & ~FILE_H, east) & pawn_targets, east);

    list = add_pieces<ANY_SQUARES>(pos, side, list, targets);
    if (!king_at_home_square(pos, side)) return list;
    const Square king = pos.king_square[side];
    return add_targets<ANY_SQUARES>(pos, list, make_piece(side, KING), king, king_attacks(king) & enemy);
}

MoveEntry *gen_promotions(const Position &pos, Colour side, bool under, MoveEntry *list) {
    Bitboard pawns = pos.of(side, PAWN) & rank_mask(side == WHITE ? 6 : 1);
    if (pawns == 0) return list;
    const auto add_promotions = [&](Square from, Square to) {
        const auto add = [&](Move promotion) {
            *list++ = {make_move_word(from, to, promotion), make_piece(side, PAWN), pos.board[to]};
        };
        add(PROMOTE_QUEEN);
        if (under) {
            add(PROMOTE_KNIGHT);
            add(PROMOTE_BISHOP);
            add(PROMOTE_ROOK);
        }
    };
    const Bitboard enemy = pos.all(opponent(side));
    while (pawns != 0) {
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
    list = add_pawns<EMPTY_SQUARES>(pos, side, list, shift(pawns, forward) & targets & ~last_rank, forward);
    const Bitboard double_steps = shift(shift(pawns & second_rank, forward) & empty, forward) & targets;
    list = add_pawns<EMPTY_SQUARES>(pos, side, list, double_steps, 2 * forward);

    list = add_pieces<EMPTY_SQUARES>(pos, side, list, targets);
    if (!king_at_home_square(pos, side)) return list;
    const Piece king_piece = make_piece(side, KING);
    list = add_targets<EMPTY_SQUARES>(pos, list, king_piece, king, king_attacks(king) & empty);

    if (king == (side == WHITE ? E1 : E8)) {
        const int king_side = side == WHITE ? WHITE_KING_SIDE : BLACK_KING_SIDE;
        const int queen_side = side == WHITE ? WHITE_QUEEN_SIDE : BLACK_QUEEN_SIDE;
        const Bitboard occupied = ~empty;
        if ((pos.castling & king_side) != 0 && (occupied & (bit(king + 1) | bit(king + 2))) == 0)
            *list++ = {make_move_word(king, king + 2), king_piece, NO_PIECE};
        if ((pos.castling & queen_side) != 0 && (occupied & (bit(king - 1) | bit(king - 2) | bit(king - 3))) == 0)
            *list++ = {make_move_word(king, king - 2), king_piece, NO_PIECE};
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
