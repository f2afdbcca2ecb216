#include "LumExtensionTable.h"

#include "LumLexer.h"

#include <lumbasic/LumCompile.h>
#include <lumbasic/LumTokens.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace
{
bool ParseToken(const std::string& str, unsigned short& wToken)
{
    errno = 0;
    char* pEnd = nullptr;
    unsigned long n = strtoul(str.c_str(), &pEnd, 0);
    if (errno != 0 || pEnd == str.c_str() || *pEnd != '\0' || n == 0 || n > 0xFFFF)
        return false;
    wToken = static_cast<unsigned short>(n);
    return true;
}
} // namespace

void CLumExtensionTable::Parse(std::string_view text, CLumDiagnostics& diagnostics)
{
    std::istringstream in{std::string(text)};
    std::string strLine;
    int nLine = 0;
    while (std::getline(in, strLine))
    {
        ++nLine;
        std::istringstream words(strLine);
        std::string strKind, strName, strToken, strRest;
        words >> strKind;
        if (strKind.empty() || strKind[0] == '\'' || strKind[0] == '#')
            continue;
        words >> strName >> strToken >> strRest;
        Entry entry;
        entry.m_strName = strName;
        entry.m_fFunction = LumEqualsNoCase(strKind, "function");
        std::string strError;
        if (!entry.m_fFunction && !LumEqualsNoCase(strKind, "statement"))
            strError = "expected 'statement' or 'function' at the start of the line";
        else if (strToken.empty() || !strRest.empty() || !ParseToken(strToken, entry.m_wToken))
            strError = "expected a name and a token value from 0x0001 to 0xFFFF, as in 'function Tax 0x2084'";
        if (!strError.empty() || !Add(entry, strError))
            diagnostics.Error(SLumPos{nLine, 1}, "extension-table", strError);
    }
}

// A value that the interpreter knows would never reach a module, and a name that
// the language uses would hide the module's.
bool CLumExtensionTable::Add(const Entry& entry, std::string& strError)
{
    if (LumHostToken(entry.m_strName) == 0)
        strError = "'" + entry.m_strName + "' is not a name";
    else if (LumIsLanguageWord(entry.m_strName))
        strError = "'" + entry.m_strName + "' is a word of the language";
    else if (LumTokenName(entry.m_wToken) != nullptr)
        strError = "token " + std::string(LumTokenName(entry.m_wToken)) + " belongs to the interpreter";
    else if (Find(entry.m_strName) != nullptr)
        strError = "'" + entry.m_strName + "' is named twice";
    else if (FindToken(entry.m_wToken) != nullptr)
        strError = "the token of '" + entry.m_strName + "' is used twice";
    else
    {
        m_aEntries.push_back(entry);
        return true;
    }
    return false;
}

void CLumExtensionTable::AddHostNames(const std::vector<SLumHostName>& aNames, CLumDiagnostics& diagnostics)
{
    for (const SLumHostName& name : aNames)
    {
        std::string strError;
        if (!Add(Entry{name.m_strName, name.m_fFunction, name.m_wToken, name.m_nArgs}, strError))
            diagnostics.Error(SLumPos{0, 0}, "host-name", strError);
    }
}

const CLumExtensionTable::Entry* CLumExtensionTable::Find(std::string_view name) const
{
    for (const Entry& entry : m_aEntries)
        if (LumEqualsNoCase(entry.m_strName, name))
            return &entry;
    return nullptr;
}

const CLumExtensionTable::Entry* CLumExtensionTable::FindToken(unsigned short wToken) const
{
    for (const Entry& entry : m_aEntries)
        if (entry.m_wToken == wToken)
            return &entry;
    return nullptr;
}
