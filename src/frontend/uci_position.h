// The `position` of the UCI protocol.
#pragma once

#include <string_view>

#include "frontend/frontend.h"

// Sets up a position and plays the moves from it, up to the first that is not legal, which a line names. By default
// keywords may stand inside of words, and a FEN is made the best of.
void set_uci_position(FrontEnd &front, std::string_view rest);

// The strict dialect: keywords are words, the halfmove clock of a FEN counts, and all of the line holds or none of it: a
// line says why the former position stays.
void set_uci_position_strictly(FrontEnd &front, std::string_view rest);
