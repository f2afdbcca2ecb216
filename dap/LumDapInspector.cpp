#include "LumDapInspector.h"

#include "LumLexer.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumCompile.h>
#include <lumbasic/LumVariables.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <stdexcept>

namespace
{
// The statement that hands an evaluated expression back; no program names it.
const char* const RESULT_STATEMENT = "DapErgebnisZurueck";
// An evaluation that runs longer than this is no look at a value any more.
const unsigned long EVALUATION_STEPS = 1000000;

// A name, optionally with whole-number indices: "total", "name$", "table(3)", "m(1, 2)".
const std::regex& ElementPattern()
{
    static const std::regex s_pattern(
        R"(^\s*([A-Za-z_][A-Za-z0-9_]*[$%]?)\s*(?:\(\s*(\d+)\s*(?:,\s*(\d+)\s*)?\))?\s*$)");
    return s_pattern;
}

// The key of a match of ElementPattern: "name", "name:3" or "name:1:2".
std::string ElementKey(const std::smatch& match)
{
    std::string strKey = match[1];
    for (size_t i = 2; i <= 3; ++i)
        if (match[i].matched)
            strKey += ":" + std::to_string(std::stol(match[i]));
    return strKey;
}

// The program that hands the expression's value to RESULT_STATEMENT: the procedures of
// `pFunctions` declared, the arrays of `store` dimensioned.
std::string EvaluationProgram(const CLumVariables& store, const CLumFunctions* pFunctions,
                              const std::string& strExpression)
{
    // The compiler knows an array by its Dim; Dim itself leaves the elements as they are.
    std::map<std::string, std::vector<long>> mapArrays;
    for (const auto& entry : store.GetMap())
    {
        std::string_view key(entry.m_strKey);
        size_t nColon = key.find(':');
        if (key.empty() || key[0] == '@' || nColon == std::string_view::npos)
            continue;
        std::vector<long>& aBounds = mapArrays[std::string(key.substr(0, nColon))];
        for (size_t i = 0; nColon != std::string_view::npos; ++i)
        {
            size_t nNext = key.find(':', nColon + 1);
            long nIndex = atol(std::string(key.substr(nColon + 1, nNext - nColon - 1)).c_str());
            if (aBounds.size() <= i)
                aBounds.push_back(0);
            aBounds[i] = std::max(aBounds[i], nIndex);
            nColon = nNext;
        }
    }
    // The program's procedures may be called; their own variables in the copy then
    // change, which refuses the call.
    std::string strProgram;
    if (pFunctions != nullptr)
        for (const auto& entry : pFunctions->GetMap())
            if (entry.m_value != nullptr && !entry.m_value->m_strDeclaration.empty())
                strProgram += entry.m_value->m_strDeclaration + "\n";
    strProgram += "Sub Main\n";
    for (const auto& array : mapArrays)
    {
        strProgram += "    Dim " + array.first + "(";
        for (size_t i = 0; i < array.second.size(); ++i)
            strProgram += (i ? ", " : "") + std::to_string(array.second[i]);
        strProgram += ")\n";
    }
    strProgram += "    " + std::string(RESULT_STATEMENT) + " (" + strExpression + ")\nEnd Sub\n";
    return strProgram;
}

// Whether the text is no more than one statement's worth: a ":" or a line break would
// let further statements run beside the expression.
bool IsOneStatement(const std::string& strExpression)
{
    CLumDiagnostics diagnostics;
    std::vector<SLumLexToken> aTokens = CLumLexer(strExpression, diagnostics).Run();
    for (size_t i = 0; i + 1 < aTokens.size(); ++i)
        if (aTokens[i].m_eKind == ELumLex::EndOfStatement && aTokens[i + 1].m_eKind != ELumLex::EndOfFile)
            return false;
    return true;
}

std::string Message(const CLumsException& e)
{
    const std::vector<std::string>& aTrail = e.GetTrail();
    return aTrail.empty() ? std::string(e.what()) : aTrail.front();
}
} // namespace

