#include "eval/kpk.h"

#include <array>

#include "board/attacks.h"

namespace {

enum : std::uint8_t { INVALID = 0, DRAW = 1, WIN = 2, UNKNOWN = 4 };

// Plane 0: the pawn's side to move; plane 1: the lone king's side. The pawn is white, on files a to d.
constexpr int PLANE_SIZE = 32 * 64 * 64;
std::array<std::uint8_t, 2 * PLANE_SIZE> kpk_table;

struct KpkPosition {
    Square pawn, strong, weak;
};

std::uint8_t &entry(int plane, const KpkPosition &p) {
    return kpk_table[static_cast<std::size_t>(plane * PLANE_SIZE + (file_of(p.pawn) + 4 * rank_of(p.pawn)) * 4096 +
                                              p.strong * 64 + p.weak)];
}

bool adjacent(Square a, Square b) { return (king_attacks(a) & bit(b)) != 0; }

void initialise(const KpkPosition &p) {
    std::uint8_t &strong_moves = entry(0, p);
    std::uint8_t &weak_moves = entry(1, p);
    strong_moves = weak_moves = UNKNOWN;
    if (p.pawn == p.strong || p.pawn == p.weak || p.strong == p.weak || adjacent(p.strong, p.weak)) {
        strong_moves = weak_moves = INVALID;
    } else if ((pawn_attacks(WHITE, p.pawn) & bit(p.weak)) != 0) {
        strong_moves = INVALID;  // the weak side has left its king in check
    } else if (rank_of(p.pawn) == 7) {
        strong_moves = WIN;
        if (!adjacent(p.weak, p.pawn) || adjacent(p.strong, p.pawn)) weak_moves = WIN;
    }
}

std::uint8_t best_for_strong(const KpkPosition &p) {
    unsigned seen = 0;
    const Square step = p.pawn + 8;
    const std::uint8_t single = entry(1, {step, p.strong, p.weak});
    seen |= single;
    if (rank_of(p.pawn) == 1 && single != INVALID) seen |= entry(1, {step + 8, p.strong, p.weak});
    for (Bitboard moves = king_attacks(p.strong); moves != 0;) seen |= entry(1, {p.pawn, pop_lsb(moves), p.weak});
    return (seen & WIN) != 0 ? WIN : (seen & UNKNOWN) != 0 ? UNKNOWN : DRAW;
}

std::uint8_t best_for_weak(const KpkPosition &p) {
    unsigned seen = 0;
    for (Bitboard moves = king_attacks(p.weak); moves != 0;) {
        const Square to = pop_lsb(moves);
        seen |= to == p.pawn && !adjacent(p.strong, p.pawn) ? static_cast<unsigned>(DRAW)
                                                            : entry(0, {p.pawn, p.strong, to});
    }
    if ((seen & DRAW) != 0) return DRAW;
    if ((seen & UNKNOWN) != 0) return UNKNOWN;
    return (seen & WIN) != 0 ? WIN : DRAW;  // no legal move: stalemate
}

template <typename Visit>
void for_each_position(int first_rank, int last_rank, Visit visit) {
    for (int rank = first_rank; rank <= last_rank; ++rank)
        for (int file = 0; file < 4; ++file)
            for (Square strong = 0; strong < 64; ++strong)
                for (Square weak = 0; weak < 64; ++weak) visit(KpkPosition{make_square(file, rank), strong, weak});
}

}  // namespace

void build_kpk() {
    for_each_position(0, 7, initialise);
    for (bool changed = true; changed;) {
        changed = false;
        for_each_position(1, 6, [&changed](const KpkPosition &p) {
            if (std::uint8_t &value = entry(0, p); value == UNKNOWN) {
                value = best_for_strong(p);
                changed |= value != UNKNOWN;
            }
            if (std::uint8_t &value = entry(1, p); value == UNKNOWN) {
                value = best_for_weak(p);
                changed |= value != UNKNOWN;
            }
        });
    }
    for_each_position(1, 7, [](const KpkPosition &p) {
        for (const int plane : {0, 1})
            if (entry(plane, p) != WIN) entry(plane, p) = DRAW;
    });
}

bool kpk_is_won(Colour pawn_side, Square pawn, Square strong_king, Square weak_king, Colour side) {
    int flip = pawn_side == WHITE ? 0 : 56;
    if (file_of(pawn) > 3) flip ^= 7;
    return entry(side == pawn_side ? 0 : 1, {pawn ^ flip, strong_king ^ flip, weak_king ^ flip}) == WIN;
}
