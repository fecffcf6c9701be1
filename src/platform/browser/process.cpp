#include "platform/process.h"

#include <emscripten.h>

std::vector<std::string> begin_process(int count, char **arguments) {
    return count > 1 ? std::vector<std::string>(arguments + 1, arguments + count) : std::vector<std::string>{};
}

int end_process(int status) {
#ifndef __EMSCRIPTEN_PTHREADS__
    emscripten_force_exit(status);  // whoever called main has long gone on when main has waited
#endif
    return status;
}

std::filesystem::path program_path() { return {}; }

const char *system_name() { return "browser"; }
