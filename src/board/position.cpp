#include "board/position.h"

#include <algorithm>

#include "board/attacks.h"
#include "board/hash_codes.h"

void put_piece(Position &pos, Piece piece, Square s) {
    const Colour c = colour_of(piece);
    const PieceType type = type_of(piece);
    pos.board[s] = piece;
    pos.pieces[c][type] |= bit(s);
    pos.pieces[c][0] |= bit(s);
    pos.material[c] += MATERIAL_UNIT[type];
    pos.nonpawn_material[c] = static_cast<std::uint16_t>(pos.nonpawn_material[c] + NONPAWN_UNIT[type]);
    if (type == KING) pos.king_square[c] = s;
}

void remove_piece(Position &pos, Square s) {
    const Piece piece = pos.board[s];
    if (piece == 0) return;
    const Colour c = colour_of(piece);
    const PieceType type = type_of(piece);
    pos.board[s] = NO_PIECE;
    pos.pieces[c][type] &= ~bit(s);
    pos.pieces[c][0] &= ~bit(s);
    pos.material[c] -= MATERIAL_UNIT[type];
    pos.nonpawn_material[c] = static_cast<std::uint16_t>(pos.nonpawn_material[c] - NONPAWN_UNIT[type]);
    if (type == KING && pos.of(c, KING) != 0)  // only in set-ups with several kings
        pos.king_square[c] = lsb(pos.of(c, KING));
}

void move_piece(Position &pos, Square from, Square to) {
    const Piece piece = pos.board[from];
    const Colour c = colour_of(piece);
    const PieceType type = type_of(piece);
    const Bitboard both = bit(from) | bit(to);
    pos.board[from] = NO_PIECE;
    pos.board[to] = piece;
    pos.pieces[c][type] ^= both;
    pos.pieces[c][0] ^= both;
    if (type == KING) pos.king_square[c] = to;
}

void clear_position(Position &pos) {
    pos.board.fill(NO_PIECE);
    for (auto &colour : pos.pieces) std::fill(std::begin(colour), std::end(colour), Bitboard{0});
    for (const Colour c : {WHITE, BLACK}) {
        pos.material[c] = 0;
        pos.nonpawn_material[c] = 0;
    }
    pos.fifty = 0;
    pos.castling = 0;
    pos.ep_square = NO_SQUARE;
    pos.history->undo_count = 0;
    pos.history->ply = 1;
    pos.history->current_move = NO_MOVE;
    pos.history->undo[0] = pos.history->undo[1] = UndoEntry{};
}

bool is_consistent(const Position &pos) {
    Bitboard pieces[2][8] = {};
    std::uint32_t material[2] = {};
    std::uint16_t nonpawn[2] = {};
    for (const Square s : ALL_SQUARES) {
        const Piece piece = pos.board[s];
        if (piece == 0) continue;
        const Colour c = colour_of(piece);
        pieces[c][type_of(piece)] |= bit(s);
        pieces[c][0] |= bit(s);
        material[c] += MATERIAL_UNIT[type_of(piece)];
        nonpawn[c] = static_cast<std::uint16_t>(nonpawn[c] + NONPAWN_UNIT[type_of(piece)]);
    }
    for (const Colour c : {WHITE, BLACK}) {
        if (!std::equal(std::begin(pieces[c]), std::end(pieces[c]), std::begin(pos.pieces[c])) ||
            material[c] != pos.material[c] || nonpawn[c] != pos.nonpawn_material[c])
            return false;
        if (pieces[c][KING] != 0 && (pieces[c][KING] & bit(pos.king_square[c])) == 0) return false;
    }
    return pos.board[64] == 0 && pos.key == compute_key(pos) && pos.pawn_key == compute_pawn_key(pos);
}

std::string_view unsearchable_reason(const Position &pos) {
    for (const Colour c : {WHITE, BLACK}) {
        if (popcount(pos.of(c, KING)) != 1) return "each side needs exactly one king";
        if (popcount(pos.all(c)) > 16) return "more than 16 pieces on one side";
        if ((pos.of(c, PAWN) & (RANK_1 | RANK_8)) != 0) return "pawn on the first or last rank";
    }
    if (square_attacked(pos, pos.king_square[opponent(pos.side)], pos.side))
        return "the side that has just moved is in check";
    return {};
}
