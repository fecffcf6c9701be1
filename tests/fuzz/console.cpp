// Lines typed at the console, through the loop.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::engine();  // in its directory
    std::filesystem::remove("tmp.pgn");
    fuzz::write_file("g.pgn", "[Event \"a\"]\n1. e4 {x} e5 2. Nf3\n[Event \"b\"]\n1. d4 d5 *\n");
    fuzz::write_file("test.epd", "8/8/8/8/8/8/8/K1k5 b - - id \"a\";\n");
    fuzz::run_lines(fuzz::text_of(data, size), false, [](std::string_view line) {
        return fuzz::contains(line, "perft") || fuzz::contains(line, "trace") || fuzz::contains(line, "target_nps") ||
               fuzz::contains(line, "/dev") || line.starts_with("uci");
    });
    return 0;
}
