// Pawn bitboards and pawn structure, with the pawn hash.
#include "board/attacks.h"
#include "eval/eval.h"
#include "eval/scratch.h"

namespace {

constexpr ScorePair CENTRE_PAWN_BLOCKED = {-6, -6};
constexpr Bitboard CENTRE_FILES = file_mask(2) | file_mask(3) | file_mask(4) | file_mask(5);

// Every square strictly ahead of any pawn of the set on its file.
Bitboard front_fill(Colour c, Bitboard pawns) {
    if (c == WHITE) {
        pawns <<= 8;
        pawns |= pawns << 8;
        pawns |= pawns << 16;
        return pawns | pawns << 32;
    }
    pawns >>= 8;
    pawns |= pawns >> 8;
    pawns |= pawns >> 16;
    return pawns | pawns >> 32;
}

// Score of one pawn. A white pawn on a5 with b4 and no other neighbour is connected to nothing, but b4 attacks a5: defended.
ScorePair pawn_score(const Position &pos, const EvalTables &t, const EvalScratch &scratch, Colour c, Square s) {
    const SideScratch &own = scratch.side[c];
    const Bitboard pawns = pos.of(c, PAWN);
    const Bitboard file = file_mask(file_of(s));
    const Square table_square = from_white_side(c, s);
    ScorePair score = t.pawn_squares[table_square];
    if ((pawns & file & ~bit(s)) != 0) score += t.pawn_doubled;
    if ((own.attack_span & bit(s + pawn_direction(c))) == 0) {
        score += t.pawn_backward;
        if ((pawns & shift_sideways(file)) == 0) score += t.pawn_isolated;
        const Bitboard ahead = squares_ahead(c, s);
        if ((pos.of(opponent(c), PAWN) & ahead) == 0) score += t.pawn_weak;
    }
    if ((pawns & shift_sideways(bit(s))) != 0) score += t.connected_squares[table_square];
    if ((own.attacks[PAWN] & bit(s)) != 0) score += t.defended_squares[table_square];
    return score;
}

}  // namespace

void set_pawn_bitboards(const Position &pos, EvalScratch &scratch) {
    for (const Colour c : {WHITE, BLACK}) {
        SideScratch &own = scratch.side[c];
        const Bitboard pawns = pos.of(c, PAWN);
        const Bitboard forward = shift_forward(c, pawns);
        own.attacks[PAWN] = shift_sideways(forward);
        // Squares that two pawns attack, one from either side.
        own.double_attacks = (forward & ~FILE_A) >> 1 & (forward & ~FILE_H) << 1;
        own.front_fill = front_fill(c, pawns);
        own.attack_span = shift_sideways(own.front_fill);
        own.blocked_pawns =
            pawns & shift_forward(opponent(c), pos.of(opponent(c), PAWN)) & ~(FILE_A | FILE_H | RANK_1 | RANK_8);
    }
    for (const Colour c : {WHITE, BLACK}) {
        SideScratch &own = scratch.side[c];
        const SideScratch &enemy = scratch.side[opponent(c)];
        const Bitboard unopposed = pos.of(c, PAWN) & ~enemy.front_fill;
        own.passed_pawns = unopposed & ~enemy.attack_span;
        own.candidate_pawns = unopposed & enemy.attack_span;
    }
}

void evaluate_pawns(const Position &pos, const EvalTables &tables, EvalThread &thread, EvalScratch &scratch) {
    ++thread.pawn_probes;
    PawnHashEntry &entry = thread.pawn_hash[pos.pawn_key % PAWN_HASH_SIZE];
    if (entry.key == pos.pawn_key && thread.iteration != 0) {
        ++thread.pawn_hits;
        for (const Colour c : {WHITE, BLACK}) scratch.side[c].positional = entry.score[c];
    } else {
        entry.key = pos.pawn_key;
        for (const Colour c : {WHITE, BLACK}) {
            scratch.side[c].positional = {};
            for (Bitboard pawns = pos.of(c, PAWN); pawns != 0;) {
                const Square s = pop_lsb(pawns);
                scratch.add(c, s, DisplayTerm::PAWNS, pawn_score(pos, tables, scratch, c, s));
            }
            entry.score[c] = scratch.side[c].positional;
        }
    }
    for (const Colour c : {WHITE, BLACK}) {
        const Bitboard blocked = pos.of(c, PAWN) & shift_forward(opponent(c), scratch.occupied);
        const Bitboard centre = blocked & CENTRE_FILES & relative_rank_mask(c, SECOND_RANK);
        scratch.side[c].positional += popcount(blocked) * tables.pawn_blocked + popcount(centre) * CENTRE_PAWN_BLOCKED;
    }
}
