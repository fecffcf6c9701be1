// What the program tells of itself from the shell.
#pragma once

#include <string>

// The answer to --help: usage, switches in groups, options in short, exit status.
std::string help_text();

// The answer to --tables, which the manual page, the completion of the shell, the example of a configuration file and
// README.md's tables are written from (scripts/manual.py). A row a line, its fields separated by tabs:
//
//     program   name
//     switch    group, name, value, meaning, example, ending of files
//     option    name, type, default, lowest, highest, meaning, example, switch, name at the console, ending of files
//     uci, console, set   word, arguments, meaning, example: the commands of both protocols, and what `set` changes
//     status    exit status, meaning
//
// A value or argument in brackets may be missing; the ending "/" stands for folders. An option's type is number, check,
// button, pair or text; an empty name is that of one at the console only. An empty highest value depends on the machine.
// Fields that later versions add stand at the end of a row.
std::string tables_text();
