#include "LumCompilerCommands.h"

#include "LumCompiler.h"
#include "LumDisassembler.h"

#include <cstdio>

namespace
{
const char* const USAGE = "usage: lumbasic dis [--extensions FILE] IMAGE|SOURCE";
} // namespace

// A source is compiled in memory first and its image listed.
int LumDisCommand(const std::vector<std::string>& aArgs)
{
    std::string strImage, strExtensions;
    for (size_t i = 0; i < aArgs.size(); ++i)
    {
        const std::string& str = aArgs[i];
        if (str == "--extensions" && i + 1 < aArgs.size())
            strExtensions = aArgs[++i];
        else if ((!str.empty() && str[0] == '-') || !strImage.empty())
        {
            fprintf(stderr, "%s\n", USAGE);
            return 2;
        }
        else
            strImage = str;
    }
    if (strImage.empty())
    {
        fprintf(stderr, "%s\n", USAGE);
        return 2;
    }
    CLumExtensionTable extensions;
    if (!LumLoadExtensions(strExtensions, extensions))
        return 1;
    SLumProgramFile file;
    if (!LumReadProgramFile(strImage, file))
        return 1;
    std::vector<uint8_t> aImage;
    if (file.m_fSource)
    {
        if (!LumCompileSource(file, extensions, SLumCompileOptions{}, aImage))
            return 1;
    }
    else
        aImage.assign(file.m_strContent.begin(), file.m_strContent.end());
    CLumDisassembler disassembler(&extensions);
    std::string strListing;
    bool fComplete = disassembler.Run(aImage.data(), aImage.size(), strListing);
    fwrite(strListing.data(), 1, strListing.size(), stdout);
    return fComplete ? 0 : 1;
}
