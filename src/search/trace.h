// The search trace: moves made near the root are written to "trace.txt", all threads' and the game's one after the other.
#pragma once

#include <cstdio>
#include <memory>
#include <mutex>

#include "base/shared_value.h"
#include "board/makemove.h"
#include "board/notation.h"

struct Reporter;

struct SearchTrace {
    struct Close {
        void operator()(std::FILE *open) const { std::fclose(open); }
    };
    SharedValue<int> level{0};  // plies; 0: off
    SharedValue<PromotionStyle> style{PromotionStyle::LOWER_CASE};
    std::mutex lock;  // guards what follows
    std::unique_ptr<std::FILE, Close> file;
    int last_ply = 0;
    int last_iteration = -1;
};

// What stands before a traced move.
struct TracedMove {
    int ply;        // moves of a game that were taken back count below 1 and are left out
    int iteration;  // depth of the iteration, 0 outside a search
    int depth;      // remaining depth
    Move move;
};

// Writes a move when its ply is within the level. The file is created at the first one; false when that fails. Any thread.
bool write_trace(SearchTrace &trace, const TracedMove &traced);
