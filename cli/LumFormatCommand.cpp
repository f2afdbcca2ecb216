#include "LumCompilerCommands.h"

#include "LumFormatCheck.h"

#include <cstdio>

namespace
{
const char* const USAGE = "usage: lumbasic fmt [--check] FILE...";

// Formats one file, or with `fCheck` only tells whether it is formatted; false if it
// is not, or cannot be.
bool FormatFile(const std::string& strPath, bool fCheck)
{
    SLumProgramFile file;
    if (!LumReadProgramFile(strPath, file))
        return false;
    if (!file.m_fSource)
    {
        fprintf(stderr, "lumbasic: %s: a program image, not a source\n", strPath.c_str());
        return false;
    }
    std::string strFormatted, strWhy;
    if (!LumFormatChecked(file.m_strContent, SLumCompileOptions{}, strFormatted, strWhy))
    {
        fprintf(stderr, "lumbasic: %s: %s\n", strPath.c_str(), strWhy.c_str());
        return false;
    }
    if (strFormatted == file.m_strContent)
        return true;
    if (!fCheck)
        return LumWriteNamedFile(strPath, strFormatted.data(), strFormatted.size());
    printf("%s: not in the canonical layout; 'lumbasic fmt %s' lays it out\n", strPath.c_str(),
           strPath.c_str());
    return false;
}
} // namespace

int LumFormatCommand(const std::vector<std::string>& aArgs)
{
    bool fCheck = false;
    std::vector<std::string> aFiles;
    for (const std::string& str : aArgs)
    {
        if (str == "--check")
            fCheck = true;
        else if (!str.empty() && str[0] == '-')
        {
            fprintf(stderr, "%s\n", USAGE);
            return 2;
        }
        else
            aFiles.push_back(str);
    }
    if (aFiles.empty())
    {
        fprintf(stderr, "%s\n", USAGE);
        return 2;
    }
    bool fOk = true;
    for (const std::string& strFile : aFiles)
        fOk = FormatFile(strFile, fCheck) && fOk;
    return fOk ? 0 : 1;
}
