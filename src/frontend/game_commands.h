// The console's game: moves typed, taken back and replayed, and the hash table's line. game_files.h reads and writes
// games, editor.h changes the board. Main thread.
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

// The move recorded as played from the present position; NO_MOVE ends what is recorded.
Move &recorded_move();
// Goes back to the start; what is recorded stays.
void take_back_all();

// Prints the line that the hash table holds for the position.
void show_hash_line();
