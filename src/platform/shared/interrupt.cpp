#include "platform/interrupt.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t arrived = 0;

void mark_interrupt(int) {
    arrived = 1;
    std::signal(SIGINT, SIG_DFL);
}

}  // namespace

void catch_interrupt() { std::signal(SIGINT, mark_interrupt); }

bool interrupted() { return arrived != 0; }
