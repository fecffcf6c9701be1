#include "tablebase/index.h"

#include <algorithm>

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
constexpr Square TRIANGLE[TRIANGLE_SQUARES] = {B1, C1, D1, C2, D2, D3, A1, B2, C3, D4};

// +1 above the diagonal a1-h8, -1 below it, 0 on it.
constexpr int diag_side(Square s) { return rank_of(s) > file_of(s) ? 1 : rank_of(s) < file_of(s) ? -1 : 0; }
constexpr Square transpose_square(Square s) { return make_square(rank_of(s), file_of(s)); }

constexpr bool touch(Square a, Square b) {
    const int files = file_of(a) - file_of(b);
    const int ranks = rank_of(a) - rank_of(b);
    return -1 <= files && files <= 1 && -1 <= ranks && ranks <= 1;
}

// Pairs with both kings on the diagonal come last; -1: impossible, or the mirror image of another pair.
using KingPairs = std::array<std::array<std::int16_t, 64>, TRIANGLE_SQUARES>;  // [place in the triangle][other king]

constexpr KingPairs number_king_pairs() {
    KingPairs pairs{};
    std::int16_t code = 0;
    for (const bool both_on_diagonal : {false, true}) {
        for (int t = 0; t < TRIANGLE_SQUARES; ++t) {
            for (const Square second : ALL_SQUARES) {
                const Square first = TRIANGLE[t];
                const bool on_diagonal = diag_side(first) == 0 && diag_side(second) == 0;
                const bool possible = !touch(first, second) && (diag_side(first) != 0 || diag_side(second) <= 0);
                if (!possible)
                    pairs[t][second] = -1;
                else if (on_diagonal == both_on_diagonal)
                    pairs[t][second] = code++;
            }
        }
    }
    return pairs;
}

constexpr KingPairs king_pair_code = number_king_pairs();

constexpr std::size_t LARGEST_GROUP = TB_PIECES - 1;
using Binomials = std::array<std::array<std::uint64_t, 65>, LARGEST_GROUP + 1>;

constexpr Binomials build_binomials() {
    Binomials table{};
    for (std::size_t n = 0; n <= 64; ++n) {
        table[0][n] = 1;
        for (std::size_t k = 1; k <= LARGEST_GROUP && n > 0; ++k) table[k][n] = table[k - 1][n - 1] + table[k][n - 1];
    }
    return table;
}

constexpr Binomials binomials = build_binomials();  // [k][n]: n over k

constexpr std::size_t FILES = 4;  // a to d
constexpr std::size_t PAWNS_A_FILE = 6;

struct LeadPawns {
    // [other leading pawns]
    std::array<std::array<std::uint64_t, FILES * PAWNS_A_FILE>, LARGEST_GROUP> base;  // [leading pawn's index]
    std::array<std::array<std::uint64_t, FILES>, LARGEST_GROUP> count;                // [file]
};

constexpr LeadPawns number_lead_pawns() {
    std::array<Square, FILES * PAWNS_A_FILE> square_of{};  // [leading pawn's index]
    for (Square s = A2; s <= H7; ++s)
        if (file_of(s) < 4) square_of[pawn_file_index[s]] = s;
    LeadPawns pawns{};
    for (std::size_t others = 0; others < LARGEST_GROUP; ++others) {
        for (std::size_t file = 0; file < FILES; ++file) {
            std::uint64_t sum = 0;
            for (std::size_t i = PAWNS_A_FILE * file; i < PAWNS_A_FILE * (file + 1); ++i) {
                pawns.base[others][i] = sum;
                sum += binomials[others][pawn_order[square_of[i]]];
            }
            pawns.count[others][file] = sum;
        }
    }
    return pawns;
}

constexpr LeadPawns lead_pawns = number_lead_pawns();

// Places of the leading group of a table without pawns: [index_scheme].
constexpr std::array<std::uint64_t, 3> pivot_size = {31332, 0, 462};

// Adds the places of the group of `size` equal pieces that starts at `first`; `shift` squares are not open to it.
std::uint64_t group_index(std::array<Square, TB_PIECES> &squares, int first, int size, int shift) {
    std::sort(squares.begin() + first, squares.begin() + first + size);
    std::uint64_t sum = 0;
    for (int m = 0; m < size; ++m) {
        const Square s = squares[first + m];
        int place = s - shift;
        for (int i = 0; i < first; ++i) place -= s > squares[i];
        sum += binomials[m + 1][place];
    }
    return sum;
}

