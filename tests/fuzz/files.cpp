// Lines of EPD and PGN files, through every tool that reads them.
#include "frontend/game_files.h"
#include "games/epd.h"
#include "harness.h"
#include "tools/tools.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::start();
    const std::string_view text = fuzz::text_of(data, size);
    EpdRecord record;
    parse_epd_record(text, record);
    fuzz::write_file("in.txt", text);
    const auto no_input = [] {};
    quit_flag = false;
    hash_enabled = 0;
    max_depth = 1;
    noise = NO_PROGRESS_LINES;
    for (int variant = 1; variant <= 4; ++variant) scan_pgn_file("in.txt", variant, no_input);
    build_book("in.txt");
    load_game("in.txt", "1");
    analyse_epd_file("in.txt", no_input);
    make_training_file("in.txt", no_input);
    return 0;
}
