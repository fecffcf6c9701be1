// The settings record: every option, search parameter and evaluation weight that a user or a tuner can change.
//
// Owner: the front end. Written by the main thread only: the command line, the option handler, the configuration file
// and the console. Search threads never read it; they read what a search start derives from it.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "eval/weights.h"

// A text option; longer texts are cut to 143 characters.
class OptionText {
public:
    std::string_view view() const { return {text_.data(), length_}; }
    const char *c_str() const { return text_.data(); }
    bool empty() const { return length_ == 0; }
    void assign(std::string_view text);

private:
    std::array<char, 144> text_{};
    std::uint8_t length_ = 0;
};

constexpr int MAX_HASH_MB = 16384;
constexpr int MAX_THREADS = 128;
constexpr int MAX_MARGIN_DEPTH = 11;  // last depth of the margin tables

struct Settings {
    std::uint16_t settings_changed = 1;  // the next search start rebuilds the derived tables
    std::int16_t Hash = 64;              // MB
    std::int16_t Threads = 1;
    std::int16_t MoveOverhead = 50;  // ms
    std::int16_t Ponder = 1;
    std::int16_t MultiPV = 1;
    std::int16_t UCI_LimitStrength = 0;
    std::int16_t UCI_Elo = 0;
    std::int16_t Log = 0;
    std::int16_t OwnBook = 0;
    std::int16_t OwnBook_Variety = 25;
    std::int16_t OwnBook_Depth = 28;
    OptionText ConfigFilePath;
    OptionText OwnBook_File;
    OptionText SyzygyPath;
    std::int16_t SyzygyProbeDepth5 = 0;
    std::int16_t SyzygyProbeDepth6 = 2;
    std::int16_t Selectivity = 100;  // percent

    // Search parameters, in plies unless noted.
    std::int16_t NMP_depth = 3;
    std::int16_t SEP_depth = 3;
    std::int16_t FP_depth = 3;
    std::int16_t ProbCut_depth = 3;
    std::int16_t LMP_depth = 6;
    std::int16_t LMR_depth = 3;
    std::int16_t SEP_step = 75;  // centipawns a ply
    std::int16_t FP_step = 125;  // centipawns a ply
    std::int16_t LMP_step = 2;   // moves a ply
    std::int16_t ProbCut_reduction = 3;
    std::int16_t ProbCut_margin = 100;  // centipawns

    EvalWeights weights;
};

// The live record.
extern Settings settings;
// What `uci` lists as defaults: a whole copy of `settings`, taken after start-up and after every accepted change.
extern Settings default_settings;
