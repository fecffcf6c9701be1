// Passed pawns and candidates.
#include "board/attacks.h"
#include "board/exchange.h"
#include "eval/scratch.h"

namespace {

// A passed pawn's base value comes from the tables, by rank. What raises it:
constexpr int FREE_PATH_OFFSET = 64;  // a free path to promotion adds (base + FREE_PATH_OFFSET) / FREE_PATH_DIVISOR ...
constexpr int FREE_PATH_DIVISOR = 8;
constexpr int UNCATCHABLE = 16;      // ... and 16 a rank when the enemy king is too far
constexpr int DEFENDED_DIVISOR = 4;  // a defended target square adds a quarter
// What the base becomes: 11/16 of it in the opening; in the endgame all of it and the kings' distances.
constexpr int OPENING_SHARE = 11;
constexpr int OPENING_DIVISOR = 16;
constexpr int BEHIND_OWN_PAWN_DIVISOR = 2;  // of both halves
constexpr int ENEMY_KING_DISTANCE = 24;     // a square of distance, a rank, in 8ths
constexpr int OWN_KING_DISTANCE = 16;
constexpr int DISTANCE_DIVISOR = 8;
// What the enemy stands to lose, in centipawns, doubled with every rank.
constexpr int SAFE_ADVANCE_THREAT = 2;
constexpr int FREE_PATH_THREAT = 6;

// Candidates: their share of the table's value, in 256ths.
constexpr int CANDIDATE_STAGE = 11;  // they count beyond this stage
constexpr int CANDIDATE_RANK = 32;   // each rank from the fourth on
constexpr int CANDIDATE_KING = 24;   // each square between the enemy king and the pawn
constexpr int CANDIDATE_DIVISOR = 256;

// Whether the pawn would stand on `target` without loss: what the opponent gains by capturing there equals the value of
// what the pawn has taken.
bool advance_is_safe(const Position &pos, const SideScratch &enemy, Colour c, Square from, Square target) {
    const PieceType victim = pos.type_on(target);
    // Nobody attacks the square (a set-up may have kings that the attack maps do not know), and no line to it opens behind
    // the pawn.
    const Bitboard behind = squares_ahead(opponent(c), from);
    if (victim == NO_TYPE && (enemy.attacks[0] & bit(target)) == 0 &&
        (king_attacks(target) & pos.of(opponent(c), KING)) == 0 &&
        (behind & (pos.of(opponent(c), ROOK) | pos.of(opponent(c), QUEEN))) == 0)
        return true;
    if (victim == KING) return false;
    return see_reply(pos, from, target) == SEE_VALUES[victim];
}

void evaluate_passer(const Position &pos, const EvalTables &tables, EvalScratch &scratch, Colour c, Square s) {
    SideScratch &own = scratch.side[c];
    SideScratch &enemy = scratch.side[opponent(c)];
    const int direction = pawn_direction(c);
    const int rank = relative_rank(c, s);
    const Square front = s + direction;
    const bool blocked = pos.board[front] != 0;
    const Square target = rank == SECOND_RANK && !blocked ? front + direction : front;
    const Square promotion = promotion_square(c, file_of(s));
    const Square enemy_king = pos.king_square[opponent(c)];
    const Bitboard ahead = squares_ahead(c, s);

    int reach = rank;  // relative rank that the pawn is counted on
    int base = tables.passed_unsafe[rank];
    if (!blocked && advance_is_safe(pos, enemy, c, s, target)) {
        reach = relative_rank(c, target);
        base = tables.passed_safe[rank];
        enemy.threat_level += SAFE_ADVANCE_THREAT << reach;
        const bool free_path = (ahead & enemy.attacks[0]) == 0 && (ahead & pos.all(opponent(c)) & ~own.attacks[0]) == 0;
        if (free_path) {
            base += (base + FREE_PATH_OFFSET) / FREE_PATH_DIVISOR;
            enemy.threat_level += FREE_PATH_THREAT << reach;
            scratch.free_passers |= bit(s);
            // Rule of the square
            const int moves = 8 - rank - (pos.side == c ? 1 : 0);
            if (pos.nonpawn_material[opponent(c)] == 0 && moves < distance(enemy_king, promotion))
                base += UNCATCHABLE * reach;
        }
    }
    if ((own.attacks[PAWN] & bit(target)) != 0) base += base / DEFENDED_DIVISOR;

    const Square reference = rank < SEVENTH_RANK ? target + direction : target;
    const int enemy_distance = distance(enemy_king, reference);
    const int own_distance = distance(pos.king_square[c], reference);
    const int kings = ENEMY_KING_DISTANCE * enemy_distance - OWN_KING_DISTANCE * own_distance;
    int endgame = kings * reach / DISTANCE_DIVISOR + base;
    int opening = OPENING_SHARE * base;
    if ((ahead & pos.of(c, PAWN)) != 0) {
        opening /= OPENING_DIVISOR * BEHIND_OWN_PAWN_DIVISOR;
        endgame /= BEHIND_OWN_PAWN_DIVISOR;
    } else {
        opening /= OPENING_DIVISOR;
    }
    scratch.add(c, s, DisplayTerm::PASSERS, {opening, endgame});
}

void evaluate_candidate(const Position &pos, const EvalTables &tables, EvalScratch &scratch, Colour c, Square s) {
    const int rank = relative_rank(c, s);
    const Square front = s + pawn_direction(c);
    if (rank <= THIRD_RANK || pos.board[front] != 0) return;
    const int sentries = popcount(attack_tables.passed_span[c][front] & pos.of(opponent(c), PAWN));
    const int supporters = popcount(shift_sideways(bit(s)) & pos.of(c, PAWN));
    if (sentries != 0 && supporters < sentries) return;
    const int king_distance = distance(pos.king_square[opponent(c)], front + pawn_direction(c));
    const int share = (rank - THIRD_RANK) * CANDIDATE_RANK + king_distance * CANDIDATE_KING;
    const int endgame = tables.pawn_candidate.en() * share / CANDIDATE_DIVISOR;
    scratch.add(c, s, DisplayTerm::PASSERS, {0, endgame});
}

}  // namespace

void evaluate_passers(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    Bitboard passed = scratch.shape->side[WHITE].passed_pawns | scratch.shape->side[BLACK].passed_pawns;
    while (passed != 0) {
        const Square s = pop_lsb(passed);
        evaluate_passer(pos, tables, scratch, colour_of(pos.board[s]), s);
    }
    if (scratch.stage <= CANDIDATE_STAGE) return;
    Bitboard candidates = scratch.shape->side[WHITE].candidate_pawns | scratch.shape->side[BLACK].candidate_pawns;
    while (candidates != 0) {
        const Square s = pop_lsb(candidates);
        evaluate_candidate(pos, tables, scratch, colour_of(pos.board[s]), s);
    }
}
