#include "platform/terminal.h"

bool standard_error_is_terminal() { return false; }
