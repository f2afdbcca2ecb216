// Statements whose expressions call functions of the program. Once a function has run,
// a statement cannot go back to its handler, so these run to their end here, and every
// failure gets the frames that the handler and the expression machinery would give it:
// the trail reads as if the stream had been run. Parts of the tree that only compute
// take the quick way, and where that gives up, the expression machinery computes them.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include "core/LumDepthGuard.h"
#include "core/LumFrame.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"

namespace
{
const char* const EXPRESSION_LABEL = "LUMEXPRESSION";
// Most arguments a call binds to its parameters directly.
const size_t MAX_DIRECT_ARGS = 4;

// The expression machinery's own evaluation of a node, with its frames.
void Machinery(CLumBasic& basic, CLumTermNode* pNode, CLumsVarValue& out)
{
    CLumExpression cExpression(basic.GetQuelle(), basic.GetVariables(), &basic);
    std::unique_ptr<CLumsVarValue> pValue(cExpression.Berechne(pNode));
    out.Swap(*pValue);
}

// Frames the value of a whole expression as Auswerten does.
template <class Body> LUM_INLINE_BODY inline void Auswerten(Body&& body)
{
    LumFrame(EXPRESSION_LABEL, "CLumExpression::Auswerten()", [&]() LUM_INLINE_BODY {
        CLumDepthGuard guard(CLumDepthGuard::EXPRESSION, CLumExpression::MAX_NESTING);
        body();
    });
}
} // namespace

void CLumFastForm::EvalCommitted(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& out)
{
    Auswerten([&]() LUM_INLINE_BODY { EvalFramed(basic, *step.m_pExpr, out); });
}

// An assignment as Assign does it, in the frames of the dispatch and of its handler.
// Stores an assignment's value after functions left the procedures running otherwise
// than they found them, as only a damaged image makes them: where the handler's would
// go. Apart from AssignCommitted, whose frame recursion stacks up.
void CLumFastForm::StoreUnbalanced(CLumBasic& basic, SLumFastStep& step, bool fResult, CLumsVarValue& value)
{
    std::unique_ptr<CLumsVarValue> pValue(new CLumsVarValue());
    pValue->Swap(value);
    const char* pszName = step.m_pszName;
    basic.SetVar(fResult ? CLumScopedKey(pszName, pszName).c_str() : pszName, pValue.release());
}

// A number for a variable found before, computed whole with its calls. Apart from the
// regular way, whose frames recursion stacks up.
bool CLumFastForm::AssignClosed(CLumBasic& basic, SLumFastStep& step)
{
    if (step.m_cType == '$')
        return AssignClosedText(basic, step);
    m_nScope = basic.m_cFunctionStack.GetScope();
    CLumsVarValue* pTarget = Cached(step.m_cTarget);
    SLumNumber n;
    if (pTarget == nullptr || !RunClosed(basic, step, *step.m_pExpr, n))
        return false;
    LumFastStore(*pTarget, n, step.m_cType);
    return true;
}

// A text for a text variable found before, computed whole with its calls; the value is
// made a text inside the run, so that a number, which the handler refuses, gives up.
bool CLumFastForm::AssignClosedText(CLumBasic& basic, SLumFastStep& step)
{
    // Under a memory budget a closed run makes no text: not tried.
    if ((basic.m_pBudget->m_nWatch.load(std::memory_order_relaxed) & CLumBasic::SLumRunBudget::MEMORY) != 0)
        return false;
    m_nScope = basic.m_cFunctionStack.GetScope();
    CLumsVarValue* pTarget = Cached(step.m_cTarget);
    CLumsVarValue value;
    if (pTarget == nullptr || !RunClosed(basic, step, value))
        return false;
    pTarget->Swap(value);
    return true;
}

