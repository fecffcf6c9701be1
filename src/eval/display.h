// What an evaluation shows of itself, and the views made from it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "board/position.h"
#include "eval/parameters.h"

enum class DisplayTerm { PAWNS, KNIGHTS, BISHOPS, ROOKS, QUEENS, KINGS, PASSERS };
constexpr std::size_t DISPLAY_TERMS = 7;

// Tapered values in centipawns. Filled by one evaluation at a time, on request.
struct EvalDisplay {
    std::array<std::int16_t, 64> squares{};                           // sum of what stands for a square
    std::array<std::array<std::int16_t, 2>, DISPLAY_TERMS> totals{};  // [term][colour]
    std::array<std::int16_t, 2> material{};                           // by colour
    std::array<std::int16_t, 2> positional{};                         // by colour
    int stage = 0;
    double draw_scale = 1.0;
    std::array<std::optional<int>, 2> king_danger;  // by colour; nothing for a king that has nothing to fear
    Bitboard threatened = 0, pinned = 0, free_passers = 0;

    void add(Colour c, Square s, DisplayTerm term, int value);
};

// The `ev` view as one text. `eval` and `quiescence` are from the side to move's view.
std::string evaluation_text(const Position &pos, const EvalDisplay &display, int eval, int quiescence);

// The derived tables, for a person to read.
std::string eval_params_text(const EvalTables &tables);
