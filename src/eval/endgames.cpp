// Material that cannot win, recognised endings against a bare king, and the draw scale.
#include "board/attacks.h"
#include "eval/kpk.h"
#include "eval/scratch.h"

namespace {

constexpr std::uint32_t ONE_PAWN = 0x1;
constexpr std::uint32_t BISHOP_AND_KNIGHT = 0x110;
constexpr std::uint32_t TWO_KNIGHTS = 0x20;
constexpr std::uint32_t ROOKS_AND_QUEENS = 0xFF000;
constexpr int FULL_SCALE = 256;
constexpr int LEAST_SCALE = 64;
constexpr int DEAD_DRAW_SCALE = 16;

int score_kpk(const Position &pos, Colour strong) {
    const Square pawn = lsb(pos.of(strong, PAWN));
    const Square strong_king = pos.king_square[strong];
    const Square weak_king = pos.king_square[opponent(strong)];
    const Square promotion = make_square(file_of(pawn), strong == WHITE ? 7 : 0);
    const int score =
        distance(weak_king, promotion) + 4 * relative_rank(strong, pawn) - distance(strong_king, promotion);
    return kpk_is_won(strong, pawn, strong_king, weak_king, pos.side) ? score + 800 : score;
}

// Drives the weak king into a corner of the bishop's colour.
int score_kbnk(const Position &pos, Colour strong) {
    Square weak_king = pos.king_square[opponent(strong)];
    const Square strong_king = pos.king_square[strong];
    const int apart = distance(strong_king, weak_king);
    if (is_light(lsb(pos.of(strong, BISHOP)))) weak_king ^= 7;
    const int corner = std::abs(file_of(weak_king) + rank_of(weak_king) - 7);
    const auto ring = [](int coordinate) { return std::min(coordinate, 7 - coordinate); };
    const int centrality = std::min({ring(file_of(strong_king)), ring(rank_of(strong_king)), 2});
    return 8 * corner + 10 * centrality - 6 * apart + 740;
}

// Drives the weak king to the edge and the strong king towards it.
int score_mating_drive(const Position &pos, Colour strong) {
    const Square weak_king = pos.king_square[opponent(strong)];
    const auto from_centre = [](int coordinate) { return std::max(3 - coordinate, coordinate - 4); };
    const int edge = 10 * (from_centre(file_of(weak_king)) + from_centre(rank_of(weak_king)));
    return 100 * pos.nonpawn_material[strong] + 200 + 2 * (edge - 8 * distance(pos.king_square[strong], weak_king));
}

bool cannot_win(const Position &pos, Colour c) {
    return pos.material[c] < BISHOP_AND_KNIGHT && material_count(pos.material[c], KNIGHT) <= 2;
}

// The stronger side S and its opponent W, with what the scale asks of them.
struct DrawScale {
    const Position &pos;
    const EvalScratch &scratch;
    Colour s, w;
    int pieces_s, pieces_w;
    int pawns_s, pawns_w;

    int compute() const {
        if (pieces_s - pieces_w > 1) return pos.material[s] == TWO_KNIGHTS ? DEAD_DRAW_SCALE : FULL_SCALE;
        if (wrong_corner()) return DEAD_DRAW_SCALE;
        if (pawns_s == 0) return std::min(128, 16 * pieces_s);
        const bool even = pieces_s == pieces_w && pieces_s <= 3;
        if (pieces_s > 3 || pieces_w == 0) return even ? opposite_bishops(FULL_SCALE) : FULL_SCALE;

        int scale = pawns_s <= 3 ? 186 + 20 * pawns_s : FULL_SCALE;
        if (pawns_s == 1 && pieces_w >= pieces_s) {
            scale -= pieces_s <= 1 ? 80 : 40;
            const Square pawn = lsb(pos.of(s, PAWN));
            const Bitboard span = s == WHITE ? attack_tables.north[pawn] : attack_tables.south[pawn];
            const SideScratch &own = scratch.side[s];
            const SideScratch &enemy = scratch.side[w];
            if ((span & (enemy.attacks[KNIGHT] | enemy.attacks[BISHOP])) != 0) scale -= 50;
            if ((span & enemy.attacks[KING] & ~own.attacks[KING]) != 0) {
                scale -= 50;
                if (!even) return std::max(LEAST_SCALE, scale);
            }
        }
        return even ? opposite_bishops(scale) : scale;
    }

    // Rook pawns (or none) with at most a bishop of the wrong colour, and the weak king in the corner.
    bool wrong_corner() const {
        if (pieces_s >= 2 || material_count(pos.material[s], KNIGHT) != 0 || (pos.material[s] & ROOKS_AND_QUEENS) != 0)
            return false;
        const Bitboard pawns = pos.of(s, PAWN);
        int file = 0;
        if ((pawns & ~FILE_A) != 0) {
            if ((pawns & ~FILE_H) != 0) return false;
            file = 7;
        }
        const Square corner = make_square(file, s == WHITE ? 7 : 0);
        const Bitboard corner_colour = is_light(corner) ? LIGHT_SQUARES : ~LIGHT_SQUARES;
        return distance(pos.king_square[w], corner) <= 1 && (pos.of(s, BISHOP) & corner_colour) == 0;
    }

    int opposite_bishops(int scale) const {
        const Bitboard bishop_s = pos.of(s, BISHOP);
        const Bitboard bishop_w = pos.of(w, BISHOP);
        if (popcount(bishop_s) == 1 && popcount(bishop_w) == 1 && pawns_s - pawns_w <= 2 &&
            is_light(lsb(bishop_s)) != is_light(lsb(bishop_w))) {
            int cut = pos.of(w, ROOK) != 0 ? 64 : pos.of(w, KNIGHT) != 0 ? 96 : 128;
            if (pawns_s - pawns_w == 2) cut /= 2;
            if (popcount(scratch.side[s].passed_pawns) >= 2) cut /= 2;
            scale = std::min(scale, FULL_SCALE - cut);
        }
        return std::max(LEAST_SCALE, scale);
    }
};

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
    else if ((material & ROOKS_AND_QUEENS) != 0)
        score = score_mating_drive(pos, strong);
    else
        return false;
    white_score = strong == WHITE ? score : -score;
    return true;
}

int draw_scale(const Position &pos, const EvalScratch &scratch, int score) {
    const Colour s = score >= 0 ? WHITE : BLACK;
    const Colour w = opponent(s);
    const DrawScale scale{pos,
                          scratch,
                          s,
                          w,
                          scratch.side[s].piece_count,
                          scratch.side[w].piece_count,
                          material_count(pos.material[s], PAWN),
                          material_count(pos.material[w], PAWN)};
    return scale.compute();
}
