// What the two protocols print of a search, and the engine's other words.
#pragma once

#include "frontend/frontend.h"

// Speaks the protocol that `front` speaks at that moment.
Reporter make_reporter(FrontEnd &front);

// The result of a search: its last line of play, then "bestmove" or the console's summary.
void print_uci_result(const SearchResult &result);
void print_console_result(const Engine &engine, const SearchResult &result);
