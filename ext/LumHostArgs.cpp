// The arguments of a call of a host's statement or function, and the variables they
// name.
#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"

void CLumHostArgs::CheckParam(int nParam) const
{
    if (nParam < 1 || nParam > GetCount())
        LumRaise(LUM_MSG_ARG_MISSING, nParam);
}

const CLumsVarValue& CLumHostArgs::GetValue(int nParam) const
{
    CheckParam(nParam);
    return m_aValues[static_cast<size_t>(nParam - 1)];
}

double CLumHostArgs::GetNumber(int nParam) const
{
    CLumsVarValue value(GetValue(nParam));
    CLumBasic::ConvertArg(CLumBasic::AT_NUMBER, nParam, value);
    return value.GetDouble();
}

long CLumHostArgs::GetLong(int nParam) const
{
    CLumsVarValue value(GetValue(nParam));
    CLumBasic::ConvertArg(CLumBasic::AT_LONG, nParam, value);
    return value.GetLong();
}

std::string CLumHostArgs::GetText(int nParam) const
{
    CLumsVarValue value(GetValue(nParam));
    CLumBasic::ConvertArg(CLumBasic::AT_STRING, nParam, value);
    return value.GetText();
}

const char* CLumHostArgs::GetVariableName(int nParam) const
{
    CheckParam(nParam);
    return m_aNames[static_cast<size_t>(nParam - 1)];
}

void CLumHostArgs::SetVariable(int nParam, const CLumsVarValue& value)
{
    const char* pszName = GetVariableName(nParam);
    if (pszName == nullptr)
        LumRaise(LUM_MSG_HOST_NO_VARIABLE, nParam, m_strName.c_str());
    m_rBasic.AssignFromHost(pszName, value);
}