std::string LumDapText(const CLumsVarValue& value)
{
    // One variable's line of the store's text form: "L:x=42".
    CLumVariables one;
    one.SetValue("x", new CLumsVarValue(value));
    std::string strLine;
    one.MakeString(&strLine);
    size_t nEquals = strLine.find('=');
    if (nEquals == std::string::npos)
        return std::string();
    std::string strText = strLine.substr(nEquals + 1);
    if (!strText.empty() && strText.back() == '\n')
        strText.pop_back();
    return strText;
}

const char* LumDapType(const CLumsVarValue& value)
{
    switch (value.GetType())
    {
    case CLumsVarValue::VT_STRING:
        return "String";
    case CLumsVarValue::VT_LONG:
        return "Long";
    case CLumsVarValue::VT_DOUBLE:
        return "Double";
    default:
        return "Empty";
    }
}

CLumDapInspector::CLumDapInspector(CLumBasicDebugger& debugger, CLumVariables& store,
                                   std::vector<SLumCallSite> aFrames, std::string strProgram)
    : m_debugger(debugger), m_store(store), m_aFrames(std::move(aFrames)), m_strProgram(std::move(strProgram))
{
    if (m_aFrames.empty())
        m_aFrames.emplace_back();
}

json CLumDapInspector::SourceOf(const std::string& strPath)
{
    return json{{"name", std::filesystem::path(strPath).filename().string()}, {"path", strPath}};
}

json CLumDapInspector::StackTrace(const json& args) const
{
    size_t nStart = args.value("startFrame", 0u);
    size_t nLevels = args.value("levels", 0u);
    json aFrames = json::array();
    for (size_t i = nStart; i < m_aFrames.size() && (nLevels == 0 || i < nStart + nLevels); ++i)
    {
        const SLumCallSite& site = m_aFrames[i];
        std::string strSource = site.m_strSource.empty() ? m_strProgram : site.m_strSource;
        std::string strName = site.m_strProcedure.empty()
                                  ? std::filesystem::path(strSource).filename().string()
                                  : site.m_strProcedure;
        aFrames.push_back({{"id", i},
                           {"name", strName},
                           {"source", SourceOf(strSource)},
                           {"line", site.m_nLine},
                           {"column", 1}});
    }
    return json{{"stackFrames", aFrames}, {"totalFrames", m_aFrames.size()}};
}

int CLumDapInspector::Reference(const std::string& strPrefix, bool fArray)
{
    m_aContainers.push_back({strPrefix, fArray});
    return static_cast<int>(m_aContainers.size());
}

size_t CLumDapInspector::Frame(const json& args) const
{
    size_t nFrame = args.value("frameId", 0u);
    if (nFrame >= m_aFrames.size())
        throw std::runtime_error(LumDapMessage(LUM_MSG_DAP_BAD_REQUEST, {"frameId", std::to_string(nFrame)}));
    return nFrame;
}

json CLumDapInspector::Scopes(const json& args)
{
    const SLumCallSite& site = m_aFrames[Frame(args)];
    json aScopes = json::array();
    if (!site.m_strProcedure.empty())
        aScopes.push_back({{"name", "Lokal"},
                           {"presentationHint", "locals"},
                           {"variablesReference", Reference("@" + site.m_strProcedure + "@", false)},
                           {"expensive", false}});
    aScopes.push_back(
        {{"name", "Global"}, {"variablesReference", Reference("", false)}, {"expensive", false}});
    return json{{"scopes", aScopes}};
}

const CLumDapInspector::SContainer& CLumDapInspector::Container(const json& args) const
{
    long nReference = args.value("variablesReference", 0L);
    if (nReference <= 0 || static_cast<size_t>(nReference) > m_aContainers.size())
        throw std::runtime_error(LumDapMessage(
            LUM_MSG_DAP_BAD_REQUEST, {"variables", "variablesReference " + std::to_string(nReference)}));
    return m_aContainers[static_cast<size_t>(nReference - 1)];
}

