// Mobility, squares, outposts, files and traps of knights, bishops, rooks and queens.
#include "board/attacks.h"
#include "eval/scratch.h"

namespace {

constexpr Bitboard CENTRE_BLOCK = 0x00003C3C3C3C0000;  // c3-f6
constexpr int CORNERED_PIECE_THREAT = 250;             // centipawns

// Amount that a piece of a type, reaching the enemy king zone, adds to the attack units.
constexpr std::array<unsigned, 8> ATTACK_UNIT = {0, 0, 1, 8, 64, 512, 0, 0};

// Files next to an edge rook's file on the way to the centre, where its own pawns and king shut it in: for a rook on h1 the
// files f and g.
constexpr std::array<Bitboard, 8> TRAPPING_FILES = {
    file_mask(1) | file_mask(2), file_mask(2), 0, 0, 0, 0, file_mask(5), file_mask(5) | file_mask(6),
};

constexpr DisplayTerm term_of(int type) {
    return static_cast<DisplayTerm>(static_cast<int>(DisplayTerm::KNIGHTS) + type - KNIGHT);
}

// One evaluated piece, with what every kind needs.
struct Piece {
    Colour colour;
    int type;
    Square square;
    bool pinned;
};

class PieceEvaluation {
public:
    PieceEvaluation(const Position &pos, EvalScratch &scratch) : pos_(pos), scratch_(scratch), tables_(eval_tables) {}

    void run() {
        for (const int type : {KNIGHT, BISHOP, ROOK, QUEEN}) {
            Bitboard pieces = pos_.of(WHITE, type) | pos_.of(BLACK, type);
            while (pieces != 0) {
                const Square s = pop_lsb(pieces);
                const Piece piece{colour_of(pos_.board[s]), type, s, (scratch_.pinned & bit(s)) != 0};
                scratch_.add(piece.colour, s, term_of(type), score(piece));
            }
        }
    }

private:
    SideScratch &own(const Piece &piece) { return scratch_.side[piece.colour]; }

    ScorePair score(const Piece &piece) {
        switch (piece.type) {
        case KNIGHT: return knight(piece);
        case BISHOP: return bishop(piece);
        case ROOK: return rook(piece);
        default: return queen(piece);
        }
    }

    void record_attacks(const Piece &piece, Bitboard attacks) {
        SideScratch &side = own(piece);
        side.double_attacks |= attacks & side.attacks[0];
        side.attacks[0] |= attacks;
        side.attacks[piece.type] |= attacks;
        if ((attacks & scratch_.side[1 - piece.colour].king_zone) != 0) side.attack_units += ATTACK_UNIT[piece.type];
    }

    // A minor piece on its last rank that can hardly move is about to be lost.
    void note_cornered(const Piece &piece, int area_count) {
        if (area_count < 2 && relative_rank(piece.colour, piece.square) == 7)
            own(piece).threat_level += CORNERED_PIECE_THREAT;
    }

    ScorePair knight(const Piece &piece) {
        SideScratch &side = own(piece);
        const Bitboard attacks = knight_attacks(piece.square);
        record_attacks(piece, attacks);
        const int count = piece.pinned ? 0 : popcount(attacks & side.mobility_area);
        ScorePair score = tables_.knight_squares[from_white_side(piece.colour, piece.square)];
        score += tables_.knight_mobility[count];
        if ((attacks & scratch_.flank_files) == 0) score += ScorePair(-8, 0);
        if ((side.outposts & bit(piece.square)) != 0) {
            score += tables_.knight_outpost;
            if ((side.attacks[PAWN] & bit(piece.square)) != 0) score += tables_.knight_half_outpost;
        } else if ((attacks & side.outposts) != 0) {
            score += tables_.knight_half_outpost;
        }
        note_cornered(piece, count);
        return score;
    }

    ScorePair bishop(const Piece &piece) {
        SideScratch &side = own(piece);
        // The bishop sees through its own queens.
        const Bitboard attacks = bishop_attacks(piece.square, scratch_.occupied & ~pos_.of(piece.colour, QUEEN));
        record_attacks(piece, attacks);
        const int area_count = piece.pinned ? 0 : popcount(attacks & side.mobility_area);
        // Central squares count twice.
        const int count = piece.pinned ? 0 : area_count + popcount(attacks & CENTRE_BLOCK);
        ScorePair score = tables_.bishop_squares[from_white_side(piece.colour, piece.square)];
        score += tables_.bishop_mobility[count];
        if ((side.outposts & bit(piece.square)) != 0)
            score += tables_.bishop_outpost;
        else if ((attacks & side.outposts) != 0)
            score += tables_.bishop_half_outpost;
        const Bitboard same_colour = is_light(piece.square) ? LIGHT_SQUARES : ~LIGHT_SQUARES;
        score += popcount(side.blocked_pawns & same_colour) * tables_.bad_bishop;
        note_cornered(piece, area_count);
        return score;
    }

    ScorePair rook(const Piece &piece) {
        SideScratch &side = own(piece);
        const Colour c = piece.colour;
        const Bitboard see_through = pos_.of(c, ROOK) | pos_.of(c, QUEEN);
        const Bitboard attacks = rook_attacks(piece.square, scratch_.occupied & ~see_through);
        record_attacks(piece, attacks);
        const Bitboard file = file_mask(file_of(piece.square));
        const Bitboard enemy_half = own_half(1 - c);
        const int area_count = piece.pinned ? 0 : popcount(attacks & side.mobility_area);
        const int count = piece.pinned ? 0 : area_count + popcount(attacks & file & enemy_half);
        ScorePair score = tables_.rook_squares[from_white_side(c, piece.square)];
        score += tables_.rook_mobility[count];
        if ((pos_.of(c, PAWN) & file) == 0)
            score += (pos_.of(1 - c, PAWN) & file) != 0 ? tables_.rook_half_open_file : tables_.rook_open_file;
        const Bitboard own_rank = rank_mask(rank_of(piece.square));
        if (area_count < 5 &&
            ((pos_.of(c, PAWN) | pos_.of(c, KING)) & own_rank & TRAPPING_FILES[file_of(piece.square)]) != 0)
            score += tables_.rook_trapped;
        const Bitboard last_ranks = relative_rank_mask(c, 6) | relative_rank_mask(c, 7);
        if (relative_rank(c, piece.square) == 6 && ((pos_.of(1 - c, PAWN) | pos_.of(1 - c, KING)) & last_ranks) != 0)
            score += tables_.rook_rank7;
        return score;
    }

    ScorePair queen(const Piece &piece) {
        SideScratch &side = own(piece);
        const Bitboard own_bishops = pos_.of(piece.colour, BISHOP);
        const Bitboard own_rooks = pos_.of(piece.colour, ROOK);
        // The queen sees through its own bishops on diagonals and its own rooks on lines.
        const Bitboard attacks = bishop_attacks(piece.square, scratch_.occupied & ~own_bishops) |
                                 rook_attacks(piece.square, scratch_.occupied & ~own_rooks);
        record_attacks(piece, attacks);
        const int count = piece.pinned ? 0 : popcount(attacks & side.mobility_area);
        ScorePair score = tables_.queen_squares[from_white_side(piece.colour, piece.square)];
        score += tables_.queen_mobility[count];
        if ((attacks & scratch_.flank_files) == 0) score += ScorePair(-10, -10);
        return score;
    }

    const Position &pos_;
    EvalScratch &scratch_;
    const EvalTables &tables_;
};

}  // namespace

void evaluate_pieces(const Position &pos, EvalScratch &scratch) { PieceEvaluation(pos, scratch).run(); }
