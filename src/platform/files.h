// Files by name. A name is UTF-8 on every system; where the system's names are bytes, any bytes will do.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string_view>

// The name as the standard library's file procedures and streams take it.
std::filesystem::path file_path(std::string_view name);

// std::fopen. What is written and read stays as it is, with line feeds alone at the ends of lines.
std::FILE *open_file(const char *name, const char *mode);
