// Keys of positions: random codes of pieces on squares, en-passant squares and castling rights, combined by exclusive or.
#pragma once

#include <array>
#include <cstdint>

#include "board/position.h"
#include "board/types.h"

// [piece code][square]; row 0 holds the codes of en-passant squares and castling rights. Written once.
extern std::array<std::array<std::uint64_t, 64>, 16> hash_codes;

// Fills hash_codes (multiply-with-carry generator from a fixed seed), always with the same codes. False when one of them is
// too much like another one. Once, at start.
bool generate_hash_codes();

// Both keys computed from scratch.
std::uint64_t compute_key(const Position &pos);
std::uint64_t compute_pawn_key(const Position &pos);

// Key of the position after a move. Castling, promotions, en-passant captures and lost castling rights are not looked at:
// a guess, for prefetching.
inline std::uint64_t likely_key_after(const Position &pos, Move m) {
    const Square from = from_square(m);
    const Square to = to_square(m);
    const auto &codes = hash_codes[pos.board[from]];
    std::uint64_t key = pos.key ^ 1 ^ ((codes[from] ^ codes[to]) & ~std::uint64_t{1});
    if (pos.board[to] != 0) key ^= hash_codes[pos.board[to]][to] & ~std::uint64_t{1};
    if (pos.ep_square != NO_SQUARE) key ^= hash_codes[0][pos.ep_square] & ~std::uint64_t{1};
    return key;
}
