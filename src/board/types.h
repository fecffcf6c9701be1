// The vocabulary of the board: squares, bitboards, pieces, moves.
#pragma once

#include <array>
#include <bit>
#include <cassert>
#include <cstdint>
#include <string_view>

// Squares: a1 = 0, h1 = 7, a8 = 56, h8 = 63; 64 is no square. A square reads as an int wherever one is wanted; an int
// becomes a square by square_at or make_square alone.
// clang-format off
enum Square : int {
    A1, B1, C1, D1, E1, F1, G1, H1,
    A2, B2, C2, D2, E2, F2, G2, H2,
    A3, B3, C3, D3, E3, F3, G3, H3,
    A4, B4, C4, D4, E4, F4, G4, H4,
    A5, B5, C5, D5, E5, F5, G5, H5,
    A6, B6, C6, D6, E6, F6, G6, H6,
    A7, B7, C7, D7, E7, F7, G7, H7,
    A8, B8, C8, D8, E8, F8, G8, H8,
    NO_SQUARE
};
// clang-format on
static_assert(H1 == 7 && A8 == 56 && NO_SQUARE == 64);

constexpr Square square_at(int index) { return static_cast<Square>(index); }

// Steps over the board (8 is a rank forward for White, 1 a file to the right) and distances between squares. What steps
// off the board is for the caller to notice before it is used.
constexpr Square operator+(Square s, int step) { return square_at(static_cast<int>(s) + step); }
constexpr Square operator-(Square s, int step) { return square_at(static_cast<int>(s) - step); }
constexpr int operator-(Square a, Square b) { return static_cast<int>(a) - static_cast<int>(b); }
Square operator+(Square a, Square b) = delete;
constexpr Square &operator++(Square &s) { return s = s + 1; }
// Mirrors: 7 swaps the files, 56 the ranks.
constexpr Square operator^(Square s, int mirror) { return square_at(static_cast<int>(s) ^ mirror); }

constexpr int file_of(Square s) { return s & 7; }
constexpr int rank_of(Square s) { return s >> 3; }
constexpr Square make_square(int file, int rank) { return square_at(rank * 8 + file); }
// Halfway between two squares an even number of steps apart: middle(e1, g1) is f1.
constexpr Square middle(Square a, Square b) { return square_at((static_cast<int>(a) + static_cast<int>(b)) / 2); }

inline constexpr std::array<Square, 64> ALL_SQUARES = [] {
    std::array<Square, 64> squares{};
    for (Square s = A1; s <= H8; ++s) squares[s] = s;
    return squares;
}();

// A square in a byte, for records whose size matters.
struct PackedSquare {
    std::uint8_t index;

    PackedSquare() = default;
    // NOLINTBEGIN(google-explicit-constructor): stands in for a square
    constexpr PackedSquare(Square s) : index(static_cast<std::uint8_t>(s)) {}
    constexpr operator Square() const { return square_at(index); }
    // NOLINTEND(google-explicit-constructor)
};
static_assert(sizeof(PackedSquare) == 1);

inline constexpr std::array<std::array<char, 2>, 64> SQUARE_NAMES = [] {
    std::array<std::array<char, 2>, 64> names{};
    for (const Square s : ALL_SQUARES)
        names[s] = {static_cast<char>('a' + file_of(s)), static_cast<char>('1' + rank_of(s))};
    return names;
}();

// File and rank name of a square, "a1" to "h8".
inline std::string_view square_name(Square s) { return {SQUARE_NAMES[s].data(), 2}; }

// A set of squares: bit n stands for square n.
using Bitboard = std::uint64_t;

constexpr Bitboard bit(Square s) { return Bitboard{1} << s; }

constexpr Bitboard FILE_A = 0x0101010101010101;
constexpr Bitboard FILE_H = FILE_A << 7;
constexpr Bitboard RANK_1 = 0xFF;
constexpr Bitboard RANK_8 = RANK_1 << 56;

