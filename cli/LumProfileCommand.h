// Hit counts on the command line: runs that count, and listings of what they counted.
#pragma once

#include <string>
#include <vector>

// lumbasic profile [--lcov FILE] SOURCE...
int LumProfileCommand(const std::vector<std::string>& aArgs);

// Makes the runs from now on count line hits without a window and never stop: at the
// end of a run the counts of every source met are saved beside it (".Profile") and
// listed with its text ("_Profile.txt").
void LumStartProfiling();
