#include "LumVarsFile.h"

#include "LumProgramFile.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <locale.h>

namespace
{
bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

std::string Trim(const std::string& str)
{
    size_t nBegin = 0, nEnd = str.size();
    while (nBegin < nEnd && IsBlank(str[nBegin]))
        ++nBegin;
    while (nEnd > nBegin && IsBlank(str[nEnd - 1]))
        --nEnd;
    return str.substr(nBegin, nEnd - nBegin);
}

// Numbers are read as the store reads them, in the "C" locale whatever the process has set.
locale_t CLocale()
{
    static locale_t s_locale = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    return s_locale;
}

// What is wrong with the value of an L: line; empty if it is a whole number of the
// long's range.
std::string CheckLong(const std::string& strValue)
{
    if (strValue.empty())
        return "the value is empty; a Long (L:) needs a whole number, as in L:count%=42";
    char* pszEnd = nullptr;
    errno = 0;
    long long n = strtoll_l(strValue.c_str(), &pszEnd, 10, CLocale());
    if (pszEnd == strValue.c_str() || *pszEnd != '\0')
        return "'" + strValue + "' is not a whole number, which a Long (L:) needs";
    if (errno == ERANGE || n < INT32_MIN || n > INT32_MAX)
        return "'" + strValue + "' is outside the range of a Long (L:), -2147483648 to 2147483647";
    return "";
}

// The same for a D: line: a number as strtod reads it in the "C" locale.
std::string CheckDouble(const std::string& strValue)
{
    if (strValue.empty())
        return "the value is empty; a Double (D:) needs a number, as in D:price=19.99";
    char* pszEnd = nullptr;
    errno = 0;
    double d = strtod_l(strValue.c_str(), &pszEnd, CLocale());
    if (pszEnd == strValue.c_str() || *pszEnd != '\0')
        return "'" + strValue + "' is not a number; a Double (D:) is written with a point, as in 1234.5";
    if (errno == ERANGE && std::isinf(d))
        return "'" + strValue + "' is outside the range of a Double (D:)";
    return "";
}

// What is wrong with one line; empty if nothing. `strLine` becomes the line as the
// store takes it.
std::string CheckLine(std::string& strLine, std::string& strName)
{
    if (strLine.size() >= 2 && strLine[1] == ':' && std::string("SLD").find(strLine[0]) == std::string::npos)
        return std::string("unknown type '") + strLine[0] +
               "'; a line starts with S: (a string), L: (a Long) or D: (a Double)";
    size_t nEquals = strLine.find('=');
    if (strLine.size() < 2 || strLine[1] != ':' || nEquals == std::string::npos)
        return "expected TYPE:NAME=VALUE with TYPE S, L or D, as in L:count%=42";
    strName = strLine.substr(2, nEquals - 2);
    if (strName.empty())
        return "the name in front of '=' is empty";
    if (IsBlank(strName.front()) || IsBlank(strName.back()))
        return "the name '" + strName + "' begins or ends with a blank, which would be part of it";
    if (strLine[0] == 'S')
        return "";
    std::string strValue = Trim(strLine.substr(nEquals + 1));
    std::string strError = strLine[0] == 'L' ? CheckLong(strValue) : CheckDouble(strValue);
    strLine = strLine.substr(0, nEquals + 1) + strValue;
    return strError;
}
} // namespace

bool LumReadVarsFile(const std::string& strPath, std::string& strText, std::set<std::string>& setNames)
{
    std::string strContent;
    if (!LumReadNamedFile(strPath, strContent))
        return false;
    strText.clear();
    bool fOk = true;
    size_t nStart = 0;
    for (int nLine = 1; nStart < strContent.size(); ++nLine)
    {
        size_t nEnd = strContent.find('\n', nStart);
        if (nEnd == std::string::npos)
            nEnd = strContent.size();
        std::string strLine = strContent.substr(nStart, nEnd - nStart);
        nStart = nEnd + 1;
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        if (Trim(strLine).empty())
            continue;
        std::string strName;
        std::string strError = CheckLine(strLine, strName);
        if (!strError.empty())
        {
            fprintf(stderr, "%s:%d: error: %s\n", strPath.c_str(), nLine, strError.c_str());
            fOk = false;
            continue;
        }
        strText += strLine + "\n";
        setNames.insert(strName);
    }
    return fOk;
}
