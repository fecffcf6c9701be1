// Games with engine scores in their comments become annotated listings or training records.
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "base/control.h"
#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/settings.h"
#include "base/text.h"
#include "board/attacks.h"
#include "board/fen.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "eval/parameters.h"
#include "search/threads.h"
#include "tools/workbench.h"

namespace {

constexpr std::size_t LONGEST_LINE = 254;
constexpr std::size_t LONGEST_MOVE = 15;
constexpr int NO_COMMENT = -30000;  // score of a move without a comment
constexpr int NO_NUMBER = -29999;   // score of a move whose comment has none
constexpr int MATE_COMMENT = 9000;  // "M5/20"
constexpr int GAMES_PER_LINE = 100;

enum GameResult { WHITE_WINS = 0, BLACK_WINS = 1, NO_WINNER = 2 };

struct ScoredMove {
    std::string text;
    int score;  // centipawns, as the comment gives it
};

struct Game {
    std::vector<ScoredMove> moves;
    int result = NO_WINNER;

    int count() const { return static_cast<int>(moves.size()); }
    int score(int i) const { return moves[static_cast<std::size_t>(i)].score; }
    const std::string &text(int i) const { return moves[static_cast<std::size_t>(i)].text; }
};

int clamped_score(double score) { return static_cast<int>(std::clamp(score, -29999.0, 29999.0)); }

// Pawns with decimals into centipawns, cut; the decimals count as they are written.
int centipawns(std::string_view text) {
    const double scaled = leading_number(text) * 100.0;
    return clamped_score(std::trunc(scaled + std::copysign(1e-6, scaled)));
}

// Score that the comment of a move gives.
int comment_score(std::string_view comment, bool black_moved) {
    if (comment.find("book") != std::string_view::npos) return 0;
    constexpr std::string_view EVAL = "eval ";
    if (const std::size_t at = comment.find(EVAL); at != std::string_view::npos) {
        const std::string_view number = skip_blanks(comment.substr(at + EVAL.size()));
        if (number.empty()) return NO_NUMBER;
        const int score = clamped_score(std::trunc(leading_number(number.substr(0, number.find(',')))));
        return black_moved ? -score : score;
    }
    const std::size_t slash = comment.find('/');
    if (slash == std::string_view::npos) return NO_NUMBER;
    std::string_view word = comment.substr(0, slash);
    if (const std::size_t blank = word.find_last_of(" \t"); blank != std::string_view::npos)
        word = word.substr(blank + 1);
    if (word.find("-M") != std::string_view::npos) return -MATE_COMMENT;
    if (word.find("+M") != std::string_view::npos) return MATE_COMMENT;
    return centipawns(word);
}

std::string quoted_value(std::string_view tag_line) {
    const std::size_t open = tag_line.find('"');
    if (open == std::string_view::npos) return {};
    tag_line.remove_prefix(open + 1);
    return std::string(tag_line.substr(0, tag_line.find('"')));
}

// A listed move whose scores show a mistake: the mover's next scores are clearly better for the other side's answer.
bool is_mistake(const Game &game, int i) {
    constexpr int FIRST = 13;
    constexpr int LAST_MARGIN = 10;
    if (i < FIRST || i >= game.count() - LAST_MARGIN) return false;
    const int p = game.score(i - 1);
    if (p < -999 || p > 249 || game.score(i + 7) <= -1000) return false;
    const int margin = std::abs(p) / 10;
    return game.score(i + 1) - p > margin + 30 && game.score(i + 3) - p > margin + 30 &&
           game.score(i + 7) - p > margin + 50;
}

// Writes what a variant keeps of a game.
class RecordWriter {
public:
    RecordWriter(int variant, OutputFile &out, OutputFile &corrections)
        : variant_(variant), out_(out), corrections_(corrections) {}

