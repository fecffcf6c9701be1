#include "tablebase/probe.h"

#include <algorithm>
#include <cassert>
#include <limits>

#include "board/attacks.h"
#include "tablebase/index.h"
#include "tablebase/registry.h"

namespace {

// [wdl + 2]
constexpr std::array<int, 5> wdl_dtz_equiv = {-1, -101, 0, 101, 1};
constexpr std::array<int, 5> wdl_map_class = {1, 3, 0, 2, 0};
constexpr std::array<int, 5> dtz_full_flag = {8, 0, 0, 0, 4};

constexpr int NOTHING = -3;  // below every value

int wdl_slot(int wdl) { return wdl + 2; }

// How a position lies in a table: with its colours exchanged or not, and which side to move.
struct Orientation {
    bool mirrored;
    int stream;  // 0: White to move in the table's colours
};

Orientation orientation(const TbPosition &pos, std::uint64_t key, std::uint64_t table_key, bool symmetric) {
    const bool black = pos.side == BLACK;
    if (symmetric) return {black, 0};
    const bool mirrored = key != table_key;
    return {mirrored, black != mirrored ? 1 : 0};
}

Bitboard pieces_of(const TbPosition &pos, Piece piece) {
    const Bitboard types[] = {0, pos.pawns, pos.knights, pos.bishops, pos.rooks, pos.queens, pos.kings, 0};
    return types[type_of(piece)] & (colour_of(piece) == WHITE ? pos.white : pos.black);
}

// Squares of the pieces from place `i` on, in encoding order.
void collect(const TbPosition &pos, bool mirrored, const std::array<Piece, TB_PIECES> &order, int i, int end,
             std::array<Square, TB_PIECES> &squares) {
    const int flip = mirrored ? 56 : 0;
    while (i < end)
        for (Bitboard pieces = pieces_of(pos, mirrored ? recoloured(order[i]) : order[i]); pieces != 0 && i < end;)
            squares[i++] = pop_lsb(pieces) ^ flip;
}

// Sub-table of a position, its squares in encoding order, and the index there; negative for an impossible position.
struct Place {
    int sub_table;
    std::int64_t index;
};
Place place_of(const TbPosition &pos, const TbMaterial &material, const TbLayout &layout, Orientation o) {
    std::array<Square, TB_PIECES> squares{};
    int sub_table = 0;
    int collected = 0;
    if (material.pawn_table) {
        collected = material.pawn_counts[0];
        collect(pos, o.mirrored, layout.sides[0][0].piece_order, 0, collected, squares);
        sub_table = tb_leading_file(material, squares);
    }
    const TbSide &side = layout.sides[sub_table][o.stream];
    collect(pos, o.mirrored, side.piece_order, collected, material.num, squares);
    return {sub_table, tb_index(material, side, squares)};
}

int tb_probe_wdl_table(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success) {
    success = TB_EXACT;
    const std::uint64_t key = tb_material_key(pos, false);
    if (key == 0) return 0;  // bare kings
    success = TB_FAILED;
    const TbTable *table = tb_find_table(tablebases, key);
    if (table == nullptr) return 0;
    const Orientation o = orientation(pos, key, table->key, table->material.symmetric);
    if (o.stream == 1 && !table->layout->split) return 0;
    const Place place = place_of(pos, table->material, *table->layout, o);
    if (place.index < 0) return 0;
    success = TB_EXACT;
    const TbPairs &pairs = table->layout->sides[place.sub_table][o.stream].pairs;
    return std::min(tb_decode(pairs, static_cast<std::uint64_t>(place.index)), 4) - 2;
}

enum class DtzAnswer { FAILED, FOUND, OTHER_SIDE };

// Plies as the file tells them, for a position with this WDL value.
DtzAnswer tb_probe_dtz_table(Tablebases &tablebases, const TbPosition &pos, int wdl, int &plies) {
    const std::uint64_t key = tb_material_key(pos, false);
    const TbDtzTable *table = tb_find_dtz_table(tablebases, key);
    if (table == nullptr) return DtzAnswer::FAILED;
    const Orientation side_to_move = orientation(pos, key, table->key, table->material->symmetric);
    // One side is stored, in the first stream's place.
    const Place place = place_of(pos, *table->material, *table->layout, {side_to_move.mirrored, 0});
    if (place.index < 0) return DtzAnswer::FAILED;
    const int flags = table->layout->flags[place.sub_table];
    if ((flags & TB_DTZ_SIDE) != side_to_move.stream && !table->material->symmetric) return DtzAnswer::OTHER_SIDE;
    const TbPairs &pairs = table->layout->sides[place.sub_table][0].pairs;
    plies = tb_decode(pairs, static_cast<std::uint64_t>(place.index));
    if ((flags & TB_DTZ_MAPPED) != 0)
        plies = table->layout->value_map[place.sub_table][wdl_map_class[wdl_slot(wdl)]][plies];
    if ((flags & dtz_full_flag[wdl_slot(wdl)]) == 0 || wdl % 2 != 0) plies *= 2;
    return DtzAnswer::FOUND;
}

// Value of a position without en passant: captures are searched, for the tables need not know positions in which a capture
// is best.
int tb_capture_search(Tablebases &tablebases, const TbPosition &pos, int alpha, int beta, TbSuccess &success) {
    TbMoveList captures;
    tb_gen_captures(pos, captures);
    TbPosition next;
    for (const TbMove m : captures) {
        if (tb_is_en_passant(pos, m) || !tb_do_move(pos, m, next)) continue;
        const int value = -tb_capture_search(tablebases, next, -beta, -alpha, success);
        if (success == TB_FAILED) return 0;
        if (value <= alpha) continue;
        if (value >= beta) {
            success = TB_CAPTURE;
            return value;
        }
        alpha = value;
    }
    const int value = tb_probe_wdl_table(tablebases, pos, success);
    if (success == TB_FAILED) return 0;
    if (alpha >= value) {
        success = alpha > 0 ? TB_CAPTURE : TB_EXACT;
        return alpha;
    }
    success = TB_EXACT;
    return value;
}

// Best value of the legal en-passant captures; NOTHING without one.
int best_en_passant(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success) {
    int best = NOTHING;
    if (pos.ep == NO_SQUARE) return best;
    TbMoveList captures;
    tb_gen_captures(pos, captures);
    TbPosition next;
    for (const TbMove m : captures) {
        if (!tb_is_en_passant(pos, m) || !tb_do_move(pos, m, next)) continue;
        const int value = -tb_capture_search(tablebases, next, -2, 2, success);
        if (success == TB_FAILED) return NOTHING;
        best = std::max(best, value);
    }
    return best;
}

// A pawn move that is no capture and keeps a won position won.
bool winning_pawn_move(Tablebases &tablebases, const TbPosition &pos, int wdl, TbSuccess &success) {
    TbMoveList moves;
    tb_gen_moves(pos, moves);
    TbPosition next;
    for (const TbMove m : moves) {
        if (!tb_is_pawn_move(pos, m) || tb_is_capture(pos, m) || !tb_do_move(pos, m, next)) continue;
        const int value = next.ep == NO_SQUARE ? -tb_capture_search(tablebases, next, -2, 1 - wdl, success)
                                               : -tb_wdl(tablebases, next, success);
        if (success == TB_FAILED) return false;
        if (value == wdl) return true;
    }
    return false;
}

// Distance of a won position from the distances after its quiet moves.
int dtz_of_won_position(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success) {
    constexpr int NONE = std::numeric_limits<int>::max();
    int best = NONE;
    TbMoveList moves;
    tb_gen_moves(pos, moves);
    TbPosition next;
    for (const TbMove m : moves) {
        if (tb_is_pawn_move(pos, m) || tb_is_capture(pos, m) || !tb_do_move(pos, m, next)) continue;
        const int value = -tb_dtz(tablebases, next, success);
        if (success == TB_FAILED) return 0;
        if (value > 0) best = std::min(best, value + 1);
    }
    if (best == NONE) success = TB_FAILED;  // the files contradict each other
    return best == NONE ? 0 : best;
}

// Distance of a lost position: the longest of its moves.
int dtz_of_lost_position(Tablebases &tablebases, const TbPosition &pos, int wdl, TbSuccess &success) {
    int best = -1;
    TbMoveList moves;
    tb_gen_moves(pos, moves);
    TbPosition next;
    for (const TbMove m : moves) {
        if (!tb_do_move(pos, m, next)) continue;
        int value = -1;
        if (tb_is_pawn_move(pos, m) || tb_is_capture(pos, m)) {
            if (wdl == -1) {
                const bool opponent_wins_at_once = tb_capture_search(tablebases, next, 1, 2, success) == 2;
                value = opponent_wins_at_once ? 0 : -101;
            }
        } else {
            value = -tb_dtz(tablebases, next, success) - 1;
        }
        if (success == TB_FAILED) return 0;
        best = std::min(best, value);
    }
    return best;
}

int dtz_without_en_passant(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success) {
    const int wdl = tb_capture_search(tablebases, pos, -2, 2, success);
    if (success == TB_FAILED || wdl == 0) return 0;
    if (success == TB_CAPTURE) return wdl == 2 ? 1 : 101;
    if (wdl > 0) {
        if (winning_pawn_move(tablebases, pos, wdl, success)) return wdl == 2 ? 1 : 101;
        if (success == TB_FAILED) return 0;
    }
    int plies = 0;
    switch (tb_probe_dtz_table(tablebases, pos, wdl, plies)) {
    case DtzAnswer::FAILED: success = TB_FAILED; return 0;
    case DtzAnswer::FOUND: {
        success = TB_EXACT;
        const int dtz = 1 + plies + (wdl % 2 != 0 ? 100 : 0);
        return wdl >= 0 ? dtz : -dtz;
    }
    case DtzAnswer::OTHER_SIDE: break;
    }
    success = TB_EXACT;
    return wdl > 0 ? dtz_of_won_position(tablebases, pos, success)
                   : dtz_of_lost_position(tablebases, pos, wdl, success);
}

// Whether an en-passant capture worth `e` is the better way for a position worth `v` without it.
bool en_passant_replaces(const TbPosition &pos, int v, int e) {
    if (v < -100) return e >= 0;
    if (v < 0) return e >= 0 || e < -100;
    if (v > 100) return e > 0;
    if (v > 0) return e == 1;
    return e >= 0 || !tb_has_ordinary_move(pos);
}

}  // namespace

