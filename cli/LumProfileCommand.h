// Hit counts on the command line: runs that count, and listings of what they counted.
#pragma once

#include <lumbasic/LumBasicProfiler.h>

#include <map>
#include <set>
#include <string>
#include <vector>

// lumbasic profile [--lcov FILE] SOURCE...
int LumProfileCommand(const std::vector<std::string>& aArgs);

// Makes the runs from now on count line hits without a window and never stop: at the
// end of a run the counts of every source met are saved beside it (".Profile") and
// listed with its text ("_Profile.txt").
void LumStartProfiling();

// While it lives, notes the profile files that runs write. A file is named after its
// source's path up to the first dot, so a dot in a directory's name puts it elsewhere:
// Tell says on standard error where the files of such a source went.
class CLumProfileFilesNote
{
public:
    CLumProfileFilesNote();
    ~CLumProfileFilesNote();
    CLumProfileFilesNote(const CLumProfileFilesNote&) = delete;
    CLumProfileFilesNote& operator=(const CLumProfileFilesNote&) = delete;

    void Tell() const;

private:
    // By source: the files written.
    std::map<std::string, std::set<std::string>> m_mapFiles;
    LumProfileWrittenFunction m_fnBefore;
};