    void write_game_records(const Game &game) {
        Position &pos = ::game->position;
        set_fen(pos, START_FEN);
        after_mistake_ = false;
        last_change_ = 0;
        std::array<std::uint32_t, 2> material = {pos.material[WHITE], pos.material[BLACK]};
        for (int i = 0; i < game.count() && i < MAX_GAME_MOVES; ++i) {
            Move move = NO_MOVE;
            if (!parse_move(pos, game.text(i), move)) return;
            if (!write_record(game, i)) return;
            make_move(pos, move);
            const std::array<std::uint32_t, 2> after = {pos.material[WHITE], pos.material[BLACK]};
            if (after != material) last_change_ = i + 1;
            material = after;
        }
    }

    int records() const { return records_; }

private:
    static Position &position() { return ::game->position; }
    static bool in_check() {
        const Position &pos = position();
        return square_attacked(pos, pos.king_square[pos.side], opponent(pos.side));
    }

    void record(OutputFile &file, const std::string &text) {
        file.write(text);
        ++records_;
    }

    // The record of the position before move `i`. False ends the game.
    bool write_record(const Game &game, int i) {
        switch (variant_) {
        case 1: list_move(game, i); return true;
        case 2: write_quiet_position(game, i); return true;
        case 3: return write_scored_position(game, i);
        default: write_rook_ending(game, i); return true;
        }
    }

    void list_move(const Game &game, int i) {
        const bool white = i % 2 == 0;
        const int score = game.score(i);
        const std::string position_text = get_fen(position());
        const std::string &move = game.text(i);
        std::string comment;
        if (white ? score > -10000 : score >= -9999) comment = format_line("%6.2f", (white ? score : -score) / 100.0);
        const bool mistake = is_mistake(game, i);
        if (mistake) comment += " ? " + position_text + " am " + move + ";";
        if (after_mistake_) {
            const std::string best = position_text + " bm " + move + ";";
            comment += " ! " + best;
            record(corrections_, best + "\n");
        }
        after_mistake_ = mistake;
        const std::string prefix = white ? format_line("%3d. ", i / 2 + 1) : std::string(5, ' ');
        out_.write(format_line("%s %-6s  {%s}\n", prefix.c_str(), move.c_str(), comment.c_str()));
    }

    void write_quiet_position(const Game &game, int i) {
        constexpr int SHORTEST_GAME = 9;
        constexpr int FIRST = 12;
        constexpr int LAST = 220;
        constexpr int LAST_MARGIN = 9;
        constexpr int CLOCK_LIMIT = 33;
        constexpr int CHANGE_PLIES = 37;
        constexpr const char *RESULTS[] = {"1-0", "0-1", "1/2-1/2"};
        if (game.count() < SHORTEST_GAME || i < FIRST || i > std::min(game.count() - LAST_MARGIN, LAST)) return;
        if (position().fifty >= CLOCK_LIMIT || i - last_change_ > CHANGE_PLIES || in_check()) return;
        record(out_, format_line("%s bm %s; ce %d; c6 %d; c9 \"%s\";\n", get_fen(position()).c_str(),
                                 game.text(i).c_str(), game.score(i), game.score(i + 6), RESULTS[game.result]));
    }

    bool write_scored_position(const Game &game, int i) {
        constexpr int LAST = 200;
        constexpr int DECIDED = 500;
        if (i > LAST) return false;
        if (!in_check())
            record(out_,
                   format_line("%s bm %s; ce %d;\n", get_fen(position()).c_str(), game.text(i).c_str(), game.score(i)));
        return std::abs(game.score(i)) <= DECIDED;
    }

    void write_rook_ending(const Game &game, int i) {
        const Position &pos = position();
        if (pos.nonpawn_material[WHITE] != NONPAWN_UNIT[ROOK] || pos.nonpawn_material[BLACK] != NONPAWN_UNIT[ROOK] ||
            popcount(pos.of(WHITE, PAWN) | pos.of(BLACK, PAWN)) != 1)
            return;
        const int winner = game.result == WHITE_WINS ? WHITE : BLACK;
        const double result = game.result == NO_WINNER ? 0.5 : winner == pos.side ? 1.0 : 0.0;
        record(out_, format_line("%s bm %s; ce %d; tune %0.5f;\n", get_fen(pos).c_str(), game.text(i).c_str(),
                                 game.score(i), result));
    }

