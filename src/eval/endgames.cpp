// Material that cannot win, recognised endings against a bare king, and the draw scale.
#include "board/attacks.h"
#include "eval/kpk.h"
#include "eval/scratch.h"

namespace {

constexpr std::uint32_t ONE_PAWN = MATERIAL_UNIT[PAWN];
constexpr std::uint32_t BISHOP_AND_KNIGHT = MATERIAL_UNIT[BISHOP] + MATERIAL_UNIT[KNIGHT];
constexpr std::uint32_t TWO_KNIGHTS = 2 * MATERIAL_UNIT[KNIGHT];

// Scores against a bare king, in centipawns: a base, and what each step towards the mate or the promotion is worth.
constexpr int KPK_WON = 800;
constexpr int KPK_PAWN_RANK = 4;
constexpr int KBNK_BASE = 740;
constexpr int KBNK_CORNER = 8;
constexpr int KBNK_CENTRALITY = 10;
constexpr int KBNK_APART = 6;
constexpr int DRIVE_BASE = 200;
constexpr int DRIVE_PIECE = 100;  // each unit of non-pawn material
constexpr int DRIVE_EDGE = 20;
constexpr int DRIVE_APART = 16;

// The draw scale, in parts of FULL_SCALE.
constexpr int LEAST_SCALE = 64;
constexpr int DEAD_DRAW_SCALE = 16;
constexpr int CLEAR_EDGE = 1;            // pieces more, beyond which nothing is scaled
constexpr int FEW_PIECES = 3;            // up to which few pawns are hard to win with
constexpr int PAWNLESS_PER_PIECE = 16;   // without pawns ...
constexpr int PAWNLESS_MOST = 128;       // ... and at most
constexpr int FEW_PAWNS = 3;             // up to three pawns ...
constexpr int FEW_PAWNS_BASE = 186;      // ... keep this share ...
constexpr int FEW_PAWNS_PER_PAWN = 20;   // ... and this much more each
constexpr int LAST_PAWN_CUT = 40;        // one pawn left against as many pieces
constexpr int LAST_PAWN_BARE_CUT = 80;   // the same with a minor piece at most
constexpr int PAWN_PATH_MINOR_CUT = 50;  // a minor piece of the weak side controls the way of the last pawn
constexpr int PAWN_PATH_KING_CUT = 50;   // its king does, and the strong king does not
constexpr int OPPOSITE_WITH_ROOK_CUT = 64;
constexpr int OPPOSITE_WITH_KNIGHT_CUT = 96;
constexpr int OPPOSITE_CUT = 128;      // halved with two pawns more, and again with two passed pawns
constexpr int OPPOSITE_MOST_EDGE = 2;  // pawns more up to which bishops of opposite colours count

int score_kpk(const Position &pos, Colour strong) {
    const Square pawn = lsb(pos.of(strong, PAWN));
    const Square strong_king = pos.king_square[strong];
    const Square weak_king = pos.king_square[opponent(strong)];
    const Square promotion = promotion_square(strong, file_of(pawn));
    const int score =
        distance(weak_king, promotion) + KPK_PAWN_RANK * relative_rank(strong, pawn) - distance(strong_king, promotion);
    return kpk_is_won(strong, pawn, strong_king, weak_king, pos.side) ? score + KPK_WON : score;
}

// Drives the weak king into a corner of the bishop's colour.
int score_kbnk(const Position &pos, Colour strong) {
    Square weak_king = pos.king_square[opponent(strong)];
    const Square strong_king = pos.king_square[strong];
    const int apart = distance(strong_king, weak_king);
    if (is_light(lsb(pos.of(strong, BISHOP)))) weak_king = weak_king ^ 7;
    const int corner = std::abs(file_of(weak_king) + rank_of(weak_king) - 7);
    const auto ring = [](int coordinate) { return std::min(coordinate, 7 - coordinate); };
    const int centrality = std::min({ring(file_of(strong_king)), ring(rank_of(strong_king)), 2});
    return KBNK_BASE + KBNK_CORNER * corner + KBNK_CENTRALITY * centrality - KBNK_APART * apart;
}

// Drives the weak king to the edge and the strong king towards it.
int score_mating_drive(const Position &pos, Colour strong) {
    const Square weak_king = pos.king_square[opponent(strong)];
    const auto from_centre = [](int coordinate) { return std::max(3 - coordinate, coordinate - 4); };
    const int edge = from_centre(file_of(weak_king)) + from_centre(rank_of(weak_king));
    return DRIVE_BASE + DRIVE_PIECE * pos.nonpawn_material[strong] + DRIVE_EDGE * edge -
           DRIVE_APART * distance(pos.king_square[strong], weak_king);
}

bool cannot_win(const Position &pos, Colour c) {
    return pos.material[c] < BISHOP_AND_KNIGHT && material_count(pos.material[c], KNIGHT) <= 2;
}

// The two sides and what the scale asks of them.
struct Balance {
    Colour strong, weak;
    int strong_pieces, weak_pieces;  // piece counts, as set_material has them
    int strong_pawns, weak_pawns;
};

// Rook pawns (or none) with at most a bishop of the wrong colour, and the weak king in the corner.
bool is_wrong_corner(const Position &pos, const Balance &balance) {
    const Colour strong = balance.strong;
    const std::uint32_t material = pos.material[strong];
    if (balance.strong_pieces >= 2 || material_count(material, KNIGHT) != 0 || has_rooks_or_queens(material))
        return false;
    const Bitboard pawns = pos.of(strong, PAWN);
    int file = 0;
    if ((pawns & ~FILE_A) != 0) {
        if ((pawns & ~FILE_H) != 0) return false;
        file = 7;
    }
    const Square corner = promotion_square(strong, file);
    return distance(pos.king_square[balance.weak], corner) <= 1 &&
           (pos.of(strong, BISHOP) & same_coloured(corner)) == 0;
}

// The scale with as many pieces on either side: bishops of opposite colours cut it.
int even_scale(const Position &pos, const EvalScratch &scratch, const Balance &balance, int scale) {
    const Bitboard strong_bishops = pos.of(balance.strong, BISHOP);
    const Bitboard weak_bishops = pos.of(balance.weak, BISHOP);
    const int edge = balance.strong_pawns - balance.weak_pawns;
    if (popcount(strong_bishops) == 1 && popcount(weak_bishops) == 1 && edge <= OPPOSITE_MOST_EDGE &&
        is_light(lsb(strong_bishops)) != is_light(lsb(weak_bishops))) {
        int cut = OPPOSITE_CUT;
        if (pos.of(balance.weak, ROOK) != 0)
            cut = OPPOSITE_WITH_ROOK_CUT;
        else if (pos.of(balance.weak, KNIGHT) != 0)
            cut = OPPOSITE_WITH_KNIGHT_CUT;
        if (edge == OPPOSITE_MOST_EDGE) cut /= 2;
        if (popcount(scratch.shape->side[balance.strong].passed_pawns) >= 2) cut /= 2;
        scale = std::min(scale, FULL_SCALE - cut);
    }
    return std::max(LEAST_SCALE, scale);
}

int scale_of(const Position &pos, const EvalScratch &scratch, const Balance &balance) {
    const Colour strong = balance.strong;
    const int pieces = balance.strong_pieces;
    const int pawns = balance.strong_pawns;
    if (pieces - balance.weak_pieces > CLEAR_EDGE)
        return pos.material[strong] == TWO_KNIGHTS ? DEAD_DRAW_SCALE : FULL_SCALE;
    if (is_wrong_corner(pos, balance)) return DEAD_DRAW_SCALE;
    if (pawns == 0) return std::min(PAWNLESS_MOST, PAWNLESS_PER_PIECE * pieces);
    const bool even = pieces == balance.weak_pieces && pieces <= FEW_PIECES;
    if (pieces > FEW_PIECES || balance.weak_pieces == 0)
        return even ? even_scale(pos, scratch, balance, FULL_SCALE) : FULL_SCALE;

    int scale = pawns <= FEW_PAWNS ? FEW_PAWNS_BASE + FEW_PAWNS_PER_PAWN * pawns : FULL_SCALE;
    if (pawns == 1 && balance.weak_pieces >= pieces) {
        scale -= pieces <= 1 ? LAST_PAWN_BARE_CUT : LAST_PAWN_CUT;
        const Bitboard ahead = squares_ahead(strong, lsb(pos.of(strong, PAWN)));
        const SideScratch &own = scratch.side[strong];
        const SideScratch &enemy = scratch.side[balance.weak];
        if ((ahead & (enemy.attacks[KNIGHT] | enemy.attacks[BISHOP])) != 0) scale -= PAWN_PATH_MINOR_CUT;
        if ((ahead & enemy.attacks[KING] & ~own.attacks[KING]) != 0) {
            scale -= PAWN_PATH_KING_CUT;
            if (!even) return std::max(LEAST_SCALE, scale);
        }
    }
    return even ? even_scale(pos, scratch, balance, scale) : scale;
}

}  // namespace

