#include "platform/processor.h"

const char *missing_instructions() {
#ifdef __x86_64__
    __builtin_cpu_init();
#ifdef __POPCNT__
    if (!__builtin_cpu_supports("popcnt")) return "POPCNT";
#endif
#ifdef __BMI2__
    if (!__builtin_cpu_supports("bmi2")) return "BMI2";
#endif
#ifdef __AVX2__
    if (!__builtin_cpu_supports("avx2")) return "AVX2";
#endif
#endif
    return nullptr;
}
