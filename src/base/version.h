// What this program is called, and what it was built from and for.
#pragma once

#include <string>

// Name and author as the protocol shows them.
constexpr const char *ENGINE_NAME = "Dral 4.0";
constexpr const char *ENGINE_AUTHOR = "Brellmoor";

// Two lines: name and commit ("unknown" where the build could not tell); compiler, system and instruction set. The same
// for every build from the same source with the same compiler and flags.
std::string version_text();
