// Threads and how they wait for each other. Locks are those of the standard library everywhere.
//
// A browser page without shared memory has one thread only. Threads take turns there: one runs until it waits or its turn
// is over, which it has to ask about now and then.
#pragma once

#if defined(__EMSCRIPTEN__) && !defined(__EMSCRIPTEN_PTHREADS__)

#include "platform/browser/turns.h"

#else

#include <condition_variable>
#include <thread>

using Thread = std::thread;
using Condition = std::condition_variable;

// To be called by work that goes on for more than a few milliseconds and that others may wish to end.
inline void offer_turn() {}

#endif
