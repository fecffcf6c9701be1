// Keys are kept incrementally on the way forward and copied from the history on the way back.
#include "board/makemove.h"

#include "board/hash_codes.h"

namespace {

// Castling rights that a move from or to a square ends.
constexpr std::array<std::uint8_t, 64> CASTLING_MASK = [] {
    std::array<std::uint8_t, 64> mask{};
    mask[A1] = WHITE_QUEEN_SIDE;
    mask[E1] = WHITE_KING_SIDE | WHITE_QUEEN_SIDE;
    mask[H1] = WHITE_KING_SIDE;
    mask[A8] = BLACK_QUEEN_SIDE;
    mask[E8] = BLACK_KING_SIDE | BLACK_QUEEN_SIDE;
    mask[H8] = BLACK_KING_SIDE;
    return mask;
}();

void toggle_piece_key(Position &pos, Piece piece, Square s) {
    pos.key ^= hash_codes[piece][s];
    if (type_of(piece) == PAWN) pos.pawn_key ^= hash_codes[piece][s];
}

void set_side_bit(Position &pos) { pos.key = (pos.key & ~std::uint64_t{1}) | pos.side; }

PieceType promoted_type(Move m) {
    if ((m & PROMOTE_KNIGHT) != 0) return KNIGHT;
    if ((m & PROMOTE_BISHOP) != 0) return BISHOP;
    return (m & PROMOTE_ROOK) != 0 ? ROOK : QUEEN;
}

// Rook's way when the king castles: e1g1 takes the rook from h1 to f1, e1c1 from a1 to d1.
struct RookMove {
    Square from, to;
};
bool is_castling(Square from, Square to) { return to == from + 2 || to == from - 2; }
RookMove castling_rook(Square from, Square to) {
    return to > from ? RookMove{from + 3, from + 1} : RookMove{from - 4, from - 1};
}

// A pawn that has changed files without capturing on its target took en passant.
bool is_en_passant(Square from, Square to, PieceType captured_type) {
    return captured_type == NO_TYPE && file_of(from) != file_of(to);
}

void trace(const Position &pos, Move m) {
    if (const MoveTrace *hook = pos.history->trace; hook != nullptr) hook->before_move(hook->context, pos, m);
}

UndoEntry &push_entry(Position &pos, Move m, PieceType captured) {
    MoveHistory &history = *pos.history;
    assert(history.undo_count < HISTORY_SIZE - 1);
    UndoEntry &entry = history.undo[history.undo_count];
    // Field by field: a whole entry would be put together elsewhere from small pieces and copied from there in large ones,
    // which has to wait until the small ones have reached the cache.
    entry.key = pos.key;
    entry.pawn_key = pos.pawn_key;
    entry.move = m;
    entry.captured = captured;
    entry.ep_square = pos.ep_square;
    entry.fifty = pos.fifty;
    entry.castling = pos.castling;
    ++history.undo_count;
    ++history.ply;
    history.current_move = m;
    return entry;
}

const UndoEntry &pop_entry(Position &pos) {
    MoveHistory &history = *pos.history;
    assert(history.undo_count > 0);
    --history.undo_count;
    --history.ply;
    history.current_move = history.undo_count > 0 ? history.undo[history.undo_count - 1].move : NO_MOVE;
    const UndoEntry &entry = history.undo[history.undo_count];
    pos.ep_square = entry.ep_square;
    pos.castling = entry.castling;
    pos.fifty = entry.fifty;
    pos.key = entry.key;
    pos.side = opponent(pos.side);
    return entry;
}

}  // namespace

void make_move(Position &pos, Move m) {
    trace(pos, m);
    const Square from = from_square(m);
    const Square to = to_square(m);
    const Colour mover = pos.side;
    const Piece piece = pos.board[from];
    const Piece captured = pos.board[to];
    push_entry(pos, m, type_of(captured));

    if (pos.ep_square != NO_SQUARE) pos.key ^= hash_codes[0][pos.ep_square];
    pos.ep_square = NO_SQUARE;
    if (pos.fifty != 255) ++pos.fifty;
    pos.side = opponent(pos.side);
    if (const int lost = pos.castling & (CASTLING_MASK[from] | CASTLING_MASK[to]); lost != 0) {
        pos.key ^= hash_codes[0][pos.castling] ^ hash_codes[0][pos.castling ^ lost];
        pos.castling = static_cast<std::uint8_t>(pos.castling ^ lost);
    }

    if (captured != 0) {
        toggle_piece_key(pos, captured, to);
        remove_piece(pos, to);
        pos.fifty = 0;
    }
    move_piece(pos, from, to);
    toggle_piece_key(pos, piece, from);
    toggle_piece_key(pos, piece, to);

    if (type_of(piece) == PAWN) {
        pos.fifty = 0;
        const int direction = pawn_direction(mover);
        if (to == from + 2 * direction) {
            pos.ep_square = from + direction;
            pos.key ^= hash_codes[0][pos.ep_square];
        } else if (is_en_passant(from, to, type_of(captured))) {
            toggle_piece_key(pos, pos.board[to - direction], to - direction);
            remove_piece(pos, to - direction);
        } else if ((m & PROMOTE_ANY) != 0) {
            toggle_piece_key(pos, piece, to);
            remove_piece(pos, to);
            const Piece promoted = make_piece(mover, promoted_type(m));
            put_piece(pos, promoted, to);
            toggle_piece_key(pos, promoted, to);
        }
    } else if (type_of(piece) == KING && is_castling(from, to)) {
        const RookMove rook = castling_rook(from, to);
        const Piece rook_piece = make_piece(mover, ROOK);
        move_piece(pos, rook.from, rook.to);
        toggle_piece_key(pos, rook_piece, rook.from);
        toggle_piece_key(pos, rook_piece, rook.to);
        pos.fifty = 0;
    }
    set_side_bit(pos);
    assert(is_consistent(pos));
}

void unmake_move(Position &pos) {
    const UndoEntry &entry = pop_entry(pos);
    pos.pawn_key = entry.pawn_key;
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    const Colour mover = pos.side;

    if ((entry.move & PROMOTE_ANY) != 0) {
        remove_piece(pos, to);
        put_piece(pos, make_piece(mover, PAWN), to);
    }
    move_piece(pos, to, from);
    if (entry.captured != NO_TYPE) put_piece(pos, make_piece(opponent(mover), entry.captured), to);

    const PieceType type = type_of(pos.board[from]);
    if (type == PAWN && is_en_passant(from, to, entry.captured)) {
        put_piece(pos, make_piece(opponent(mover), PAWN), to - pawn_direction(mover));
    } else if (type == KING && is_castling(from, to)) {
        const RookMove rook = castling_rook(from, to);
        move_piece(pos, rook.to, rook.from);
    }
    assert(is_consistent(pos));
}

void make_null_move(Position &pos) {
    trace(pos, NO_MOVE);
    push_entry(pos, NO_MOVE, NO_TYPE);
    pos.side = opponent(pos.side);
    if (pos.fifty != 255) ++pos.fifty;
    if (pos.ep_square != NO_SQUARE) pos.key ^= hash_codes[0][pos.ep_square];
    pos.ep_square = NO_SQUARE;
    set_side_bit(pos);
    assert(is_consistent(pos));
}

void unmake_null_move(Position &pos) {
    pop_entry(pos);
    assert(is_consistent(pos));
}
