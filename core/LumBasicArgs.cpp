// Typed argument reading and the scoped access to variables.
#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"

#include <memory>
#include <optional>
#include <typeinfo>

namespace
{
const char* const FILE_LABEL = "LUMBASIC";

// The frame of SetVar and GetVar: their own message names the variable.
struct VariableMessage
{
    int m_nId;
    const char* m_pszName;
    void operator()(CLumsException& e) const
    {
        e.AddString() = LumFormat(LoadMessage(m_nId).c_str(), m_pszName ? m_pszName : "");
    }
};

std::string FormatLine(const char* pszName, const CLumsVarValue& value)
{
    switch (value.GetType())
    {
    case CLumsVarValue::VT_STRING:
        return std::string(pszName) + " = \"" + value.GetText() + "\"";
    case CLumsVarValue::VT_LONG:
    case CLumsVarValue::VT_DOUBLE:
        return std::string(pszName) + " = " + value.GetText();
    default:
        return std::string(pszName) + " = ";
    }
}
} // namespace

int CLumBasic::HasArg()
{
    return LumFrame(FILE_LABEL, "CLumBasic::HasArg()", [&] {
        unsigned short wToken = m_pQuelle->PeekToken();
        if (wToken == LBT_SEPARATOR)
            m_pQuelle->GetToken();
        return wToken == LBT_EXPRESSION ? 1 : 0;
    });
}

CLumsVarValue* CLumBasic::GetArg(AusdruckTyp type, int nParam)
{
    return LumFrame(FILE_LABEL, "CLumBasic::GetArg()", [&] {
        CLumExpression cExpression(m_pQuelle, m_pVariables, this);
        if (m_pQuelle->GetToken() != LBT_EXPRESSION)
            LumRaise(LUM_MSG_ARG_MISSING, nParam);
        std::unique_ptr<CLumsVarValue> pValue(cExpression.Auswerten());
        ConvertArg(type, nParam, *pValue);
        return pValue.release();
    });
}

void CLumBasic::ConvertArg(AusdruckTyp type, int nParam, CLumsVarValue& value)
{
    if (type == AT_ANY)
        return;
    if (value.IsString() && (type == AT_NUMBER || type == AT_LONG || type == AT_DOUBLE))
        LumRaise(LUM_MSG_ARG_NOT_NUMBER, nParam, value.GetText());
    if (type == AT_STRING && value.IsNumber())
        LumRaise(LUM_MSG_ARG_NOT_STRING, nParam);
    if (type == AT_LONG && value.GetType() == CLumsVarValue::VT_DOUBLE)
        value = static_cast<long>(value.GetLong());
    else if (type == AT_DOUBLE && value.GetType() == CLumsVarValue::VT_LONG)
        value = value.GetDouble();
}

void CLumBasic::SetVar(const char* pszName, CLumsVarValue* pValue)
{
    std::unique_ptr<CLumsVarValue> pOwned(pValue);
    VariableMessage message{LUM_MSG_SETVAR, pszName};
    LumFrameEx(FILE_LABEL, "CLumBasic::SetVar()", message, message, lumframe::NoContext(), [&] {
        const char* pszKey = pszName;
        // On the stack: stores inside procedures happen at every assignment.
        std::optional<CLumScopedKey> scoped;
        if (pszName[0] != '@' && GetDepth() > 1)
        {
            scoped.emplace(m_cFunctionStack.TopString(), pszName);
            if (m_pVariables->Contains(scoped->view()))
                pszKey = scoped->c_str();
        }
        m_pVariables->SetValue(pszKey, pOwned.release());
        if (NeedsChangeNotice())
            VariableChanged(pszKey, m_pVariables->Lookup(pszKey)->GetText());
    });
}

CLumsVarValue* CLumBasic::GetVar(const char* pszName, long* const pIndices) const
{
    VariableMessage message{LUM_MSG_GETVAR, pszName};
    return LumFrameEx(FILE_LABEL, "CLumBasic::GetVar()", message, message, lumframe::NoContext(), [&] {
        if (GetDepth() > 1)
        {
            CLumScopedKey cScoped(m_cFunctionStack.TopString(), pszName);
            if (CLumsVarValue* pValue = m_pVariables->Find(cScoped.c_str(), pIndices))
                return pValue;
        }
        return m_pVariables->GetValue(pszName, pIndices);
    });
}

void CLumBasic::VariableChanged(const char*, const char*) {}

bool CLumBasic::FindPlainAccess()
{
    m_nPlainAccess = typeid(*this) == typeid(CLumBasic);
    return m_nPlainAccess != 0;
}

CLumsVarValue* CLumBasic::CachedVar(CLumNameCache& cache, const char* pszName)
{
    if (!TakesFastPaths())
        return nullptr;
    if (CLumsVarValue* pValue = CachedVarOrNull(cache))
        return pValue;
    CLumsVarValue* pValue = GetVar(pszName, nullptr);
    // A name that resolved to nothing is not remembered: a key of its own may come.
    if (!CLumVariables::IsNullValue(pValue))
        cache =
            CLumNameCache{m_pVariables, m_pVariables->GetGeneration(), m_cFunctionStack.GetScope(), pValue};
    return pValue;
}

void CLumBasic::DumpVariables(std::vector<std::string>& list) const
{
    list.clear();
    for (const auto& entry : m_pVariables->GetMap())
    {
        if (entry.m_value == nullptr || entry.m_value->GetType() == CLumsVarValue::VT_EMPTY)
            continue;
        list.push_back(FormatLine(entry.m_strKey.c_str(), *entry.m_value));
    }
}

std::string CLumBasic::DumpVariable(const char* pszName) const
{
    const CLumsVarValue* pValue = GetVar(pszName, nullptr);
    if (pValue == nullptr)
        return std::string(pszName) + " = <unbekannt>";
    return FormatLine(pszName, *pValue);
}
