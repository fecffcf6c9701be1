#include "test_support.h"

namespace {

// Each table against the definition by distances between two squares.
TEST(AttackTables, FollowFromDistances) {
    make_test_position();
    for (const Square a : ALL_SQUARES) {
        for (const Square b : ALL_SQUARES) {
            SCOPED_TRACE(std::string(square_name(a)) + std::string(square_name(b)));
            const int files = b % 8 - a % 8;
            const int ranks = b / 8 - a / 8;
            const int near = std::min(std::abs(files), std::abs(ranks));
            const int far = std::max(std::abs(files), std::abs(ranks));
            const auto holds = [b](Bitboard set) { return (set >> b & 1) != 0; };
            const bool straight = near == 0 && far > 0;
            const bool diagonal = near == far && far > 0;
            ASSERT_EQ(holds(knight_attacks(a)), near == 1 && far == 2);
            ASSERT_EQ(holds(king_attacks(a)), far == 1);
            ASSERT_EQ(holds(pawn_attacks(WHITE, a)), std::abs(files) == 1 && ranks == 1);
            ASSERT_EQ(holds(pawn_attacks(BLACK, a)), std::abs(files) == 1 && ranks == -1);
            ASSERT_EQ(holds(rook_span(a)), straight);
            ASSERT_EQ(holds(bishop_span(a)), diagonal);
            ASSERT_EQ(holds(attack_tables.passed_span[WHITE][a]), std::abs(files) <= 1 && ranks > 0);
            ASSERT_EQ(holds(attack_tables.passed_span[BLACK][a]), std::abs(files) <= 1 && ranks < 0);

            Bitboard strictly_between = 0;
            if (straight || diagonal)
                for (int n = 1; n < far; ++n)
                    strictly_between |= Bitboard{1} << (a + n * (ranks / far) * 8 + n * (files / far));
            ASSERT_EQ(between(a, b), strictly_between);
        }
    }
}

TEST(SlidingAttacks, StopAtTheFirstBlocker) {
    make_test_position();
    Random random(1);
    for (int i = 0; i < 3000; ++i) {
        Bitboard occupied = random.bits();
        for (int thin = i % 4; thin > 0; --thin) occupied &= random.bits();
        if (i == 0) occupied = 0;
        if (i == 1) occupied = ~Bitboard{0};
        for (const Square s : ALL_SQUARES) {
            SCOPED_TRACE(s);
            ASSERT_EQ(rook_attacks(s, occupied), walked_attacks(make_piece(WHITE, ROOK), s, occupied))
                << std::hex << occupied;
            ASSERT_EQ(bishop_attacks(s, occupied), walked_attacks(make_piece(WHITE, BISHOP), s, occupied))
                << std::hex << occupied;
            ASSERT_EQ(queen_attacks(s, occupied), walked_attacks(make_piece(WHITE, QUEEN), s, occupied))
                << std::hex << occupied;
        }
    }
}

// A bishop behind the bishop that has left the occupancy and its bitboard is next.
TEST(LeastAttacker, SeesThroughSquaresOutsideTheOccupancy) {
    const auto board = make_test_position("7k/8/8/8/3p4/2B5/1Q6/4K3 w - -");
    Position &pos = board->pos;
    EXPECT_EQ(square_name(least_attacker(pos, D4, WHITE, pos.occupied())), "c3");
    const Bitboard without_bishop = pos.occupied() & ~bit(C3);
    EXPECT_EQ(square_name(least_attacker(pos, D4, WHITE, without_bishop)), "c3") << "the bitboards still hold it";
    remove_piece(pos, C3);
    EXPECT_EQ(square_name(least_attacker(pos, D4, WHITE, without_bishop)), "b2");
    set_fen(pos, "7k/8/8/8/3p4/1N6/8/4K3 w - -");
    EXPECT_EQ(square_name(least_attacker(pos, D4, WHITE, 0)), "b3") << "knights come from the bitboards alone";
}

TEST(AttackQueries, AgreeWithWalkingOverRandomPositions) {
    for (const std::string &fen : random_game_fens(11, 12, 200, 4)) {
        SCOPED_TRACE(fen);
        const auto board = make_test_position(fen);
        const Position &pos = board->pos;
        for (const Colour c : {WHITE, BLACK}) {
            for (const Square s : ALL_SQUARES) {
                const Bitboard attackers = walked_attackers(pos, s, c);
                ASSERT_EQ(square_attacked(pos, s, c), attackers != 0) << square_name(s);
                Square least = NO_SQUARE;
                for (const Square from : ALL_SQUARES)
                    if ((attackers >> from & 1) != 0 && (least == NO_SQUARE || pos.type_on(from) < pos.type_on(least)))
                        least = from;
                ASSERT_EQ(least_attacker(pos, s, c, pos.occupied()), least) << square_name(s);
            }
        }
    }
}

}  // namespace
