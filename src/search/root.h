// The moves of the root, searched by a thread at one depth. For the files of this folder.
#pragma once

#include "search/search.h"

// Searches the root moves from place `first` of the list on to a depth, within a window around the thread's score. The
// best move goes to place `first`, and its line into the thread's record; thread 0 publishes it.
void search_root_moves(SearchThread &thread, int depth, int first);

// The thread's best line: a move, what follows it from index 2 on, and its score.
void set_line(SearchThread &thread, Move first, const Line &rest, int score);
