// The index of a position in a table: places of groups of equal pieces, and of the pieces that lead.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "board/types.h"
#include "tablebase/table_file.h"

// Ways to choose k of n squares, n from 0 to 64 and k from 0 to 5.
std::uint64_t tb_choose(int n, int k);

// Number of places that the leading group has in a sub-table (0 to 3).
std::uint64_t tb_lead_places(const TbMaterial &material, int sub_table);

// Index of a position; the squares are in encoding order, and are in another order afterwards. Negative when the two
// kings touch.
std::int64_t tb_index(const TbMaterial &material, const TbSide &side, std::array<Square, TB_PIECES> &squares);

// The pawn whose file selects the sub-table: moved to the front of the leading pawns. Returns the sub-table.
int tb_leading_file(const TbMaterial &material, std::array<Square, TB_PIECES> &squares);
