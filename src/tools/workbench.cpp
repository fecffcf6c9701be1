#include "tools/workbench.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/output.h"
#include "platform/clock.h"
#include "search/threads.h"
#include "search/timing.h"

void search_with_all_threads(PollInput poll_input, int sleep) {
    start_search_threads();
    while (busy_threads() != 0) {
        check_time();
        poll_input();
        if (stop_flag == STOP_NONE) sleep_ms(sleep);
    }
    update_elapsed();
}

double searched_nodes() { return static_cast<double>(sum_thread_stats().nodes); }

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
