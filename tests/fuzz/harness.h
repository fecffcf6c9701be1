// What the fuzz targets share: the engine inside the process, its output out of the way, and files in a directory of its
// own.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include "engine/life.h"
#include "frontend/frontend.h"
#include "frontend/reporters.h"
#include "platform/clock.h"

namespace fuzz {

// One thread, the smallest table.
inline Settings small_settings() {
    Settings settings;
    settings.Hash = 1;
    return settings;
}

// The engine of this process, started at the first call.
inline Engine &engine() {
    static Engine engine;
    static const bool started = [] {
        std::string name = (std::filesystem::temp_directory_path() / "dral-fuzz-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr ||
            std::freopen("/dev/null", "r", stdin) == nullptr)
            std::abort();
        std::filesystem::current_path(name);
        return start_engine(engine, small_settings(), Reporter{}) == 0;
    }();
    if (!started) std::abort();
    return engine;
}

inline std::string_view text_of(const std::uint8_t *data, std::size_t size) {
    return {reinterpret_cast<const char *>(data), size};
}

inline bool contains(std::string_view line, std::string_view word) { return line.find(word) != std::string_view::npos; }

inline void write_file(const char *name, std::string_view content) { std::ofstream(name, std::ios::binary) << content; }

// Takes the engine back to the state in which every conversation starts.
inline void reset(Engine &engine, const Reporter &reporter) {
    engine.settings = engine.default_settings = small_settings();
    engine.settings_changed = true;
    engine.shared.table.enabled = 1;
    engine.shared.table.off_by_size = false;
    engine.shared.target_nps = UNLIMITED_NPS;
    engine.shared.reporter = reporter;
    engine.random = RandomGenerator();
}

// Runs the loop on some lines, then on the end of input. Searches are cut short; lines for which `too_much` is true are
// left out.
template <typename TooMuch>
void run_lines(std::string_view input, bool uci, TooMuch too_much) {
    FrontEnd front(engine());
    front.uci = uci;
    front.limits.fix_time(0.02);
    front.limits.reset_clocks();
    reset(front.engine, make_reporter(front));
    while (!input.empty()) {
        const std::string_view line = input.substr(0, input.find('\n'));
        if (!too_much(line)) front.input.add(std::string(line) + "\n");
        input.remove_prefix(std::min(line.size() + 1, input.size()));
    }
    // Stands in for the person who stops a search.
    std::atomic<bool> done{false};
    std::thread stopper([&] {
        while (!done) {
            sleep_ms(3);
            stop_search(front.engine, STOP_REPORT);
        }
    });
    run_loop(front);
    done = true;
    stopper.join();
    stop_and_wait(front.engine, STOP_ABANDON);
    finish_search(front.engine);
    front.engine.shared.reporter = Reporter{};
}

}  // namespace fuzz
