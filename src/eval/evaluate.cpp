// The evaluation pass: shared bitboards first, then the terms, then the blend of opening and endgame.
#include "eval/eval.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "eval/parameters.h"
#include "eval/scratch.h"

namespace {

constexpr ScorePair TEMPO = {16, 8};
// Nothing the evaluation says may read as a mate score.
constexpr int HIGHEST_SCORE = 9598;

// What a piece takes from the opening; a side with half of LAST_STAGE or more counts as complete.
constexpr int MINOR_PHASE = 1;
constexpr int ROOK_PHASE = 2;
constexpr int QUEEN_PHASE = 4;
constexpr int FULL_PHASE = LAST_STAGE / 2;

constexpr Bitboard FILES_B_TO_G = ~(FILE_A | FILE_H);

void set_attack_maps(const Position &pos, EvalScratch &scratch) {
    for (const Colour c : {WHITE, BLACK}) {
        SideScratch &own = scratch.side[c];
        const SideShape &shape = scratch.shape->side[c];
        const Bitboard king = king_attacks(pos.king_square[c]);
        own.attacks[PAWN] = shape.attacks;
        own.attacks[KING] = king;
        own.attacks[0] = shape.attacks | king;
        own.double_attacks = shape.double_attacks | (shape.attacks & king);
    }
    for (const Colour c : {WHITE, BLACK}) {
        SideScratch &own = scratch.side[c];
        const SideShape &enemy = scratch.shape->side[opponent(c)];
        own.mobility_area = ~(pos.of(c, KING) | pos.of(c, PAWN) | enemy.attacks);
        const Bitboard outpost_ranks = relative_rank_mask(c, FIFTH_RANK) | relative_rank_mask(c, SIXTH_RANK);
        own.outposts = FILES_B_TO_G & outpost_ranks & ~enemy.attack_span;
    }
}

void set_pinned(const Position &pos, EvalScratch &scratch) {
    scratch.pinned = 0;
    for (const Colour c : {WHITE, BLACK}) {
        const Bitboard bishops = pos.of(opponent(c), BISHOP);
        const Bitboard rooks = pos.of(opponent(c), ROOK);
        const Bitboard queens = pos.of(opponent(c), QUEEN);
        Bitboard pinned = sole_blockers(pos.king_square[c], bishops | queens, rooks | queens, scratch.occupied);
        if (pos.of(c, QUEEN) != 0) pinned |= sole_blockers(lsb(pos.of(c, QUEEN)), bishops, rooks, scratch.occupied);
        scratch.pinned |= pinned & pos.all(c);
    }
}

void set_material(const Position &pos, const EvalTables &t, EvalScratch &scratch) {
    for (const Colour c : {WHITE, BLACK}) {
        SideScratch &own = scratch.side[c];
        const std::uint32_t material = pos.material[c];
        const int knights = material_count(material, KNIGHT);
        const int bishops = material_count(material, BISHOP);
        const int rooks = material_count(material, ROOK);
        const int queens = material_count(material, QUEEN);
        own.material =
            pawn_count(material) * t.pawn + knights * t.knight + bishops * t.bishop + rooks * t.rook + queens * t.queen;
        if (bishops >= 2) own.material += t.bishop_pair;
        if (queens == 1 && knights + bishops + rooks == 0) own.material += t.lone_queen;
        own.piece_count =
            std::min(FULL_PHASE, MINOR_PHASE * (knights + bishops) + ROOK_PHASE * rooks + QUEEN_PHASE * queens);
    }
    scratch.stage = LAST_STAGE - scratch.side[WHITE].piece_count - scratch.side[BLACK].piece_count;
}

// Contempt, from White's view: what the reference side still has on the board makes draws worth avoiding.
int contempt_adjustment(const Position &pos, const EvalTables &tables) {
    const int contempt = tables.contempt;
    if (contempt == 0 || !tables.contempt_active) return 0;
    const Colour reference = contempt > 0 ? tables.engine_side : opponent(tables.engine_side);
    constexpr int LEFT_OUT = 3;  // a minor piece's units
    constexpr int MOST_PAWNS = 6;
    constexpr int PAWN_UNITS = 2;
    constexpr int INITIAL_UNITS = 32 - LEFT_OUT + PAWN_UNITS * MOST_PAWNS;
    const int pieces = std::max(0, pos.nonpawn_material[reference] - LEFT_OUT);
    const int pawns = std::min(MOST_PAWNS, pawn_count(pos.material[reference]));
    const int adjustment = (pieces + PAWN_UNITS * pawns) * contempt / INITIAL_UNITS;
    return tables.engine_side == WHITE ? adjustment : -adjustment;
}

ScorePair difference(ScorePair white, ScorePair black) {
    return {static_cast<std::int16_t>(white.op() - black.op()), static_cast<std::int16_t>(white.en() - black.en())};
}

// A clear positional edge counts a little more than its sum: up to 125 centipawns, from an edge of 199 on.
int amplification(int positional) {
    constexpr int FULL_EDGE = 199;
    constexpr int CURVE = 13;
    constexpr int CURVE_UNIT = 4096;
    const int edge = std::min(std::abs(positional), FULL_EDGE);
    const int bonus = CURVE * edge * edge / CURVE_UNIT;
    return positional < 0 ? -bonus : bonus;
}

// Writes the totals of the pass, from the sides' own views.
void fill_display(EvalDisplay &display, const EvalScratch &scratch, int scale) {
    for (const Colour c : {WHITE, BLACK}) {
        display.material[c] = static_cast<std::int16_t>(taper(scratch.side[c].material, scratch.stage));
        display.positional[c] = static_cast<std::int16_t>(taper(scratch.side[c].positional, scratch.stage));
    }
    display.stage = scratch.stage;
    display.draw_scale = scale / static_cast<double>(FULL_SCALE);
    display.threatened = scratch.threatened;
    display.pinned = scratch.pinned;
    display.free_passers = scratch.free_passers;
}

int for_side(Colour side, int white_score) {
    const int score = std::clamp(white_score, -HIGHEST_SCORE, HIGHEST_SCORE);
    return side == WHITE ? score : -score;
}

}  // namespace