template <typename Map>
void map_squares(std::array<Square, TB_PIECES> &squares, int count, Map map) {
    for (int i = 0; i < count; ++i) squares[i] = map(squares[i]);
}

// Three single pieces.
std::int64_t index_of_three(const std::array<Square, TB_PIECES> &pos) {
    const int i = pos[1] > pos[0];
    const int j = (pos[2] > pos[0]) + (pos[2] > pos[1]);
    constexpr std::int64_t OFF_DIAGONAL = std::int64_t{6} * 63 * 62;
    constexpr std::int64_t SECOND_OFF = OFF_DIAGONAL + std::int64_t{4} * 28 * 62;
    constexpr std::int64_t THIRD_OFF = SECOND_OFF + std::int64_t{4} * 7 * 28;
    if (diag_side(pos[0]) != 0)
        return std::int64_t{fold_triangle[pos[0]]} * 63 * 62 + std::int64_t{pos[1] - i} * 62 + (pos[2] - j);
    if (diag_side(pos[1]) != 0)
        return OFF_DIAGONAL + std::int64_t{diag_index[pos[0]]} * 28 * 62 + std::int64_t{below_diag_index[pos[1]]} * 62 +
               pos[2] - j;
    const std::int64_t first{diag_index[pos[0]]};
    const std::int64_t second = diag_index[pos[1]] - i;
    if (diag_side(pos[2]) != 0) return SECOND_OFF + first * 7 * 28 + second * 28 + below_diag_index[pos[2]];
    return THIRD_OFF + first * 7 * 6 + second * 6 + (diag_index[pos[2]] - j);
}

std::int64_t pawnless_lead(const TbMaterial &material, std::array<Square, TB_PIECES> &pos) {
    if (file_of(pos[0]) > 3) map_squares(pos, material.num, [](Square s) { return s ^ 7; });
    if (rank_of(pos[0]) > 3) map_squares(pos, material.num, [](Square s) { return s ^ 56; });
    const int leading = material.index_scheme == 0 ? 3 : 2;
    for (int i = 0; i < leading; ++i) {
        const int side = diag_side(pos[i]);
        if (side == 0) continue;
        if (side > 0) map_squares(pos, material.num, transpose_square);
        break;
    }
    if (material.index_scheme == 0) return index_of_three(pos);
    return king_pair_code[fold_triangle[pos[0]]][pos[1]];
}

std::int64_t pawn_lead(const TbMaterial &material, std::array<Square, TB_PIECES> &pos) {
    if (file_of(pos[0]) > 3) map_squares(pos, material.num, [](Square s) { return s ^ 7; });
    const int others = material.pawn_counts[0] - 1;
    std::sort(pos.begin() + 1, pos.begin() + 1 + others,
              [](Square a, Square b) { return pawn_order[a] > pawn_order[b]; });
    std::uint64_t index = lead_pawns.base[others][pawn_file_index[pos[0]]];
    for (int i = others; i > 0; --i) index += binomials[others - i + 1][pawn_order[pos[i]]];
    return static_cast<std::int64_t>(index);
}

}  // namespace

std::uint64_t tb_choose(int n, int k) { return binomials[k][n]; }

std::uint64_t tb_lead_places(const TbMaterial &material, int sub_table) {
    if (material.pawn_table) return lead_pawns.count[material.pawn_counts[0] - 1][sub_table];
    return pivot_size[material.index_scheme];
}

std::int64_t tb_index(const TbMaterial &material, const TbSide &side, std::array<Square, TB_PIECES> &squares) {
    const std::int64_t lead = material.pawn_table ? pawn_lead(material, squares) : pawnless_lead(material, squares);
    if (lead < 0) return -1;
    std::uint64_t index = static_cast<std::uint64_t>(lead) * side.group_factor[0];
    int i = side.group_size[0];
    if (material.pawn_table && material.pawn_counts[1] != 0) {
        const int size = material.pawn_counts[1];
        index += group_index(squares, i, size, 8) * side.group_factor[i];
        i += size;
    }
    while (i < material.num) {
        const int size = side.group_size[i];
        index += group_index(squares, i, size, 0) * side.group_factor[i];
        i += size;
    }
    return static_cast<std::int64_t>(index);
}

int tb_leading_file(const TbMaterial &material, std::array<Square, TB_PIECES> &squares) {
    int leading = 0;
    for (int i = 1; i < material.pawn_counts[0]; ++i)
        if (pawn_file_index[squares[i]] < pawn_file_index[squares[leading]]) leading = i;
    std::swap(squares[0], squares[leading]);
    return file_fold[file_of(squares[0])];
}