CLumFastForm::EOutcome CLumFastForm::AssignCommitted(CLumBasic& basic, SLumFastStep& step)
{
    if (basic.m_cFunctionStack.IsEmpty())
        return HANDLER;
    if (AssignClosed(basic, step))
        return GO_ON;
    LumFrame("LUMBASIC", "CLumBasic::DispatchToken()", [&]() LUM_INLINE_BODY {
        LumFrame("LUMBASICCOMMAND", "CLumBasic::Assign()", [&]() LUM_INLINE_BODY {
            // As the handler, the target is named before the value is computed.
            uint64_t nScope = basic.m_cFunctionStack.GetScope();
            bool fResult = IsResultTarget(basic, step);
            CLumsVarValue value;
            EvalCommitted(basic, step, value);
            // The messages name the result of a function by its full key.
            auto Refuse = [&](int nMessage) {
                const char* pszName = step.m_pszName;
                if (fResult)
                    LumRaise(nMessage, CLumScopedKey(pszName, pszName).c_str());
                LumRaise(nMessage, pszName);
            };
            if (value.IsString() && step.m_cType != '$')
                Refuse(LUM_MSG_STRING_TO_NUMVAR);
            if (!value.IsString() && step.m_cType == '$' && value.IsNumber())
                Refuse(LUM_MSG_NUMBER_TO_STRINGVAR);
            if (step.m_cType == '$' && !value.IsString())
                value = "";
            else if (step.m_cType == '%')
                value = static_cast<long>(value.GetLong());
            else if (step.m_cType != '$')
                value = value.GetDouble();
            m_nScope = basic.m_cFunctionStack.GetScope();
            if (m_nScope != nScope)
                StoreUnbalanced(basic, step, fResult, value);
            else if (CLumsVarValue* pTarget = Cached(step.m_cTarget))
                pTarget->Swap(value);
            else
                Store(basic, step.m_pszName, value, &step.m_cTarget);
        });
    });
    return GO_ON;
}

// Whether an assignment's target is the result of the function running, which depends
// on the scope alone.
bool CLumFastForm::IsResultTarget(CLumBasic& basic, SLumFastStep& step)
{
    uint64_t nScope = basic.m_cFunctionStack.GetScope();
    if (step.m_nCheckedScope != nScope || nScope == 0)
    {
        step.m_fResultTarget = basic.m_cFunctionStack.TopString() == step.m_pszName;
        step.m_nCheckedScope = nScope;
    }
    return step.m_fResultTarget;
}

// The condition of If, While or Loop, in the frames of the dispatch and of its handler.
bool CLumFastForm::ConditionClosed(CLumBasic& basic, SLumFastStep& step, bool& fTrue)
{
    SLumNumber n;
    if (!RunClosed(basic, step, *step.m_pExpr, n))
        return false;
    fTrue = LumFastTruth(n);
    return true;
}

void CLumFastForm::ConditionCommitted(CLumBasic& basic, SLumFastStep& step, bool& fTrue)
{
    if (ConditionClosed(basic, step, fTrue))
        return;
    const char* pszMethod = step.m_eKind == SLumFastStep::IF      ? "CLumBasic::If()"
                            : step.m_eKind == SLumFastStep::WHILE ? "CLumBasic::While()"
                                                                  : "CLumBasic::Loop()";
    LumFrame("LUMBASIC", "CLumBasic::DispatchToken()", [&]() LUM_INLINE_BODY {
        LumFrame("LUMBASICCOMMAND", pszMethod, [&] {
            CLumsVarValue value;
            EvalCommitted(basic, step, value);
            fTrue = value.IsTrue();
        });
    });
    m_nScope = basic.m_cFunctionStack.GetScope();
}

