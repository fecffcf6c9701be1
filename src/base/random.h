// Random numbers for play and tuning. One generator an owner; one thread at a time.
#pragma once

#include <cstdint>

// SplitMix64 (Steele, Lea, Flood 2014): a counter whose value is mixed. Any seed will do.
class RandomGenerator {
public:
    explicit RandomGenerator(std::uint64_t seed = 0) : state_(seed) {}

    // With it as seed another generator goes on from here.
    std::uint64_t state() const { return state_; }

    // Uniform in 0 .. 2^31 - 1.
    int next() {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return static_cast<int>((z ^ (z >> 31)) >> 33);
    }

private:
    std::uint64_t state_;
};
