// Lines of the UCI protocol, through the loop.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::run_lines(fuzz::text_of(data, size), true, [](std::string_view line) {
        return fuzz::contains(line, "Hash") || fuzz::contains(line, "Threads") || fuzz::contains(line, "Log") ||
               fuzz::contains(line, "ConfigFilePath") || fuzz::contains(line, "LimitStrength");
    });
    return 0;
}
