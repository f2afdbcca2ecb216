// Statement handlers of the command family: assignment, Dim, branches and loops,
// and the message statement.
#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"
#include "expr/LumReadCache.h"

#include <lumbasic/LumMessageBox.h>

#include <cstring>
#include <memory>

namespace
{
const char* const FILE_LABEL = "LUMBASICCOMMAND";

using ValuePtr = std::unique_ptr<CLumsVarValue>;

// The type character of a name: the byte in front of the first ":", else the last one.
char TypeChar(const char* pszName)
{
    const char* pszColon = strchr(pszName, ':');
    size_t n = pszColon ? static_cast<size_t>(pszColon - pszName) : strlen(pszName);
    return n > 0 ? pszName[n - 1] : '\0';
}

// The store's shared null values stand in for variables that do not exist; they must
// never be changed or handed to the store.
bool IsSharedNull(const CLumsVarValue* pValue)
{
    return pValue == nullptr || CLumVariables::IsNullValue(pValue);
}

// A value takes the type its target's name asks for; strings and numbers never mix.
void ConvertForName(const char* pszName, CLumsVarValue& value)
{
    char cType = TypeChar(pszName);
    if (value.IsString())
    {
        if (cType != '$')
            LumRaise(LUM_MSG_STRING_TO_NUMVAR, pszName);
    }
    else if (cType == '$')
    {
        // An empty value is no number; a string variable takes it as "".
        if (value.IsNumber())
            LumRaise(LUM_MSG_NUMBER_TO_STRINGVAR, pszName);
        value = "";
    }
    else if (cType == '%')
        value = static_cast<long>(value.GetLong());
    else
        value = value.GetDouble();
}
} // namespace

int CLumBasic::Assign()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Assign()", [&] {
        // The name stays in the image where it can; only a computed name or the
        // key of a function result needs a string of its own.
        LumText strName;
        const char* pszName;
        unsigned short wToken = m_pQuelle->GetToken();
        if (wToken == LBT_NAME)
            pszName = m_pQuelle->GetCountedText();
        else if (wToken == LBT_EXPRESSION)
        {
            CLumExpression cTarget(m_pQuelle, m_pVariables, this);
            ValuePtr pTarget(cTarget.Auswerten());
            if (!pTarget->IsString())
                LumRaise(LUM_MSG_ASSIGN_TO_NUMBER);
            strName.swap(pTarget->GetStringRef());
            pszName = strName.c_str();
        }
        else
            LumRaise(LUM_MSG_EXPECT_EXPRESSION, static_cast<unsigned>(wToken));

        if (m_cFunctionStack.IsEmpty())
            LumRaise(LUM_MSG_OUTSIDE_PROCEDURE);
        const std::string& strProcedure = m_cFunctionStack.TopString();
        if (strProcedure == pszName)
        {
            strName = CLumScopedKey(strProcedure, strProcedure).c_str();
            pszName = strName.c_str();
        }

        if (m_pQuelle->GetToken() != LBT_EXPRESSION)
            LumRaise(LUM_MSG_ASSIGN_NO_VALUE, pszName);
        if (strName.empty() && TypeChar(pszName) == '$' && AppendToSelf(pszName))
            return 0;
        CLumExpression cValue(m_pQuelle, m_pVariables, this);
        ValuePtr pValue(cValue.Auswerten());
        ConvertForName(pszName, *pValue);
        if (strName.empty())
            StoreNamed(pszName, std::move(pValue));
        else
            SetVar(pszName, pValue.release());
        return 0;
    });
}

// Stores into a variable whose name stands in the image. Where the statement found
// its variable before and store and scope are the same, the value goes straight into
// it, as SetVar would put it there; change notices of debug mode need SetVar itself.
void CLumBasic::StoreNamed(const char* pszName, std::unique_ptr<CLumsVarValue> pValue)
{
    // A key given in full ("@P@x") is stored as it stands, where a read in a procedure
    // would look for a local first: what a read finds is no target for it.
    if (NeedsChangeNotice() || pszName[0] == '@')
    {
        SetVar(pszName, pValue.release());
        return;
    }
    CLumNameCache& cache = m_pQuelle->GetReadCache().NameAt(pszName);
    CLumsVarValue* pTarget = CachedVarOrNull(cache);
    if (pTarget != nullptr && !IsSharedNull(pTarget))
    {
        pTarget->Swap(*pValue);
        return;
    }
    SetVar(pszName, pValue.release());
    CachedVar(cache, pszName);
}

