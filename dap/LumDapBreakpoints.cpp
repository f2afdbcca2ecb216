#include "LumDapBreakpoints.h"

#include "LumCompiler.h"
#include "LumExtensionTable.h"

#include "res/LumMessages.h"

#include <cstdlib>

std::string CLumDapBreakpoints::SourceKey(const std::string& strPath)
{
    return LumSourceNameFor(strPath);
}

bool CLumDapBreakpoints::CodeLines(const std::string& strPath, const CLumExtensionTable& extensions,
                                   std::set<long>& setLines, std::string& strWhy)
{
    SLumCompileOptions options;
    options.m_pExtensions = &extensions;
    CLumCompiler compiler(options);
    std::vector<uint8_t> aImage;
    bool fOk = compiler.CompileFile(strPath, aImage);
    if (!fOk)
    {
        strWhy = compiler.GetDiagnostics().Format(strPath);
        return false;
    }
    for (int32_t nLine : compiler.GetSteppedLines())
        setLines.insert(nLine);
    return true;
}

json CLumDapBreakpoints::Set(const json& args, const CLumExtensionTable& extensions)
{
    std::string strPath = args.at("source").value("path", "");
    std::string strKey = SourceKey(strPath);
    std::set<long> setLines;
    std::string strWhy;
    bool fCompiled = CodeLines(strPath, extensions, setLines, strWhy);
    std::map<long, SLumDapBreakpoint> mapLines;
    json aAnswers = json::array();
    for (const json& requested : args.value("breakpoints", json::array()))
    {
        SLumDapBreakpoint breakpoint;
        breakpoint.m_nLine = requested.at("line").get<long>();
        breakpoint.m_strCondition = requested.value("condition", "");
        breakpoint.m_strHitCondition = requested.value("hitCondition", "");
        breakpoint.m_strLogMessage = requested.value("logMessage", "");
        auto itLine = setLines.lower_bound(breakpoint.m_nLine);
        json answer{{"verified", false}, {"line", breakpoint.m_nLine}};
        if (!fCompiled)
            answer["message"] = strWhy;
        else if (itLine == setLines.end())
            answer["message"] = LoadMessage(LUM_MSG_DAP_NO_CODE_LINE);
        else
        {
            breakpoint.m_nLine = *itLine;
            answer = {{"verified", true}, {"line", *itLine}};
            mapLines[*itLine] = breakpoint;
        }
        aAnswers.push_back(answer);
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (mapLines.empty())
        m_mapSources.erase(strKey);
    else
        m_mapSources[strKey] = std::move(mapLines);
    m_fAny = !m_mapSources.empty();
    return json{{"breakpoints", aAnswers}};
}

bool CLumDapBreakpoints::Hit(const std::string& strSource, long nLine, SLumDapBreakpoint& breakpoint)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto itSource = m_mapSources.find(strSource);
    if (itSource == m_mapSources.end())
        return false;
    auto itLine = itSource->second.find(nLine);
    if (itLine == itSource->second.end())
        return false;
    ++itLine->second.m_nHits;
    breakpoint = itLine->second;
    return true;
}

bool CLumDapBreakpoints::HitConditionHolds(const std::string& strCondition, long nHits, std::string& strWhy)
{
    size_t nStart = strCondition.find_first_not_of(" \t");
    if (nStart == std::string::npos)
        return true;
    std::string strOperator;
    size_t nDigits = strCondition.find_first_of("0123456789", nStart);
    if (nDigits != std::string::npos)
        strOperator = strCondition.substr(nStart, nDigits - nStart);
    while (!strOperator.empty() && strOperator.back() == ' ')
        strOperator.pop_back();
    char* pszEnd = nullptr;
    long nCount = nDigits == std::string::npos ? 0 : strtol(strCondition.c_str() + nDigits, &pszEnd, 10);
    bool fNumber = pszEnd != nullptr &&
                   strCondition.find_first_not_of(" \t", pszEnd - strCondition.c_str()) == std::string::npos;
    if (!fNumber || nCount <= 0)
        strOperator = "?";
    if (strOperator.empty() || strOperator == ">=")
        return nHits >= nCount;
    if (strOperator == ">")
        return nHits > nCount;
    if (strOperator == "==" || strOperator == "=")
        return nHits == nCount;
    if (strOperator == "%")
        return nHits % nCount == 0;
    strWhy = LumDapMessage(LUM_MSG_DAP_HIT_CONDITION, {strCondition});
    return true;
}
