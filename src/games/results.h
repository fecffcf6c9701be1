// Results of games, and the texts that stand for them in game files and records.
#pragma once

#include <cstdint>
#include <string_view>

#include "board/types.h"

enum class GameResult : std::uint8_t { UNKNOWN, WHITE_WINS, BLACK_WINS, DRAW };

// "1-0", "0-1", "1/2-1/2"; "*" for UNKNOWN.
const char *result_text(GameResult result);

// The result whose text this is, to the letter; UNKNOWN for any other text.
GameResult result_named(std::string_view text);

// The result that is mentioned anywhere in a text, where "1/2" alone is a draw. Of several, a win of White counts before
// one of Black, and that before a draw.
GameResult result_in(std::string_view text);

GameResult win_of(Colour side);

// 1, 0.5 or 0; 0.5 as well when the result is not known.
double points_of_white(GameResult result);
