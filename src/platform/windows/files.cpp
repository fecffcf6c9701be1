#include "platform/files.h"

#include "platform/windows/system.h"

std::filesystem::path file_path(std::string_view name) { return to_utf16(name); }

std::FILE *open_file(const char *name, const char *mode) {
    return _wfopen(to_utf16(name).c_str(), to_utf16(mode).c_str());
}
