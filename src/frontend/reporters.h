// What the two protocols print of a search, and the engine's other words.
#pragma once

#include <string_view>

#include "frontend/frontend.h"

// Gives every line that leaves the form of the UCI protocol, when that is wanted to the letter: what is none of its words
// becomes an "info string", and empty lines are left out. After every change of the protocol or the settings.
void choose_line_form(bool uci, const Settings &settings);

// Speaks the protocol that `front` speaks at that moment.
Reporter make_reporter(FrontEnd &front);

// The result of a search: its last line of play, then "bestmove" or the console's summary.
// `no_move` stands for the move where there is none.
void print_uci_result(const SearchResult &result, std::string_view no_move);
void print_console_result(const Engine &engine, const SearchResult &result);
