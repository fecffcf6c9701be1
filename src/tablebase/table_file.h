// One table file: what its name says, and its layout.
//
// Files are input from outside. parse_tb_file checks every size, offset and code against the file's length, so that
// tb_index and tb_decode need no checks for any position of the table's material. A value is read in two steps: the index
// of the position (index.h), and the value at that index (decode.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "board/types.h"
#include "tablebase/decode.h"

constexpr int TB_PIECES = 6;

// Number of each kind of piece: [piece code].
using TbCounts = std::array<std::uint8_t, 16>;

// The pieces that a table's name ("KQvKR") lists; only letters of pieces and one 'v' are expected.
TbCounts tb_counts(std::string_view name);

// What the name of a table says.
struct TbMaterial {
    TbCounts counts;                          // the table's own colours
    int num;                                  // pieces, kings included
    bool symmetric;                           // both sides have the same pieces
    bool pawn_table;                          // there are pawns
    std::uint8_t index_scheme;                // without pawns: 0: three single pieces lead, 2: the two kings lead
    std::array<std::uint8_t, 2> pawn_counts;  // with pawns: of the colour whose pawns lead, and of the other
};

TbMaterial tb_material(const TbCounts &counts);

// One side to move of a sub-table.
struct TbSide {
    std::array<Piece, TB_PIECES> piece_order;           // in encoding order
    std::array<std::uint8_t, TB_PIECES> group_size;     // at the first place of a group of equal pieces: its size
    std::array<std::uint64_t, TB_PIECES> group_factor;  // at the same places
    TbPairs pairs;
};

// A parsed file. Sub-tables: one, or one for each file a to d of the leading pawn.
struct TbLayout {
    bool split;                                  // WDL: values of both sides to move
    std::array<std::array<TbSide, 2>, 4> sides;  // [sub-table][0: White to move, 1: Black]
    // DTZ only, by sub-table:
    std::array<std::uint8_t, 4> flags;
    std::array<std::array<const std::uint8_t *, 4>, 4> value_map;  // [sub-table][class]; null without a map
};

enum class TbKind { WDL, DTZ };

// Reads the layout of a file of `size` bytes; null when it is not a table of this kind and material, or damaged. The
// bytes must outlive the layout.
std::unique_ptr<TbLayout> parse_tb_file(const std::uint8_t *bytes, std::size_t size, const TbMaterial &material,
                                        TbKind kind);

// Flags of a DTZ sub-table.
constexpr int TB_DTZ_SIDE = 1;
constexpr int TB_DTZ_MAPPED = 2;
