// A configuration file.
#include "engine/options.h"
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text = fuzz::text_of(data, size);
    if (fuzz::contains(text, "Threads")) return 0;
    Engine &engine = fuzz::engine();
    fuzz::reset(engine, Reporter{});
    fuzz::write_file("in.cfg", text);
    engine.settings.ConfigFilePath.assign("in.cfg");
    load_config_file(engine);
    engine.settings.Hash = 1;
    // Whatever was set, the tables can be built and a position evaluated.
    set_fen(engine.game.position, "r1bqk2r/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQkq -");
    SearchLimits limits;
    limits.max_depth = 1;
    search(engine, limits);
    return 0;
}
