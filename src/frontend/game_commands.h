// The console's game: moves typed, taken back and replayed, games and positions read from files and written, the hash
// table's line, and the board editor. Main thread.
#pragma once

#include <string_view>

#include "board/types.h"

// Plays a move given as text. False, and nothing happens, when it denotes no legal move.
bool play_typed_move(std::string_view text);

// Plays a legal move of the game. What was played from there before stays recorded only when it is the same move. False
// after a message when the game is too long.
bool play_game_move(Move m);

// Takes back one move; plays the move again that was once played from here. False when there is none.
bool take_back_move();
bool replay_move();
// Goes to the position after `ply` moves of the game, as far as it is recorded.
void jump_to_ply(int ply);

// Sets up the position of the line of "test.epd" that has this id.
void get_test_position(std::string_view id);

// Loads one game of a PGN file: by number, or the first one with a line that contains the tag text.
void load_game(std::string_view file_name, std::string_view tag);
// Appends the game to "tmp.pgn".
void save_game();

// Prints the line that the hash table holds for the position.
void show_hash_line();

// The board editor takes lines until one begins with '.'.
void start_editor();
bool editing();
void edit_line(std::string_view line);