// A node as Eval computes it, with its frames: Berechne, and Operator and Operation
// for an operator.
void CLumFastForm::EvalFramed(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    if (expr.m_fPure)
        return EvalPureFramed(basic, expr, out);
    if (expr.m_eOp != SLumFastExpr::OPERATOR && expr.m_eOp != SLumFastExpr::USERCALL)
        return Machinery(basic, expr.m_pNode, out);
    LumFrame(EXPRESSION_LABEL, "CLumExpression::Berechne()", [&]() LUM_INLINE_BODY {
        if (expr.m_eOp == SLumFastExpr::USERCALL)
        {
            std::unique_ptr<CLumsVarValue> pResult(UserCall(basic, expr));
            out.Swap(*pResult);
            return;
        }
        LumFrame(EXPRESSION_LABEL, "CLumExpression::Operator()", [&]() LUM_INLINE_BODY {
            // Both sons run, left first.
            EvalFramed(basic, *expr.m_pLeft, out);
            CLumsVarValue right;
            EvalFramed(basic, *expr.m_pRight, right);
            // Two numbers (no empty value) compute as numbers do.
            SLumNumber l{}, r{};
            if (out.IsNumber() && right.IsNumber() && LumFastNumber(out, l) && LumFastNumber(right, r) &&
                LumFastOperate(expr.m_wToken, l, r, l))
                return LumFastStore(out, l);
            LumFrame(EXPRESSION_LABEL, "CLumExpression::Operation()",
                     [&] { LumApplyOperator(expr.m_wToken, out, right, out); });
        });
    });
}

// A part that only computes: the quick way, and where that gives up the machinery,
// which may then report a failure; computing it twice changes nothing.
void CLumFastForm::EvalPureFramed(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    // Inside the expression the regular way holds open already; where an index of it
    // might pass the nesting limit, the machinery counts and reports it.
    SLift lift(m_nLift, 0);
    bool fFits =
        CLumDepthGuard::GetDepth(CLumDepthGuard::EXPRESSION) + expr.m_nLevels <= CLumExpression::MAX_NESTING;
    bool fDone = fFits && LumSucceeds([&] {
                     SLumNumber n;
                     if (!expr.m_fNumericValue)
                         EvalValue(basic, expr, out);
                     else if (!EvalNumber(basic, expr, n))
                         throw std::exception();
                     else if (n.m_fDouble)
                         out = n.m_dDouble;
                     else
                         out = static_cast<long>(n.m_nLong);
                 });
    if (!fDone)
        Machinery(basic, expr.m_pNode, out);
}

// The arguments as PushParams pushes them: all computed, left to right, then pushed.
void CLumFastForm::PushArguments(CLumBasic& basic, SLumFastExpr& expr)
{
    LumFrame("LUMBASICCALL", "CLumBasic::PushParams()", [&] {
        size_t nArgs = expr.m_apIndices.size();
        CLumsVarValue* aSmall[8];
        std::vector<CLumsVarValue*> aMore(nArgs > 8 ? nArgs : 0);
        CLumsVarValue** apValues = nArgs > 8 ? aMore.data() : aSmall;
        struct Owned
        {
            CLumsVarValue** m_ap;
            size_t m_n = 0;
            ~Owned()
            {
                for (size_t i = 0; i < m_n; ++i)
                    delete m_ap[i];
            }
        } owned{apValues};
        for (size_t i = 0; i < nArgs; ++i)
        {
            apValues[i] = new CLumsVarValue();
            owned.m_n = i + 1;
            SLumFastExpr& arg = *expr.m_apIndices[i];
            CLumsVarValue& value = *apValues[i];
            // An argument that only computes needs no frames where it succeeds: only
            // the nesting of expressions could fail it, the argument's own and its
            // indices', and that is checked here.
            if (!arg.m_fPure ||
                CLumDepthGuard::GetDepth(CLumDepthGuard::EXPRESSION) + arg.m_nLevels >=
                    CLumExpression::MAX_NESTING ||
                !LumSucceeds([&] {
                    SLumNumber n{};
                    if (!arg.m_fNumericValue)
                        EvalValue(basic, arg, value);
                    else if (!EvalNumber(basic, arg, n))
                        throw std::exception();
                    else
                        LumFastStore(value, n);
                }))
                Auswerten([&] { EvalFramed(basic, arg, value); });
        }
        for (size_t i = nArgs; i-- > 0;)
        {
            basic.m_cParamStack.Push(apValues[i]);
            owned.m_n = i;
        }
    });
}

