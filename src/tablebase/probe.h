// Probing endgame tablebases: the value of a position, its distance to the next zeroing move, and what the search asks.
#pragma once

#include <span>

#include "board/position.h"
#include "tablebase/board.h"

struct Tablebases;  // registry.h

// How a probe went.
enum TbSuccess : int {
    TB_FAILED = 0,   // no table, or a file that cannot be used
    TB_EXACT = 1,    // the value is exact
    TB_CAPTURE = 2,  // a winning capture settled it
};

// Win, draw or loss from the side to move's view: 2 win, 1 win that the fifty-move rule turns into a draw, 0 draw, -1 and
// -2 the same for a loss. No castling rights; at most `largest` pieces. 0 on failure. Any thread.
int tb_wdl(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success);

// Signed plies to the next capture or pawn move with best play; 0 for a draw, beyond 100 for results that the fifty-move
// rule turns into draws. 0 on failure. One thread at a time.
int tb_dtz(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success);

// What the search knows of a position: 0 loss, 1 blessed loss, 2 draw, 3 cursed win, 4 win, NO_TB_RESULT nothing.
constexpr int NO_TB_RESULT = -1;
constexpr int TB_LOSS = 0;
constexpr int TB_DRAW = 2;
constexpr int TB_WIN = 4;

// From which remaining depth on positions are probed: with up to five pieces, and with six.
struct TbProbeDepths {
    int up_to_five;
    int six;
};

// Result inside the tree. Any thread.
int tb_probe_search(Tablebases &tablebases, const Position &pos, int depth, const TbProbeDepths &depths);

// Result at the root with the half-move clock counted in, and a move that keeps it and makes progress. NO_TB_RESULT without
// an answer, for a mate and a stalemate too. With moves in `only` it is the result of the best of them. One thread at a time.
struct TbRoot {
    int result;
    Move move;
};
TbRoot tb_probe_root(Tablebases &tablebases, const Position &pos, std::span<const Move> only = {});
