#include "base/version.h"

#include "platform/process.h"
#include "platform/processor.h"

// CMake's build writes a header when the commit has changed; others define DRAL_COMMIT for this file. No quotes around it.
#if !defined(DRAL_COMMIT) && __has_include(<dral_commit.h>)
#include <dral_commit.h>
#endif
#ifndef DRAL_COMMIT
#define DRAL_COMMIT unknown
#endif
#define DRAL_TEXT_OF(word) #word
#define DRAL_TEXT(macro)   DRAL_TEXT_OF(macro)

namespace {

std::string number(int major, int minor, int patch) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

std::string compiler() {
#ifdef __clang__
    return "clang " + number(__clang_major__, __clang_minor__, __clang_patchlevel__);
#else
    return "g++ " + number(__GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#endif
}

}  // namespace

std::string version_text() {
    constexpr std::size_t FULL = 40;
    constexpr std::size_t SHORT = 12;
    std::string commit = DRAL_TEXT(DRAL_COMMIT);
    if (commit.size() == FULL) commit.resize(SHORT);
    std::string text = std::string(ENGINE_NAME) + " (commit " + commit + ")\n";
    return text + compiler() + ", " + system_name() + ", " + instruction_set() + "\n";
}
