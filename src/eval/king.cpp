// One king: shelter and danger in the opening half, activity in the endgame half.
#include <bit>

#include "board/attacks.h"
#include "eval/scratch.h"

namespace {

constexpr int CONTACT_CHECK_THREAT = 900;  // centipawns: a queen can give check next to the king
constexpr int FEW_PIECES = 2;              // enemy piece count up to which a king fears nothing
constexpr int ENDGAME_PIECES = 9;          // piece count of both sides from which on activity does not count

// Shelter: FILE_WEIGHT * table value * (4 - rank) / 16 + NO_SHELTER, up to the last rank with a shield.
constexpr int LAST_SHELTER_RANK = FOURTH_RANK;
constexpr int NO_SHELTER = -64;
constexpr std::array<int, 8> FILE_WEIGHT = {4, 4, 3, 2, 2, 3, 4, 4};
constexpr int SHELTER_DIVISOR = 16;

constexpr std::array<int, 10> DEFENDERS_BONUS = {-24, -18, -12, -6, 0, 0, 0, 0, 0, 0};  // by number in the king zone

// The danger index, which the shield's points lower.
constexpr int KNIGHT_ATTACKER = 4;  // each one that reaches the king zone
constexpr int BISHOP_ATTACKER = 3;
constexpr int ROOK_ATTACKER = 4;
constexpr int QUEEN_ATTACKER = 5;
constexpr int SAFE_CHECK = 4;   // each one
constexpr int ZONE_ATTACK = 4;  // each square and type that attacks it unguarded
constexpr int TO_MOVE = 1;      // taken off

// Passivity
constexpr Bitboard INNER_BLOCK = 0x007E7E7E7E7E7E00;  // b2-g7
constexpr int NO_WAY_INSIDE = 10;

// A king and what its terms look at.
struct KingView {
    const Position &pos;
    const EvalTables &tables;
    EvalScratch &scratch;
    Square king;
    SideScratch &own;
    const SideScratch &enemy;
    Bitboard zone;
};

inline int count_safe_checks(const KingView &view, Bitboard safe) {
    const SideScratch &enemy = view.enemy;
    const Bitboard diagonals = bishop_attacks(view.king, view.scratch.occupied) & safe;
    const Bitboard lines = rook_attacks(view.king, view.scratch.occupied) & safe;
    return popcount(knight_attacks(view.king) & safe & enemy.attacks[KNIGHT]) +
           popcount(diagonals & enemy.attacks[BISHOP]) + popcount(lines & enemy.attacks[ROOK]) +
           ((diagonals & enemy.attacks[QUEEN]) != 0) + ((lines & enemy.attacks[QUEEN]) != 0);
}

inline int count_zone_attacks(const KingView &view) {
    const SideScratch &own = view.own;
    const SideScratch &enemy = view.enemy;
    const Bitboard zone = view.zone;
    const Bitboard by_minors = own.attacks[PAWN] | own.attacks[KNIGHT] | own.attacks[BISHOP];
    const Bitboard by_rooks = by_minors | own.attacks[ROOK];
    const Bitboard by_queens = by_rooks | own.attacks[QUEEN];
    return popcount(zone & enemy.attacks[PAWN]) + popcount(zone & enemy.attacks[KNIGHT] & ~by_minors) +
           popcount(zone & enemy.attacks[BISHOP] & ~by_minors) + popcount(zone & enemy.attacks[ROOK] & ~by_rooks) +
           popcount(zone & enemy.attacks[QUEEN] & ~by_queens);
}

// What the enemy pieces around the king cost, in centipawns.
template <Colour C>
int danger_of(const KingView &view, int safe_checks, int shield_points) {
    const unsigned units = view.enemy.attack_units;
    const auto attackers = [units](PieceType type) { return static_cast<int>(units >> (3 * (type - KNIGHT)) & 7); };
    const int index = KNIGHT_ATTACKER * attackers(KNIGHT) + BISHOP_ATTACKER * attackers(BISHOP) +
                      ROOK_ATTACKER * attackers(ROOK) + QUEEN_ATTACKER * attackers(QUEEN) + SAFE_CHECK * safe_checks +
                      ZONE_ATTACK * count_zone_attacks(view) - shield_points - (view.pos.side == C ? TO_MOVE : 0);
    constexpr int LAST_INDEX = static_cast<int>(std::tuple_size_v<decltype(EvalTables::king_danger)>) - 1;
    return index > 0 ? view.tables.king_danger[std::min(index, LAST_INDEX)] : 0;
}

// Shelter less danger, in centipawns; `safe_checks` is filled in.
template <Colour C>
int king_safety(const KingView &view, int &safe_checks) {
    const SideScratch &own = view.own;
    const SideScratch &enemy = view.enemy;
    const int rank = relative_rank(C, view.king);
    const int shield_points = rank > LAST_SHELTER_RANK ? 0 : view.scratch.shape->shield[C];
    const int shield = rank > LAST_SHELTER_RANK
                           ? 0
                           : FILE_WEIGHT[file_of(view.king)] * view.tables.pawn_shield[shield_points] *
                                     (LAST_SHELTER_RANK + 1 - rank) / SHELTER_DIVISOR +
                                 NO_SHELTER;
    const int storm = view.scratch.shape->open_files[C] * view.tables.pawn_storm.op();
    const Bitboard defenders = view.pos.of(C, PAWN) | view.pos.of(C, KNIGHT) | view.pos.of(C, BISHOP);
    const int defence = DEFENDERS_BONUS[popcount(defenders & view.zone)];

    // Squares from which an enemy piece may check without being taken.
    const Bitboard covered =
        own.attacks[PAWN] | own.attacks[KNIGHT] | own.attacks[BISHOP] | own.attacks[ROOK] | own.attacks[QUEEN];
    const Bitboard beside = king_attacks(view.king);
    const Bitboard safe = ~(view.pos.all(opponent(C)) | covered | (beside & ~enemy.double_attacks));
    safe_checks = count_safe_checks(view, safe);
    if ((beside & safe & enemy.attacks[QUEEN]) != 0) view.own.threat_level += CONTACT_CHECK_THREAT;

    const int value = defence + shield + storm - danger_of<C>(view, safe_checks, shield_points);
    if (view.scratch.display != nullptr) view.scratch.display->king_danger[C] = value;
    return value;
}

// A king that cannot move towards the middle or is far from all pawns.
template <Colour C>
int king_passivity(const KingView &view) {
    const Bitboard moves = king_attacks(view.king) & ~view.pos.all(C) & ~view.enemy.attacks[0];
    return ((moves & INNER_BLOCK) == 0 ? NO_WAY_INSIDE : 0) + view.scratch.shape->pawn_distance[C];
}

template <Colour C>
void evaluate_king(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    const Square king = pos.king_square[C];
    SideScratch &own = scratch.side[C];
    const SideScratch &enemy = scratch.side[opponent(C)];
    const KingView view{pos, tables, scratch, king, own, enemy, scratch.shape->side[C].king_zone};

    const ScorePair table = tables.king_squares[from_white_side(C, king)];
    int opening = table.op();
    int safe_checks = 0;
    if (enemy.piece_count > FEW_PIECES) opening += king_safety<C>(view, safe_checks);
    if (pos.of(opponent(C), QUEEN) == 0) opening /= 2;
    int endgame = table.en();
    if (own.piece_count + enemy.piece_count < ENDGAME_PIECES) endgame -= king_passivity<C>(view);
    scratch.add(C, king, DisplayTerm::KINGS, ScorePair(opening, endgame) + safe_checks * tables.safe_check);
}

}  // namespace

void evaluate_kings(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    evaluate_king<WHITE>(pos, tables, scratch);
    evaluate_king<BLACK>(pos, tables, scratch);
}
