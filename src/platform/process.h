// What the system is, and what the program gets from it when it starts.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

// The arguments after the program's name, in UTF-8, given those of main. Has standard input and output pass every byte as it
// is. To be called once, before anything is read or written.
std::vector<std::string> begin_process(int count, char **arguments);

// Has the system end the program with a status, as main's return does, where that return would not. What main returns.
int end_process(int status);

// Where the program's file lies; empty where the system does not tell.
std::filesystem::path program_path();

const char *system_name();
