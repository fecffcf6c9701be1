// A configuration file.
#include "board/fen.h"
#include "frontend/options.h"
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::start();
    const std::string_view text = fuzz::text_of(data, size);
    if (fuzz::contains(text, "Threads") || fuzz::contains(text, "Log")) return 0;
    settings = Settings{};
    fuzz::write_file("in.cfg", text);
    settings.ConfigFilePath.assign("in.cfg");
    load_config_file();
    settings.Hash = 1;
    // Whatever was set, the tables can be built and a position evaluated.
    derive_search_params();
    derive_eval_tables(settings.weights, eval_tables);
    set_fen(game->position, "r1bqk2r/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQkq -");
    EvalResult result{};
    refresh_eval_caches(game->eval);
    evaluate(game->position, game->eval, WHITE, 1, false, result);
    return 0;
}
