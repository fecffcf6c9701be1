// Threads that take turns on the one thread that there is. What the first thread, main's, has called waits in the page's
// loop of events, so that messages from the page arrive; the others go on where they were when it lets them.
#pragma once

#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

struct Fiber;

// As much of std::thread as is used. Needs no lock and never fails but for want of memory, which ends the program.
class Thread {
public:
    Thread() noexcept;
    template <typename Function, typename... Arguments>
    explicit Thread(Function function, Arguments... arguments)
        : Thread(std::function<void()>([=] { std::invoke(function, arguments...); })) {}
    explicit Thread(std::function<void()> work);
    Thread(Thread &&other) noexcept;
    Thread &operator=(Thread &&other) noexcept;
    ~Thread();

    bool joinable() const { return fiber_ != nullptr; }
    void join();

private:
    std::unique_ptr<Fiber> fiber_;
};

// Lets the others run until `ready` says so or the time, in milliseconds, is over. What `ready` says.
bool wait_for_turn(const std::function<bool()> &ready, double ms);

// As much of std::condition_variable as is used.
class Condition {
public:
    void notify_one() { ++notices_; }
    void notify_all() { ++notices_; }

    template <typename Ready>
    void wait(std::unique_lock<std::mutex> &lock, Ready ready) {
        wait_without(lock, ready, std::numeric_limits<double>::infinity());
    }
    template <typename Ready>
    bool wait_for(std::unique_lock<std::mutex> &lock, std::chrono::milliseconds time, Ready ready) {
        return wait_without(lock, ready, static_cast<double>(time.count()));
    }
    void wait_for(std::unique_lock<std::mutex> &lock, std::chrono::milliseconds time) {
        wait_for(lock, time, [this, before = notices_] { return notices_ != before; });
    }

private:
    static bool wait_without(std::unique_lock<std::mutex> &lock, const std::function<bool()> &ready, double ms) {
        lock.unlock();
        const bool is_ready = wait_for_turn(ready, ms);
        lock.lock();
        return is_ready;
    }

    unsigned notices_ = 0;
};

// Calls of offer_turn left until the clock is looked at.
extern int calls_before_clock;
void look_at_clock();

inline void offer_turn() {
    if (--calls_before_clock <= 0) look_at_clock();
}