constexpr Bitboard rank_mask(int rank) { return RANK_1 << (8 * rank); }
constexpr Bitboard file_mask(int file) { return FILE_A << file; }

// Lowest square of a set that is not empty.
inline Square lsb(Bitboard b) {
    assert(b != 0);
    return square_at(std::countr_zero(b));
}
inline Square pop_lsb(Bitboard &b) {
    const Square s = lsb(b);
    b &= b - 1;
    return s;
}
inline int popcount(Bitboard b) { return std::popcount(b); }

enum Colour : std::uint8_t { WHITE, BLACK };

constexpr Colour opponent(Colour c) { return static_cast<Colour>(c ^ 1); }

enum PieceType : std::uint8_t { NO_TYPE, PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING };
constexpr std::array<PieceType, 6> PIECE_TYPES = {PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING};
constexpr std::string_view PIECE_LETTERS = " PNBRQK";  // by type

// The type whose letter this is; NO_TYPE when it is no type's.
constexpr PieceType type_of_letter(char letter, std::string_view letters = PIECE_LETTERS) {
    const std::size_t type = letters.find(letter);
    return type == std::string_view::npos ? NO_TYPE : static_cast<PieceType>(type);
}

// A piece: its code is colour * 8 + type. What stands on an empty square is NO_PIECE.
enum Piece : std::uint8_t { NO_PIECE = 0 };

constexpr PieceType type_of(Piece piece) { return static_cast<PieceType>(piece & 7); }
constexpr Colour colour_of(Piece piece) { return static_cast<Colour>(piece >> 3); }
constexpr Piece make_piece(Colour c, PieceType type) { return static_cast<Piece>(c * 8 + type); }
// The same kind of piece in the other colour.
constexpr Piece recoloured(Piece piece) { return make_piece(opponent(colour_of(piece)), type_of(piece)); }

// One rank forward for the pawns of a colour.
constexpr int pawn_direction(Colour c) { return c == WHITE ? 8 : -8; }
// Rank index as the colour sees it: 0 is its own first rank.
constexpr int relative_rank(Colour c, Square s) { return c == WHITE ? rank_of(s) : 7 - rank_of(s); }

// Castling rights, and the mask of all four.
enum : int { WHITE_KING_SIDE = 1, WHITE_QUEEN_SIDE = 2, BLACK_KING_SIDE = 4, BLACK_QUEEN_SIDE = 8 };

// A move: to-square in bits 0-5, from-square in bits 8-13, promotion in the bits between and above.
using Move = std::uint16_t;
constexpr Move NO_MOVE = 0;           // also the null move
constexpr Move END_OF_LIST = 0xFFFF;  // ends a move list
constexpr Move PROMOTE_QUEEN = 0x0040;
constexpr Move PROMOTE_KNIGHT = 0x0080;
constexpr Move PROMOTE_BISHOP = 0x4000;
constexpr Move PROMOTE_ROOK = 0x8000;
constexpr Move PROMOTE_ANY = PROMOTE_QUEEN | PROMOTE_KNIGHT | PROMOTE_BISHOP | PROMOTE_ROOK;
constexpr Move UNDER_PROMOTE = PROMOTE_KNIGHT | PROMOTE_BISHOP | PROMOTE_ROOK;

constexpr Square to_square(Move m) { return square_at(m & 63); }
constexpr Square from_square(Move m) { return square_at((m >> 8) & 63); }
constexpr Move make_move_word(Square from, Square to, Move promotion = 0) {
    return static_cast<Move>((from << 8) | to | promotion);
}

// One entry of a move list.
struct MoveEntry {
    Move move;
    Piece piece;     // that moves
    Piece captured;  // on the to-square; NO_PIECE for en passant
};
static_assert(sizeof(MoveEntry) == 4);

// Most entries a full move list can need, whatever is on the board: each target square is reached by at most one slider,
// king or pawn from each of 8 directions and by 8 knights (64 x 16 = 1024), and promotions add at most three entries for
// each of up to 3 pawns on 8 squares.
constexpr int MAX_MOVES = 1104;
