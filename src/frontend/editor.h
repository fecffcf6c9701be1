// The console's board editor. Main thread.
#pragma once

#include <string_view>

// The editor takes lines until one begins with '.'. An edited board is the start of a new game.
void start_editor();
bool editing();
void edit_line(std::string_view line);
