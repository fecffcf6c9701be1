#include "eval/display.h"

#include <cstdio>

#include "base/output.h"
#include "eval/scratch.h"

EvalDisplay eval_display;

void EvalDisplay::add(Colour c, Square s, DisplayTerm term, int value) {
    const auto square = static_cast<std::size_t>(s);
    squares[square] = static_cast<std::int16_t>(squares[square] + value);
    std::int16_t &total = totals[static_cast<std::size_t>(term)][static_cast<std::size_t>(c)];
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
    for (const int type : {QUEEN, ROOK, BISHOP, KNIGHT, PAWN}) {
        const int surplus = material_count(pos.material[WHITE], type) - material_count(pos.material[BLACK], type);
        const auto side = static_cast<std::size_t>(surplus > 0 ? WHITE : BLACK);
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
            const int piece = pos.board[s];
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

void print_pair(const char *format, ScorePair pair) { std::printf(format, pair.op(), pair.en()); }

template <std::size_t N>
ScorePair entry_or_zero(const std::array<ScorePair, N> &curve, std::size_t n) {
    return n < N ? curve[n] : ScorePair{};
}

void show_square_table(const SquareScores &table, const char *title) {
    for (const bool opening : {true, false}) {
        std::printf("%s\n", title);
        for (int rank = 7; rank >= 0; --rank) {
            for (int file = 0; file < 8; ++file) {
                const ScorePair pair = table[static_cast<std::size_t>(make_square(file, rank))];
                std::printf("  %3d ", opening ? pair.op() : pair.en());
            }
            std::printf("\n");
        }
        std::printf("\n");
    }
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

void show_eval_params() {
    const EvalTables &t = eval_tables;
    std::printf("piece values=");
    for (const ScorePair pair : {t.pawn, t.knight, t.bishop, t.rook, t.queen}) print_pair("  %d/%d", pair);
    print_pair("\nbishop_pair= %d , %d\n\n", t.bishop_pair);

    std::printf("KingDanger[]=");
    for (std::size_t i = 0; i < t.king_danger.size(); ++i) {
        if (i % 10 == 0) std::printf("\n%2zu:  ", i);
        std::printf("  %3d ", t.king_danger[i]);
    }
    std::printf("\n\nPawnShield[]=");
    for (std::size_t i = 0; i <= 22; ++i) std::printf(" %d", t.pawn_shield[i]);
    std::printf("\n\n");

    for (std::size_t n = 0; n <= 18; ++n) {
        const ScorePair knight = entry_or_zero(t.knight_mobility, n);
        const ScorePair bishop = t.bishop_mobility[n];
        const ScorePair rook = t.rook_mobility[n];
        const ScorePair queen = t.queen_mobility[n];
        std::printf("%3zu  nmob= %3d/%3d  bmob=%3d/%3d  rmob=%3d/%3d  qmob= %3d/%3d\n", n, knight.op(), knight.en(),
                    bishop.op(), bishop.en(), rook.op(), rook.en(), queen.op(), queen.en());
    }
    print_pair("queen_mob[28] = %d/%d\n", t.queen_mobility[28]);
    for (std::size_t rank = 1; rank < 8; ++rank)
        std::printf("rank=%zu,  ppawn= %3d , %3d\n", rank + 1, t.passed_unsafe[rank], t.passed_safe[rank]);
    print_pair("pawn_storm= %d/%d\n", t.pawn_storm);
    print_pair("hung_pawn= %d/%d\n", t.hung_pawn);
    print_pair("hung_piece= %d/%d\n", t.hung_piece);
    print_pair("attacked_piece= %d/%d\n", t.attacked_piece);
    print_pair("knight_outpost= %d/%d\n", t.knight_outpost);
    print_pair("bishop_outpost= %d/%d\n", t.bishop_outpost);

    show_square_table(t.pawn_squares, "Pawn");
    show_square_table(t.knight_squares, "Knight");
    show_square_table(t.bishop_squares, "Bishop");
    show_square_table(t.rook_squares, "Rook");
    show_square_table(t.queen_squares, "Queen");
    show_square_table(t.king_squares, "King");
    show_square_table(t.connected_squares, "Connected Pawn");
    show_square_table(t.defended_squares, "Defended Pawn");
    std::printf("\n");
    std::fflush(stdout);
}
