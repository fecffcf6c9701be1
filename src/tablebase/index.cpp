// The index of a position in a table.
#include <algorithm>

#include "board/attacks.h"
#include "tablebase/index.h"
#include "tablebase/table_file.h"

TbIndexTables tb_tables;

namespace {

using Grid = std::array<std::int8_t, 64>;

// clang-format off
// Rank 1 first. Square of the first piece after folding into the triangle a1-d1-d4.
constexpr Grid fold_triangle = {
    6, 0, 1, 2, 2, 1, 0, 6,
    0, 7, 3, 4, 4, 3, 7, 0,
    1, 3, 8, 5, 5, 8, 3, 1,
    2, 4, 5, 9, 9, 5, 4, 2,
    2, 4, 5, 9, 9, 5, 4, 2,
    1, 3, 8, 5, 5, 8, 3, 1,
    0, 7, 3, 4, 4, 3, 7, 0,
    6, 0, 1, 2, 2, 1, 0, 6,
};
// Squares on or below the diagonal a1-h8.
constexpr Grid below_diag_index = {
    28,  0,  1,  2,  3,  4,  5,  6,
     0, 29,  7,  8,  9, 10, 11, 12,
     1,  7, 30, 13, 14, 15, 16, 17,
     2,  8, 13, 31, 18, 19, 20, 21,
     3,  9, 14, 18, 32, 22, 23, 24,
     4, 10, 15, 19, 22, 33, 25, 26,
     5, 11, 16, 20, 23, 25, 34, 27,
     6, 12, 17, 21, 24, 26, 27, 35,
};
// Squares of the two long diagonals.
constexpr Grid diag_index = {
     0,  0,  0,  0,  0,  0,  0,  8,
     0,  1,  0,  0,  0,  0,  9,  0,
     0,  0,  2,  0,  0, 10,  0,  0,
     0,  0,  0,  3, 11,  0,  0,  0,
     0,  0,  0, 12,  4,  0,  0,  0,
     0,  0, 13,  0,  0,  5,  0,  0,
     0, 14,  0,  0,  0,  0,  6,  0,
    15,  0,  0,  0,  0,  0,  0,  7,
};
// Square of the leading pawn, folded to the files a to d.
constexpr Grid pawn_file_index = {
    0,  0,  0,  0,  0,  0,  0,  0,
    0,  6, 12, 18, 18, 12,  6,  0,
    1,  7, 13, 19, 19, 13,  7,  1,
    2,  8, 14, 20, 20, 14,  8,  2,
    3,  9, 15, 21, 21, 15,  9,  3,
    4, 10, 16, 22, 22, 16, 10,  4,
    5, 11, 17, 23, 23, 17, 11,  5,
    0,  0,  0,  0,  0,  0,  0,  0,
};
// Order of the other pawns of the leading pawn's colour.
constexpr Grid pawn_order = {
     0,  0,  0,  0,  0,  0,  0,  0,
    47, 35, 23, 11, 10, 22, 34, 46,
    45, 33, 21,  9,  8, 20, 32, 44,
    43, 31, 19,  7,  6, 18, 30, 42,
    41, 29, 17,  5,  4, 16, 28, 40,
    39, 27, 15,  3,  2, 14, 26, 38,
    37, 25, 13,  1,  0, 12, 24, 36,
     0,  0,  0,  0,  0,  0,  0,  0,
};
constexpr std::array<int, 8> file_fold = {0, 1, 2, 3, 3, 2, 1, 0};
// clang-format on

constexpr int TRIANGLE_SQUARES = 10;
constexpr Square TRIANGLE[TRIANGLE_SQUARES] = {1, 2, 3, 10, 11, 19, 0, 9, 18, 27};  // b1 c1 d1 c2 d2 d3 a1 b2 c3 d4

std::array<std::array<std::int16_t, 64>, TRIANGLE_SQUARES> king_pair_code;  // -1: impossible

// +1 above the diagonal a1-h8, -1 below it, 0 on it.
constexpr int diag_side(Square s) { return rank_of(s) > file_of(s) ? 1 : rank_of(s) < file_of(s) ? -1 : 0; }
constexpr Square transpose_square(Square s) { return make_square(rank_of(s), file_of(s)); }

void number_king_pairs() {
    std::int16_t code = 0;
    std::vector<std::int16_t *> deferred;  // both kings on the diagonal
    for (std::size_t t = 0; t < TRIANGLE_SQUARES; ++t) {
        const Square first = TRIANGLE[t];
        for (Square second = 0; second < 64; ++second) {
            std::int16_t &entry = king_pair_code[t][static_cast<std::size_t>(second)];
            entry = -1;
            if (((king_attacks(first) | bit(first)) & bit(second)) != 0) continue;
            if (diag_side(first) == 0 && diag_side(second) > 0) continue;
            if (diag_side(first) == 0 && diag_side(second) == 0)
                deferred.push_back(&entry);
            else
                entry = code++;
        }
    }
    for (std::int16_t *entry : deferred) *entry = code++;
}

void number_pawns() {
    std::array<Square, 24> square_of;  // [leading pawn's index]
    for (Square s = 8; s < 56; ++s)
        if (file_of(s) < 4) square_of[static_cast<std::size_t>(pawn_file_index[static_cast<std::size_t>(s)])] = s;
    for (std::size_t k = 0; k < 5; ++k) {
        for (std::size_t file = 0; file < 4; ++file) {
            std::uint64_t sum = 0;
            for (std::size_t j = 6 * file; j < 6 * file + 6; ++j) {
                tb_tables.lead_pawn_base[k][j] = sum;
                const auto order = static_cast<std::size_t>(pawn_order[static_cast<std::size_t>(square_of[j])]);
                sum += k == 0 ? 1 : tb_tables.choose[k - 1][order];
            }
            tb_tables.lead_pawn_count[k][file] = sum;
        }
    }
}

// Adds the places of the group of `size` equal pieces that starts at `first`; `shift` squares are not open to it.
std::uint64_t group_index(std::array<Square, TB_PIECES> &squares, std::size_t first, std::size_t size,
                          std::size_t before, Square shift) {
    std::sort(squares.begin() + static_cast<std::ptrdiff_t>(first),
              squares.begin() + static_cast<std::ptrdiff_t>(first + size));
    std::uint64_t sum = 0;
    for (std::size_t m = 0; m < size; ++m) {
        const Square s = squares[first + m];
        Square place = s - shift;
        for (std::size_t i = 0; i < before; ++i) place -= s > squares[i];
        sum += tb_tables.choose[m][static_cast<std::size_t>(place)];
    }
    return sum;
}

template <typename Map>
void map_squares(std::array<Square, TB_PIECES> &squares, int count, Map map) {
    for (int i = 0; i < count; ++i) squares[static_cast<std::size_t>(i)] = map(squares[static_cast<std::size_t>(i)]);
}

std::int64_t at(const Grid &grid, Square s) { return grid[static_cast<std::size_t>(s)]; }

// Three single pieces.
std::int64_t index_of_three(const std::array<Square, TB_PIECES> &pos) {
    const std::int64_t i = pos[1] > pos[0];
    const std::int64_t j = (pos[2] > pos[0]) + (pos[2] > pos[1]);
    constexpr std::int64_t OFF_DIAGONAL = 6 * 63 * 62;
    constexpr std::int64_t SECOND_OFF = OFF_DIAGONAL + 4 * 28 * 62;
    constexpr std::int64_t THIRD_OFF = SECOND_OFF + 4 * 7 * 28;
    if (diag_side(pos[0]) != 0) return at(fold_triangle, pos[0]) * 63 * 62 + (pos[1] - i) * 62 + (pos[2] - j);
    if (diag_side(pos[1]) != 0)
        return OFF_DIAGONAL + at(diag_index, pos[0]) * 28 * 62 + at(below_diag_index, pos[1]) * 62 + pos[2] - j;
    const std::int64_t first = at(diag_index, pos[0]);
    const std::int64_t second = at(diag_index, pos[1]) - i;
    if (diag_side(pos[2]) != 0) return SECOND_OFF + first * 7 * 28 + second * 28 + at(below_diag_index, pos[2]);
    return THIRD_OFF + first * 7 * 6 + second * 6 + (at(diag_index, pos[2]) - j);
}

std::int64_t pawnless_lead(const TbMaterial &material, std::array<Square, TB_PIECES> &pos) {
    if (file_of(pos[0]) > 3) map_squares(pos, material.num, [](Square s) { return s ^ 7; });
    if (rank_of(pos[0]) > 3) map_squares(pos, material.num, [](Square s) { return s ^ 56; });
    const std::size_t leading = material.index_scheme == 0 ? 3 : 2;
    for (std::size_t i = 0; i < leading; ++i) {
        const int side = diag_side(pos[i]);
        if (side == 0) continue;
        if (side > 0) map_squares(pos, material.num, transpose_square);
        break;
    }
    if (material.index_scheme == 0) return index_of_three(pos);
    return king_pair_code[static_cast<std::size_t>(at(fold_triangle, pos[0]))][static_cast<std::size_t>(pos[1])];
}

std::int64_t pawn_lead(const TbMaterial &material, std::array<Square, TB_PIECES> &pos) {
    if (file_of(pos[0]) > 3) map_squares(pos, material.num, [](Square s) { return s ^ 7; });
    const std::size_t t = material.pawn_counts[0] - 1U;
    std::sort(pos.begin() + 1, pos.begin() + 1 + static_cast<std::ptrdiff_t>(t),
              [](Square a, Square b) { return at(pawn_order, a) > at(pawn_order, b); });
    std::uint64_t index = tb_tables.lead_pawn_base[t][static_cast<std::size_t>(at(pawn_file_index, pos[0]))];
    for (std::size_t i = t; i > 0; --i)
        index += tb_tables.choose[t - i][static_cast<std::size_t>(at(pawn_order, pos[i]))];
    return static_cast<std::int64_t>(index);
}

}  // namespace

