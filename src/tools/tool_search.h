// Searches as tools run them: with an eye on the user's wish to end.
#pragma once

#include "engine/life.h"
#include "tools/tools.h"

// Looks whether the user wants the tool to end, which ends a running search as well.
void look_for_wish(ToolRun &run);

// Searches the game's position within the run's limits, with all threads; looks for the user's wish in turns of `pause_ms`
// milliseconds.
SearchResult search_with_all_threads(ToolRun &run, int pause_ms);
// The same from begin_search on, which the caller has done.
SearchResult complete_search(ToolRun &run, int pause_ms);
// A search in this thread, without a look at the time or the user.
SearchResult search_in_this_thread(ToolRun &run);
SearchResult search_in_this_thread(Engine &engine, const SearchLimits &limits);
