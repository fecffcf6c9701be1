// The settings: every option, search parameter and evaluation weight that a user or a tuner can change.
//
// A plain record. Search threads never read it; they read what a search start derives from it.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "eval/weights.h"
#include "search/params.h"

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

struct Settings {
    std::int16_t Hash = 64;  // MB
    std::int16_t Threads = 1;
    std::int16_t MoveOverhead = 50;  // ms
    std::int16_t Ponder = 1;
    std::int16_t MultiPV = 1;
    std::int16_t UCI_LimitStrength = 0;
    std::int16_t UCI_Elo = 0;
    std::int16_t Log = 0;
    std::int16_t Strict = 0;  // the protocol is kept to the letter
    std::int16_t OwnBook = 0;
    std::int16_t OwnBook_Variety = 25;
    std::int16_t OwnBook_Depth = 28;
    OptionText ConfigFilePath;
    OptionText OwnBook_File;
    OptionText SyzygyPath;
    std::int16_t SyzygyProbeDepth5 = 0;
    std::int16_t SyzygyProbeDepth6 = 2;
    SearchSettings search;
    EvalWeights weights;
};
