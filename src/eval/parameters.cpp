#include "eval/parameters.h"

#include <algorithm>
#include <cmath>

namespace {

// Rounds to the nearest integer, halves away from zero.
int rnd(double x) { return static_cast<int>(std::lround(x)); }

int percent_of(int percent, int value) { return rnd(percent * 0.01 * value); }

ScorePair plain_pair(WeightPair weight) { return {weight.op, weight.en}; }

// A half board as a person draws it: rank 8 first, files a to d; the other files mirror them.
using HalfBoard = std::array<std::int16_t, 32>;

int half_board_value(const HalfBoard &table, Square s) {
    const int file = file_of(s);
    return table[(7 - rank_of(s)) * 4 + (file < 4 ? file : 7 - file)];
}

// clang-format off
constexpr HalfBoard PAWN_OP = {
     0,  0,  0,  0,
     8, 12, 16, 20,
     8, 12, 16, 20,
     4,  8, 12, 16,
    -2,  2,  6, 10,
    -3,  2,  2,  4,
    -8, -4, -2, -4,
     0,  0,  0,  0,
};
constexpr HalfBoard PAWN_EN = {
    0, 0, 0, 0,
    4, 4, 4, 4,
    4, 4, 4, 4,
    2, 2, 2, 2,
    1, 1, 1, 1,
    0, 0, 0, 0,
    0, 0, 0, 0,
    0, 0, 0, 0,
};
constexpr HalfBoard KNIGHT_BASE = {
    -52, -31, -24, -21,
    -21, -11,  -4,   0,
    -14,  -4,   3,   6,
    -11,   0,   6,  10,
    -11,   0,   6,  10,
    -14,  -4,   3,   6,
    -21, -11,  -4,   0,
    -32, -21, -14, -11,
};
constexpr HalfBoard BISHOP_BASE = {
    -27, -13, -11, -10,
    -13,   0,  -2,  -1,
     -6,  -2,   0,   1,
     -5,  -1,   1,   2,
     -5,  -1,   1,   2,
     -6,  -2,   0,   1,
     -8,   1,  -2,  -1,
    -12,  -8,  -6,  -5,
};
constexpr HalfBoard ROOK_BASE = {
    -6, -3, 0, 2,
    -6, -3, 0, 2,
    -6, -3, 0, 2,
    -6, -3, 0, 2,
    -6, -3, 0, 2,
    -6, -3, 0, 2,
    -6, -3, 0, 2,
    -6, -3, 0, 2,
};
constexpr HalfBoard QUEEN_BASE = {
    -12, -8, -6, -5,
     -8, -5, -2, -1,
     -6, -2,  0,  1,
     -5, -1,  1,  2,
     -5, -1,  1,  2,
     -6, -2,  0,  1,
     -8, -5, -2, -1,
    -12, -8, -6, -5,
};
constexpr HalfBoard KING_OP = {
    -12, -16, -20, -24,
    -12, -16, -20, -24,
    -12, -16, -20, -24,
    -12, -16, -20, -24,
    -12, -16, -20, -24,
     -8, -12, -16, -20,
     -2,  -6, -10, -14,
      4,   8,   0,  -8,
};
constexpr HalfBoard KING_EN = {
    -44, -34, -24, -14,
    -34, -20, -10,   0,
    -24, -10,   0,  10,
    -14,   0,  10,  16,
    -14,   0,  10,  16,
    -24, -10,   0,  10,
    -34, -20, -10,   0,
    -44, -34, -24, -14,
};
constexpr HalfBoard CONNECTED_BASE = {
     0,  0,  0,  0,
    36, 42, 48, 48,
    18, 21, 24, 24,
     7, 10, 12, 12,
     3,  5,  6,  6,
     1,  1,  1,  3,
     0,  0,  0,  0,
     0,  0,  0,  0,
};
constexpr HalfBoard DEFENDED_BASE = {
     0,  0,  0,  0,
    16, 20, 24, 24,
     8, 12, 14, 14,
     4,  6,  8,  8,
     2,  3,  4,  4,
     2,  2,  2,  2,
     0,  0,  0,  0,
     0,  0,  0,  0,
};
// Passed pawns by relative rank.
constexpr std::array<int, 8> PASSED_UNSAFE_BASE = {0, 6, 6, 14, 36,  80, 132, 0};
constexpr std::array<int, 8> PASSED_SAFE_BASE   = {0, 9, 9, 26, 62, 122, 200, 0};
// clang-format on

// Weights that no setting changes.
constexpr ScorePair LONE_QUEEN = {-50, -50};
constexpr ScorePair PAWN_BLOCKED = {-3, -6};
constexpr ScorePair BAD_BISHOP = {-5, -10};
constexpr int QUEEN_FAR_HALF = -4;  // the queen on ranks 5 to 8, in the opening

// A square table from its base tables: base * weight / divisor, truncated toward zero, then scaled by percentages.
struct SquareTablePlan {
    const HalfBoard &base_op, &base_en;
    WeightPair weight;
    int divisor_op, divisor_en;
    WeightPair percent;
    int far_half_op = 0;  // added to the opening half on ranks 5 to 8
};

int scaled_half(int half, int percent) { return rnd(static_cast<std::int16_t>(half) * (percent * 0.01)); }

SquareScores make_square_table(const SquareTablePlan &plan) {
    SquareScores table;
    for (const Square s : ALL_SQUARES) {
        int op = half_board_value(plan.base_op, s) * plan.weight.op / plan.divisor_op;
        if (s >= A5) op += plan.far_half_op;
        const int en = half_board_value(plan.base_en, s) * plan.weight.en / plan.divisor_en;
        table[s] = {scaled_half(op, plan.percent.op), scaled_half(en, plan.percent.en)};
    }
    return table;
}

void build_square_tables(const EvalWeights &s, EvalTables &t) {
    const WeightPair structure = s.Pawn_Structure;
    t.pawn_squares = make_square_table({PAWN_OP, PAWN_EN, s.PST_P, 28, 4, structure});
    for (ScorePair &pair : t.pawn_squares)
        pair = {scaled_half(pair.op(), s.PST_Pawn.op), scaled_half(pair.en(), s.PST_Pawn.en)};
    t.connected_squares = make_square_table({CONNECTED_BASE, CONNECTED_BASE, s.pawn_connected, 48, 48, structure});
    t.defended_squares = make_square_table({DEFENDED_BASE, DEFENDED_BASE, s.pawn_defended, 24, 24, structure});
    t.knight_squares = make_square_table({KNIGHT_BASE, KNIGHT_BASE, s.PST_N, 42, 42, s.PST_Knight});
    t.bishop_squares = make_square_table({BISHOP_BASE, BISHOP_BASE, s.PST_B, 14, 14, s.PST_Bishop});
    t.rook_squares = make_square_table({ROOK_BASE, ROOK_BASE, s.PST_R, 8, 8, s.PST_Rook});
    t.queen_squares = make_square_table({QUEEN_BASE, QUEEN_BASE, s.PST_Q, 14, 14, s.PST_Queen, QUEEN_FAR_HALF});
    t.king_squares = make_square_table({KING_OP, KING_EN, s.PST_K, 32, 60, s.PST_King});
}

// A mobility curve: weight * ((squares / divisor) ^ MOBILITY_EXPONENT - offset).
struct MobilityPlan {
    double divisor;       // squares for a full curve
    double offset;        // taken off at every count
    double zero_penalty;  // taken off for no square at all
};
constexpr double MOBILITY_EXPONENT = 0.65;
constexpr MobilityPlan KNIGHT_MOBILITY = {8, 0.40, 0.06};
constexpr MobilityPlan BISHOP_MOBILITY = {17, 0.35, 0.06};
constexpr MobilityPlan ROOK_MOBILITY = {17, 0.35, 0.06};
constexpr MobilityPlan QUEEN_MOBILITY = {26, 0.45, 0.12};

constexpr int FULL_SHIELD = 9;         // shield index of three pawns at home
constexpr double DANGER_SHARE = 0.25;  // of the squared danger index
constexpr int STEEPEST_DANGER = 470;   // entry i is at most 470 / i above the one before

template <std::size_t N>
std::array<ScorePair, N> mobility_curve(const MobilityPlan &plan, WeightPair weight, WeightPair percent) {
    std::array<ScorePair, N> curve;
    for (std::size_t n = 0; n < N; ++n) {
        double x = std::pow(static_cast<double>(n) / plan.divisor, MOBILITY_EXPONENT) - plan.offset;
        if (n == 0) x -= plan.zero_penalty;
        curve[n] = {percent_of(percent.op, rnd(weight.op * x)), percent_of(percent.en, rnd(weight.en * x))};
    }
    return curve;
}

void build_king_curves(const EvalWeights &s, EvalTables &t) {
    const int shield = s.pawn_shield.op;
    for (int i = 0; i < static_cast<int>(t.pawn_shield.size()); ++i)
        t.pawn_shield[static_cast<std::size_t>(i)] =
            static_cast<std::int16_t>(i < FULL_SHIELD ? i * shield / FULL_SHIELD : shield);

    const double k = s.King_Safety.op * 0.01 * DANGER_SHARE;
    t.king_danger[0] = 0;
    for (int i = 1; i < static_cast<int>(t.king_danger.size()); ++i) {
        const auto n = static_cast<std::size_t>(i);
        t.king_danger[n] =
            static_cast<std::int16_t>(std::min(t.king_danger[n - 1] + STEEPEST_DANGER / i, rnd(i * i * k)));
    }
}

}  // namespace

