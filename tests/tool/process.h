#pragma once
/// @file process.h
/// Runs a program as a child process.

#include <string>
#include <vector>

struct ProcessResult {
    int code = -1;
    std::string out;
    std::string err;
};

/// words[0] is the program's path, all words are UTF-8. Standard input comes from the file `input`, or is
/// empty for "". The child's current folder is `folder`; its streams go through files in `scratch`.
ProcessResult runProcess(const std::vector<std::string>& words, const std::string& folder,
                         const std::string& input, const std::string& scratch);
/// The folder of the running program, and what programs' names end in.
std::string programFolder();
extern const char* const programSuffix;
/// Sets a variable for children; null removes it.
void setVariable(const char* name, const char* value);
