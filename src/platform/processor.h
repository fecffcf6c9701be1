// What the processor must have.
#pragma once

#include <string>

// Name of an instruction set that this program was compiled for and the processor lacks, such as "POPCNT"; null when
// nothing is missing, and on processors that all have the same. May be called before static variables are set up.
const char *missing_instructions();

// The instructions that this program was compiled for, as far as they matter here, such as "x86-64 POPCNT BMI2".
std::string instruction_set();