ScorePair scale_pair(WeightPair weight, WeightPair percent) {
    return {percent_of(percent.op, weight.op), percent_of(percent.en, weight.en)};
}

void derive_eval_tables(const EvalWeights &s, EvalTables &t) {
    ++t.generation;
    build_square_tables(s, t);

    t.contempt = s.Contempt;
    t.lone_queen = LONE_QUEEN;
    t.pawn = plain_pair(s.pawn_value);
    t.knight = plain_pair(s.knight_value);
    t.bishop = plain_pair(s.bishop_value);
    t.rook = plain_pair(s.rook_value);
    t.queen = plain_pair(s.queen_value);
    t.bishop_pair = plain_pair(s.bishop_pair);

    t.pawn_doubled = scale_pair(s.pawn_doubled, s.Pawn_Structure);
    t.pawn_backward = scale_pair(s.pawn_backward, s.Pawn_Structure);
    t.pawn_isolated = scale_pair(s.pawn_isolated, s.Pawn_Structure);
    t.pawn_weak = scale_pair(s.pawn_weak, s.Pawn_Structure);
    t.pawn_blocked = PAWN_BLOCKED;
    t.pawn_candidate = plain_pair(s.pawn_candidate);

    t.rook_open_file = plain_pair(s.rook_open_file);
    t.rook_half_open_file = plain_pair(s.rook_half_open_file);
    t.rook_rank7 = plain_pair(s.rook_rank7);
    t.rook_trapped = plain_pair(s.rook_trapped);

    t.hung_pawn = scale_pair(s.hung_pawn, s.Threats);
    t.hung_piece = scale_pair(s.hung_piece, s.Threats);
    t.multi_hung = scale_pair(s.multi_hung, s.Threats);
    t.threat_ppush = scale_pair(s.threat_ppush, s.Threats);
    t.attacked_piece = scale_pair(s.attacked_piece, s.Threats);

    t.knight_outpost = {s.knight_outpost.op, 0};
    t.knight_half_outpost = {s.knight_outpost.op / 2, 0};
    t.bishop_outpost = {s.bishop_outpost.op, 0};
    t.bishop_half_outpost = {s.bishop_outpost.op / 2, 0};
    t.bad_bishop = BAD_BISHOP;
    t.pawn_storm = {s.pawn_storm.op, 0};
    t.safe_check = plain_pair(s.safe_check);
    for (std::size_t rank = 0; rank < 8; ++rank) {
        t.passed_unsafe[rank] = static_cast<std::int16_t>(s.Passed_Pawns.en * PASSED_UNSAFE_BASE[rank] / 100);
        t.passed_safe[rank] = static_cast<std::int16_t>(s.Passed_Pawns.en * PASSED_SAFE_BASE[rank] / 100);
    }

    t.knight_mobility = mobility_curve<11>(KNIGHT_MOBILITY, s.knight_mobility, s.Mobility_Knight);
    t.bishop_mobility = mobility_curve<21>(BISHOP_MOBILITY, s.bishop_mobility, s.Mobility_Bishop);
    t.rook_mobility = mobility_curve<21>(ROOK_MOBILITY, s.rook_mobility, s.Mobility_Rook);
    t.queen_mobility = mobility_curve<29>(QUEEN_MOBILITY, s.queen_mobility, s.Mobility_Queen);
    build_king_curves(s, t);
}

void set_contempt_context(EvalTables &tables, Colour engine_side, bool active) {
    const bool changed = tables.engine_side != engine_side || tables.contempt_active != active;
    tables.engine_side = engine_side;
    tables.contempt_active = active;
    if (changed && tables.contempt != 0) ++tables.generation;
}
