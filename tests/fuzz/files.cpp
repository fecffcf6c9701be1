// Lines of EPD, PGN and configuration files, through everything that reads them.
#include "engine/options.h"
#include "frontend/game_files.h"
#include "games/epd.h"
#include "harness.h"
#include "tools/suite_results.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text = fuzz::text_of(data, size);
    FrontEnd front(fuzz::engine());
    fuzz::reset(front.engine, Reporter{});
    front.engine.shared.table.enabled = 0;
    front.limits.max_depth = 1;
    front.limits.noise = NO_PROGRESS_LINES;
    EpdRecord record;
    parse_epd_record(text, record);
    fuzz::write_file("in.txt", text);
    ToolRun run{front.engine, front.limits, move_style(front), nullptr};
    for (int variant = 1; variant <= 4; ++variant) scan_pgn_file(run, "in.txt", variant);
    build_book("in.txt");
    load_game(front, "in.txt", "1");
    analyse_epd_file(run, "in.txt");
    std::vector<SuiteRow> rows;
    read_results("in.txt", rows);
    read_results("results.tsv", rows);
    make_training_file(run, "in.txt");
    if (fuzz::contains(text, "Threads")) return 0;
    // Whatever was set, the tables can be built and a position evaluated.
    front.engine.settings.ConfigFilePath.assign("in.txt");
    load_config_file(front.engine);
    front.engine.settings.Hash = 1;
    set_fen(front.engine.game.position, "r1bqk2r/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQkq -");
    search(front.engine, front.limits);
    return 0;
}
