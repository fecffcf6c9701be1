#include "platform/processor.h"

#ifdef __x86_64__
#include <cpuid.h>
#endif

const char *missing_instructions() {
#ifdef __x86_64__
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
#ifdef __POPCNT__
    constexpr unsigned POPCNT = 1U << 23;  // in ecx of leaf 1
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & POPCNT) == 0) return "POPCNT";
#endif
    // In ebx of leaf 7.
    [[maybe_unused]] constexpr unsigned AVX2 = 1U << 5;
    [[maybe_unused]] constexpr unsigned BMI2 = 1U << 8;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) b = 0;
#ifdef __BMI2__
    if ((b & BMI2) == 0) return "BMI2";
#endif
#ifdef __AVX2__
    if ((b & AVX2) == 0) return "AVX2";
#endif
#endif
    return nullptr;
}

std::string instruction_set() {
    return
#if defined(__x86_64__)
        "x86-64"
#elif defined(__aarch64__)
        "ARM64"
#elif defined(__wasm__)
        "WebAssembly"
#else
        "another processor"
#endif
#ifdef __POPCNT__
        " POPCNT"
#endif
#ifdef __BMI2__
        " BMI2"
#endif
#ifdef __AVX2__
        " AVX2"
#endif
#ifdef __AVX512F__
        " AVX-512"
#endif
#ifdef __ARM_NEON
        " NEON"
#endif
        ;
}