    int variant_;
    OutputFile &out_;
    OutputFile &corrections_;
    int records_ = 0;
    bool after_mistake_ = false;
    int last_change_ = 0;  // ply at which the material last changed
};

// Reads lines and hands over whole games.
class GameScanner {
public:
    GameScanner(int variant, OutputFile &out, RecordWriter &writer, Progress &progress)
        : variant_(variant), out_(out), writer_(writer), progress_(progress) {}

    void read_line(std::string_view line) {
        while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
        if (!line.empty() && line[0] == '[' && !(line.size() > 1 && line[1] == '%'))
            read_tag(line);
        else
            read_moves(line);
    }
    void finish_game() {
        if (!game_.moves.empty()) writer_.write_game_records(game_);
        game_.moves.clear();
    }
    int games() const { return games_; }

private:
    void read_tag(std::string_view line) {
        const auto holds = [line](std::string_view word) { return line.find(word) != std::string_view::npos; };
        finish_game();
        comment_depth_ = 0;
        comment_.clear();
        if (holds("Event ")) {
            game_.result = NO_WINNER;
            if (++games_ % GAMES_PER_LINE == 0) {
                progress_.finish();
                std::printf("game %d\n", games_);
                std::fflush(stdout);
            }
        }
        if (variant_ == 1) {
            out_.write(std::string(line) + "\n");
            if (holds("Round ")) out_.write(format_line("[Tag \"game_%d\"]\n", games_));
        }
        if (holds("Result ")) {
            const std::string result = quoted_value(line);
            game_.result = result == "1-0" ? WHITE_WINS : result == "0-1" ? BLACK_WINS : NO_WINNER;
        }
    }

    void read_moves(std::string_view line) {
        std::string word;
        for (const char c : line) {
            if (c == '{') {
                end_word(word);
                if (comment_depth_++ > 0) comment_ += c;
            } else if (c == '}' && comment_depth_ > 0) {
                if (--comment_depth_ == 0)
                    end_comment();
                else
                    comment_ += c;
            } else if (comment_depth_ > 0) {
                comment_ += c;
            } else if (static_cast<unsigned char>(c) <= ' ' || c == '}') {
                end_word(word);
            } else {
                word += c;
            }
        }
        end_word(word);
        if (comment_depth_ > 0) comment_ += ' ';
    }

    void end_word(std::string &word) {
        const std::string_view move = without_move_number(word);
        if (!move.empty() && std::isalpha(static_cast<unsigned char>(move[0])) != 0 && game_.count() < MAX_GAME_MOVES)
            game_.moves.push_back({std::string(move.substr(0, LONGEST_MOVE)), NO_COMMENT});
        word.clear();
    }

    void end_comment() {
        if (!game_.moves.empty()) game_.moves.back().score = comment_score(comment_, game_.count() % 2 == 0);
        comment_.clear();
    }

    int variant_;
    OutputFile &out_;
    RecordWriter &writer_;
    Progress &progress_;
    Game game_;
    int games_ = 0;
    int comment_depth_ = 0;
    std::string comment_;
};

}  // namespace

void scan_pgn_file(const char *file_name, int variant, PollInput poll_input) {
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open()) return;
    const char *out_name = variant == 1 ? "tmp.pgn" : "tmp.epd";
    if (is_same_file(file_name, out_name) || is_same_file(file_name, "tmpX.epd")) return;
    OutputFile out(out_name);
    OutputFile corrections("tmpX.epd");
    if (!out.is_open() || !corrections.is_open()) return;
    derive_eval_tables();
    settings.Log = 0;
    enable_logging(false);

    RecordWriter writer(variant, out, corrections);
    Progress progress("games");
    GameScanner scanner(variant, out, writer, progress);
    std::string line;
    int games = 0;
    while (!quit_flag && file.next_whole(line)) {
        scanner.read_line(line);
        if (scanner.games() == games) continue;
        games = scanner.games();
        progress.update(games, file.position(), file.size());
        poll_input();
    }
    progress.finish();
    report_read_error(file, file_name);
    scanner.finish_game();
    out.write("\n");
    out.close();
    corrections.close();
    std::printf("games= %d, positions= %d\n", scanner.games(), writer.records());
    std::fflush(stdout);
}
