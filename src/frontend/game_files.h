// Games and positions that the console reads from files and writes.
#pragma once

#include <string_view>

#include "frontend/frontend.h"

// Sets up the position of the line of "test.epd" that has this id.
void get_test_position(FrontEnd &front, std::string_view id);

// Loads one game of a PGN file: by number, or the first one with a line that contains the tag text.
void load_game(FrontEnd &front, std::string_view file_name, std::string_view tag);
// Appends the game to "tmp.pgn".
void save_game(Game &game);
