#include "eval/display.h"

#include "base/output.h"
#include "eval/scratch.h"

void EvalDisplay::add(Colour c, Square s, DisplayTerm term, int value) {
    const auto square = static_cast<std::size_t>(s);
    squares[square] = static_cast<std::int16_t>(squares[square] + value);
    std::int16_t &total = totals[static_cast<std::size_t>(term)][c];
    total = static_cast<std::int16_t>(total + value);
}

namespace {

constexpr std::array<const char *, DISPLAY_TERMS> TERM_LABELS = {
    "pawns=     ", "knights=   ", "bishops=   ", "rooks=     ", "queens=    ", "kings=     ", "passers=   "};

std::string set_line(const char *title, Bitboard set) {
    if (set == 0) return {};
    std::string line = title;
    while (set != 0) line.append("  ").append(square_name(pop_lsb(set)));
    return line + "\n";
}

// One letter for each piece that a side has more than the other.
std::array<std::string, 2> imbalance_texts(const Position &pos) {
    std::array<std::string, 2> texts;
    for (const PieceType type : {QUEEN, ROOK, BISHOP, KNIGHT, PAWN}) {
        const int surplus = material_count(pos.material[WHITE], type) - material_count(pos.material[BLACK], type);
        const Colour side = surplus > 0 ? WHITE : BLACK;
        texts[side].append(static_cast<std::size_t>(std::abs(surplus)), " PNBRQ"[type]);
    }
    return texts;
}

std::string row(const char *label, const std::array<std::int16_t, 2> &values) {
    return format_line("%s%5d    %5d    %5d", label, values[0], values[1], values[0] - values[1]);
}

std::string board_rows(const Position &pos, const EvalDisplay &display) {
    std::string text;
    for (int rank = 7; rank >= 0; --rank) {
        std::string values = "    ";
        for (int file = 0; file < 8; ++file) {
            const Square s = make_square(file, rank);
            const Piece piece = pos.board[s];
            text += ' ';
            if (piece == 0) {
                text += (file + rank) % 2 == 0 ? '+' : '-';
                values += "    -";
            } else {
                text += (colour_of(piece) == WHITE ? "-PNBRQK" : "-onbrqk")[type_of(piece)];
                values += format_line(" %4d", display.squares[static_cast<std::size_t>(s)]);
            }
        }
        text += values + "\n";
    }
    return text;
}

std::string pair_text(const char *label, ScorePair pair, const char *separator = "/") {
    return format_line("%s %d%s%d\n", label, pair.op(), separator, pair.en());
}

template <std::size_t N>
ScorePair entry_or_zero(const std::array<ScorePair, N> &curve, std::size_t n) {
    return n < N ? curve[n] : ScorePair{};
}

std::string square_table_text(const SquareScores &table, const char *title) {
    std::string text;
    for (const bool opening : {true, false}) {
        text.append(title) += '\n';
        for (int rank = 7; rank >= 0; --rank) {
            for (int file = 0; file < 8; ++file) {
                const ScorePair pair = table[static_cast<std::size_t>(make_square(file, rank))];
                text += format_line("  %3d ", opening ? pair.op() : pair.en());
            }
            text += '\n';
        }
        text += '\n';
    }
    return text;
}

}  // namespace

std::string evaluation_text(const Position &pos, const EvalDisplay &display, int eval, int quiescence) {
    std::string text = format_line("eval= %d, qscore= %d, stage= %d, draw_adj= %0.2f\n\n", eval, quiescence,
                                   display.stage, display.draw_scale);
    text += set_line("hung pieces on: ", display.threatened);
    text += set_line("pinned pieces on :", display.pinned);
    text += set_line("free pawns on :", display.free_passers);
    const std::array<std::string, 2> imbalance = imbalance_texts(pos);
    text += "           white    black     diff\n";
    text += row("mtl=       ", display.material) +
            format_line("   (%s :: %s)\n", imbalance[0].c_str(), imbalance[1].c_str());
    text += row("pos=       ", display.positional) + "\n";
    for (std::size_t term = 0; term < DISPLAY_TERMS; ++term)
        text += row(TERM_LABELS[term], display.totals[term]) + "\n";
    text += board_rows(pos, display);
    return text + (pos.side == WHITE ? "white" : "black");
}

std::string eval_params_text(const EvalTables &t) {
    std::string text = "piece values=";
    for (const ScorePair pair : {t.pawn, t.knight, t.bishop, t.rook, t.queen})
        text += format_line("  %d/%d", pair.op(), pair.en());
    text += pair_text("\nbishop_pair=", t.bishop_pair, " , ");

    text += "\nKingDanger[]=";
    for (std::size_t i = 0; i < t.king_danger.size(); ++i) {
        if (i % 10 == 0) text += format_line("\n%2zu:  ", i);
        text += format_line("  %3d ", t.king_danger[i]);
    }
    text += "\n\nPawnShield[]=";
    for (std::size_t i = 0; i <= 22; ++i) text += format_line(" %d", t.pawn_shield[i]);
    text += "\n\n";

    for (std::size_t n = 0; n <= 18; ++n) {
        const ScorePair knight = entry_or_zero(t.knight_mobility, n);
        const ScorePair bishop = t.bishop_mobility[n];
        const ScorePair rook = t.rook_mobility[n];
        const ScorePair queen = t.queen_mobility[n];
        text += format_line("%3zu  nmob= %3d/%3d  bmob=%3d/%3d  rmob=%3d/%3d  qmob= %3d/%3d\n", n, knight.op(),
                            knight.en(), bishop.op(), bishop.en(), rook.op(), rook.en(), queen.op(), queen.en());
    }
    text += pair_text("queen_mob[28] =", t.queen_mobility[28]);
    for (std::size_t rank = 1; rank < 8; ++rank)
        text += format_line("rank=%zu,  ppawn= %3d , %3d\n", rank + 1, t.passed_unsafe[rank], t.passed_safe[rank]);
    text += pair_text("pawn_storm=", t.pawn_storm);
    text += pair_text("hung_pawn=", t.hung_pawn);
    text += pair_text("hung_piece=", t.hung_piece);
    text += pair_text("attacked_piece=", t.attacked_piece);
    text += pair_text("knight_outpost=", t.knight_outpost);
    text += pair_text("bishop_outpost=", t.bishop_outpost);

    text += square_table_text(t.pawn_squares, "Pawn");
    text += square_table_text(t.knight_squares, "Knight");
    text += square_table_text(t.bishop_squares, "Bishop");
    text += square_table_text(t.rook_squares, "Rook");
    text += square_table_text(t.queen_squares, "Queen");
    text += square_table_text(t.king_squares, "King");
    text += square_table_text(t.connected_squares, "Connected Pawn");
    text += square_table_text(t.defended_squares, "Defended Pawn");
    return text + '\n';
}
