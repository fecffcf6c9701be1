// A value that several threads read and write without ordering anything else.
#pragma once

#include <atomic>

// Reads and writes are relaxed atomic operations: plain loads and stores on the machines we build for. Compound changes
// (++, +=) are a load and a store and therefore for values that only one thread writes.
template <typename T>
class SharedValue {
public:
    SharedValue() = default;
    constexpr SharedValue(T value) : value_(value) {}  // NOLINT(google-explicit-constructor): stands in for a T
    SharedValue(const SharedValue &other) : value_(other.load()) {}
    SharedValue &operator=(const SharedValue &other) {
        store(other.load());
        return *this;
    }
    SharedValue &operator=(T value) {
        store(value);
        return *this;
    }
    operator T() const { return load(); }  // NOLINT(google-explicit-constructor): stands in for a T
    T load() const { return value_.load(std::memory_order_relaxed); }
    void store(T value) { value_.store(value, std::memory_order_relaxed); }
    // A write for the memory system: 0 where there was 0, and nothing else. Misses no other thread's write.
    void touch() {
        T zero{};
        value_.compare_exchange_strong(zero, T{}, std::memory_order_relaxed);
    }
    SharedValue &operator++() {
        store(static_cast<T>(load() + 1));
        return *this;
    }
    SharedValue &operator+=(T value) {
        store(static_cast<T>(load() + value));
        return *this;
    }

private:
    std::atomic<T> value_{};
};