// A host's statement stores into a variable that an argument names as an assignment
// of the program would: typed by the name, and under a function's own name into its
// result.
void CLumBasic::AssignFromHost(const char* pszName, const CLumsVarValue& value)
{
    LumFrame(FILE_LABEL, "CLumBasic::AssignFromHost()", [&] {
        ValuePtr pValue(new CLumsVarValue(value));
        ConvertForName(pszName, *pValue);
        if (!m_cFunctionStack.IsEmpty() && m_cFunctionStack.TopString() == pszName)
            SetVar(CLumScopedKey(pszName, pszName).c_str(), pValue.release());
        else
            SetVar(pszName, pValue.release());
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

namespace
{
// A skip that the compiler always stores forward (If, Else, While); a backward one
// could only come from a damaged image and would make the statement spin on itself.
void CheckForward(long nSkip, unsigned short wToken)
{
    if (nSkip < 0)
        LumRaise(LUM_MSG_BAD_SKIP, static_cast<unsigned>(wToken));
}

// Evaluates the condition tree behind the skip; `nMissing` is the message when there is none.
bool Condition(CLumBasicFile* pQuelle, CLumVariables* pVariables, CLumBasic* pBasic, int nMissing)
{
    if (pQuelle->GetToken() != LBT_EXPRESSION)
        LumRaise(nMissing);
    CLumExpression cCondition(pQuelle, pVariables, pBasic);
    ValuePtr pValue(cCondition.Auswerten());
    return pValue->IsTrue();
}

// Takes the record over and pushes it.
void PushCommand(CLumCmdStack& stack, CmdData* pCmd)
{
    std::unique_ptr<CmdData> pOwned(pCmd);
    if (stack.GetCount() >= CLumBasic::MAX_OPEN_COMMANDS)
        LumRaise(LUM_MSG_TOO_MANY_OPEN, CLumBasic::MAX_OPEN_COMMANDS);
    stack.Push(pOwned.get());
    pOwned.release();
}
} // namespace

int CLumBasic::If()
{
    return LumFrame(FILE_LABEL, "CLumBasic::If()", [&] {
        long nSkip = m_pQuelle->GetDWord();
        CheckForward(nSkip, LBT_IF);
        std::unique_ptr<CmdData> pCmd(new CmdData());
        pCmd->m_nKind = 0;
        pCmd->m_fCondition = Condition(m_pQuelle, m_pVariables, this, LUM_MSG_IF_NO_CONDITION);
        int fCondition = pCmd->m_fCondition;
        PushCommand(m_cCmdStack, pCmd.release());
        if (!fCondition)
            m_pQuelle->Seek(nSkip, 1);
        return 0;
    });
}

int CLumBasic::Else()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Else()", [&] {
        long nSkip = m_pQuelle->GetDWord();
        CheckForward(nSkip, LBT_ELSE);
        if (m_cCmdStack.IsEmpty() || m_cCmdStack.Top()->m_nKind != 0)
            LumRaise(LUM_MSG_ELSE_NO_IF);
        // The record stays: EndIf, where both branches meet, removes it.
        if (m_cCmdStack.Top()->m_fCondition)
            m_pQuelle->Seek(nSkip, 1);
        return 0;
    });
}

int CLumBasic::EndIf()
{
    return LumFrame(FILE_LABEL, "CLumBasic::EndIf()", [&] {
        delete m_cCmdStack.Pop();
        return 0;
    });
}

int CLumBasic::For()
{
    return LumFrame(FILE_LABEL, "CLumBasic::For()", [&] {
        const char* pszName = m_pQuelle->GetCountedText();
        CLumExpression cExpression(m_pQuelle, m_pVariables, this);
        if (m_pQuelle->GetToken() != LBT_EXPRESSION)
            LumRaise(LUM_MSG_FOR_NO_START);
        SetVar(pszName, cExpression.Auswerten());
        if (m_pQuelle->GetToken() != LBT_EXPRESSION)
            LumRaise(LUM_MSG_FOR_NO_END);
        // End and step are taken once, after the counter has its start value.
        std::unique_ptr<CmdData> pCmd(new CmdData());
        pCmd->m_nKind = 1;
        pCmd->m_strVarName = pszName;
        pCmd->m_pszVarName = pCmd->m_strVarName.c_str();
        pCmd->m_pEndValue = cExpression.Auswerten();
        if (m_pQuelle->GetToken() == LBT_EXPRESSION)
            pCmd->m_pStepValue = cExpression.Auswerten();
        else
        {
            m_pQuelle->Seek(-2, 1);
            pCmd->m_pStepValue = new CLumsVarValue(1L);
        }
        PushCommand(m_cCmdStack, pCmd.release());
        return 0;
    });
}

