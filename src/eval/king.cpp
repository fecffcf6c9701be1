// One king: shelter and danger in the opening half, activity in the endgame half.
#include <bit>
#include <cstdio>

#include "base/output.h"
#include "board/attacks.h"
#include "board/fen.h"
#include "eval/scratch.h"

namespace {

constexpr int CONTACT_CHECK_THREAT = 900;  // centipawns: a queen can give check next to the king
constexpr int SHELTER_RANKS = 3;           // the last relative rank index with a shield
constexpr int NO_SHELTER = -64;
constexpr int FEW_PIECES = 2;                         // enemy piece count up to which a king fears nothing
constexpr int ENDGAME_PIECES = 9;                     // piece count of both sides from which on activity does not count
constexpr Bitboard INNER_BLOCK = 0x007E7E7E7E7E7E00;  // b2-g7

constexpr std::array<int, 8> FILE_WEIGHT = {4, 4, 3, 2, 2, 3, 4, 4};
constexpr std::array<int, 10> DEFENDERS_BONUS = {-24, -18, -12, -6, 0, 0, 0, 0, 0, 0};

// The king of one colour, which is known at compile time.
template <Colour C>
class KingEvaluation {
public:
    KingEvaluation(const Position &pos, EvalScratch &scratch)
        : pos_(pos),
          scratch_(scratch),
          king_(pos.king_square[C]),
          own_(scratch.side[C]),
          enemy_(scratch.side[opponent(C)]),
          file_(CLAMPED_COORDINATE[file_of(king_)]) {}

    void run() {
        const ScorePair table = eval_tables.king_squares[from_white_side(C, king_)];
        int opening = table.op();
        if (enemy_.piece_count > FEW_PIECES) opening += safety();
        if (pos_.of(opponent(C), QUEEN) == 0) opening /= 2;
        int endgame = table.en();
        if (own_.piece_count + enemy_.piece_count < ENDGAME_PIECES) endgame -= passivity();
        scratch_.add(C, king_, DisplayTerm::KINGS, ScorePair(opening, endgame) + safe_checks_ * eval_tables.safe_check);
    }

private:
    Bitboard own_attacks(std::initializer_list<int> types) const {
        Bitboard set = 0;
        for (const int type : types) set |= own_.attacks[type];
        return set;
    }

    // The three files around the king, in the lowest bits, of one rank of a set.
    unsigned around_king(Bitboard set, int rank) const {
        return static_cast<unsigned>(set >> (8 * rank + file_ - 1)) & 7;
    }

    // Points for own pawns on the three files around the king: 3 for one on relative rank 2, 2 on rank 3, 1 on rank 4.
    int shield_index(int rank) const {
        if (rank > SHELTER_RANKS) return 0;
        const Bitboard pawns = pos_.of(C, PAWN) & ~enemy_.attacks[PAWN];
        const unsigned second = around_king(pawns, C == WHITE ? 1 : 6);
        const unsigned third = around_king(pawns, C == WHITE ? 2 : 5) & ~second;
        const unsigned fourth = around_king(pawns, C == WHITE ? 3 : 4) & ~(second | third);
        return 3 * std::popcount(second) + 2 * std::popcount(third) + std::popcount(fourth);
    }

    // Files around the king that the enemy has cleared of pawns on its own half, with the kings on different wings.
    int storm_files() const {
        if (std::abs(file_ - file_of(pos_.king_square[opponent(C)])) <= 2) return 0;
        Bitboard files = pos_.of(opponent(C), PAWN) & own_half(opponent(C));
        files |= files >> 32;
        files |= files >> 16;
        files |= files >> 8;
        return 3 - std::popcount(around_king(files, 0));
    }

    int count_safe_checks(Bitboard safe) const {
        const Bitboard diagonals = bishop_attacks(king_, scratch_.occupied) & safe;
        const Bitboard lines = rook_attacks(king_, scratch_.occupied) & safe;
        return popcount(knight_attacks(king_) & safe & enemy_.attacks[KNIGHT]) +
               popcount(diagonals & enemy_.attacks[BISHOP]) + popcount(lines & enemy_.attacks[ROOK]) +
               ((diagonals & enemy_.attacks[QUEEN]) != 0) + ((lines & enemy_.attacks[QUEEN]) != 0);
    }

