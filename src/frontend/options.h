// The options: one table drives the `uci` listing, setoption and the configuration file.
#pragma once

#include <string_view>

// Sets an option by its exact name: clamps the value, stores it, prints one reply line and does what the option does at
// once. An unknown name does nothing. Main thread.
void apply_option(std::string_view name, std::string_view value);

// Copies `settings` into `default_settings` and has the next search rebuild its tables: after every accepted change.
void settings_were_changed();

// Registers the tables that settings.SyzygyPath names and says how many there are; a limit that is exceeded goes to the
// report of `tablebases`. Main thread, no search running.
void set_up_tablebases();

// Prints one line per listed option, with the values of `default_settings`.
void list_options();

// Reads the file that settings.ConfigFilePath names, line by line through apply_option. False when it cannot be opened.
// Files that name each other are read once.
bool load_config_file();
