// Games with engine scores in their comments become annotated listings or training records.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/text.h"
#include "board/checks.h"
#include "board/fen.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "games/game_text.h"
#include "games/results.h"
#include "tools/output_file.h"
#include "tools/screen.h"
#include "tools/tool_search.h"

namespace {

constexpr std::size_t LONGEST_LINE = 254;
constexpr int NO_COMMENT = -30000;  // score of a move without a comment
constexpr int NO_NUMBER = -29999;   // score of a move whose comment has none
constexpr int MATE_COMMENT = 9000;  // "M5/20"
constexpr int GAMES_PER_LINE = 100;
constexpr std::size_t LONGEST_MOVE = 15;
constexpr GameTextRules SCORED_GAMES = {
    .tag_lines_end_comments = true, .percent_is_no_tag = true, .longest_move = LONGEST_MOVE, .comments = true};

struct ScoredMove {
    explicit ScoredMove(std::string_view move) : length(static_cast<std::uint8_t>(move.size())) {
        std::copy(move.begin(), move.end(), letters.begin());
    }
    std::string_view text() const { return {letters.data(), length}; }

    std::array<char, LONGEST_MOVE> letters;
    std::uint8_t length;
    int score = NO_COMMENT;  // centipawns, as the comment gives it
};

struct ScoredGame {
    std::vector<ScoredMove> moves;
    GameResult result = GameResult::DRAW;

    int count() const { return static_cast<int>(moves.size()); }
    int score(int i) const { return moves[static_cast<std::size_t>(i)].score; }
    std::string_view text(int i) const { return moves[static_cast<std::size_t>(i)].text(); }
};

// A score as a whole number that cannot be taken for one of the marks.
int clamped_score(double score) {
    constexpr double LOWEST = NO_NUMBER + 1;
    constexpr double HIGHEST = 29999;
    return static_cast<int>(std::clamp(std::trunc(score), LOWEST, HIGHEST));
}

// Pawns with decimals into centipawns, cut; the decimals count as they are written.
int centipawns(std::string_view text) {
    const double scaled = leading_number(text) * 100.0;
    return clamped_score(scaled + std::copysign(1e-6, scaled));
}

// Score that the comment of a move gives.
int comment_score(std::string_view comment, bool black_moved) {
    if (comment.find("book") != std::string_view::npos) return 0;
    constexpr std::string_view EVAL = "eval ";
    if (const std::size_t at = comment.find(EVAL); at != std::string_view::npos) {
        const std::string_view number = skip_blanks(comment.substr(at + EVAL.size()));
        if (number.empty()) return NO_NUMBER;
        const double score = leading_number(number.substr(0, number.find(',')));
        return clamped_score(black_moved ? -score : score);
    }
    const std::size_t slash = comment.find('/');
    if (slash == std::string_view::npos) return NO_NUMBER;
    std::string_view word = comment.substr(0, slash);
    word.remove_prefix(word.rfind(' ') + 1);
    word.remove_prefix(word.rfind('\t') + 1);
    if (word.find('M') == std::string_view::npos) return centipawns(word);
    if (word.find("-M") != std::string_view::npos) return -MATE_COMMENT;
    return word.find("+M") != std::string_view::npos ? MATE_COMMENT : centipawns(word);
}

std::string quoted_value(std::string_view tag_line) {
    const std::size_t open = tag_line.find('"');
    if (open == std::string_view::npos) return {};
    tag_line.remove_prefix(open + 1);
    return std::string(tag_line.substr(0, tag_line.find('"')));
}

// A listed move whose scores show a mistake: the mover's next scores are clearly better for the other side's answer.
bool is_mistake(const ScoredGame &game, int i) {
    constexpr int FIRST = 13;        // half-moves of the opening
    constexpr int LAST_MARGIN = 10;  // half-moves that must follow
    // Centipawns
    constexpr int LOST = -1000;
    constexpr int WINNING = 250;
    constexpr int SOON = 30;   // gain after one and three half-moves,
    constexpr int LATER = 50;  // and after seven
    if (i < FIRST || i >= game.count() - LAST_MARGIN) return false;
    const int p = game.score(i - 1);
    if (p <= LOST || p >= WINNING || game.score(i + 7) <= LOST) return false;
    const int margin = std::abs(p) / 10;
    return game.score(i + 1) - p > margin + SOON && game.score(i + 3) - p > margin + SOON &&
           game.score(i + 7) - p > margin + LATER;
}

// Writes what a variant keeps of a game.
class RecordWriter {
public:
    RecordWriter(Position &board, int variant, OutputFile &out, OutputFile &corrections)
        : pos_(board), variant_(variant), out_(out), corrections_(corrections) {}

