// The prober's own small board: bitboards, its moves, and nothing that only a search needs.
#pragma once

#include <array>
#include <cstdint>

#include "board/position.h"
#include "board/types.h"

struct TbPosition {
    Bitboard white, black;                                   // all pieces of a colour
    Bitboard kings, queens, rooks, bishops, knights, pawns;  // of both colours
    std::uint8_t fifty;                                      // plies since the last capture or pawn move
    PackedSquare ep;                                         // en-passant square, NO_SQUARE for none
    Colour side;                                             // to move

    Bitboard of_side() const { return side == WHITE ? white : black; }
    Bitboard of_other() const { return side == WHITE ? black : white; }
    Bitboard occupied() const { return white | black; }
};

// The same position with another clock.
TbPosition tb_position(const Position &pos, int fifty);

// Whether the position can be probed: one king a side, sets that fit together, no pawn on the first or last rank, and
// the king of the side that has just moved not attacked.
bool tb_is_valid(const TbPosition &pos);

// A move: to-square in bits 0-5, from-square in bits 6-11, promotion in bits 12-14 (1 queen, 2 rook, 3 bishop, 4 knight).
using TbMove = std::uint16_t;
constexpr Square tb_to(TbMove m) { return square_at(m & 63); }
constexpr Square tb_from(TbMove m) { return square_at((m >> 6) & 63); }
constexpr int tb_promotion(TbMove m) { return (m >> 12) & 7; }

// The engine's form of a move.
Move tb_engine_move(TbMove m);

// Pseudo-legal moves; promotions in the order queen, knight, rook, bishop. Castling does not exist here. Six pieces
// have far fewer moves than the list holds; at most 32 pieces do as well.
constexpr std::size_t MAX_TB_MOVES = 512;
struct TbMoveList {
    std::array<TbMove, MAX_TB_MOVES> moves;
    std::size_t count = 0;
    const TbMove *begin() const { return moves.data(); }
    const TbMove *end() const { return moves.data() + count; }
    void add(TbMove m) {
        if (count < MAX_TB_MOVES) moves[count++] = m;
    }
};
void tb_gen_captures(const TbPosition &pos, TbMoveList &list);  // en passant included
void tb_gen_moves(const TbPosition &pos, TbMoveList &list);

bool tb_is_capture(const TbPosition &pos, TbMove m);  // en passant included
bool tb_is_en_passant(const TbPosition &pos, TbMove m);
bool tb_is_pawn_move(const TbPosition &pos, TbMove m);

// Makes a pseudo-legal move. False when it leaves the own king attacked; `next` is then not to be used.
bool tb_do_move(const TbPosition &pos, TbMove m, TbPosition &next);

bool tb_in_check(const TbPosition &pos);
// Whether the side to move has a legal move that is not an en-passant capture.
bool tb_has_ordinary_move(const TbPosition &pos);
bool tb_is_mate(const TbPosition &pos);
