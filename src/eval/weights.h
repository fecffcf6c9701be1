// The weights of the evaluation as a user or a tuner sets them; derive_eval_tables (parameters.h) makes of them what the
// evaluation reads.
//
// A plain record: whoever owns one changes it on its own thread and derives the tables anew.
#pragma once

#include <array>
#include <cstdint>

// An opening and an endgame value: a weight in centipawns, or two percentages.
struct WeightPair {
    std::int16_t op;
    std::int16_t en;
};

struct EvalWeights {
    std::int16_t Contempt = 0;  // centipawns; above 0 the engine avoids draws, below 0 it seeks them

    // Evaluation weights in centipawns: {opening, endgame}.
    WeightPair pawn_value = {90, 110};
    WeightPair knight_value = {380, 360};
    WeightPair bishop_value = {390, 375};
    WeightPair rook_value = {535, 635};
    WeightPair queen_value = {1200, 1200};
    WeightPair bishop_pair = {30, 50};
    WeightPair pawn_isolated = {-6, -6};
    WeightPair pawn_backward = {-4, -4};
    WeightPair pawn_doubled = {-5, -5};
    WeightPair pawn_weak = {-8, -6};
    WeightPair pawn_connected = {48, 36};
    WeightPair pawn_defended = {24, 24};
    WeightPair pawn_candidate = {0, 50};
    WeightPair knight_mobility = {40, 50};
    WeightPair knight_outpost = {16, 0};
    WeightPair bishop_mobility = {56, 66};
    WeightPair bishop_outpost = {13, 0};
    WeightPair rook_mobility = {50, 64};
    WeightPair rook_open_file = {14, 6};
    WeightPair rook_half_open_file = {6, 0};
    WeightPair rook_rank7 = {8, 8};
    WeightPair rook_trapped = {-25, 0};
    WeightPair queen_mobility = {32, 84};
    WeightPair queen_rank7 = {0, 0};  // no term reads it
    WeightPair pawn_shield = {54, 0};
    WeightPair pawn_storm = {-9, 0};
    WeightPair safe_check = {-8, -10};
    WeightPair hung_pawn = {-15, -28};
    WeightPair hung_piece = {-25, -25};
    WeightPair attacked_piece = {-4, -15};
    WeightPair multi_hung = {-8, -16};
    WeightPair threat_ppush = {-10, -8};
    WeightPair PST_P = {28, 8};
    WeightPair PST_N = {36, 42};
    WeightPair PST_B = {14, 16};
    WeightPair PST_R = {9, 0};
    WeightPair PST_Q = {15, 25};
    WeightPair PST_K = {32, 52};

    // The personality: percentages that scale groups of weights.
    WeightPair PST_Pawn = {100, 100};
    WeightPair PST_Knight = {100, 100};
    WeightPair PST_Bishop = {100, 100};
    WeightPair PST_Rook = {100, 100};
    WeightPair PST_Queen = {100, 100};
    WeightPair PST_King = {100, 100};
    WeightPair Mobility_Knight = {100, 100};
    WeightPair Mobility_Bishop = {100, 100};
    WeightPair Mobility_Rook = {100, 100};
    WeightPair Mobility_Queen = {100, 100};
    WeightPair Pawn_Structure = {100, 100};
    WeightPair Passed_Pawns = {100, 100};
    WeightPair King_Safety = {100, 100};
    WeightPair Threats = {100, 100};
    WeightPair Awareness = {100, 100};  // stored only
    WeightPair tune = {100, 100};       // stored only

    // Scratch weights for tuning experiments; no term reads them. Half board: files a to d, rank 1 first.
    std::array<std::int16_t, 32> pst_scratch = {
        3,   4,   -4,  -6,   // rank 1
        -2,  -6,  -10, -12,  // rank 2
        -12, -15, -17, -19,  // rank 3
        -20, -22, -24, -26,  // rank 4
        -20, -22, -24, -26,  // rank 5
        -20, -22, -24, -26,  // rank 6
        -20, -22, -24, -26,  // rank 7
        -20, -22, -24, -26,  // rank 8
    };
    std::array<std::int16_t, 15> p_scratch = {2, 4, 8, 16, 32, 64, 128, 256, 512, 12, 16, 12, 16, 20, 4};
};
