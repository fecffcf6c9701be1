// Text forms of a position: FEN and EPD fields in and out, and the diagram.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "board/position.h"

constexpr std::string_view START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

// What became of a FEN.
struct FenReading {
    bool rights_dropped;    // castling rights that the placement contradicts
    std::string_view rest;  // of the text, behind the four fields
};

// Reads placement, side, castling rights and en-passant square of a FEN or EPD text and empties the owner's history.
// Never fails: anything is accepted, castling rights that the placement contradicts are removed.
FenReading set_fen(Position &pos, std::string_view text);

// The four fields that set_fen reads, normalised.
std::string get_fen(const Position &pos);
// The same, written to a place with room for so many characters. Returns the end.
constexpr std::size_t LONGEST_FEN = 81;  // 64 pieces, the separators between them, and eleven characters more
char *write_fen(const Position &pos, char *end);

// FEN, diagram and side to move, one text with line feeds; a black pawn shows as 'o'.
std::string board_text(const Position &pos);

// Removes castling rights whose king or rook is not at home. True when one was removed.
bool drop_impossible_castling(Position &pos);
