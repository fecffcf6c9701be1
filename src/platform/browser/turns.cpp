#include "platform/threads.h"

#if defined(__EMSCRIPTEN__) && !defined(__EMSCRIPTEN_PTHREADS__)

#include <algorithm>
#include <array>
#include <vector>

#include <emscripten.h>
#include <emscripten/fiber.h>

// The stack that C++ uses, and room for what the machine's own stack holds while a thread waits.
constexpr std::size_t STACK_BYTES = std::size_t{1} << 20;
constexpr std::size_t FRAMES_BYTES = std::size_t{256} << 10;

struct Fiber {
    emscripten_fiber_t context;
    std::function<void()> work;
    std::function<bool()> ready;  // empty: it goes on at once
    double wake = 0.0;            // or when this time has come, in milliseconds
    bool done = false;
    alignas(16) std::array<char, STACK_BYTES> stack;
    alignas(16) std::array<char, FRAMES_BYTES> frames;
};

namespace {

constexpr double TURN_MS = 6.0;        // of a thread that does not wait
constexpr double BREATH_MS = 4.0;      // between looks at the page's messages
constexpr double LONGEST_REST = 50.0;  // while nobody has anything to do, milliseconds
constexpr int CALLS_BETWEEN_LOOKS = 256;

std::vector<Fiber *> fibers;
Fiber *running = nullptr;  // none: the first thread
double turn_began = 0.0;   // milliseconds
double last_breath = 0.0;  // milliseconds

// The first thread's context, and room for its frames.
emscripten_fiber_t *first_thread() {
    static std::array<char, FRAMES_BYTES> frames;
    static emscripten_fiber_t context;
    static const bool made = [] {
        emscripten_fiber_init_from_current_context(&context, frames.data(), frames.size());
        return true;
    }();
    static_cast<void>(made);
    return &context;
}

// Whatever the page has sent is taken in; up to `ms` milliseconds pass when it sends nothing (web/engine/worker.js).
EM_ASYNC_JS(void, rest, (double ms), { await Module["rest"](ms); });

void breathe(double ms) {
    rest(ms);
    last_breath = emscripten_get_now();
}

void run_work(void *fiber) {
    static_cast<Fiber *>(fiber)->work();
    static_cast<Fiber *>(fiber)->done = true;
    emscripten_fiber_swap(&static_cast<Fiber *>(fiber)->context, first_thread());
}

void leave() {
    Fiber *self = std::exchange(running, nullptr);
    emscripten_fiber_swap(&self->context, first_thread());
}

bool may_run(const Fiber &fiber, double now) {
    return !fiber.done && (!fiber.ready || now >= fiber.wake || fiber.ready());
}

// Gives each thread that does not wait a turn. How long the first thread may rest, in milliseconds: not at all when one
// of them had something to do.
double give_turns() {
    double idle = LONGEST_REST;
    const std::vector<Fiber *> now_there = fibers;
    for (Fiber *fiber : now_there) {
        if (std::find(fibers.begin(), fibers.end(), fiber) == fibers.end()) continue;  // joined by one before it
        turn_began = emscripten_get_now();
        if (may_run(*fiber, turn_began)) {
            idle = 0.0;
            running = fiber;
            emscripten_fiber_swap(first_thread(), &fiber->context);
            running = nullptr;
        } else if (!fiber->done) {
            idle = std::min(idle, fiber->wake - turn_began);
        }
    }
    return idle;
}

}  // namespace

int calls_before_clock = CALLS_BETWEEN_LOOKS;

void look_at_clock() {
    calls_before_clock = CALLS_BETWEEN_LOOKS;
    if (running == nullptr || emscripten_get_now() < turn_began + TURN_MS) return;
    running->ready = nullptr;
    leave();
}

bool wait_for_turn(const std::function<bool()> &ready, double ms) {
    const double end = emscripten_get_now() + ms;
    if (running != nullptr) {
        running->ready = ready;
        running->wake = end;
        leave();
        return ready();
    }
    while (!ready()) {
        if (emscripten_get_now() >= last_breath + BREATH_MS) breathe(0.0);
        if (ready()) return true;
        const double idle = give_turns();
        if (ready()) return true;
        const double now = emscripten_get_now();
        if (now >= end) return false;
        if (idle > 0.0) breathe(std::min(idle, end - now));
    }
    return true;
}

Thread::Thread() noexcept = default;

Thread::Thread(std::function<void()> work) : fiber_(new Fiber) {
    fiber_->work = std::move(work);
    emscripten_fiber_init(&fiber_->context, run_work, fiber_.get(), fiber_->stack.data(), fiber_->stack.size(),
                          fiber_->frames.data(), fiber_->frames.size());
    fibers.push_back(fiber_.get());
}

Thread::Thread(Thread &&other) noexcept = default;

Thread &Thread::operator=(Thread &&other) noexcept = default;

Thread::~Thread() = default;

void Thread::join() {
    wait_for_turn([fiber = fiber_.get()] { return fiber->done; }, std::numeric_limits<double>::infinity());
    std::erase(fibers, fiber_.get());
    fiber_.reset();
}

#endif
