// What a person sees.
#pragma once

// Whether standard error is shown on a terminal, so that a line that rewrites itself makes sense there.
bool standard_error_is_terminal();
