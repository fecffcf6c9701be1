// Ctrl-C as a wish to stop, for work that can end in good order.
#pragma once

// From now on the first interrupt only sets a mark; the next one ends the program as usual.
void catch_interrupt();
// Whether an interrupt has arrived since. Any thread.
bool interrupted();
