// Mobility, squares, outposts, files and traps of knights, bishops, rooks and queens.
#include "board/attacks.h"
#include "eval/scratch.h"

namespace {

constexpr Bitboard CENTRE_BLOCK = 0x00003C3C3C3C0000;  // c3-f6
constexpr ScorePair KNIGHT_OFF_THE_WINGS = {-8, 0};    // attacks nothing on the files around the kings
constexpr ScorePair QUEEN_OFF_THE_WINGS = {-10, -10};
constexpr int CORNERED_BELOW = 2;           // squares
constexpr int CORNERED_PIECE_THREAT = 250;  // centipawns
constexpr int TRAPPED_ROOK_BELOW = 5;       // squares

// Amount that a piece of a type, reaching the enemy king zone, adds to the attack units.
constexpr std::array<unsigned, 8> ATTACK_UNIT = {0, 0, 1, 8, 64, 512, 0, 0};

// Files next to an edge rook's file on the way to the centre, where its own pawns and king shut it in: for a rook on h1 the
// files f and g.
constexpr std::array<Bitboard, 8> TRAPPING_FILES = {
    file_mask(1) | file_mask(2), file_mask(2), 0, 0, 0, 0, file_mask(5), file_mask(5) | file_mask(6),
};

constexpr DisplayTerm term_of(PieceType type) {
    return static_cast<DisplayTerm>(static_cast<int>(DisplayTerm::KNIGHTS) + type - KNIGHT);
}

// The pieces of one colour while they are looked at, kind by kind. The sums move to the scratch record at the end; here
// they are close at hand.
struct PiecePass {
    const Position &pos;
    const EvalTables &tables;
    EvalScratch &scratch;
    SideScratch &own;
    const Bitboard enemy_zone;
    const Bitboard flank_files;        // files around both kings
    const Bitboard blocked_pawns;      // own pawns on files b-g behind an enemy pawn
    Bitboard attacks, double_attacks;  // so far
    Bitboard type_attacks = 0;         // of the kind at hand
    unsigned attack_units = 0;
    ScorePair positional = {};
};

template <PieceType TYPE>
void record_attacks(PiecePass &pass, Bitboard attacks) {
    pass.double_attacks |= attacks & pass.attacks;
    pass.attacks |= attacks;
    pass.type_attacks |= attacks;
    pass.attack_units += (attacks & pass.enemy_zone) != 0 ? ATTACK_UNIT[TYPE] : 0;
}

// A minor piece on its last rank that can hardly move is about to be lost.
template <Colour C>
void note_cornered(PiecePass &pass, Square s, int area_count) {
    if (area_count < CORNERED_BELOW && relative_rank(C, s) == EIGHTH_RANK)
        pass.own.threat_level += CORNERED_PIECE_THREAT;
}

template <Colour C>
ScorePair knight_score(PiecePass &pass, Square s, bool pinned) {
    const EvalTables &t = pass.tables;
    const SideScratch &own = pass.own;
    const Bitboard attacks = knight_attacks(s);
    record_attacks<KNIGHT>(pass, attacks);
    const int count = pinned ? 0 : popcount(attacks & own.mobility_area);
    ScorePair score = t.knight_squares[from_white_side(C, s)];
    score += t.knight_mobility[count];
    if ((attacks & pass.flank_files) == 0) score += KNIGHT_OFF_THE_WINGS;
    if ((own.outposts & bit(s)) != 0) {
        score += t.knight_outpost;
        if ((own.attacks[PAWN] & bit(s)) != 0) score += t.knight_half_outpost;
    } else if ((attacks & own.outposts) != 0) {
        score += t.knight_half_outpost;
    }
    note_cornered<C>(pass, s, count);
    return score;
}

template <Colour C>
ScorePair bishop_score(PiecePass &pass, Square s, bool pinned) {
    const EvalTables &t = pass.tables;
    const SideScratch &own = pass.own;
    // The bishop sees through its own queens.
    const Bitboard attacks = bishop_attacks(s, pass.scratch.occupied & ~pass.pos.of(C, QUEEN));
    record_attacks<BISHOP>(pass, attacks);
    const int area_count = pinned ? 0 : popcount(attacks & own.mobility_area);
    // Central squares count twice.
    const int count = pinned ? 0 : area_count + popcount(attacks & CENTRE_BLOCK);
    ScorePair score = t.bishop_squares[from_white_side(C, s)];
    score += t.bishop_mobility[count];
    if ((own.outposts & bit(s)) != 0)
        score += t.bishop_outpost;
    else if ((attacks & own.outposts) != 0)
        score += t.bishop_half_outpost;
    score += popcount(pass.blocked_pawns & same_coloured(s)) * t.bad_bishop;
    note_cornered<C>(pass, s, area_count);
    return score;
}

template <Colour C>
ScorePair rook_score(PiecePass &pass, Square s, bool pinned) {
    const Position &pos = pass.pos;
    const EvalTables &t = pass.tables;
    const Bitboard see_through = pos.of(C, ROOK) | pos.of(C, QUEEN);
    const Bitboard attacks = rook_attacks(s, pass.scratch.occupied & ~see_through);
    record_attacks<ROOK>(pass, attacks);
    const Bitboard file = file_mask(file_of(s));
    const int area_count = pinned ? 0 : popcount(attacks & pass.own.mobility_area);
    const int count = pinned ? 0 : area_count + popcount(attacks & file & own_half(opponent(C)));
    ScorePair score = t.rook_squares[from_white_side(C, s)];
    score += t.rook_mobility[count];
    if ((pos.of(C, PAWN) & file) == 0)
        score += (pos.of(opponent(C), PAWN) & file) != 0 ? t.rook_half_open_file : t.rook_open_file;
    const Bitboard own_rank = rank_mask(rank_of(s));
    if (area_count < TRAPPED_ROOK_BELOW &&
        ((pos.of(C, PAWN) | pos.of(C, KING)) & own_rank & TRAPPING_FILES[file_of(s)]) != 0)
        score += t.rook_trapped;
    const Bitboard last_ranks = relative_rank_mask(C, SEVENTH_RANK) | relative_rank_mask(C, EIGHTH_RANK);
    if (relative_rank(C, s) == SEVENTH_RANK &&
        ((pos.of(opponent(C), PAWN) | pos.of(opponent(C), KING)) & last_ranks) != 0)
        score += t.rook_rank7;
    return score;
}

template <Colour C>
ScorePair queen_score(PiecePass &pass, Square s, bool pinned) {
    const Position &pos = pass.pos;
    // The queen sees through its own bishops on diagonals and its own rooks on lines.
    const Bitboard occupied = pass.scratch.occupied;
    const Bitboard attacks =
        bishop_attacks(s, occupied & ~pos.of(C, BISHOP)) | rook_attacks(s, occupied & ~pos.of(C, ROOK));
    record_attacks<QUEEN>(pass, attacks);
    const int count = pinned ? 0 : popcount(attacks & pass.own.mobility_area);
    ScorePair score = pass.tables.queen_squares[from_white_side(C, s)];
    score += pass.tables.queen_mobility[count];
    if ((attacks & pass.flank_files) == 0) score += QUEEN_OFF_THE_WINGS;
    return score;
}

template <Colour C, PieceType TYPE, ScorePair (*SCORE)(PiecePass &, Square, bool)>
void evaluate_kind(PiecePass &pass) {
    pass.type_attacks = 0;
    for (Bitboard pieces = pass.pos.of(C, TYPE); pieces != 0;) {
        const Square s = pop_lsb(pieces);
        const ScorePair pair = SCORE(pass, s, (pass.scratch.pinned & bit(s)) != 0);
        pass.positional += pair;
        if (pass.scratch.display != nullptr) pass.scratch.show(C, s, term_of(TYPE), pair);
    }
    pass.own.attacks[TYPE] = pass.type_attacks;
}

template <Colour C>
void evaluate_side(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    SideScratch &own = scratch.side[C];
    const PawnShape &shape = *scratch.shape;
    const Bitboard blocked_pawns =
        pos.of(C, PAWN) & shift_forward(opponent(C), pos.of(opponent(C), PAWN)) & ~(FILE_A | FILE_H | RANK_1 | RANK_8);
    PiecePass pass{pos,
                   tables,
                   scratch,
                   own,
                   shape.side[opponent(C)].king_zone,
                   FILE_A * shape.flank_files,
                   blocked_pawns,
                   own.attacks[0],
                   own.double_attacks};
    evaluate_kind<C, KNIGHT, knight_score<C>>(pass);
    evaluate_kind<C, BISHOP, bishop_score<C>>(pass);
    evaluate_kind<C, ROOK, rook_score<C>>(pass);
    evaluate_kind<C, QUEEN, queen_score<C>>(pass);
    own.attacks[0] = pass.attacks;
    own.double_attacks = pass.double_attacks;
    own.attack_units = pass.attack_units;
    own.positional += pass.positional;
}

}  // namespace

void evaluate_pieces(const Position &pos, const EvalTables &tables, EvalScratch &scratch) {
    evaluate_side<WHITE>(pos, tables, scratch);
    evaluate_side<BLACK>(pos, tables, scratch);
}
