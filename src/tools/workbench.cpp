#include "tools/workbench.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/output.h"

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

SearchResult search_in_this_thread(ToolRun &run) {
    begin_search(run.engine, run.limits, REQUEST_ANALYSIS);
    search_here(run.engine);
    return finish_search(run.engine);
}

void say(std::string_view text) { print_display(text); }

std::int16_t nearest_weight(double x) {
    return static_cast<std::int16_t>(std::clamp(std::round(x), -32768.0, 32767.0));
}

bool is_same_file(const char *input, const char *output) {
    std::error_code error;
    if (!std::filesystem::equivalent(input, output, error)) return false;
    print_line(std::string("the input would be overwritten by the output ") + output);
    return true;
}

void report_read_error(const LineReader &file, const char *name) {
    if (file.failed()) print_line(std::string("cannot read all of ") + name);
}

void OutputFile::close() {
    if (file_ == nullptr) return;
    const bool failed = std::ferror(file_) != 0;
    if (std::fclose(file_) != 0 || failed) print_line("cannot write all of " + name_);
    file_ = nullptr;
}
