// What a review makes of the scores of a game, and of what the game held before.
#include <gmock/gmock.h>

#include "base/output.h"
#include "search/search.h"
#include "test_support.h"
#include "tools/review_notes.h"

namespace {

// Losses, marks and accuracy of a move that takes its player from one score to another.
TEST(Chances, FollowFromScores) {
    check_rows("tools/chances.tsv", 2, [](const auto &row) {
        const int before = std::stoi(row[0]);
        const int after = std::stoi(row[1]);
        const double loss = lost_chances(before, after);
        return format_line("%.1f | %.1f | %.1f | %d | %.1f | %d | %d", winning_chances(before), winning_chances(after),
                           loss, static_cast<int>(mark_of_loss(loss)), move_accuracy(loss),
                           lost_centipawns(before, after), int{is_only_move(before, after)});
    });
}

std::string shown(const SideReview &side) {
    return format_line("%d: %.1f %.1f %d %d %d", side.moves, side.accuracy, side.average_loss, side.inaccuracies,
                       side.mistakes, side.blunders);
}

// Scores from White's view, that of the first position first; behind that of a move '=' where the search would play it,
// '!' where there is no other; "x" where nothing is known.
TEST(GameReview, MarksCountsAndTurningPoint) {
    check_rows("tools/game_review.tsv", 3, [](const auto &row) {
        const Colour first_side = row[1] == "w" ? WHITE : BLACK;
        std::istringstream scores(row[2]);
        std::string before, after;
        std::vector<ScoredMove> moves;
        for (scores >> before; scores >> after; before = after) {
            const int sign = (moves.size() % 2 == 0) == (first_side == WHITE) ? 1 : -1;
            ScoredMove move{before != "x" && after != "x", after.find_first_of("=!") != std::string::npos,
                            after.ends_with('!')};
            if (move.judged) {
                move.before = sign * std::stoi(before);
                move.after = sign * std::stoi(after);
            }
            moves.push_back(move);
        }
        const GameReview review = review_game(moves, first_side, result_named(row[0]));
        std::string marks;
        for (const JudgedMove &move : review.moves) marks += std::to_string(static_cast<int>(move.mark));
        return fields(marks, shown(review.sides[WHITE]), shown(review.sides[BLACK]), review.turning_point);
    });
}

// Marks of the input stay; an earlier review gives way to the new one.
TEST(ReviewNotes, ReplaceThoseOfAnEarlierReview) {
    PgnGame game;
    game.first_side = BLACK;
    game.first_number = 7;
    game.moves = {{"Qa5", {13}, {{PgnNote::VARIATION, "7... b6 {theirs}"}}},
                  {"Nf3", {5}, {{PgnNote::COMMENT, "now [%eval 0.10] this [%clk 1]"}}},
                  {"Qa1#", {}, {}}};
    SearchedGame searched;
    searched.moves = {{true, false, false, 20, -80}, {true, false, false, 80, 20 - MATE}, {true, true}};
    searched.positions = {{true, 20}, {true, 80}, {true, MATE - 20}, {true, 1 - MATE}};
    searched.better_lines = {"7... b5 8. c4", "8. Ng1", ""};
    const GameReview review = review_game(searched.moves, BLACK, GameResult::BLACK_WINS);
    annotate(game, searched, review, "depth 1");
    const std::string first = write_pgn(game);
    EXPECT_THAT(first, testing::HasSubstr(R"(
7... Qa5 $2 $13 {[%eval 0.80]} (7... b5 8. c4 {Dral 4.0: -0.20}) (7... b6
{theirs}) 8. Nf3 $5 {[%eval #-10] now this [%clk 1]} (8. Ng1 {Dral 4.0: 0.80})
8... Qa1# {[%eval #-0]} {Review by Dral 4.0, depth 1. White: )"));
    annotate(game, searched, review, "depth 1");
    EXPECT_EQ(write_pgn(game), first);
}

}  // namespace
