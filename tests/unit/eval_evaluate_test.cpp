#include "engine_fixture.h"

#include <fstream>

namespace {

class EvaluateTest : public EngineTest {
protected:
    int score(const std::string &fen) {
        set_fen(pos, fen);
        EvalResult eval{};
        const bool in_check = square_attacked(pos, pos.king_square[pos.side], opponent(pos.side));
        return evaluate(pos, thread().eval, 2, in_check, eval);
    }
};

std::vector<std::string> data_positions() {
    std::vector<std::string> fens;
    std::ifstream file(test_data("perft/perft.epd"));
    for (std::string line; std::getline(file, line);) fens.push_back(line.substr(0, line.find(';')));
    std::ifstream reference(test_data("reference/eval.tsv"));
    std::string line;
    std::getline(reference, line);  // headings
    while (std::getline(reference, line)) fens.push_back(line.substr(0, line.find('\t')));
    return fens;
}

}  // namespace

TEST_F(EvaluateTest, InCheckIsNotEvaluated) { EXPECT_EQ(score("k7/8/8/8/8/8/8/K6r w - -"), IN_CHECK_SCORE); }

TEST_F(EvaluateTest, ColoursAreSymmetric) {
    const std::vector<std::string> fens = data_positions();
    if (fens.empty()) GTEST_SKIP() << "no positions in " << test_data("perft/perft.epd");
    for (const std::string &fen : fens) {
        const int as_it_stands = score(fen);
        // A pin is looked for behind one queen of a side, the one on the lowest square: not the twin's lowest.
        if (popcount(pos.of(WHITE, QUEEN)) > 1 || popcount(pos.of(BLACK, QUEEN)) > 1) continue;
        EXPECT_EQ(score(mirrored(fen)), as_it_stands) << fen;
    }
}

TEST_F(EvaluateTest, CacheChangesNothing) {
    const std::vector<std::string> fens = data_positions();
    if (fens.empty()) GTEST_SKIP() << "no positions in " << test_data("perft/perft.epd");
    std::vector<int> fresh;
    for (const std::string &fen : fens) {
        thread().eval.iteration = 0;
        fresh.push_back(score(fen));
    }
    // Now from caches that other positions with the same pawns, or in the same slots, have filled.
    thread().eval.iteration = 5;
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < fens.size(); ++i) EXPECT_EQ(score(fens[i]), fresh[i]) << fens[i];
    EXPECT_GT(thread().eval.pawn_hits, 0U);
    EXPECT_GT(thread().eval.cache_hits, 0U);
}

// 41 units of material at the start, so a contempt of 20 moves the balanced score by 20.
TEST_F(EvaluateTest, ContemptFollowsTheEnginesSide) {
    const std::string start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";
    const struct {
        int contempt;
        Colour engine;
        bool active;
        int score;
    } cases[] = {
        {20, WHITE, true, 36},  {20, BLACK, true, -4}, {-20, WHITE, true, -4},
        {20, WHITE, false, 16}, {0, BLACK, true, 16},
    };
    for (const auto &c : cases) {
        engine.settings.weights.Contempt = static_cast<std::int16_t>(c.contempt);
        derive_tables(engine);
        set_contempt_context(engine.shared.eval_tables, c.engine, c.active);
        EXPECT_EQ(score(start), c.score) << c.contempt;
    }
}
