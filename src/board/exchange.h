// Static exchange evaluation by swapping off with the least valuable attacker.
#pragma once

#include <array>

#include "board/position.h"
#include "board/types.h"

// Exchange value in centipawns, and rank of a piece, by type.
constexpr std::array<int, 8> SEE_VALUES = {0, 100, 330, 330, 530, 1000, 10000, 0};
constexpr std::array<int, 8> PIECE_RANK = {0, 1, 3, 3, 5, 10, 99, 0};

// Gain of capturing a king: what makes the capture before it lose everything.
constexpr int SEE_KING_TAKEN = 9999;
// A move that loses no more than this by exchange counts as safe.
constexpr int SEE_TOLERANCE = 69;

// Exchange value, in centipawns, of `side` capturing on `to`, starting with the piece on `from` (NO_SQUARE: the least
// valuable attacker; 0 when there is none). `may_stop`: the side may decline, so the result is never negative.
int see_value(const Position &pos, Colour side, Square from, Square to, bool may_stop);

// What the opponent of the piece on `from` gains, in centipawns and never less than 0, by capturing it on `to` once it
// stands there: with a pawn on d5 and a black bishop on f8 as the only other piece near, 100 for d6.
int see_reply(const Position &pos, Square from, Square to);

// Whether the exchange on `to` that the piece on `from` starts is worth at least `threshold` centipawns to its side, which
// may not decline. The same as comparing see_value, in fewer steps.
bool see_at_least(const Position &pos, Square from, Square to, int threshold);

// Whether the move of the side to move loses no more than SEE_TOLERANCE by exchange on its target square. A promotion is
// exchanged as the pawn it was.
bool see_ok(const Position &pos, Move m);