    void write_game_records(const ScoredGame &game) {
        set_fen(pos_, START_FEN);
        after_mistake_ = false;
        last_change_ = 0;
        std::array<std::uint32_t, 2> material = {pos_.material[WHITE], pos_.material[BLACK]};
        for (int i = 0; i < game.count() && i < MAX_GAME_MOVES; ++i) {
            const ParsedMove parsed = read_move(pos_, game.text(i));
            if (!parsed.found() || !write_record(game, i)) return;
            make_move(pos_, parsed.move);
            const std::array<std::uint32_t, 2> after = {pos_.material[WHITE], pos_.material[BLACK]};
            if (after != material) last_change_ = i + 1;
            material = after;
        }
    }

    int records() const { return records_; }

private:
    bool in_check() const { return checker_of(pos_, pos_.side) != NO_SQUARE; }

    // Begins the record of the position before move `i`; the others go on with it, and end it. Most of the time of a scan
    // goes into these.
    void begin_record(const ScoredGame &game, int i) {
        record_end_ = write_fen(pos_, record_.data());
        add_text(" bm ");
        add_text(game.text(i));
        add_text("; ce ");
        add_number(game.score(i));
    }
    void add_text(std::string_view text) { record_end_ = std::copy(text.begin(), text.end(), record_end_); }
    void add_number(int number) {
        record_end_ = std::to_chars(record_end_, record_.data() + record_.size(), number).ptr;
    }
    void end_record() {
        add_text(";\n");
        out_.write({record_.data(), static_cast<std::size_t>(record_end_ - record_.data())});
        ++records_;
    }

    // The record of the position before move `i`. False ends the game.
    bool write_record(const ScoredGame &game, int i) {
        switch (variant_) {
        case 1: list_move(game, i); return true;
        case 2: write_quiet_position(game, i); return true;
        case 3: return write_scored_position(game, i);
        default: write_rook_ending(game, i); return true;
        }
    }

    void list_move(const ScoredGame &game, int i) {
        const bool white = i % 2 == 0;
        const int score = game.score(i);
        const std::string position_text = get_fen(pos_);
        const std::string move(game.text(i));
        std::string comment;
        if (white ? score > -10000 : score >= -9999) comment = format_line("%6.2f", (white ? score : -score) / 100.0);
        const bool mistake = is_mistake(game, i);
        if (mistake) comment += " ? " + position_text + " am " + move + ";";
        if (after_mistake_) {
            const std::string best = position_text + " bm " + move + ";";
            comment += " ! " + best;
            corrections_.write(best + "\n");
            ++records_;
        }
        after_mistake_ = mistake;
        const std::string prefix = white ? format_line("%3d. ", i / 2 + 1) : std::string(5, ' ');
        out_.write(format_line("%s %-6s  {%s}\n", prefix.c_str(), move.c_str(), comment.c_str()));
    }

    void write_quiet_position(const ScoredGame &game, int i) {
        constexpr int SHORTEST_GAME = 9;
        constexpr int FIRST = 12;
        constexpr int LAST = 220;
        constexpr int LAST_MARGIN = 9;
        constexpr int CLOCK_LIMIT = 33;
        constexpr int CHANGE_PLIES = 37;
        if (game.count() < SHORTEST_GAME || i < FIRST || i > std::min(game.count() - LAST_MARGIN, LAST)) return;
        if (pos_.fifty >= CLOCK_LIMIT || i - last_change_ > CHANGE_PLIES || in_check()) return;
        begin_record(game, i);
        add_text("; c6 ");
        add_number(game.score(i + 6));
        add_text("; c9 \"");
        add_text(result_text(game.result));
        add_text("\"");
        end_record();
    }

