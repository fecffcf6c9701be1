// The Polyglot book format: entries of 16 bytes, sorted by position key, all numbers big-endian.
//
// This folder reads books (probe.h) and builds them (build.h). It owns the published random numbers of the format
// (random64.h) and keeps no book in memory: every probe opens the file that its options name.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <string>

#include "board/position.h"

constexpr std::int64_t BOOK_ENTRY_SIZE = 16;
constexpr int MAX_BOOK_MOVES = 128;  // entries of one key that are read or written

struct BookEntry {
    std::uint64_t key;
    std::uint16_t move;  // to-square in bits 0-5, from-square in bits 6-11, promotion in bits 12-14
    std::uint16_t weight;
    std::uint32_t learn;  // not used
};

// Key of a position in the Polyglot format: an XOR of the published random numbers for its pieces, castling rights, side
// to move, and the en-passant file when a pawn of the side to move attacks the en-passant square.
std::uint64_t polyglot_key(const Position &pos);
// The same from the part of it that a position's pieces make, for who keeps that from move to move: it changes by the
// numbers of the pieces that appear or disappear.
std::uint64_t polyglot_key(const Position &pos, std::uint64_t pieces_key);
std::uint64_t polyglot_pieces_key(const Position &pos);
std::uint64_t polyglot_piece_number(Piece piece, Square s);

// The next 16 bytes of the file; false when it ends before or inside an entry.
bool read_book_entry(std::istream &file, BookEntry &entry);

// The bytes of an entry as the file holds them.
std::array<char, BOOK_ENTRY_SIZE> book_entry_bytes(const BookEntry &entry);

// From the book's coding of a move, castling being the king's move onto its rook (e1h1), to the engine's (e1g1), and
// back. Nothing is checked against a position; a promotion code that does not exist gives NO_MOVE.
Move move_from_book(std::uint16_t book_move);
std::uint16_t move_to_book(Move m);

// From-square and to-square as the book has them: castling is the king's move onto its rook.
std::string book_squares(std::uint16_t book_move);