// Arguments for a call that binds them to the parameters itself, skipping the
// parameter stack and the dispatch of the head: where the head is a statement of the
// form that the call reached before, nothing can refuse the call or its head, and every
// argument only computes. False leaves the arguments to PushArguments.
bool CLumFastForm::DirectArguments(CLumBasic& basic, SLumFastExpr& expr, const CallInfo& info,
                                   SLumNumber* pNumbers, SArguments& args)
{
    const SLumFastStep* pHead = expr.m_pCallee;
    size_t nArgs = expr.m_apIndices.size();
    if (pHead == nullptr || pHead->m_pAt != info.m_pCode || pHead->m_eKind != SLumFastStep::SUB ||
        pHead->m_pNext == nullptr || pHead->m_aParams.size() != nArgs || nArgs > MAX_DIRECT_ARGS ||
        basic.ModulsWatch() || basic.m_cCallStack.GetCount() >= CLumBasic::MAX_CALL_DEPTH ||
        CLumDepthGuard::GetDepth(CLumDepthGuard::RUN) >= CLumBasic::MAX_NESTING ||
        basic.m_pBudget->IsWatched())
        return false;
    if (!SameSource(basic, expr, info))
        return false;
    int nExpressions = CLumDepthGuard::GetDepth(CLumDepthGuard::EXPRESSION);
    for (size_t i = 0; i < nArgs; ++i)
    {
        // Each argument is an expression of its own for the regular way, with its
        // indices inside.
        SLumFastExpr& arg = *expr.m_apIndices[i];
        if (!arg.m_fPure || nExpressions + arg.m_nLevels >= CLumExpression::MAX_NESTING || !LumSucceeds([&] {
                if (!arg.m_fNumericValue)
                    Capture(basic, arg, pHead->m_aParams[i].m_cType, pNumbers[i], args, i);
                else if (!EvalNumber(basic, arg, pNumbers[i]))
                    throw std::exception();
            }))
            return false;
    }
    return true;
}

// A call of a function of the program: run whole where that goes through, else as
// UserFunction makes it: Call finds the procedure and enters it, a nested run of the
// interpreter runs the function, whose End leaves the result.
CLumsVarValue* CLumFastForm::UserCall(CLumBasic& basic, SLumFastExpr& expr)
{
    int nRun = CLumDepthGuard::GetDepth(CLumDepthGuard::RUN);
    if (CLumsVarValue* pClosed = CallClosed(basic, expr, nRun))
        return pClosed;
    CLumsVarValue* pResult = CallRegular(basic, expr);
    // The regular run that this call began is over: calls from here may try again.
    if (expr.m_nRegularFrom == nRun + 1)
        expr.m_nRegularFrom = 0;
    return pResult;
}

// The result of a closed run of the call, null where it gave up or was not tried.
// Apart from UserCall, whose frame recursion stacks up.
CLumsVarValue* CLumFastForm::CallClosed(CLumBasic& basic, SLumFastExpr& expr, int nRun)
{
    SLumNumber closed;
    if (!TryClosed(expr, nRun, [&] { return RunClosed(basic, expr, closed); }))
        return nullptr;
    std::unique_ptr<CLumsVarValue> pResult(new CLumsVarValue());
    if (__builtin_expect(m_cClosedText.IsString(), 0))
        pResult->Swap(m_cClosedText);
    else
        LumFastStore(*pResult, closed);
    return pResult.release();
}

