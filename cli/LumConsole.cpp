#include "LumConsole.h"

#include "res/LumMessages.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace
{
// Standard input up to the end of the line, without it; false at the input's end.
bool ReadLine(std::string& strLine)
{
    strLine.clear();
    int c;
    while ((c = fgetc(stdin)) != EOF && c != '\n')
        strLine += static_cast<char>(c);
    if (!strLine.empty() && strLine.back() == '\r')
        strLine.pop_back();
    return c != EOF || !strLine.empty();
}

// A line as a number, blanks around it allowed and a point as the decimal mark,
// whatever the locale; an empty line is 0.
CLumsVarValue Number(const std::string& strLine)
{
    size_t nFirst = strLine.find_first_not_of(" \t");
    size_t nLast = strLine.find_last_not_of(" \t");
    if (nFirst == std::string::npos)
        return CLumsVarValue(0.0);
    const char* pBegin = strLine.data() + nFirst + (strLine[nFirst] == '+' ? 1 : 0);
    const char* pEnd = strLine.data() + nLast + 1;
    double d = 0;
    std::from_chars_result result = std::from_chars(pBegin, pEnd, d);
    if (pBegin == pEnd || result.ec != std::errc() || result.ptr != pEnd)
    {
        CLumsException e;
        char szText[1024];
        snprintf(szText, sizeof szText, LoadMessage(LUM_MSG_INPUT_NO_NUMBER).c_str(), strLine.c_str());
        e.AddString() = szText;
        throw e;
    }
    return CLumsVarValue(d);
}
} // namespace

void CLumConsole::WriteStandard(const std::string& strText)
{
    fwrite(strText.data(), 1, strText.size(), stdout);
}

bool CLumConsole::ReadStandard(const std::string& strPrompt, std::string& strLine)
{
    WriteStandard(strPrompt);
    fflush(stdout);
    return ReadLine(strLine);
}

void CLumConsole::RegisterWith(CLumBasic& basic)
{
    basic.RegisterStatement("Print", LUM_ANY_ARGS, [this](CLumHostArgs& args) {
        std::string strLine;
        for (int n = 1; n <= args.GetCount(); ++n)
            strLine.append(n > 1 ? " " : "").append(args.GetValue(n).GetText());
        m_fnOutput(strLine + "\n");
    });
    basic.RegisterStatement("Input", 2, [this](CLumHostArgs& args) {
        std::string strPrompt = args.GetText(1);
        const char* pszName = args.GetVariableName(2);
        std::string strLine;
        m_fnInput(strPrompt, strLine);
        bool fText = pszName != nullptr && *pszName != '\0' && pszName[strlen(pszName) - 1] == '$';
        args.SetVariable(2, fText ? CLumsVarValue(strLine.c_str()) : Number(strLine));
    });
}

void CLumConsole::AddNamesTo(CLumExtensionTable& table)
{
    CLumBasic basic;
    CLumConsole console;
    console.RegisterWith(basic);
    for (const SLumHostName& name : basic.GetHostNames())
    {
        std::string strError;
        if (table.Find(name.m_strName) == nullptr)
            table.Add(
                CLumExtensionTable::Entry{name.m_strName, name.m_fFunction, name.m_wToken, name.m_nArgs},
                strError);
    }
}