int tb_wdl(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success) {
    const int value = tb_capture_search(tablebases, pos, -2, 2, success);
    if (success == TB_FAILED || pos.ep == NO_SQUARE) return value;
    const TbSuccess without = success;
    const int en_passant = best_en_passant(tablebases, pos, success);
    if (success == TB_FAILED) return 0;
    success = without;
    if (en_passant == NOTHING) return value;
    if (en_passant >= value) return en_passant;
    return value == 0 && !tb_has_ordinary_move(pos) ? en_passant : value;
}

int tb_dtz(Tablebases &tablebases, const TbPosition &pos, TbSuccess &success) {
    const int value = dtz_without_en_passant(tablebases, pos, success);
    if (success == TB_FAILED || pos.ep == NO_SQUARE) return value;
    const TbSuccess without = success;
    const int best = best_en_passant(tablebases, pos, success);
    if (success == TB_FAILED) return 0;
    success = without;
    if (best == NOTHING) return value;
    const int en_passant = wdl_dtz_equiv[wdl_slot(best)];
    return en_passant_replaces(pos, value, en_passant) ? en_passant : value;
}

int tb_probe_search(Tablebases &tablebases, const Position &pos, int depth, const TbProbeDepths &depths) {
    constexpr int BEYOND_SIX = 100;
    if (depth < depths.up_to_five) return NO_TB_RESULT;
    const int pieces = popcount(pos.occupied());
    if (pieces > tablebases.largest) return NO_TB_RESULT;
    if (pieces >= 6 && depth < (pieces == 6 ? depths.six : BEYOND_SIX)) return NO_TB_RESULT;
    if (pos.castling != 0) return NO_TB_RESULT;
    TbSuccess success = TB_FAILED;
    const int value = tb_wdl(tablebases, tb_position(pos, 0), success);
    return success != TB_FAILED ? value + 2 : NO_TB_RESULT;
}

