// Calls in the fast form: a call statement whose arguments only compute, the head of
// a procedure that binds its parameters, and the end that returns. They keep the
// interpreter's stacks exactly as the handlers do, so that handlers and the fast form
// can take turns within one call.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include "core/LumScopedKey.h"

#include <array>
#include <cstring>
#include <exception>

namespace
{
// More arguments than this go to the handler.
const size_t MAX_FAST_ARGS = 16;
} // namespace

// The name and the arguments, read as Call and PushParams read them: the token behind
// the last argument stays unread.
void CLumFastForm::TranslateCall(CLumBasic& basic, SLumFastStep& step)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    step.m_pszName = file.GetCountedText();
    while (file.GetToken() == LBT_EXPRESSION)
    {
        SLumFastExpr* pArg = ReadTree(basic, true);
        if (pArg == nullptr || step.m_apArgs.size() >= MAX_FAST_ARGS)
            throw std::exception(); // the call stays the handler's
        step.m_apArgs.push_back(pArg);
    }
    file.MoveTo(file.GetPosition() - 2);
}

// The name and the parameter list, split as Sub splits it: empty names are skipped.
void CLumFastForm::TranslateHead(CLumBasicFile& file, SLumFastStep& step)
{
    step.m_pszName = file.GetCountedText();
    step.m_nNameLength = static_cast<unsigned>(strlen(step.m_pszName));
    unsigned nLength = 0;
    std::string strParams = file.GetCountedText(&nLength);
    if (nLength == 0)
        return;
    for (size_t nStart = 0; nStart <= strParams.size();)
    {
        size_t nEnd = strParams.find(':', nStart);
        if (nEnd == std::string::npos)
            nEnd = strParams.size();
        if (nEnd > nStart)
        {
            std::string_view param = std::string_view(strParams).substr(nStart, nEnd - nStart);
            step.m_aParams.push_back(
                SLumFastStep::SParam{CLumScopedKey(step.m_pszName, param).c_str(), param.back(), {}});
        }
        nStart = nEnd + 1;
    }
}

// The procedure the name gives, remembered while the table is unchanged, and whether
// its source is the one running, remembered while that stays the same.
CallInfo* CLumFastForm::Callee(CLumBasic& basic, SLumFastStep& step)
{
    const CLumFunctions* pTable = basic.m_pFunctions;
    if (step.m_pTable != pTable || step.m_nTableGeneration != pTable->GetGeneration())
    {
        CallInfo* pInfo = pTable->Lookup(step.m_pszName);
        step.m_pTable = pTable;
        step.m_nTableGeneration = pTable->GetGeneration();
        if (pInfo != step.m_pInfo)
        {
            step.m_pInfo = pInfo;
            step.m_pCallee = nullptr;
            step.m_pSourceOf = nullptr;
        }
    }
    if (step.m_pInfo != nullptr &&
        (step.m_pSourceOf != &basic || step.m_nSourceSerial != basic.m_nSourceSerial))
    {
        step.m_fSameSource = step.m_pInfo->m_strSource == basic.m_strSource;
        step.m_pSourceOf = &basic;
        step.m_nSourceSerial = basic.m_nSourceSerial;
    }
    return step.m_pInfo;
}

// Everything a handler would refuse, and a call that switches the debugger's source,
// goes to the handler before anything is changed.
CLumFastForm::EOutcome CLumFastForm::CallStatement(CLumBasic& basic, SLumFastStep& step)
{
    // The regular way enters another level or runs code that may look at the counts.
    if (m_pAddingUpFor != nullptr)
        HandInHits();
    CallInfo* pInfo = Callee(basic, step);
    if (pInfo == nullptr || (pInfo->m_pImage && pInfo->m_pImage->m_pBegin == nullptr) ||
        basic.m_cCallStack.GetCount() >= CLumBasic::MAX_CALL_DEPTH ||
        (basic.m_pDebugger != nullptr && !step.m_fSameSource))
        return HANDLER;
    // All arguments are computed, left to right, before any is pushed.
    size_t nArgs = step.m_apArgs.size();
    SLumNumber aNumbers[MAX_FAST_ARGS];
    for (size_t i = 0; i < nArgs; ++i)
        if (step.m_apArgs[i]->m_fNumericValue && !EvalNumber(basic, *step.m_apArgs[i], aNumbers[i]))
            return HANDLER;
    if (IsDirect(basic, step, *pInfo))
        return CallDirect(basic, step, *pInfo, aNumbers);
    CLumsVarValue* apValues[MAX_FAST_ARGS] = {};
    struct Owned
    {
        CLumsVarValue** m_ap;
        size_t m_n;
        ~Owned()
        {
            for (size_t i = 0; i < m_n; ++i)
                delete m_ap[i];
        }
    } owned{apValues, nArgs};
    for (size_t i = 0; i < nArgs; ++i)
    {
        SLumFastExpr& arg = *step.m_apArgs[i];
        apValues[i] = new CLumsVarValue();
        if (!arg.m_fNumericValue)
            EvalValue(basic, arg, *apValues[i]);
        else
            LumFastStore(*apValues[i], aNumbers[i]);
    }
    basic.m_pQuelle->MoveTo(step.m_pEnd);
    basic.EnterProcedure(pInfo, 0);
    basic.m_cCallStack.Top()->m_pFastCaller = &step;
    for (size_t i = nArgs; i-- > 0;)
    {
        basic.m_cParamStack.Push(apValues[i]);
        apValues[i] = nullptr;
    }
    return CALLED;
}

