// Hung and attacked pieces, and pawn pushes that would attack something.
#include "eval/scratch.h"

namespace {

void evaluate_hung_pieces(const Position &pos, EvalScratch &scratch, Colour victim) {
    const EvalTables &t = eval_tables;
    SideScratch &own = scratch.side[victim];
    const SideScratch &enemy = scratch.side[1 - victim];
    if ((enemy.attacks[0] & pos.all(victim)) == 0) return;

    const Bitboard by_pawn = enemy.attacks[PAWN];
    const Bitboard by_minor = by_pawn | enemy.attacks[KNIGHT] | enemy.attacks[BISHOP];
    const Bitboard weak =
        (enemy.attacks[0] & ~own.attacks[0]) | (enemy.double_attacks & ~own.double_attacks & ~own.attacks[PAWN]);
    const Bitboard minors = pos.of(victim, KNIGHT) | pos.of(victim, BISHOP);
    const Bitboard hung_pawns = pos.of(victim, PAWN) & weak & ~by_pawn;
    const Bitboard hung_pieces = (minors & (weak | by_pawn)) | (pos.of(victim, ROOK) & (weak | by_minor)) |
                                 (pos.of(victim, QUEEN) & (by_minor | enemy.attacks[ROOK]));
    const Bitboard attacked =
        ((pos.of(victim, PAWN) & enemy.attacks[0] & ~by_pawn) | ((minors | pos.of(victim, ROOK)) & enemy.attacks[0])) &
        ~own.attacks[PAWN] & ~hung_pawns & ~hung_pieces;

    const int pawns = popcount(hung_pawns);
    const int pieces = popcount(hung_pieces);
    own.positional += pawns * t.hung_pawn + pieces * t.hung_piece + popcount(attacked) * t.attacked_piece;
    if (pawns + pieces >= 2) own.positional += t.multi_hung;
    scratch.threatened |= hung_pawns | hung_pieces;
    own.threat_level += (pawns + 4 * pieces) * 64;
}

void evaluate_pawn_pushes(const Position &pos, EvalScratch &scratch, Colour victim) {
    const Colour pusher = 1 - victim;
    SideScratch &own = scratch.side[victim];
    const SideScratch &enemy = scratch.side[pusher];
    const Bitboard empty = ~scratch.occupied;
    const Bitboard pawns = pos.of(pusher, PAWN);
    const Bitboard single = shift_forward(pusher, pawns) & empty;
    const Bitboard from_second = shift_forward(pusher, pawns & relative_rank_mask(pusher, 1)) & empty;
    const Bitboard pushes = single | (shift_forward(pusher, from_second) & empty);
    const Bitboard kept = pushes & (~own.attacks[0] | enemy.attacks[PAWN] | enemy.double_attacks);
    const Bitboard attacked = pawn_attack_set(pusher, kept) & pos.all(victim) & ~pos.of(victim, PAWN);
    own.positional += popcount(attacked) * eval_tables.threat_ppush;
}

}  // namespace

void evaluate_threats(const Position &pos, EvalScratch &scratch) {
    evaluate_hung_pieces(pos, scratch, WHITE);
    evaluate_hung_pieces(pos, scratch, BLACK);
    evaluate_pawn_pushes(pos, scratch, WHITE);
    evaluate_pawn_pushes(pos, scratch, BLACK);
}
