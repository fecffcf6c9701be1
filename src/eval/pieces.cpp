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

// The pieces of one colour, kind by kind; everything that depends on the colour is known at compile time.
template <Colour C>
class PieceEvaluation {
public:
    PieceEvaluation(const Position &pos, EvalScratch &scratch)
        : pos_(pos),
          scratch_(scratch),
          own_(scratch.side[C]),
          tables_(eval_tables),
          enemy_zone_(scratch.side[opponent(C)].king_zone),
          attacks_(own_.attacks[0]),
          double_attacks_(own_.double_attacks) {}

    void run() {
        each(KNIGHT, [this](Square s, bool pinned) { return knight(s, pinned); });
        each(BISHOP, [this](Square s, bool pinned) { return bishop(s, pinned); });
        each(ROOK, [this](Square s, bool pinned) { return rook(s, pinned); });
        each(QUEEN, [this](Square s, bool pinned) { return queen(s, pinned); });
        own_.attacks[0] = attacks_;
        own_.double_attacks = double_attacks_;
        own_.attack_units = attack_units_;
        own_.positional += positional_;
    }

private:
    template <typename Score>
    void each(int type, Score score) {
        type_attacks_ = 0;
        for (Bitboard pieces = pos_.of(C, type); pieces != 0;) {
            const Square s = pop_lsb(pieces);
            const ScorePair pair = score(s, (scratch_.pinned & bit(s)) != 0);
            positional_ += pair;
            if (scratch_.display != nullptr) scratch_.show(C, s, term_of(type), pair);
        }
        own_.attacks[static_cast<std::size_t>(type)] = type_attacks_;
    }

    void record_attacks(int type, Bitboard attacks) {
        double_attacks_ |= attacks & attacks_;
        attacks_ |= attacks;
        type_attacks_ |= attacks;
        attack_units_ += (attacks & enemy_zone_) != 0 ? ATTACK_UNIT[static_cast<std::size_t>(type)] : 0;
    }

    // A minor piece on its last rank that can hardly move is about to be lost.
    void note_cornered(Square s, int area_count) {
        if (area_count < 2 && relative_rank(C, s) == 7) own_.threat_level += CORNERED_PIECE_THREAT;
    }

    ScorePair knight(Square s, bool pinned) {
        const Bitboard attacks = knight_attacks(s);
        record_attacks(KNIGHT, attacks);
        const int count = pinned ? 0 : popcount(attacks & own_.mobility_area);
        ScorePair score = tables_.knight_squares[from_white_side(C, s)];
        score += tables_.knight_mobility[count];
        if ((attacks & scratch_.flank_files) == 0) score += ScorePair(-8, 0);
        if ((own_.outposts & bit(s)) != 0) {
            score += tables_.knight_outpost;
            if ((own_.attacks[PAWN] & bit(s)) != 0) score += tables_.knight_half_outpost;
        } else if ((attacks & own_.outposts) != 0) {
            score += tables_.knight_half_outpost;
        }
        note_cornered(s, count);
        return score;
    }

    ScorePair bishop(Square s, bool pinned) {
        // The bishop sees through its own queens.
        const Bitboard attacks = bishop_attacks(s, scratch_.occupied & ~pos_.of(C, QUEEN));
        record_attacks(BISHOP, attacks);
        const int area_count = pinned ? 0 : popcount(attacks & own_.mobility_area);
        // Central squares count twice.
        const int count = pinned ? 0 : area_count + popcount(attacks & CENTRE_BLOCK);
        ScorePair score = tables_.bishop_squares[from_white_side(C, s)];
        score += tables_.bishop_mobility[count];
        if ((own_.outposts & bit(s)) != 0)
            score += tables_.bishop_outpost;
        else if ((attacks & own_.outposts) != 0)
            score += tables_.bishop_half_outpost;
        const Bitboard same_colour = is_light(s) ? LIGHT_SQUARES : ~LIGHT_SQUARES;
        score += popcount(own_.blocked_pawns & same_colour) * tables_.bad_bishop;
        note_cornered(s, area_count);
        return score;
    }

    ScorePair rook(Square s, bool pinned) {
        const Bitboard see_through = pos_.of(C, ROOK) | pos_.of(C, QUEEN);
        const Bitboard attacks = rook_attacks(s, scratch_.occupied & ~see_through);
        record_attacks(ROOK, attacks);
        const Bitboard file = file_mask(file_of(s));
        const int area_count = pinned ? 0 : popcount(attacks & own_.mobility_area);
        const int count = pinned ? 0 : area_count + popcount(attacks & file & own_half(opponent(C)));
        ScorePair score = tables_.rook_squares[from_white_side(C, s)];
        score += tables_.rook_mobility[count];
        if ((pos_.of(C, PAWN) & file) == 0)
            score += (pos_.of(opponent(C), PAWN) & file) != 0 ? tables_.rook_half_open_file : tables_.rook_open_file;
        const Bitboard own_rank = rank_mask(rank_of(s));
        if (area_count < 5 && ((pos_.of(C, PAWN) | pos_.of(C, KING)) & own_rank & TRAPPING_FILES[file_of(s)]) != 0)
            score += tables_.rook_trapped;
        const Bitboard last_ranks = relative_rank_mask(C, 6) | relative_rank_mask(C, 7);
        if (relative_rank(C, s) == 6 && ((pos_.of(opponent(C), PAWN) | pos_.of(opponent(C), KING)) & last_ranks) != 0)
            score += tables_.rook_rank7;
        return score;
    }

    ScorePair queen(Square s, bool pinned) {
        // The queen sees through its own bishops on diagonals and its own rooks on lines.
        const Bitboard attacks = bishop_attacks(s, scratch_.occupied & ~pos_.of(C, BISHOP)) |
                                 rook_attacks(s, scratch_.occupied & ~pos_.of(C, ROOK));
        record_attacks(QUEEN, attacks);
        const int count = pinned ? 0 : popcount(attacks & own_.mobility_area);
        ScorePair score = tables_.queen_squares[from_white_side(C, s)];
        score += tables_.queen_mobility[count];
        if ((attacks & scratch_.flank_files) == 0) score += ScorePair(-10, -10);
        return score;
    }

    const Position &pos_;
    EvalScratch &scratch_;
    SideScratch &own_;
    const EvalTables &tables_;
    const Bitboard enemy_zone_;
    // What run() hands over at its end; close at hand in between.
    Bitboard attacks_;
    Bitboard double_attacks_;
    Bitboard type_attacks_ = 0;
    unsigned attack_units_ = 0;
    ScorePair positional_;
};

}  // namespace

void evaluate_pieces(const Position &pos, EvalScratch &scratch) {
    PieceEvaluation<WHITE>(pos, scratch).run();
    PieceEvaluation<BLACK>(pos, scratch).run();
}
