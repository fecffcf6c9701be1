#include "platform/interrupt.h"

#include <csignal>

namespace {
volatile std::sig_atomic_t arrived = 0;
}

void catch_interrupt() {
    struct sigaction action {};
    action.sa_handler = [](int) { arrived = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

bool interrupted() { return arrived != 0; }