std::vector<CLumDapInspector::SMember> CLumDapInspector::Members(const SContainer& container) const
{
    std::vector<SMember> aMembers;
    std::set<std::string> setArrays;
    const std::string& strPrefix = container.m_strPrefix;
    for (const auto& entry : m_store.GetMap())
    {
        const std::string strKey = entry.m_strKey.str();
        const CLumsVarValue* pValue = entry.m_value;
        if (pValue == nullptr || pValue->GetType() == CLumsVarValue::VT_EMPTY ||
            strKey.compare(0, strPrefix.size(), strPrefix) != 0 || (strPrefix.empty() && strKey[0] == '@'))
            continue;
        std::string strRest = strKey.substr(strPrefix.size());
        if (container.m_fArray)
        {
            // "m:1:2" under "m:" shows as "m(1, 2)".
            std::string strIndices = strRest;
            for (size_t nColon; (nColon = strIndices.find(':')) != std::string::npos;)
                strIndices.replace(nColon, 1, ", ");
            std::string strArray = strPrefix.substr(strPrefix.rfind('@') + 1);
            strArray.pop_back();
            aMembers.push_back({strArray + "(" + strIndices + ")", strKey, pValue});
            continue;
        }
        size_t nColon = strRest.find(':');
        if (nColon == std::string::npos)
            aMembers.push_back({strRest, strKey, pValue});
        else if (setArrays.insert(strRest.substr(0, nColon)).second)
            aMembers.push_back(
                {strRest.substr(0, nColon), strPrefix + strRest.substr(0, nColon + 1), nullptr});
    }
    return aMembers;
}

json CLumDapInspector::Describe(const SMember& member)
{
    if (member.m_pValue == nullptr)
        return json{{"name", member.m_strName},
                    {"value", member.m_strName + "()"},
                    {"type", "Array"},
                    {"variablesReference", Reference(member.m_strKey, true)}};
    return json{{"name", member.m_strName},
                {"value", LumDapText(*member.m_pValue)},
                {"type", LumDapType(*member.m_pValue)},
                {"evaluateName", member.m_strName},
                {"variablesReference", 0}};
}

json CLumDapInspector::Variables(const json& args)
{
    SContainer container = Container(args);
    json aVariables = json::array();
    for (const SMember& member : Members(container))
        aVariables.push_back(Describe(member));
    return json{{"variables", aVariables}};
}

json CLumDapInspector::SetVariable(const json& args)
{
    SContainer container = Container(args);
    std::string strName = args.at("name").get<std::string>();
    for (const SMember& member : Members(container))
    {
        if (member.m_strName != strName || member.m_pValue == nullptr)
            continue;
        m_debugger.ChangeVar(member.m_strKey.c_str(), args.at("value").get<std::string>().c_str());
        const CLumsVarValue* pValue = m_store.Lookup(member.m_strKey);
        return json{{"value", LumDapText(*pValue)}, {"type", LumDapType(*pValue)}, {"variablesReference", 0}};
    }
    throw std::runtime_error(LumDapMessage(LUM_MSG_DAP_UNKNOWN_VARIABLE, {strName}));
}

std::string CLumDapInspector::KeyOf(const std::string& strName, size_t nFrame) const
{
    const std::string& strProcedure = m_aFrames[nFrame].m_strProcedure;
    std::string strLocal = "@" + strProcedure + "@" + strName;
    if (!strProcedure.empty() && m_store.Contains(strLocal))
        return strLocal;
    return strName;
}

