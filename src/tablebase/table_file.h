// One table file: its layout, the index of a position in it, and the decoding of the value at an index.
//
// Files are input from outside. parse_tb_file checks every size, offset and code against the file's length, so that
// tb_index and tb_decode need no checks for any position of the table's material.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "board/types.h"

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

// A compressed stream of values.
struct TbPairs {
    const std::uint8_t *index_table;             // 6 bytes an entry: block number, offset in it
    const std::uint8_t *size_table;              // 2 bytes a block: values in it less one
    const std::uint8_t *data;                    // blocks of 2^block_bits bytes
    const std::uint8_t *symbols;                 // 3 bytes a symbol: its two children, or a leaf's value
    std::vector<std::uint16_t> symbol_len;       // [symbol]: values it stands for less one
    std::array<std::uint16_t, 32> first_symbol;  // [code length - min_code_len]
    std::array<std::uint32_t, 32> code_base;     // [code length - min_code_len], left-aligned
    std::uint8_t index_bits;                     // one index entry for 2^index_bits values; 0: a constant stream
    std::uint8_t block_bits;
    std::uint8_t min_code_len;  // of a constant stream: its value
};

// One side to move of a sub-table.
struct TbSide {
    std::array<std::uint8_t, TB_PIECES> piece_order;    // piece codes in encoding order
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

// Builds the index tables, once. Main thread.
void tb_init_indices();

// Reads the layout of a file of `size` bytes; null when it is not a table of this kind and material, or damaged. Behind
// the bytes MAPPING_MARGIN more must be readable. They must outlive the layout.
std::unique_ptr<TbLayout> parse_tb_file(const std::uint8_t *bytes, std::size_t size, const TbMaterial &material,
                                        TbKind kind);

// Index of a position; the squares are in encoding order. Negative when the two kings touch.
std::int64_t tb_index(const TbMaterial &material, const TbSide &side, std::array<Square, TB_PIECES> &squares);

// The pawn whose file selects the sub-table: moved to the front of the leading pawns. Returns the sub-table.
int tb_leading_file(const TbMaterial &material, std::array<Square, TB_PIECES> &squares);

// The value stored at an index.
int tb_decode(const TbPairs &pairs, std::uint64_t index);

// Flags of a DTZ sub-table.
constexpr int TB_DTZ_SIDE = 1;
constexpr int TB_DTZ_MAPPED = 2;
