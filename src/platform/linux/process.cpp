#include "platform/process.h"

std::vector<std::string> begin_process(int count, char **arguments) {
    return count > 1 ? std::vector<std::string>(arguments + 1, arguments + count) : std::vector<std::string>{};
}

int end_process(int status) { return status; }

std::filesystem::path program_path() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

const char *system_name() { return "Linux"; }
