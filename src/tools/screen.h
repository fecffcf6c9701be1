// What tools and the console show on the screen in the same words.
#pragma once

#include <string_view>

#include "board/fen.h"
#include "board/notation.h"
#include "board/position.h"

// Text for the screen only: it does not go to the log.
void say(std::string_view text);

// FEN, diagram and side to move.
void show_board(const Position &pos);

// One line when castling rights of a FEN did not fit its placement.
void report_set_up(const FenReading &reading);

// parse_move, with a line when a text fits two moves.
ParsedMove read_move(const Position &pos, std::string_view text);
void report_ambiguous_move();
