// Hung and attacked pieces, and pawn pushes that would attack something.
#include "eval/scratch.h"

namespace {

// What the owner of a hung man stands to lose, in centipawns.
constexpr int HUNG_PAWN_THREAT = 64;
constexpr int HUNG_PIECE_THREAT = 256;

template <Colour VICTIM>
void evaluate_hung_pieces(const Position &pos, const EvalTables &t, EvalScratch &scratch) {
    SideScratch &own = scratch.side[VICTIM];
    const SideScratch &enemy = scratch.side[opponent(VICTIM)];
    if ((enemy.attacks[0] & pos.all(VICTIM)) == 0) return;

    const Bitboard by_pawn = enemy.attacks[PAWN];
    const Bitboard by_minor = by_pawn | enemy.attacks[KNIGHT] | enemy.attacks[BISHOP];
    const Bitboard weak =
        (enemy.attacks[0] & ~own.attacks[0]) | (enemy.double_attacks & ~own.double_attacks & ~own.attacks[PAWN]);
    const Bitboard minors = pos.of(VICTIM, KNIGHT) | pos.of(VICTIM, BISHOP);
    const Bitboard hung_pawns = pos.of(VICTIM, PAWN) & weak & ~by_pawn;
    const Bitboard hung_pieces = (minors & (weak | by_pawn)) | (pos.of(VICTIM, ROOK) & (weak | by_minor)) |
                                 (pos.of(VICTIM, QUEEN) & (by_minor | enemy.attacks[ROOK]));
    const Bitboard attacked =
        ((pos.of(VICTIM, PAWN) & enemy.attacks[0] & ~by_pawn) | ((minors | pos.of(VICTIM, ROOK)) & enemy.attacks[0])) &
        ~own.attacks[PAWN] & ~hung_pawns & ~hung_pieces;

    const int pawns = popcount(hung_pawns);
    const int pieces = popcount(hung_pieces);
    own.positional += pawns * t.hung_pawn + pieces * t.hung_piece + popcount(attacked) * t.attacked_piece;
    if (pawns + pieces >= 2) own.positional += t.multi_hung;
    scratch.threatened |= hung_pawns | hung_pieces;
    own.threat_level += pawns * HUNG_PAWN_THREAT + pieces * HUNG_PIECE_THREAT;
}

template <Colour VICTIM>
void evaluate_pawn_pushes(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    constexpr Colour PUSHER = opponent(VICTIM);
    SideScratch &own = scratch.side[VICTIM];
    const SideScratch &enemy = scratch.side[PUSHER];
    const Bitboard empty = ~scratch.occupied;
    const Bitboard pawns = pos.of(PUSHER, PAWN);
    const Bitboard single = shift_forward(PUSHER, pawns) & empty;
    const Bitboard from_second = shift_forward(PUSHER, pawns & relative_rank_mask(PUSHER, SECOND_RANK)) & empty;
    const Bitboard pushes = single | (shift_forward(PUSHER, from_second) & empty);
    const Bitboard kept = pushes & (~own.attacks[0] | enemy.attacks[PAWN] | enemy.double_attacks);
    const Bitboard attacked = pawn_attack_set(PUSHER, kept) & pos.all(VICTIM) & ~pos.of(VICTIM, PAWN);
    own.positional += popcount(attacked) * tables.threat_ppush;
}

}  // namespace

void evaluate_threats(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    evaluate_hung_pieces<WHITE>(pos, tables, scratch);
    evaluate_hung_pieces<BLACK>(pos, tables, scratch);
    evaluate_pawn_pushes<WHITE>(pos, tables, scratch);
    evaluate_pawn_pushes<BLACK>(pos, tables, scratch);
}
