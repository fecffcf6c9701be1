// What the fuzz targets share: the engine inside the process, its output out of the way, and files in a directory of its
// own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/control.h"
#include "board/attacks.h"
#include "eval/kpk.h"
#include "eval/parameters.h"
#include "frontend/engine.h"
#include "frontend/input.h"
#include "platform/clock.h"
#include "search/params.h"
#include "search/settings.h"
#include "search/threads.h"
#include "search/tt.h"

namespace fuzz {

// Starts everything once: one thread, the smallest table.
inline void start() {
    static const bool started = [] {
        const std::string directory = (std::filesystem::temp_directory_path() / "dral-fuzz-XXXXXX").string();
        std::vector<char> name(directory.begin(), directory.end());
        name.push_back('\0');
        if (mkdtemp(name.data()) == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr ||
            std::freopen("/dev/null", "r", stdin) == nullptr)
            std::abort();
        std::filesystem::current_path(name.data());
        init_attacks();
        build_kpk();
        settings = Settings{};
        settings.Hash = 1;
        default_settings = settings;
        if (!allocate_game() || start_threads(1) != 0 || !tt_allocate()) std::abort();
        std::atexit(stop_threads);
        derive_search_params();
        derive_eval_tables(settings.weights, eval_tables);
        return true;
    }();
    (void)started;
}

inline std::string_view text_of(const std::uint8_t *data, std::size_t size) {
    return {reinterpret_cast<const char *>(data), size};
}

inline void write_file(const char *name, std::string_view content) { std::ofstream(name, std::ios::binary) << content; }

// Runs the engine loop on some lines, then on the end of input. Searches are cut short; lines for which `too_much` is true
// (more threads, more memory, endless counting) are left out.
inline void run_lines(std::string_view input, bool uci, bool (*too_much)(std::string_view)) {
    start();
    settings = default_settings = Settings{};
    settings.Hash = default_settings.Hash = 1;
    uci_mode = uci ? 1 : 0;
    noise = 0.0;
    time_per_move = clock_white = clock_black = 0.02;
    increment = 0.0;
    tc_mode = 1;
    max_depth = MAX_DEPTH;
    node_limit = 0;
    hash_enabled = 1;
    target_nps = UNLIMITED_NPS;
    endless_search = false;
    self_play = false;
    input_queue = InputQueue{};
    while (!input.empty()) {
        const std::string_view line = input.substr(0, input.find('\n'));
        if (!too_much(line)) input_queue.add(std::string(line) + "\n");
        input.remove_prefix(std::min(line.size() + 1, input.size()));
    }
    // Stands in for the person who stops a search.
    std::atomic<bool> done{false};
    std::thread stopper([&done] {
        while (!done) {
            sleep_ms(3);
            stop_flag = STOP_REPORT;
            if (search_state == REQUEST_PONDER) search_state = REQUEST_SEARCH;
        }
    });
    engine_loop();
    done = true;
    stopper.join();
    stop_and_wait(STOP_ABANDON);
}

inline bool contains(std::string_view line, std::string_view word) { return line.find(word) != std::string_view::npos; }

}  // namespace fuzz
