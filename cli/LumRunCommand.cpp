#include "LumRunCommand.h"

#include "LumCompilerCommands.h"
#include "LumCompiler.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumMessageBox.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace
{
const char* const USAGE = "usage: lumbasic run [--vars FILE] [--dump] [--answer N] IMAGE|SOURCE.lbd";

// A whole decimal number that fits an int.
bool ParseAnswer(const std::string& str, int& nAnswer)
{
    if (str.empty())
        return false;
    char* pszEnd = nullptr;
    errno = 0;
    long n = strtol(str.c_str(), &pszEnd, 10);
    if (*pszEnd != '\0' || errno != 0 || n < INT_MIN || n > INT_MAX)
        return false;
    nAnswer = static_cast<int>(n);
    return true;
}

// Every box answers the same without asking; the text still goes to the log.
void InstallAnswer(int nAnswer)
{
    LumSetMessageBox([nAnswer](const char* pszText, const char* pszCaption, long) {
        fprintf(stderr, "%s\n%s\n", pszCaption, pszText);
        return nAnswer;
    });
}
} // namespace

void LumPrintTrail(const std::vector<std::string>& aTrail)
{
    for (const std::string& str : aTrail)
        fprintf(stderr, "%s\n", str.c_str());
}

int LumRunCommand(const std::vector<std::string>& aArgs)
{
    std::string strVars, strImage;
    bool fDump = false;
    bool fAnswer = false;
    int nAnswer = 0;
    for (size_t i = 0; i < aArgs.size(); ++i)
    {
        const std::string& str = aArgs[i];
        if (str == "--vars" && i + 1 < aArgs.size())
            strVars = aArgs[++i];
        else if (str == "--dump")
            fDump = true;
        else if (str == "--answer" && i + 1 < aArgs.size() && ParseAnswer(aArgs[i + 1], nAnswer))
        {
            fAnswer = true;
            ++i;
        }
        else if (!str.empty() && str[0] == '-')
        {
            fprintf(stderr, "%s\n", USAGE);
            return 2;
        }
        else if (strImage.empty())
            strImage = str;
        else
        {
            fprintf(stderr, "%s\n", USAGE);
            return 2;
        }
    }
    if (strImage.empty())
    {
        fprintf(stderr, "%s\n", USAGE);
        return 2;
    }

    if (fAnswer)
        InstallAnswer(nAnswer);

    // A source is compiled in memory; its line markers still name the source's lines.
    std::vector<uint8_t> aSource;
    if (LumIsSourcePath(strImage) && !LumCompileSource(strImage, aSource))
        return 1;

    CLumVariables cVariables;
    int nStatus = 0;
    try
    {
        if (!strVars.empty())
        {
            std::string strText;
            if (!LumReadFile(strVars, strText))
            {
                fprintf(stderr, "lumbasic: cannot read %s\n", strVars.c_str());
                return 1;
            }
            cVariables.SetValuesFromString(strText.c_str());
        }
        CLumBasic cBasic(&cVariables, nullptr);
        if (aSource.empty())
            cBasic.Do(strImage.c_str());
        else
            cBasic.DoMemory(aSource.data(), aSource.size());
    }
    catch (const CLumsException& e)
    {
        LumPrintTrail(e.GetTrail());
        nStatus = 1;
    }
    if (fDump)
    {
        std::string strText;
        try
        {
            cVariables.MakeString(&strText);
        }
        catch (const CLumsException& e)
        {
            LumPrintTrail(e.GetTrail());
            nStatus = 1;
        }
        fwrite(strText.data(), 1, strText.size(), stdout);
    }
    return nStatus;
}
