#include "tools/tool_search.h"

void look_for_wish(ToolRun &run) {
    if (run.wants_to_end != nullptr && run.wants_to_end(run.context)) run.stopped = true;
    if (run.stopped) stop_search(run.engine, STOP_ABANDON);
}

SearchResult search_with_all_threads(ToolRun &run, int pause_ms) {
    begin_search(run.engine, run.limits, REQUEST_ANALYSIS);
    return complete_search(run, pause_ms);
}

SearchResult complete_search(ToolRun &run, int pause_ms) {
    const auto look = [](void *context) { look_for_wish(*static_cast<ToolRun *>(context)); };
    return complete_search(run.engine, {look, &run, pause_ms});
}

SearchResult search_in_this_thread(ToolRun &run) { return search_in_this_thread(run.engine, run.limits); }

SearchResult search_in_this_thread(Engine &engine, const SearchLimits &limits) {
    begin_search(engine, limits, REQUEST_ANALYSIS);
    search_here(engine);
    return finish_search(engine);
}
