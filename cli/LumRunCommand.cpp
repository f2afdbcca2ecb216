#include "LumRunCommand.h"

#include <lumbasic/LumBasic.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

namespace
{
const char* const USAGE = "usage: lumbasic run [--vars FILE] [--dump] IMAGE";

bool ReadFile(const std::string& strPath, std::string& strContent)
{
    std::ifstream in(strPath, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    strContent = ss.str();
    return true;
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
    for (size_t i = 0; i < aArgs.size(); ++i)
    {
        const std::string& str = aArgs[i];
        if (str == "--vars" && i + 1 < aArgs.size())
            strVars = aArgs[++i];
        else if (str == "--dump")
            fDump = true;
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

    CLumVariables cVariables;
    int nStatus = 0;
    try
    {
        if (!strVars.empty())
        {
            std::string strText;
            if (!ReadFile(strVars, strText))
            {
                fprintf(stderr, "lumbasic: cannot read %s\n", strVars.c_str());
                return 1;
            }
            cVariables.SetValuesFromString(strText.c_str());
        }
        CLumBasic cBasic(&cVariables, nullptr);
        cBasic.Do(strImage.c_str());
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