LUM_HOT CLumsVarValue* CLumFastForm::CallRegular(CLumBasic& basic, SLumFastExpr& expr)
{
    return LumFrame("LUMBASICUSERFUNCTION", "CLumExpression::UserFunction()", [&]() LUM_INLINE_BODY {
        SLumFastStep* pStart = nullptr;
        LumFrame("LUMBASICCALL", "CLumBasic::Call()", [&]() LUM_INLINE_BODY {
            CLumFunctions& table = *basic.m_pFunctions;
            // Arguments may run a Declare of the same name: the record found stays.
            table.Pin();
            struct Unpin
            {
                CLumFunctions& m_table;
                ~Unpin() { m_table.Unpin(); }
            } unpin{table};
            CallInfo* pInfo = Callee(basic, expr);
            if (pInfo == nullptr)
                LumRaise(LUM_MSG_NOT_DECLARED, expr.m_pszName);
            if (pInfo->m_pImage && pInfo->m_pImage->m_pBegin == nullptr)
                LumRaise(LUM_MSG_IMAGE_GONE, expr.m_pszName);
            SArgumentRoom<MAX_DIRECT_ARGS> room;
            SLumNumber aNumbers[MAX_DIRECT_ARGS];
            bool fDirect = DirectArguments(basic, expr, *pInfo, aNumbers, room.m_args);
            if (!fDirect)
                PushArguments(basic, expr);
            // As Function reads a node's data: the cursor stands in it, behind the
            // arguments, where the call returns to.
            basic.m_pQuelle->SetMemoryMode(expr.m_pArgsEnd);
            // A direct call stays in its source: DirectArguments made sure.
            basic.EnterProcedure(pInfo, fDirect ? 0 : -1);
            if (!fDirect)
            {
                pStart = CalleeHead(basic, expr, *pInfo);
                return;
            }
            // The head's statement runs here: the nested run starts behind it.
            EnterDirect(basic, *expr.m_pCallee, aNumbers, room.m_args);
            pStart = expr.m_pCallee->m_pNext;
        });
        int fInFunction = basic.m_fInFunction;
        basic.m_fInFunction = 1;
        basic.RunLoopFrom(pStart);
        basic.m_fInFunction = fInFunction;
        CLumCallStack& stack = basic.m_cCallStack;
        if (stack.IsEmpty() || stack.Top()->m_pResult == nullptr)
            LumRaise(LUM_MSG_END_SUB_IN_FUNCTION);
        std::unique_ptr<CallData> pCall(stack.Pop());
        basic.NoteReturn(pCall->m_nCallerLine);
        CLumsVarValue* pResult = pCall->m_pResult;
        pCall->m_pResult = nullptr;
        basic.m_pQuelle->SetMemoryMode(nullptr);
        return pResult;
    });
}

// The procedure a function's name gives, remembered while the table is unchanged.
CallInfo* CLumFastForm::Callee(CLumBasic& basic, SLumFastExpr& expr)
{
    const CLumFunctions& table = *basic.m_pFunctions;
    if (expr.m_pTable != &table || expr.m_nTableGeneration != table.GetGeneration())
    {
        CallInfo* pFound = table.Lookup(expr.m_pszName);
        if (pFound != expr.m_pInfo)
            expr.m_pSourceOf = nullptr;
        expr.m_pInfo = pFound;
        expr.m_pTable = &table;
        expr.m_nTableGeneration = table.GetGeneration();
    }
    return expr.m_pInfo;
}

// The head of the called function as a statement of this form, for the nested run
// loop to start at instead of reading the token there; null where the run loop must
// read it (a module attached meanwhile, a head that is no procedure's).
SLumFastStep* CLumFastForm::CalleeHead(CLumBasic& basic, SLumFastExpr& expr, const CallInfo& info)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    if (basic.ModulsWatch() || &file.GetFastForm() != this)
        return nullptr;
    unsigned char* pCode = info.m_pCode;
    if (expr.m_pCallee == nullptr || expr.m_pCallee->m_pAt != pCode)
    {
        if (!file.CanReadAt(pCode, 2))
            return nullptr;
        expr.m_pCallee = StepAt(basic, pCode);
    }
    return expr.m_pCallee->m_eKind == SLumFastStep::SUB ? expr.m_pCallee : nullptr;
}
