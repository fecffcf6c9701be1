// What the two protocols print of a search, and the engine's other words.
#pragma once

#include "frontend/frontend.h"

// Whether UCI is spoken to the letter follows from the protocol and the settings: to be called after every change of them.
// Then every line that leaves has the form of the protocol: what is none of its words becomes an "info string", and empty
// lines are left out.
void choose_dialect(FrontEnd &front, const Settings &settings);

// Speaks the protocol that `front` speaks at that moment.
Reporter make_reporter(FrontEnd &front);

// The result of a search: its last line of play, then "bestmove" or the console's summary.
void print_uci_result(const FrontEnd &front, const SearchResult &result);
void print_console_result(const Engine &engine, const SearchResult &result);
