// Pawn bitboards and pawn structure, with the pawn hash.
#include "board/attacks.h"
#include "eval/eval.h"
#include "eval/scratch.h"

namespace {

constexpr ScorePair CENTRE_PAWN_BLOCKED = {-6, -6};
constexpr Bitboard CENTRE_FILES = file_mask(2) | file_mask(3) | file_mask(4) | file_mask(5);

// Score of one pawn. A white pawn on a5 with b4 and no other neighbour is connected to nothing, but b4 attacks a5: defended.
ScorePair pawn_score(const Position &pos, const EvalTables &t, const EvalScratch &scratch, Colour c, Square s) {
    const SideShape &own = scratch.shape->side[c];
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
    if ((own.attacks & bit(s)) != 0) score += t.defended_squares[table_square];
    return score;
}

}  // namespace

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