namespace {

struct RootMove {
    TbMove move;
    int value;  // signed plies from the mover's view
};

// Plies that a legal root move leads to, from the mover's view.
int root_move_value(Tablebases &tablebases, const TbPosition &next, int root_dtz, TbSuccess &success) {
    success = TB_EXACT;
    if (root_dtz > 0 && tb_is_mate(next)) return 1;
    if (next.fifty == 0) return wdl_dtz_equiv[wdl_slot(-tb_wdl(tablebases, next, success))];
    const int value = -tb_dtz(tablebases, next, success);
    return value > 0 ? value + 1 : value < 0 ? value - 1 : 0;
}

// The move to play: the quickest win, the longest resistance, or a drawing move fixed by the material. Null without one.
const RootMove *choose_move(const std::array<RootMove, MAX_TB_MOVES> &moves, std::size_t count, int dtz,
                            std::uint64_t draw_key) {
    const RootMove *best = nullptr;
    std::size_t draws = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const int value = moves[i].value;
        draws += value == 0;
        if (dtz > 0 ? value > 0 && (best == nullptr || value < best->value)
                    : dtz < 0 && value < 0 && (best == nullptr || value < best->value))
            best = &moves[i];
    }
    if (dtz != 0 || draws == 0) return best;
    std::size_t skip = draw_key % draws;
    for (std::size_t i = 0; i < count; ++i)
        if (moves[i].value == 0 && skip-- == 0) return &moves[i];
    return nullptr;
}

