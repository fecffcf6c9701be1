// An opening and an endgame score in one integer.
#pragma once

#include <cstdint>

// value = op + 65536 * en, in centipawns. Pairs add and subtract as plain integers and may be multiplied by a count; each
// half must stay within 16 bits.
class ScorePair {
public:
    constexpr ScorePair() = default;
    constexpr ScorePair(int op, int en)
        : value_(static_cast<std::int32_t>(static_cast<std::uint32_t>(en) << 16) + op) {}

    constexpr int op() const { return static_cast<std::int16_t>(value_ & 0xFFFF); }
    // Adding half a unit undoes the borrow of a negative opening half.
    constexpr int en() const { return static_cast<std::int16_t>((value_ + 32768) >> 16); }

    constexpr ScorePair &operator+=(ScorePair other) {
        value_ += other.value_;
        return *this;
    }
    constexpr ScorePair &operator-=(ScorePair other) {
        value_ -= other.value_;
        return *this;
    }
    friend constexpr ScorePair operator+(ScorePair a, ScorePair b) { return a += b; }
    friend constexpr ScorePair operator-(ScorePair a, ScorePair b) { return a -= b; }
    friend constexpr ScorePair operator*(int count, ScorePair pair) {
        pair.value_ *= count;
        return pair;
    }
    friend constexpr bool operator==(ScorePair a, ScorePair b) = default;

private:
    std::int32_t value_ = 0;
};

constexpr int LAST_STAGE = 24;  // stage 0: all pieces on the board; 24: none

// Blends the halves by the game stage; the division truncates toward zero.
constexpr int taper(ScorePair pair, int stage) {
    return (pair.en() * stage + pair.op() * (LAST_STAGE - stage)) / LAST_STAGE;
}
