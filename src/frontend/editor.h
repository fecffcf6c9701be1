// The console's board editor.
#pragma once

#include <string_view>

#include "frontend/frontend.h"

// The editor takes lines until one begins with '.'. An edited board is the start of a new game.
void start_editor(FrontEnd &front);
void edit_line(FrontEnd &front, std::string_view line);
