// Index tables that the layout of a file needs as well. For the files of this folder.
#pragma once

#include <array>
#include <cstdint>

struct TbIndexTables {
    std::array<std::array<std::uint64_t, 64>, 5> choose;          // [k][n]: n over k + 1
    std::array<std::array<std::uint64_t, 24>, 5> lead_pawn_base;  // [other leading pawns][leading pawn's index]
    std::array<std::array<std::uint64_t, 4>, 5> lead_pawn_count;  // [other leading pawns][file]
};
extern TbIndexTables tb_tables;  // built by tb_init_indices

// Positions of the leading group of a table without pawns: [index_scheme].
constexpr std::array<std::uint64_t, 3> pivot_size = {31332, 0, 462};
