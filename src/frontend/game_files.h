// Games and positions that the console reads from files and writes. Main thread.
#pragma once

#include <string_view>

// Sets up the position of the line of "test.epd" that has this id.
void get_test_position(std::string_view id);

// Loads one game of a PGN file: by number, or the first one with a line that contains the tag text.
void load_game(std::string_view file_name, std::string_view tag);
// Appends the game to "tmp.pgn".
void save_game();
