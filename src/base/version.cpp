#include "base/version.h"

#include <string_view>

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

#if defined(__clang__) || defined(__GNUC__)
std::string number(int major, int minor, int patch) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}
#endif

std::string compiler() {
#if defined(__clang__)
    return "clang " + number(__clang_major__, __clang_minor__, __clang_patchlevel__);
#elif defined(__GNUC__)
    return "g++ " + number(__GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#else
    return "unknown compiler";
#endif
}

constexpr const char *SYSTEM =
#if defined(_WIN32)
    "Windows";
#elif defined(__APPLE__)
    "macOS";
#elif defined(__linux__)
    "Linux";
#elif defined(__FreeBSD__)
    "FreeBSD";
#else
    "another system";
#endif

constexpr const char *PROCESSOR =
#if defined(__x86_64__) || defined(_M_X64)
    "x86-64";
#elif defined(__aarch64__) || defined(_M_ARM64)
    "ARM64";
#else
    "another processor";
#endif

// Extensions that the code was compiled for, as far as they matter here.
constexpr const char *EXTENSIONS[] = {
#if defined(__POPCNT__)
    "POPCNT",
#endif
#if defined(DRAL_BIT_EXTRACTION)
    "BMI2",
#endif
#if defined(__AVX2__)
    "AVX2",
#endif
#if defined(__AVX512F__)
    "AVX-512",
#endif
#if defined(__ARM_NEON)
    "NEON",
#endif
    ""};

}  // namespace

std::string version_text() {
    constexpr std::size_t FULL = 40;
    constexpr std::size_t SHORT = 12;
    std::string commit = DRAL_TEXT(DRAL_COMMIT);
    if (commit.size() == FULL) commit.resize(SHORT);
    std::string text = std::string(ENGINE_NAME) + " (commit " + commit + ")\n";
    text += compiler() + ", " + SYSTEM + ", " + PROCESSOR;
    for (const std::string_view extension : EXTENSIONS)
        if (!extension.empty()) text.append(" ").append(extension);
    return text + "\n";
}
