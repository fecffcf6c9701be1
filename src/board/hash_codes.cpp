#include "board/hash_codes.h"

std::array<std::array<std::uint64_t, 64>, 16> hash_codes;

namespace {

// Multiply-with-carry generator of two 16-bit halves.
class HashCodeGenerator {
public:
    std::uint64_t next_code() {
        const std::uint64_t high = draw();
        return high << 32 | draw();
    }

private:
    std::uint32_t draw() {
        z_ = 36969 * (z_ & 0xFFFF) + (z_ >> 16);
        w_ = 18000 * (w_ & 0xFFFF) + (w_ >> 16);
        return (z_ << 16) + w_;
    }
    std::uint32_t z_ = 1;
    std::uint32_t w_ = 1;
};

}  // namespace

bool generate_hash_codes() {
    constexpr int CODES = 1024;
    constexpr int CANDIDATES = 5;        // tries for a good code
    constexpr int FEWEST_BITS = 16;      // of a good code
    constexpr int FEWEST_DIFFERENT = 4;  // bits from every earlier code, in either half
    HashCodeGenerator generator;
    const auto code_at = [](int i) -> std::uint64_t & { return hash_codes[i / 64][i % 64]; };
    const auto is_good = [&code_at](std::uint64_t code, int i) {
        bool good = popcount(code) >= FEWEST_BITS;
        for (int earlier = 0; good && earlier < i; ++earlier) {
            const std::uint64_t difference = code ^ code_at(earlier);
            good =
                popcount(difference & 0xFFFFFFFF) >= FEWEST_DIFFERENT && popcount(difference >> 32) >= FEWEST_DIFFERENT;
        }
        return good;
    };
    bool all_good = true;
    for (int i = 0; i < CODES; ++i) {
        bool good = false;
        for (int candidate = 1; candidate <= CANDIDATES && !good; ++candidate) {
            const std::uint64_t code = generator.next_code();
            good = is_good(code, i);
            code_at(i) = code;
        }
        all_good = all_good && good;
    }
    return all_good;
}

std::uint64_t compute_key(const Position &pos) {
    std::uint64_t key = hash_codes[0][pos.castling];
    for (Bitboard pieces = pos.occupied(); pieces != 0;) {
        const Square s = pop_lsb(pieces);
        key ^= hash_codes[pos.board[s]][s];
    }
    if (pos.ep_square != NO_SQUARE) key ^= hash_codes[0][pos.ep_square];
    return (key & ~std::uint64_t{1}) | pos.side;
}

std::uint64_t compute_pawn_key(const Position &pos) {
    std::uint64_t key = 0;
    for (const Colour c : {WHITE, BLACK})
        for (Bitboard pawns = pos.of(c, PAWN); pawns != 0;) key ^= hash_codes[make_piece(c, PAWN)][pop_lsb(pawns)];
    return key;
}