int CLumBasic::Next()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Next()", [&] {
        long nSkip = m_pQuelle->GetDWord();
        if (m_cCmdStack.IsEmpty())
            LumRaise(LUM_MSG_NEXT_NO_FOR);
        CmdData* pCmd = m_cCmdStack.Top();
        if (pCmd->m_nKind != 1)
            LumRaise(LUM_MSG_BAD_NESTING);
        // The stored object itself, so that a change by the loop body counts. The
        // record remembers where it found the counter while store and scope stay.
        CLumsVarValue* pCounter = CachedVar(pCmd->m_cCounter, pCmd->m_pszVarName);
        bool fRemembered = pCounter != nullptr;
        if (!fRemembered)
            pCounter = GetVar(pCmd->m_pszVarName, nullptr);
        if (IsSharedNull(pCounter))
        {
            // The counter is not visible here (the loop was opened in another
            // procedure): it starts anew from the null value in this scope.
            SetVar(pCmd->m_pszVarName, new CLumsVarValue(*CLumVariables::GetNullValue(pCmd->m_pszVarName)));
            pCounter = GetVar(pCmd->m_pszVarName, nullptr);
            fRemembered = false;
        }
        *pCounter += *pCmd->m_pStepValue;
        bool fEnded = pCmd->m_pStepValue->GetDouble() < 0 ? *pCounter < *pCmd->m_pEndValue
                                                          : *pCounter > *pCmd->m_pEndValue;
        if (fEnded)
        {
            // The last increment stays in the store, with no change notice.
            delete m_cCmdStack.Pop();
            return 0;
        }
        // Storing the object it came from changes nothing but sends the change notice
        // of debug mode, or reaches a derived class's own SetVar.
        if (!fRemembered || NeedsChangeNotice())
            SetVar(pCmd->m_pszVarName, pCounter);
        m_pQuelle->Seek(nSkip, 1);
        return 0;
    });
}

int CLumBasic::While()
{
    return LumFrame(FILE_LABEL, "CLumBasic::While()", [&] {
        long nSkip = m_pQuelle->GetDWord();
        CheckForward(nSkip, LBT_WHILE);
        if (!Condition(m_pQuelle, m_pVariables, this, LUM_MSG_WHILE_NO_EXPRESSION))
            m_pQuelle->Seek(nSkip, 1);
        return 0;
    });
}

int CLumBasic::Wend()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Wend()", [&] {
        long nSkip = m_pQuelle->GetDWord();
        m_pQuelle->Seek(nSkip, 1);
        // Wend goes back to its While, which tests anew; landing anywhere else could
        // only be a damaged image, and could turn into a loop that tests nothing.
        if (m_pQuelle->PeekToken() != LBT_WHILE)
            LumRaise(LUM_MSG_BAD_SKIP, static_cast<unsigned>(LBT_WEND));
        return 0;
    });
}

int CLumBasic::DoLoop()
{
    // The whole logic of a Do loop stands in Loop.
    return 0;
}

int CLumBasic::Loop()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Loop()", [&] {
        unsigned short wKind = m_pQuelle->GetToken();
        long nSkip = m_pQuelle->GetDWord();
        bool fTrue = Condition(m_pQuelle, m_pVariables, this, LUM_MSG_LOOP_NO_EXPRESSION);
        // Loop While goes on while the condition holds; every other kind is Until.
        if (fTrue == (wKind == LBT_WHILE))
            m_pQuelle->Seek(nSkip, 1);
        return 0;
    });
}

int CLumBasic::ShowMessage()
{
    return LumFrame(FILE_LABEL, "CLumBasic::ShowMessage()", [&] {
        delete ShowMessageFct();
        return 0;
    });
}

CLumsVarValue* CLumBasic::ShowMessageFct()
{
    return LumFrame("LUMBASICOFLFUNCTION", "CLumBasic::ShowMessageFct", [&] {
        ValuePtr pCaption(GetArg(AT_STRING, 1));
        std::string strCaption = pCaption->GetText();
        pCaption.reset();
        ValuePtr pText(GetArg(AT_STRING, 2));
        std::string strText = pText->GetText();
        pText.reset();
        ValuePtr pStyle(GetArg(AT_LONG, 3));
        long nStyle = pStyle->GetLong();
        pStyle.reset();
        ValuePtr pAnswer(
            new CLumsVarValue(static_cast<long>(LumMessageBox(strText.c_str(), strCaption.c_str(), nStyle))));
        return pAnswer.release();
    });
}
