// The console's game: moves typed and replayed, and the hash table's line. game_files.h reads and writes games, editor.h
// changes the board.
#pragma once

#include <string_view>

#include "frontend/frontend.h"

// Plays a move given as text. False, and nothing happens, when it denotes no legal move.
bool play_typed_move(FrontEnd &front, std::string_view text);

// Plays a legal move. False after a message when the game is too long.
bool play_or_say(Game &game, Move m);

// Plays the move again that was once played from here. False when there is none.
bool replay_move(FrontEnd &front);

// Prints the line that the hash table holds for the position.
void show_hash_line(Engine &engine);
