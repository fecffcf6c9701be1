// The random numbers of the Polyglot book format, as published.
#pragma once

#include <array>
#include <cstdint>

constexpr std::size_t RANDOM64_SIZE = 781;

// Pieces: 64 * kind + square, where the kinds alternate black and white in the order pawn, knight, bishop, rook, queen,
// king. Then four castling rights, eight en-passant files, and White to move.
extern const std::array<std::uint64_t, RANDOM64_SIZE> random64;