void refresh_eval_caches(EvalThread &thread) {
    if (thread.generation == thread.tables->generation) return;
    thread.cache.fill({});
    thread.pawn_hash.fill({});
    thread.generation = thread.tables->generation;
}

int evaluate(const Position &pos, EvalThread &thread, int ply, bool in_check, EvalResult &result,
             EvalDisplay *display) {
    if (in_check) return IN_CHECK_SCORE;
    result.threat_level[WHITE] = result.threat_level[BLACK] = 0;

    // Material that decides
    if (is_material_draw(pos)) {
        result.flags = RECOGNISED_DRAW;
        return 0;
    }
    ++thread.evaluations;
    if (int score = 0; recognise_bare_king(pos, score)) return for_side(pos.side, score);

    // Cache
    EvalCacheEntry &entry = thread.cache[pos.key % EVAL_CACHE_SIZE];
    if (entry.key == pos.key && thread.iteration > 1 && ply > 1) {
        std::copy_n(entry.threat_level, 2, result.threat_level);
        ++thread.cache_hits;
        return entry.score;
    }

    // Shared bitboards
    EvalScratch scratch;
    scratch.occupied = pos.occupied();
    scratch.display = display;
    scratch.shape = &pawn_shape(pos, thread.shapes);
    set_attack_maps(pos, scratch);
    set_pinned(pos, scratch);

    // Terms
    const EvalTables &tables = *thread.tables;
    set_material(pos, tables, scratch);
    evaluate_pawns(pos, tables, thread, scratch);
    evaluate_pieces(pos, tables, scratch);
    evaluate_kings(pos, tables, scratch);
    evaluate_passers(pos, tables, scratch);
    evaluate_threats(pos, tables, scratch);
    scratch.side[pos.side].positional += TEMPO;

    // Combination
    const SideScratch &white = scratch.side[WHITE];
    const SideScratch &black = scratch.side[BLACK];
    const int material = taper(difference(white.material, black.material), scratch.stage);
    const int positional = taper(difference(white.positional, black.positional), scratch.stage);
    const int unscaled = material + positional + amplification(positional) + contempt_adjustment(pos, tables);
    const int scale = draw_scale(pos, scratch, unscaled);
    const int score = for_side(pos.side, unscaled * scale / FULL_SCALE);

    for (const Colour c : {WHITE, BLACK})
        result.threat_level[c] = entry.threat_level[c] = static_cast<std::int16_t>(scratch.side[c].threat_level);
    entry.key = pos.key;
    entry.score = static_cast<std::int16_t>(score);
    if (display != nullptr) fill_display(*display, scratch, scale);
    return score;
}
