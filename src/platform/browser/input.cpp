// Standard input is what the page sends to the worker (web/engine/worker.js). It has no end: a page that wants no more
// ends the worker.
#include "platform/input.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>
#include <string>

#include <emscripten.h>

#include "platform/threads.h"

namespace {

std::mutex lock;  // guards what follows
std::string sent;
Condition arrived;

}  // namespace

// Called by the worker's script on its own thread, which never sleeps.
extern "C" EMSCRIPTEN_KEEPALIVE void dral_input(const char *bytes, std::size_t size) {
    {
        const std::lock_guard<std::mutex> guard(lock);
        sent.append(bytes, size);
    }
    arrived.notify_one();
}

InputState read_input(char *buffer, std::size_t size, int timeout_ms, std::size_t &count) {
    std::unique_lock<std::mutex> guard(lock);
    arrived.wait_for(guard, std::chrono::milliseconds(timeout_ms), [] { return !sent.empty(); });
    count = std::min(size, sent.size());
    if (count == 0) return InputState::NOTHING;
    std::memcpy(buffer, sent.data(), count);
    sent.erase(0, count);
    return InputState::BYTES;
}