    int count_zone_attacks() const {
        const Bitboard zone = own_.king_zone;
        const Bitboard by_minors = own_attacks({PAWN, KNIGHT, BISHOP});
        const Bitboard by_rooks = by_minors | own_.attacks[ROOK];
        const Bitboard by_queens = by_rooks | own_.attacks[QUEEN];
        return popcount(zone & enemy_.attacks[PAWN]) + popcount(zone & enemy_.attacks[KNIGHT] & ~by_minors) +
               popcount(zone & enemy_.attacks[BISHOP] & ~by_minors) +
               popcount(zone & enemy_.attacks[ROOK] & ~by_rooks) + popcount(zone & enemy_.attacks[QUEEN] & ~by_queens);
    }

    int safety() {
        const int rank = relative_rank(C, king_);
        const int shield_points = shield_index(rank);
        const int shield =
            rank > SHELTER_RANKS
                ? 0
                : FILE_WEIGHT[file_of(king_)] * eval_tables.pawn_shield[shield_points] * (4 - rank) / 16 + NO_SHELTER;
        const int storm = storm_files() * eval_tables.pawn_storm.op();
        const Bitboard defenders = pos_.of(C, PAWN) | pos_.of(C, KNIGHT) | pos_.of(C, BISHOP);
        const int defence = DEFENDERS_BONUS[popcount(defenders & own_.king_zone)];

        // Squares from which an enemy piece may check without being taken.
        const Bitboard covered = own_attacks({PAWN, KNIGHT, BISHOP, ROOK, QUEEN});
        const Bitboard beside = king_attacks(king_);
        const Bitboard safe = ~(pos_.all(opponent(C)) | covered | (beside & ~enemy_.double_attacks));
        safe_checks_ = count_safe_checks(safe);
        if ((beside & safe & enemy_.attacks[QUEEN]) != 0) own_.threat_level += CONTACT_CHECK_THREAT;

        const unsigned units = enemy_.attack_units;
        const auto attackers = [units](int field) { return static_cast<int>(units >> (3 * field) & 7); };
        const int danger_index = 4 * attackers(0) + 3 * attackers(1) + 4 * attackers(2) + 5 * attackers(3) +
                                 4 * safe_checks_ + 4 * count_zone_attacks() - shield_points - (pos_.side == C ? 1 : 0);
        const int danger = danger_index > 0 ? eval_tables.king_danger[std::min(danger_index, 63)] : 0;
        const int value = defence + shield + storm - danger;
        if (scratch_.display != nullptr) {
            print_line(board_text(pos_));
            std::printf("sq=%s, KD= %d\n", std::string(square_name(king_)).c_str(), value);
        }
        return value;
    }

    // A king that cannot move towards the middle or is far from all pawns: on the a-file with all pawns on the g-file
    // 8 + 10 + 12 + 14 + 16.
    int passivity() const {
        const Bitboard moves = king_attacks(king_) & ~pos_.all(C) & ~enemy_.attacks[0];
        int loss = (moves & INNER_BLOCK) == 0 ? 10 : 0;
        const Bitboard pawns = pos_.of(WHITE, PAWN) | pos_.of(BLACK, PAWN);
        Bitboard region = file_mask(file_of(king_));
        region |= shift_sideways(region);
        for (int step = 8; ~region != 0 && (pawns & region) == 0; step += 2) {
            loss += step;
            region |= shift_sideways(region);
        }
        return loss;
    }

    const Position &pos_;
    EvalScratch &scratch_;
    Square king_;
    SideScratch &own_;
    const SideScratch &enemy_;
    int file_;  // of the king, moved off the edge
    int safe_checks_ = 0;
};

}  // namespace

void evaluate_kings(const Position &pos, EvalScratch &scratch) {
    KingEvaluation<WHITE>(pos, scratch).run();
    KingEvaluation<BLACK>(pos, scratch).run();
}