// Whether a call may bind its arguments to the parameters itself and go on behind the
// head: the head is a statement of the form that the call reached before, with as many
// parameters as arguments, and nothing that ends runs between statements is watched:
// the head must then pass the run loop's check.
bool CLumFastForm::IsDirect(CLumBasic& basic, SLumFastStep& step, const CallInfo& info)
{
    const SLumFastStep* pHead = step.m_pCallee;
    return pHead != nullptr && pHead->m_pAt == info.m_pCode && pHead->m_eKind == SLumFastStep::SUB &&
           pHead->m_pNext != nullptr && pHead->m_aParams.size() == step.m_apArgs.size() &&
           !basic.m_pBudget->IsWatched();
}

// The call and the head's work at once, with the arguments on the stack instead of the
// parameter stack: numbers where the parameter takes a number, values otherwise.
CLumFastForm::EOutcome CLumFastForm::CallDirect(CLumBasic& basic, SLumFastStep& step, const CallInfo& info,
                                                SLumNumber* pNumbers)
{
    SLumFastStep& head = *step.m_pCallee;
    size_t nArgs = step.m_apArgs.size();
    SArgumentRoom<MAX_FAST_ARGS> room;
    SArguments& args = room.m_args;
    for (size_t i = 0; i < nArgs; ++i)
        if (!step.m_apArgs[i]->m_fNumericValue)
            Capture(basic, *step.m_apArgs[i], head.m_aParams[i].m_cType, pNumbers[i], args, i);
    basic.m_pQuelle->MoveTo(step.m_pEnd);
    basic.EnterProcedure(&info, 0);
    basic.m_cCallStack.Top()->m_pFastCaller = &step;
    EnterDirect(basic, head, pNumbers, args);
    return ENTERED;
}

// An argument for a direct call: a number where the parameter takes one and the
// argument gives one as it stands, else its value.
void CLumFastForm::Capture(CLumBasic& basic, SLumFastExpr& arg, char cParamType, SLumNumber& number,
                           SArguments& args, size_t i)
{
    if (cParamType != '$')
    {
        if (arg.m_eOp == SLumFastExpr::CONSTANT && arg.m_fNumber)
        {
            number = arg.m_cNumber;
            return;
        }
        // An empty variable reads as 0 for a number parameter, as a long 0 does.
        if (arg.m_eOp == SLumFastExpr::VARIABLE)
        {
            const CLumsVarValue* pValue = Cached(arg.m_cCache);
            if (LumFastNumber(pValue != nullptr ? *pValue : *Variable(basic, arg), number))
                return;
        }
    }
    EvalValue(basic, arg, args.Make(i));
}

// The head of a directly called procedure, and its parameters bound from the captured
// arguments.
void CLumFastForm::EnterDirect(CLumBasic& basic, SLumFastStep& head, const SLumNumber* pNumbers,
                               SArguments& args)
{
    EnterHead(basic, head);
    for (size_t i = 0; i < head.m_aParams.size(); ++i)
    {
        if (CLumsVarValue* pValue = args.At(i))
            Bind(basic, head.m_aParams[i], *pValue);
        else
            BindNumber(basic, head.m_aParams[i], pNumbers[i]);
    }
}

// The head of a procedure: its name on the function stack, then each parameter from
// the parameter stack into its local, converted by the parameter's name.
CLumFastForm::EOutcome CLumFastForm::Head(CLumBasic& basic, SLumFastStep& step)
{
    CLumParamStack& params = basic.m_cParamStack;
    if (static_cast<size_t>(params.GetCount()) < step.m_aParams.size())
        return HANDLER; // too few: the handler reports it
    EnterHead(basic, step);
    for (SLumFastStep::SParam& param : step.m_aParams)
    {
        std::unique_ptr<CLumsVarValue> pArgument(params.Pop());
        Bind(basic, param, *pArgument);
    }
    return GO_ON;
}

