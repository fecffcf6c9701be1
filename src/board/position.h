// The board: one position record, its move history, and the three primitives that change it.
//
// Everything in this folder works on a caller's Position; nothing is shared between threads but the read-only attack
// tables (attacks.h) and hash codes. Every question takes the position as const; it changes by set_fen (fen.h), by make
// and unmake (makemove.h) and by the primitives below, on which these stand. Read on in hash_codes.h (keys), movegen.h
// (pseudo-legal moves), legality.h, checks.h, exchange.h, notation.h (move texts) and repetition.h.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/shared_value.h"
#include "board/types.h"

// Room in a move history: moves of the game and plies of the search together. Searches add at most 70.
constexpr int HISTORY_SIZE = 8300;
constexpr int MAX_GAME_MOVES = 8200;
// The deepening stops where game length plus depth would pass this.
constexpr int HISTORY_DEPTH_LIMIT = HISTORY_SIZE - 17;
static_assert(MAX_GAME_MOVES + 70 < HISTORY_SIZE);

// State before a move was made. Entry k of a history holds the key of the position in which move k was played.
struct UndoEntry {
    std::uint64_t key;
    std::uint64_t pawn_key;
    Move move;           // 0 for a null move
    PieceType captured;  // on the to-square; NO_TYPE for en passant
    PackedSquare ep_square;
    std::uint8_t fifty;
    std::uint8_t castling;
};

struct Position;

// Who is told of every move and null move (NO_MOVE) before it is made.
struct MoveTrace {
    void (*before_move)(void *context, const Position &pos, Move m);
    void *context;
};

// The moves that led to a position, which make and unmake keep. One owner; another thread may set `trace`.
struct MoveHistory {
    std::array<UndoEntry, HISTORY_SIZE> undo;
    std::int16_t undo_count;  // entries in use
    std::int16_t ply;         // 1 after set-up, one more for every move or null move made
    Move current_move;        // the move that led here; 0 for none or a null move
    SharedValue<const MoveTrace *> trace{nullptr};
};

struct Position {
    MoveHistory *history;               // history of the thread that owns this position
    std::array<Piece, 65> board;        // by square; entry 64 is always empty
    Bitboard pieces[2][8];              // [colour][type]; slot 0 holds all pieces of the colour
    std::uint64_t key;                  // position key; bit 0 is the side to move
    std::uint64_t pawn_key;             // key of the pawns alone
    std::uint32_t material[2];          // pawns in bits 0-3, knights 4-7, bishops 8-11, rooks 12-15, queens 16-19
    std::uint16_t nonpawn_material[2];  // knight 3, bishop 3, rook 5, queen 10
    Colour side;                        // to move
    std::uint8_t fifty;                 // plies since the last capture, pawn move or castling; stops at 255
    std::uint8_t castling;
    PackedSquare ep_square;  // passed over by the pawn that has just moved two squares, else 64
    PackedSquare king_square[2];

    Bitboard all(Colour c) const { return pieces[c][0]; }
    Bitboard of(Colour c, PieceType type) const { return pieces[c][type]; }
    Bitboard occupied() const { return pieces[WHITE][0] | pieces[BLACK][0]; }
    PieceType type_on(Square s) const { return type_of(board[s]); }
};

// Packed material unit and non-pawn units by piece type.
constexpr std::array<std::uint32_t, 8> MATERIAL_UNIT = {0, 0x1, 0x10, 0x100, 0x1000, 0x10000, 0, 0};
constexpr std::array<std::uint16_t, 8> NONPAWN_UNIT = {0, 0, 3, 3, 5, 10, 0, 0};

// What a packed material word says: counts of one type, and whether there is a piece of some kind.
constexpr int material_count(std::uint32_t material, PieceType type) {
    return static_cast<int>(material >> (4 * (type - 1)) & 15);
}
constexpr int pawn_count(std::uint32_t material) { return material_count(material, PAWN); }
constexpr bool has_sliders(std::uint32_t material) { return (material & 0xFFF00) != 0; }
constexpr bool has_rooks_or_queens(std::uint32_t material) { return (material & 0xFF000) != 0; }

// The three primitives on which set-up, make and unmake stand. They keep the board, the bitboards and the material
// counts; keys are the caller's business.
void put_piece(Position &pos, Piece piece, Square s);
void remove_piece(Position &pos, Square s);
void move_piece(Position &pos, Square from, Square to);

// Empties the position and the owner's history; the side to move and the king squares stay.
void clear_position(Position &pos);

// Whether board, bitboards, counts, king squares and keys all describe the same position (debug checks and tests).
bool is_consistent(const Position &pos);
// Why a search cannot work on this position (kings missing or doubled, more than 16 pieces a side, pawns on the first
// or last rank, a king that could be captured), or an empty text when it can.
std::string_view unsearchable_reason(const Position &pos);