bool is_material_draw(const Position &pos) {
    return (pos.of(WHITE, PAWN) | pos.of(BLACK, PAWN)) == 0 && cannot_win(pos, WHITE) && cannot_win(pos, BLACK);
}

bool recognise_bare_king(const Position &pos, int &white_score) {
    if (pos.material[WHITE] != 0 && pos.material[BLACK] != 0) return false;
    const Colour strong = pos.material[WHITE] != 0 ? WHITE : BLACK;
    const std::uint32_t material = pos.material[strong];
    int score = 0;
    if (material == ONE_PAWN)
        score = score_kpk(pos, strong);
    else if (material == BISHOP_AND_KNIGHT)
        score = score_kbnk(pos, strong);
    else if (has_rooks_or_queens(material))
        score = score_mating_drive(pos, strong);
    else
        return false;
    white_score = strong == WHITE ? score : -score;
    return true;
}

int draw_scale(const Position &pos, const EvalScratch &scratch, int score) {
    const Colour strong = score >= 0 ? WHITE : BLACK;
    const Colour weak = opponent(strong);
    const Balance balance{strong,
                          weak,
                          scratch.side[strong].piece_count,
                          scratch.side[weak].piece_count,
                          pawn_count(pos.material[strong]),
                          pawn_count(pos.material[weak])};
    return scale_of(pos, scratch, balance);
}
