// The commands of the command-line host, one function each.
#pragma once

#include <string>
#include <vector>

// Each gets the arguments behind its name and gives the exit status.
int LumRunCommand(const std::vector<std::string>& aArgs);

// Prints a trail to standard error, one entry per line.
void LumPrintTrail(const std::vector<std::string>& aTrail);
