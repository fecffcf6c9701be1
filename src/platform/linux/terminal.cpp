#include "platform/terminal.h"

#include <unistd.h>

bool standard_error_is_terminal() { return isatty(STDERR_FILENO) == 1; }
