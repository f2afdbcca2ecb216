#include "LumRunOptions.h"

#include <lumbasic/LumBasic.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace
{
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

// A whole decimal number above 0 and at most nMax.
bool ParseCount(const std::string& str, unsigned long long nMax, unsigned long long& nCount)
{
    if (str.empty() || str[0] < '0' || str[0] > '9')
        return false;
    char* pszEnd = nullptr;
    errno = 0;
    unsigned long long n = strtoull(str.c_str(), &pszEnd, 10);
    if (*pszEnd != '\0' || errno != 0 || n == 0 || n > nMax)
        return false;
    nCount = n;
    return true;
}

// NAME=VALUE for the modules of the last --module option.
bool ParseSetting(const std::string& str, std::vector<SLumModuleOption>& aModules)
{
    size_t nEquals = str.find('=');
    if (aModules.empty() || nEquals == std::string::npos || nEquals == 0)
        return false;
    aModules.back().m_aSettings.emplace_back(str.substr(0, nEquals), str.substr(nEquals + 1));
    return true;
}

// The switches of a run, each without a value.
bool TakeSwitch(const std::string& str, SLumRunOptions& options)
{
    const std::pair<const char*, bool SLumRunOptions::*> aSwitches[] = {
        {"--dump", &SLumRunOptions::m_fDump},     {"--profile", &SLumRunOptions::m_fProfile},
        {"--strict", &SLumRunOptions::m_fStrict}, {"--trail", &SLumRunOptions::m_fTrail},
        {"--plain", &SLumRunOptions::m_fPlain},
    };
    for (const auto& entry : aSwitches)
        if (str == entry.first)
            return options.*entry.second = true;
    return false;
}
} // namespace

bool LumTakeRunOption(const std::vector<std::string>& aArgs, size_t& i, SLumRunOptions& options)
{
    const std::string& str = aArgs[i];
    if (TakeSwitch(str, options))
        return true;
    if (i + 1 >= aArgs.size())
        return false;
    const std::string& strValue = aArgs[i + 1];
    bool fOk = true;
    if (str == "--vars")
        options.m_strVars = strValue;
    else if (str == "--extensions")
        options.m_strExtensions = strValue;
    else if (str == "--sandbox")
        options.m_strSandbox = strValue;
    else if (str == "--module")
    {
        options.m_aModules.emplace_back();
        fOk = LumParseModuleOption(strValue, options.m_aModules.back());
    }
    else if (str == "--set")
        fOk = ParseSetting(strValue, options.m_aModules);
    else if (str == "--max-steps")
        fOk = ParseCount(strValue, ULONG_MAX, options.m_nMaxSteps);
    else if (str == "--max-memory")
        fOk = ParseCount(strValue, SIZE_MAX >> 20, options.m_nMaxMegabytes);
    else if (str == "--answer")
        fOk = options.m_fAnswer = ParseAnswer(strValue, options.m_nAnswer);
    else
        return false;
    ++i;
    return fOk;
}

bool LumParseRunOptions(const std::vector<std::string>& aArgs, const char* pszUsage, SLumRunOptions& options)
{
    bool fOk = true;
    for (size_t i = 0; i < aArgs.size() && fOk; ++i)
    {
        const std::string& str = aArgs[i];
        if (!str.empty() && str[0] == '-')
            fOk = LumTakeRunOption(aArgs, i, options);
        else if (!options.m_strImage.empty())
            fOk = false;
        else
            options.m_strImage = str;
    }
    if (!fOk || options.m_strImage.empty())
    {
        fprintf(stderr, "%s\n", pszUsage);
        return false;
    }
    return true;
}

bool LumCheckSandbox(const SLumRunOptions& options)
{
    if (options.m_strSandbox.empty())
        return true;
    struct stat info;
    int nError = stat(options.m_strSandbox.c_str(), &info) != 0 ? errno : S_ISDIR(info.st_mode) ? 0 : ENOTDIR;
    if (nError != 0)
        fprintf(stderr, "lumbasic: %s: %s\n", options.m_strSandbox.c_str(), strerror(nError));
    return nError == 0;
}

void LumApplyRunOptions(const SLumRunOptions& options, CLumBasic& basic)
{
    basic.SetStatementLimit(static_cast<unsigned long>(options.m_nMaxSteps));
    basic.SetMemoryLimit(static_cast<size_t>(options.m_nMaxMegabytes << 20));
    basic.SetFastPaths(!options.m_fPlain);
    if (!options.m_strSandbox.empty())
        basic.SetFileRoot(options.m_strSandbox.c_str());
}
