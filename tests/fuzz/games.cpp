// Game files through the reader of whole games: what is written of them reads the same again. And through a review.
#include "games/pgn.h"
#include "harness.h"
#include "tools/tools.h"

namespace {

std::string rewritten(Position &pos, const char *name) {
    LineReader file(name, 100);
    PgnReader reader(file);
    std::string text;
    for (PgnGame game; reader.next(game);) {
        play_out(pos, game);
        text += write_pgn(game);
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Engine &engine = fuzz::engine();
    fuzz::reset(engine, Reporter{});
    fuzz::write_file("in.pgn", fuzz::text_of(data, size));
    const std::string once = rewritten(engine.game.position, "in.pgn");
    fuzz::write_file("once.pgn", once);
    const std::string twice = rewritten(engine.game.position, "once.pgn");
    fuzz::write_file("twice.pgn", twice);
    if (rewritten(engine.game.position, "twice.pgn") != twice) std::abort();
    ToolRun run{engine, {}, PromotionStyle::LOWER_CASE};
    run.limits.max_depth = 1;
    run.limited = true;
    review_games(run, "in.pgn");
    return 0;
}