    bool write_scored_position(const ScoredGame &game, int i) {
        constexpr int LAST = 200;
        constexpr int DECIDED = 500;
        if (i > LAST) return false;
        if (!in_check()) {
            begin_record(game, i);
            end_record();
        }
        return std::abs(game.score(i)) <= DECIDED;
    }

    void write_rook_ending(const ScoredGame &game, int i) {
        if (pos_.nonpawn_material[WHITE] != NONPAWN_UNIT[ROOK] || pos_.nonpawn_material[BLACK] != NONPAWN_UNIT[ROOK] ||
            popcount(pos_.of(WHITE, PAWN) | pos_.of(BLACK, PAWN)) != 1)
            return;
        const double of_white = points_of_white(game.result);
        const double result = pos_.side == WHITE ? of_white : 1.0 - of_white;
        begin_record(game, i);
        add_text(format_line("; tune %0.5f", result));
        end_record();
    }

    Position &pos_;
    int variant_;
    OutputFile &out_;
    OutputFile &corrections_;
    std::array<char, LONGEST_FEN + 100> record_;
    char *record_end_ = nullptr;
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
        reader_.start_line(line);
        for (GameTextEvent event; reader_.next(event);) {
            switch (event.kind) {
            case GameTextEvent::TAG_LINE: read_tag(event.text); break;
            case GameTextEvent::MOVE: read_move(event.text); break;
            case GameTextEvent::COMMENT: read_comment(event.text); break;
            }
        }
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
        if (holds("Event ")) {
            game_.result = GameResult::DRAW;
            if (++games_ % GAMES_PER_LINE == 0) {
                progress_.finish();
                say(format_line("game %d\n", games_));
            }
        }
        if (variant_ == 1) {
            out_.write(std::string(line) + "\n");
            if (holds("Round ")) out_.write(format_line("[Tag \"game_%d\"]\n", games_));
        }
        if (holds("Result ")) {
            const GameResult result = result_named(quoted_value(line));
            game_.result = result == GameResult::UNKNOWN ? GameResult::DRAW : result;
        }
    }

    void read_move(std::string_view move) {
        if (game_.count() < MAX_GAME_MOVES) game_.moves.emplace_back(move);
    }

    void read_comment(std::string_view comment) {
        if (!game_.moves.empty()) game_.moves.back().score = comment_score(comment, game_.count() % 2 == 0);
    }

    int variant_;
    OutputFile &out_;
    RecordWriter &writer_;
    Progress &progress_;
    ScoredGame game_;
    int games_ = 0;
    GameTextReader reader_{SCORED_GAMES};
};

}  // namespace

void scan_pgn_file(ToolRun &run, const char *file_name, int variant) {
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open()) return;
    const char *out_name = variant == 1 ? "tmp.pgn" : "tmp.epd";
    if (is_same_file(file_name, out_name) || is_same_file(file_name, "tmpX.epd")) return;
    OutputFile out(out_name);
    OutputFile corrections("tmpX.epd");
    if (!out.is_open() || !corrections.is_open()) return;
    enable_logging(false);

    RecordWriter writer(run.engine.game.position, variant, out, corrections);
    Progress progress("games");
    GameScanner scanner(variant, out, writer, progress);
    std::string line;
    int games = 0;
    while (!run.stopped && file.next_whole(line)) {
        scanner.read_line(line);
        if (scanner.games() == games) continue;
        games = scanner.games();
        progress.update(games, file.position(), file.size());
        look_for_wish(run);
    }
    progress.finish();
    report_read_error(file, file_name);
    scanner.finish_game();
    out.write("\n");
    out.close();
    corrections.close();
    say(format_line("games= %d, positions= %d\n", scanner.games(), writer.records()));
}