// What the best of some root moves is worth: the quickest win, else a draw, else the longest resistance.
int best_value(const std::array<RootMove, MAX_TB_MOVES> &moves, std::size_t count) {
    int best = moves[0].value;
    for (std::size_t i = 1; i < count; ++i) {
        const int value = moves[i].value;
        const bool better =
            best > 0 ? value > 0 && value < best : value > 0 || (best < 0 && (value == 0 || value < best));
        if (better) best = value;
    }
    return best;
}

}  // namespace

TbRoot tb_probe_root(Tablebases &tablebases, const Position &position, std::span<const Move> only) {
    const TbRoot nothing{NO_TB_RESULT, NO_MOVE};
    const TbPosition pos = tb_position(position, std::min<int>(position.fifty, 254));
    if (!tb_is_valid(pos)) return nothing;
    TbSuccess success = TB_FAILED;
    int dtz = tb_dtz(tablebases, pos, success);
    if (success == TB_FAILED) return nothing;

    TbMoveList list;
    tb_gen_moves(pos, list);
    std::array<RootMove, MAX_TB_MOVES> moves;
    std::size_t count = 0;
    TbPosition next;
    for (const TbMove m : list) {
        if (!only.empty() && std::find(only.begin(), only.end(), tb_engine_move(m)) == only.end()) continue;
        if (!tb_do_move(pos, m, next)) continue;
        moves[count++] = {m, root_move_value(tablebases, next, dtz, success)};
        if (success == TB_FAILED) return nothing;
    }
    if (count == 0) return nothing;
    if (!only.empty()) dtz = best_value(moves, count);
    const RootMove *best = choose_move(moves, count, dtz, tb_material_key(pos, pos.side == BLACK));
    if (best == nullptr) return nothing;
    const int clock = pos.fifty;
    int result = TB_DRAW;
    if (dtz > 0) result = clock + dtz <= 100 ? TB_WIN : TB_WIN - 1;
    if (dtz < 0) result = clock - dtz <= 100 ? TB_LOSS : TB_LOSS + 1;
    return {result, tb_engine_move(best->move)};
}
