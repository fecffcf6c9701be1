// Lines of the protocol, when the first is "uci", or lines typed at the console: through the loop, without those that ask
// for more threads or memory, or for endless counting.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text = fuzz::text_of(data, size);
    const bool uci = text.starts_with("uci\n");
    fuzz::engine();  // in its directory
    std::filesystem::remove("tmp.pgn");
    fuzz::write_file("g.pgn", "[Event \"a\"]\n1. e4 {x} e5 2. Nf3\n[Event \"b\"]\n1. d4 d5 *\n");
    fuzz::write_file("test.epd", "8/8/8/8/8/8/8/K1k5 b - - id \"a\";\n");
    fuzz::run_lines(text, uci, [uci](std::string_view line) {
        if (!uci && line.starts_with("uci")) return true;
        for (const char *word :
             {"Hash", "Threads", "Log", "ConfigFilePath", "LimitStrength", "perft", "trace", "target_nps", "/dev"})
            if (fuzz::contains(line, word)) return true;
        return false;
    });
    return 0;
}
