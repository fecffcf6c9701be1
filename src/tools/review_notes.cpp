#include "tools/review_notes.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/output.h"
#include "base/version.h"
#include "search/search.h"

namespace {

constexpr std::string_view SUMMARY = "Review by ";
constexpr std::string_view LINE_MARK = "{Dral ";  // of the comment that ends a better line
constexpr std::string_view SCORE = "[%eval ";
constexpr int LAST_MARK = 6;  // the glyphs from 1 on that say how good a move is

// Pawns, or moves to mate, from White's view, as other programs read them.
std::string score_text(int score, Colour side) {
    constexpr int MATE_TEXT_SCORE = 9900;
    if (std::abs(score) < MATE_TEXT_SCORE) {
        const int of_white = side == WHITE ? score : -score;
        return format_line("%s%d.%02d", of_white < 0 ? "-" : "", std::abs(of_white) / 100, std::abs(of_white) % 100);
    }
    const bool white_mates = (score > 0) == (side == WHITE);
    const int plies = MATE - std::abs(score) - ROOT_PLY;
    return format_line("#%s%d", white_mates ? "" : "-", (plies + 1) / 2);
}

bool is_earlier_line(const PgnNote &note) {
    const std::size_t comment = note.text.rfind('{');
    return note.kind == PgnNote::VARIATION && note.text.ends_with('}') && comment != std::string::npos &&
           std::string_view(note.text).substr(comment).starts_with(LINE_MARK);
}

bool is_earlier_summary(const PgnNote &note) {
    return note.kind == PgnNote::COMMENT && note.text.starts_with(std::string(SUMMARY) + "Dral ");
}

void forget_scores(std::string &comment) {
    std::string rest;
    std::size_t at = 0;
    for (std::size_t score = comment.find(SCORE); score != std::string::npos; score = comment.find(SCORE, at)) {
        rest += comment.substr(at, score - at);
        at = std::min(comment.find(']', score), comment.size() - 1) + 1;
        at = std::min(comment.find_first_not_of(' ', at), comment.size());
    }
    rest += comment.substr(at);
    rest.erase(rest.find_last_not_of(' ') + 1);
    comment = std::move(rest);
}

void forget_earlier_review(PgnGame &game) {
    for (PgnMove &move : game.moves)
        std::erase_if(move.notes, [](const PgnNote &n) { return is_earlier_line(n) || is_earlier_summary(n); });
    std::erase_if(game.notes, is_earlier_summary);
}

void set_score(PgnMove &move, const std::string &score) {
    for (PgnNote &note : move.notes)
        if (note.kind == PgnNote::COMMENT) forget_scores(note.text);
    std::erase_if(move.notes, [](const PgnNote &note) { return note.text.empty(); });
    const std::string command = std::string(SCORE) + score + "]";
    if (!move.notes.empty() && move.notes.front().kind == PgnNote::COMMENT)
        move.notes.front().text.insert(0, command + " ");
    else
        move.notes.insert(move.notes.begin(), {PgnNote::COMMENT, command});
}

void set_mark(PgnMove &move, MoveMark mark) {
    const bool marked =
        std::any_of(move.nags.begin(), move.nags.end(), [](int nag) { return nag >= 1 && nag <= LAST_MARK; });
    if (mark != MoveMark::NONE && !marked) move.nags.insert(move.nags.begin(), static_cast<int>(mark));
}

std::string counted(int count, const char *one, const char *many) {
    return format_line("%d %s", count, count == 1 ? one : many);
}

std::string side_text(const char *name, const SideReview &side) {
    if (side.moves == 0) return format_line(" %s: no moves.", name);
    return format_line(" %s: accuracy %.1f %%, average loss %.0f, ", name, side.accuracy, side.average_loss) +
           counted(side.inaccuracies, "inaccuracy", "inaccuracies") + ", " +
           counted(side.mistakes, "mistake", "mistakes") + ", " + counted(side.blunders, "blunder", "blunders") + ".";
}

std::string move_with_number(const PgnGame &game, std::size_t index) {
    return move_number(game, index) + " " + game.moves[index].text;
}

bool anything_judged(const GameReview &review) { return review.sides[WHITE].moves + review.sides[BLACK].moves > 0; }

std::string summary(const PgnGame &game, const SearchedGame &searched, const GameReview &review,
                    const std::string &limits) {
    std::string text = std::string(SUMMARY) + ENGINE_NAME + ", " + limits + "." +
                       side_text("White", review.sides[WHITE]) + side_text("Black", review.sides[BLACK]);
    if (review.turning_point == NO_TURNING_POINT) return text;
    const auto turn = static_cast<std::size_t>(review.turning_point);
    const ScoredMove &move = searched.moves[turn];
    return text + " Turning point: " + move_with_number(game, turn) +
           format_line(" (%.0f %% to %.0f %%).", winning_chances(move.before), winning_chances(move.after));
}

}  // namespace

std::string limits_text(const SearchLimits &limits) {
    constexpr double NOT_LIMITED = 1000.0;  // seconds: what is given to searches that something else ends
    std::string text;
    const auto add = [&text](const std::string &limit) { text += (text.empty() ? "" : ", ") + limit; };
    if (limits.max_depth < MAX_DEPTH) add(format_line("depth %d", limits.max_depth));
    if (limits.node_limit > 0) add(format_line("%lld nodes", static_cast<long long>(limits.node_limit)));
    if (text.empty() || limits.time_per_move < NOT_LIMITED) add(format_line("%g seconds", limits.time_per_move));
    return text;
}

void annotate(PgnGame &game, const SearchedGame &searched, const GameReview &review, const std::string &limits) {
    forget_earlier_review(game);
    if (!anything_judged(review)) return;
    for (std::size_t i = 0; i < game.moves.size(); ++i) {
        PgnMove &move = game.moves[i];
        const Colour side = mover(game, i);
        const SearchedGame::PositionScore &after = searched.positions[i + 1];
        if (!searched.moves[i].judged) continue;
        set_score(move, score_text(after.score, opponent(side)));
        set_mark(move, review.moves[i].mark);
        if (searched.better_lines[i].empty()) continue;
        const std::string score = score_text(searched.moves[i].before, side);
        move.notes.insert(move.notes.begin() + 1,
                          {PgnNote::VARIATION, searched.better_lines[i] + " {" + ENGINE_NAME + ": " + score + "}"});
    }
    game.moves.back().notes.push_back({PgnNote::COMMENT, summary(game, searched, review, limits)});
}

std::string headline(const PgnGame &game, const GameReview &review) {
    const auto name = [&game](std::string_view tag) {
        const std::string_view value = game.tag(tag);
        return std::string(value.empty() ? "?" : value);
    };
    std::string text = name("White") + " - " + name("Black") + " " + result_text(game.result);
    if (!anything_judged(review)) return text + ", nothing judged";
    const auto accuracy = [](const SideReview &side) {
        return side.moves == 0 ? std::string("none") : format_line("%.1f %%", side.accuracy);
    };
    text += ", accuracy " + accuracy(review.sides[WHITE]) + " and " + accuracy(review.sides[BLACK]);
    if (review.turning_point != NO_TURNING_POINT)
        text += ", turned at " + move_with_number(game, static_cast<std::size_t>(review.turning_point));
    return text;
}
