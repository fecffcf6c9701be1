#include "platform/files.h"

std::filesystem::path file_path(std::string_view name) { return name; }

std::FILE *open_file(const char *name, const char *mode) { return std::fopen(name, mode); }