void CLumFastForm::EnterHead(CLumBasic& basic, SLumFastStep& step)
{
    // The id once taken stays this name's alone, even where the table forgot it.
    if (step.m_nScope == 0)
        step.m_nScope = LumScopeOf(step.m_pszName);
    basic.m_cFunctionStack.Push(std::string_view(step.m_pszName, step.m_nNameLength), step.m_nScope);
    m_nScope = basic.m_cFunctionStack.GetScope();
}

// The local of a parameter, made where it is missing.
CLumsVarValue& CLumFastForm::Local(CLumBasic& basic, SLumFastStep::SParam& param)
{
    CLumVariables& store = *basic.m_pVariables;
    CLumNameCache& cache = param.m_cCache;
    if (cache.m_pStore != &store || cache.m_nGeneration != store.GetGeneration())
    {
        CLumsVarValue* pTarget = store.Obtain(param.m_strKey);
        cache = CLumNameCache{&store, store.GetGeneration(), 0, pTarget};
    }
    return *cache.m_pValue;
}

// A parameter's local takes the argument, converted by the parameter's name. A text
// parameter gets a fresh copy of the argument's text up to its first zero byte, as the
// head's handler makes it: the room of a text, which a memory budget counts, is that
// copy's, not the argument's.
void CLumFastForm::Bind(CLumBasic& basic, SLumFastStep::SParam& param, const CLumsVarValue& argument)
{
    CLumsVarValue& target = Local(basic, param);
    if (param.m_cType == '%')
        target = static_cast<long>(argument.GetLong());
    else if (param.m_cType != '$')
        target = argument.GetDouble();
    else
    {
        CLumsVarValue text;
        text = argument.GetText();
        target.Swap(text);
    }
}

// A number parameter takes a number as it takes the value of that number.
void CLumFastForm::BindNumber(CLumBasic& basic, SLumFastStep::SParam& param, const SLumNumber& number)
{
    CLumsVarValue& target = Local(basic, param);
    if (param.m_cType == '%')
        target = static_cast<long>(number.m_fDouble ? LumDoubleToLong(number.m_dDouble) : number.m_nLong);
    else
        target = number.AsDouble();
}

// The result of the function on top, read as End reads it: once the function has left
// the function stack, as GetVar finds its key "@F@F". Remembered for the scope of the
// function, which gives the key, and the scope it returns to, while the store is as
// it was.
const CLumsVarValue* CLumFastForm::Result(CLumBasic& basic, SLumFastStep& step)
{
    CLumFunctionStack& names = basic.m_cFunctionStack;
    uint64_t nScopeOf = names.GetScope();
    if (step.m_nResultOf != nScopeOf)
    {
        step.m_strResultKey = CLumScopedKey(names.TopString(), names.TopString()).c_str();
        step.m_nResultOf = nScopeOf;
        step.m_cResult = CLumNameCache();
        step.m_cResultElse = CLumNameCache();
    }
    names.Drop();
    m_nScope = names.GetScope();
    if (const CLumsVarValue* pCached = Cached(step.m_cResult))
        return pCached;
    CLumsVarValue* pValue = basic.GetVar(step.m_strResultKey.c_str(), nullptr);
    if (!CLumVariables::IsNullValue(pValue))
        step.m_cResult = CLumNameCache{m_pStore, m_pStore->GetGeneration(), m_nScope, pValue};
    return pValue;
}

// End Sub returns behind its call; End Function leaves its result with the call record
// and ends the run of the function; the End of the outermost procedure ends the run.
CLumFastForm::EOutcome CLumFastForm::End(CLumBasic& basic, SLumFastStep& step)
{
    CLumCallStack& calls = basic.m_cCallStack;
    CLumFunctionStack& names = basic.m_cFunctionStack;
    if (names.IsEmpty() || (!calls.IsEmpty() && calls.Top()->m_fSourceChanged))
        return HANDLER;
    if (calls.IsEmpty())
    {
        names.Pop();
        basic.m_pQuelle->MoveTo(step.m_pEnd);
        return STOP;
    }
    CallData* pCall = calls.Top();
    basic.m_pQuelle->SetPosition(pCall->m_pReturn);
    if (step.m_wLoopKind == LBT_FUNCTION)
    {
        pCall->m_pResult = new CLumsVarValue(*Result(basic, step));
        return STOP;
    }
    names.Drop();
    m_nScope = names.GetScope();
    m_pReturnTo = static_cast<SLumFastStep*>(pCall->m_pFastCaller);
    basic.NoteReturn(pCall->m_nCallerLine);
    delete calls.Pop();
    return RETURN;
}