void tb_init_indices() {
    static bool built = false;
    if (built) return;
    built = true;
    for (std::size_t k = 0; k < 5; ++k) {
        for (std::size_t n = 0; n < 64; ++n) {
            std::uint64_t value = 1;
            for (std::size_t i = 0; i <= k; ++i) value = n >= i ? value * (n - i) / (i + 1) : 0;
            tb_tables.choose[k][n] = value;
        }
    }
    number_king_pairs();
    number_pawns();
}

std::int64_t tb_index(const TbMaterial &material, const TbSide &side, std::array<Square, TB_PIECES> &squares) {
    const std::int64_t lead = material.pawn_table ? pawn_lead(material, squares) : pawnless_lead(material, squares);
    if (lead < 0) return -1;
    std::uint64_t index = static_cast<std::uint64_t>(lead) * side.group_factor[0];
    std::size_t i = side.group_size[0];
    if (material.pawn_table && material.pawn_counts[1] != 0) {
        const std::size_t size = material.pawn_counts[1];
        index += group_index(squares, i, size, i, 8) * side.group_factor[i];
        i += size;
    }
    while (i < static_cast<std::size_t>(material.num)) {
        const std::size_t size = side.group_size[i];
        index += group_index(squares, i, size, i, 0) * side.group_factor[i];
        i += size;
    }
    return static_cast<std::int64_t>(index);
}

int tb_leading_file(const TbMaterial &material, std::array<Square, TB_PIECES> &squares) {
    std::size_t leading = 0;
    for (std::size_t i = 1; i < material.pawn_counts[0]; ++i)
        if (at(pawn_file_index, squares[i]) < at(pawn_file_index, squares[leading])) leading = i;
    std::swap(squares[0], squares[leading]);
    return file_fold[static_cast<std::size_t>(file_of(squares[0]))];
}