json CLumDapInspector::Evaluate(const json& args)
{
    std::string strExpression = args.at("expression").get<std::string>();
    size_t nFrame = args.contains("frameId") ? Frame(args) : 0;
    std::smatch match;
    // In the console "name = expression" assigns, and the variable keeps its type.
    static const std::regex s_assignment(R"(^\s*([A-Za-z_][A-Za-z0-9_]*[$%]?(?:\s*\([^=]*\))?)\s*=(.*)$)");
    std::string strTarget;
    if (args.value("context", "") == "repl" && std::regex_match(strExpression, match, s_assignment))
    {
        std::string strName = match[1];
        strExpression = match[2];
        if (!std::regex_match(strName, match, ElementPattern()))
            throw std::runtime_error(LumDapMessage(LUM_MSG_DAP_UNKNOWN_VARIABLE, {strName}));
        strTarget = KeyOf(ElementKey(match), nFrame);
    }
    // An array by its name shows its elements.
    if (std::regex_match(strExpression, match, ElementPattern()) && !match[2].matched && strTarget.empty())
    {
        std::string strPrefix = KeyOf(std::string(match[1]) + ":", nFrame);
        SContainer array{strPrefix, true};
        if (m_store.Lookup(KeyOf(match[1], nFrame)) == nullptr && !Members(array).empty())
            return json{{"result", std::string(match[1]) + "()"},
                        {"type", "Array"},
                        {"variablesReference", Reference(strPrefix, true)}};
    }
    CLumsVarValue value = Value(strExpression, nFrame);
    if (!strTarget.empty())
    {
        m_debugger.ChangeVar(strTarget.c_str(), LumDapText(value).c_str());
        if (const CLumsVarValue* pStored = m_store.Lookup(strTarget))
            value = *pStored;
    }
    return json{{"result", LumDapText(value)}, {"type", LumDapType(value)}, {"variablesReference", 0}};
}

CLumsVarValue CLumDapInspector::Value(const std::string& strExpression, size_t nFrame) const
{
    std::smatch match;
    if (std::regex_match(strExpression, match, ElementPattern()))
    {
        std::string strKey = ElementKey(match);
        const std::string& strProcedure = m_aFrames[nFrame].m_strProcedure;
        const CLumsVarValue* pValue =
            strProcedure.empty() ? nullptr : m_store.Lookup("@" + strProcedure + "@" + strKey);
        if (pValue == nullptr)
            pValue = m_store.Lookup(strKey);
        if (pValue != nullptr)
            return *pValue;
    }
    return Compute(strExpression, nFrame);
}

// The expression runs as a program of its own over a copy of the store, in which the
// frame's locals stand as globals; a program that changed the copy had side effects
// and is refused.
CLumsVarValue CLumDapInspector::Compute(const std::string& strExpression, size_t nFrame) const
{
    if (!IsOneStatement(strExpression))
        throw std::runtime_error(LumDapMessage(LUM_MSG_DAP_NOT_EXPRESSION, {strExpression}));
    CLumVariables copy(m_store);
    const std::string strLocals = "@" + m_aFrames[nFrame].m_strProcedure + "@";
    if (strLocals.size() > 2)
        for (const auto& entry : m_store.GetMap())
            if (entry.m_value != nullptr &&
                std::string_view(entry.m_strKey).substr(0, strLocals.size()) == strLocals)
                copy.SetValue(entry.m_strKey.c_str() + strLocals.size(), new CLumsVarValue(*entry.m_value));
    CLumFunctions* pFunctions =
        m_debugger.GetBasic() != nullptr ? m_debugger.GetBasic()->GetFunctions() : nullptr;
    std::string strProgram = EvaluationProgram(copy, pFunctions, strExpression);
    std::string strBefore;
    copy.MakeString(&strBefore);
    CLumsVarValue result;
    try
    {
        CLumBasic basic(&copy, pFunctions);
        basic.RegisterStatement(RESULT_STATEMENT, 1, [&](CLumHostArgs& args) { result = args.GetValue(1); });
        basic.SetStatementLimit(EVALUATION_STEPS);
        SLumCompileSettings settings;
        settings.m_fLineMarkers = false;
        std::vector<uint8_t> aImage = LumCompile(strProgram, basic, settings);
        basic.DoMemory(aImage.data(), aImage.size());
    }
    catch (const CLumCompileException& e)
    {
        throw std::runtime_error(e.GetErrors().empty() ? Message(e) : e.GetErrors().front().m_strMessage);
    }
    catch (const CLumsException& e)
    {
        throw std::runtime_error(Message(e));
    }
    std::string strAfter;
    copy.MakeString(&strAfter);
    if (strAfter != strBefore)
        throw std::runtime_error(LumDapMessage(LUM_MSG_DAP_SIDE_EFFECT, {strExpression}));
    return result;
}
