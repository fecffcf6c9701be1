#include "board/repetition.h"

int count_repetitions(const Position &pos) {
    int matches = 0;
    for (int entry = last_repetition(pos); entry >= 0; entry = last_equal_entry(pos, entry - 2)) ++matches;
    return matches;
}
