// Passed pawns and candidates.
#include "board/attacks.h"
#include "board/exchange.h"
#include "eval/scratch.h"

namespace {

constexpr int CANDIDATE_STAGE = 11;  // candidates count beyond this stage

// Whether the pawn would stand on `target` without loss: what the opponent gains by capturing there equals the value of
// what the pawn has taken.
bool advance_is_safe(const Position &pos, Square from, Square target) {
    const PieceType victim = pos.type_on(target);
    if (victim == KING) return false;
    return see_reply(pos, from, target) == SEE_VALUES[victim];
}

void evaluate_passer(const Position &pos, EvalScratch &scratch, Colour c, Square s) {
    SideScratch &own = scratch.side[c];
    SideScratch &enemy = scratch.side[opponent(c)];
    const int direction = pawn_direction(c);
    const int rank = relative_rank(c, s);
    const Square front = s + direction;
    const bool blocked = pos.board[front] != 0;
    const Square target = rank == 1 && !blocked ? front + direction : front;
    const Square promotion = make_square(file_of(s), c == WHITE ? 7 : 0);
    const Square enemy_king = pos.king_square[opponent(c)];
    const Bitboard ahead = c == WHITE ? attack_tables.north[s] : attack_tables.south[s];

    int reach = rank;  // relative rank that the pawn is counted on
    int base = eval_tables.passed_unsafe[rank];
    if (!blocked && advance_is_safe(pos, s, target)) {
        reach = relative_rank(c, target);
        base = eval_tables.passed_safe[rank];
        enemy.threat_level += 2 << reach;
        const bool free_path = (ahead & enemy.attacks[0]) == 0 && (ahead & pos.all(opponent(c)) & ~own.attacks[0]) == 0;
        if (free_path) {
            base += (base + 64) / 8;
            enemy.threat_level += 6 << reach;
            scratch.free_passers |= bit(s);
            // Rule of the square
            const int moves = 8 - rank - (pos.side == c ? 1 : 0);
            if (pos.nonpawn_material[opponent(c)] == 0 && moves < distance(enemy_king, promotion)) base += 16 * reach;
        }
    }
    if ((own.attacks[PAWN] & bit(target)) != 0) base += base / 4;

    const Square reference = rank < 6 ? target + direction : target;
    const int enemy_distance = distance(enemy_king, reference);
    const int own_distance = distance(pos.king_square[c], reference);
    int endgame = (24 * enemy_distance - 16 * own_distance) * reach / 8 + base;
    int opening = 11 * base;
    if ((ahead & pos.of(c, PAWN)) != 0) {
        opening /= 32;
        endgame /= 2;
    } else {
        opening /= 16;
    }
    scratch.add(c, s, DisplayTerm::PASSERS, {opening, endgame});
}

void evaluate_candidate(const Position &pos, EvalScratch &scratch, Colour c, Square s) {
    const int rank = relative_rank(c, s);
    const Square front = s + pawn_direction(c);
    if (rank <= 2 || pos.board[front] != 0) return;
    const int sentries = popcount(attack_tables.passed_span[c][front] & pos.of(opponent(c), PAWN));
    const int supporters = popcount(shift_sideways(bit(s)) & pos.of(c, PAWN));
    if (sentries != 0 && supporters < sentries) return;
    const int king_distance = distance(pos.king_square[opponent(c)], front + pawn_direction(c));
    const int endgame = eval_tables.pawn_candidate.en() * ((rank - 2) * 32 + king_distance * 24) / 256;
    scratch.add(c, s, DisplayTerm::PASSERS, {0, endgame});
}

}  // namespace

void evaluate_passers(const Position &pos, EvalScratch &scratch) {
    Bitboard passed = scratch.side[WHITE].passed_pawns | scratch.side[BLACK].passed_pawns;
    while (passed != 0) {
        const Square s = pop_lsb(passed);
        evaluate_passer(pos, scratch, colour_of(pos.board[s]), s);
    }
    if (scratch.stage <= CANDIDATE_STAGE) return;
    Bitboard candidates = scratch.side[WHITE].candidate_pawns | scratch.side[BLACK].candidate_pawns;
    while (candidates != 0) {
        const Square s = pop_lsb(candidates);
        evaluate_candidate(pos, scratch, colour_of(pos.board[s]), s);
    }
}
