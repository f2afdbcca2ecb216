// Statement handlers of the command family: assignment, Dim, branches and loops,
// and the message statement.
#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"

#include <cstring>
#include <memory>

namespace
{
const char* const FILE_LABEL = "LUMBASICCOMMAND";

using ValuePtr = std::unique_ptr<CLumsVarValue>;

// The type character of a name: the byte in front of the first ":", else the last one.
char TypeChar(const std::string& strName)
{
    size_t n = strName.find(':');
    if (n == std::string::npos)
        n = strName.size();
    return n > 0 ? strName[n - 1] : '\0';
}
} // namespace

int CLumBasic::Assign()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Assign()", [&] {
        std::string strName;
        unsigned short wToken = m_pQuelle->GetToken();
        if (wToken == LBT_NAME)
            strName = m_pQuelle->GetCountedText();
        else if (wToken == LBT_EXPRESSION)
        {
            CLumExpression cTarget(m_pQuelle, m_pVariables, this);
            ValuePtr pTarget(cTarget.Auswerten());
            if (!pTarget->IsString())
                LumRaise(LUM_MSG_ASSIGN_TO_NUMBER);
            strName = pTarget->GetText();
        }
        else
            LumRaise(LUM_MSG_EXPECT_EXPRESSION, static_cast<unsigned>(wToken));

        if (m_cFunctionStack.IsEmpty())
            LumRaise(LUM_MSG_OUTSIDE_PROCEDURE);
        if (strName == m_cFunctionStack.TopString())
            strName = CLumScopedKey(strName, strName).c_str();

        if (m_pQuelle->GetToken() != LBT_EXPRESSION)
            LumRaise(LUM_MSG_ASSIGN_NO_VALUE, strName.c_str());
        CLumExpression cValue(m_pQuelle, m_pVariables, this);
        ValuePtr pValue(cValue.Auswerten());

        char cType = TypeChar(strName);
        if (pValue->IsString())
        {
            if (cType != '$')
                LumRaise(LUM_MSG_STRING_TO_NUMVAR, strName.c_str());
        }
        else if (cType == '$')
        {
            // An empty value is no number; a string variable takes it as "".
            if (pValue->IsNumber())
                LumRaise(LUM_MSG_NUMBER_TO_STRINGVAR, strName.c_str());
            *pValue = "";
        }
        else if (cType == '%')
            *pValue = static_cast<long>(pValue->GetLong());
        else
            *pValue = pValue->GetDouble();
        SetVar(strName.c_str(), pValue.release());
        return 0;
    });
}

int CLumBasic::Dim()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Dim()", [&] {
        const char* pszName = m_pQuelle->GetCountedText();
        unsigned short wToken = m_pQuelle->GetToken();
        if (wToken == LBT_EXPRESSION)
        {
            CLumExpression cDimension(m_pQuelle, m_pVariables, this);
            ValuePtr pDimension(cDimension.Auswerten());
            if (!pDimension->IsNumber())
                LumRaise(LUM_MSG_DIM_NOT_NUMERIC, pszName);
            m_pVariables->SetDimension(pszName, pDimension.get());
            return 0;
        }
        if (GetDepth() <= 1)
            return 0;
        ValuePtr pValue(new CLumsVarValue());
        if (wToken == LBT_AS)
        {
            switch (m_pQuelle->GetToken())
            {
            case LBT_TYPE_LONG:
                *pValue = 0L;
                break;
            case LBT_TYPE_DOUBLE:
                *pValue = 0.0;
                break;
            case LBT_TYPE_STRING:
                *pValue = "";
                break;
            default:
                LumRaise(LUM_MSG_DIM_NO_TYPE, pszName);
            }
        }
        else
        {
            m_pQuelle->Seek(-2, 1);
            size_t nLength = strlen(pszName);
            char cType = nLength > 0 ? pszName[nLength - 1] : '\0';
            if (cType == '$')
                *pValue = "";
            else if (cType == '%')
                *pValue = 0L;
            else
                *pValue = 0.0;
        }
        CLumScopedKey cKey(m_cFunctionStack.TopString(), pszName);
        m_pVariables->SetValue(cKey.c_str(), pValue.release());
        return 0;
    });
}

// FIXME: branches, loops and the message statement are not built yet; their tokens
// fail cleanly until they are.
int CLumBasic::If()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_IF));
}
int CLumBasic::Else()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_ELSE));
}
int CLumBasic::EndIf()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_ENDIF));
}
int CLumBasic::For()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_FOR));
}
int CLumBasic::Next()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_NEXT));
}
int CLumBasic::While()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_WHILE));
}
int CLumBasic::Wend()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_WEND));
}
int CLumBasic::DoLoop()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_DO));
}
int CLumBasic::Loop()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_LOOP));
}
int CLumBasic::ShowMessage()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_SHOWMESSAGE));
}
CLumsVarValue* CLumBasic::ShowMessageFct()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_SHOWMESSAGE));
}
