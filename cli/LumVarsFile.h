// The file of `--vars`: the store's text form, checked line by line before anything
// runs, so that a mistake is named instead of ending as a variable left empty or 0.
#pragma once

#include <set>
#include <string>

// Reads and checks the file. Each line is empty or TYPE:NAME=VALUE with TYPE S, L or
// D; the value of L is a whole number of the long's range and that of D a number in
// the "C" locale's form; a CR before the line's end is dropped. Gives the lines in the
// form CLumVariables::SetValuesFromString takes, and the names they set; false after
// "lumbasic: FILE: reason" or one "FILE:LINE: error: text" per bad line went to
// standard error.
bool LumReadVarsFile(const std::string& strPath, std::string& strText, std::set<std::string>& setNames);
