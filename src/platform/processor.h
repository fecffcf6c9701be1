// What the processor must have.
#pragma once

// Name of an instruction set that this program was compiled for and the processor lacks, such as "POPCNT"; null when
// nothing is missing, and on processors that all have the same. May be called before static variables are set up.
const char *missing_instructions();
