// What a `go` of the UCI protocol asks for.
#pragma once

#include <string_view>

#include "frontend/frontend.h"

struct GoRequest {
    bool ponder;
    bool answered_after_stop;  // whatever ends the search
};

// Reads the limits of a `go` into those of the front end, with a line about moves that cannot be searched. By default
// keywords may stand inside of words and limits that are not named stay as they are; in the strict dialect keywords are
// words and the limits with which the program was started hold. What the protocol has gained since (searchmoves, mate) is
// read word by word and lasts for one search in both.
GoRequest read_go(FrontEnd &front, std::string_view rest);

// The number of plies in "perft N"; -1 when the text has no such word.
int perft_depth(std::string_view rest);
