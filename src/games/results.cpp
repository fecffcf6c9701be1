#include "games/results.h"

namespace {

struct ResultText {
    GameResult result;
    const char *text;
    std::string_view mark;  // shortest text that stands for it within others
};
constexpr ResultText RESULT_TEXTS[] = {
    {GameResult::WHITE_WINS, "1-0", "1-0"},
    {GameResult::BLACK_WINS, "0-1", "0-1"},
    {GameResult::DRAW, "1/2-1/2", "1/2"},
};

}  // namespace

const char *result_text(GameResult result) {
    for (const ResultText &entry : RESULT_TEXTS)
        if (entry.result == result) return entry.text;
    return "*";
}

GameResult result_named(std::string_view text) {
    for (const ResultText &entry : RESULT_TEXTS)
        if (text == entry.text) return entry.result;
    return GameResult::UNKNOWN;
}

GameResult result_in(std::string_view text) {
    for (const ResultText &entry : RESULT_TEXTS)
        if (text.find(entry.mark) != std::string_view::npos) return entry.result;
    return GameResult::UNKNOWN;
}

GameResult win_of(Colour side) { return side == WHITE ? GameResult::WHITE_WINS : GameResult::BLACK_WINS; }

double points_of_white(GameResult result) {
    if (result == GameResult::WHITE_WINS) return 1.0;
    return result == GameResult::BLACK_WINS ? 0.0 : 0.5;
}
