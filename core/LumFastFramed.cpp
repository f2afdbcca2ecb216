// Statements whose expressions call functions of the program. Once a function has run,
// a statement cannot go back to its handler, so these run to their end here, and every
// failure gets the frames that the handler and the expression machinery would give it:
// the trail reads as if the stream had been run. Parts of the tree that only compute
// take the quick way, and where that gives up, the expression machinery computes them.
#include "core/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include "core/LumDepthGuard.h"
#include "core/LumFrame.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"

namespace
{
const char* const EXPRESSION_LABEL = "LUMEXPRESSION";

// The expression machinery's own evaluation of a node, with its frames.
void Machinery(CLumBasic& basic, CLumTermNode* pNode, CLumsVarValue& out)
{
    CLumExpression cExpression(basic.GetQuelle(), basic.GetVariables(), &basic);
    std::unique_ptr<CLumsVarValue> pValue(cExpression.Berechne(pNode));
    out.Swap(*pValue);
}

// Frames the value of a whole expression as Auswerten does.
template <class Body> void Auswerten(Body&& body)
{
    LumFrame(EXPRESSION_LABEL, "CLumExpression::Auswerten()", [&] {
        CLumDepthGuard guard(CLumDepthGuard::EXPRESSION, CLumExpression::MAX_NESTING);
        body();
    });
}
} // namespace

void CLumFastForm::EvalCommitted(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& out)
{
    Auswerten([&] { EvalFramed(basic, *step.m_pExpr, out); });
}

// An assignment as Assign does it, in the frames of the dispatch and of its handler.
CLumFastForm::EOutcome CLumFastForm::AssignCommitted(CLumBasic& basic, SLumFastStep& step)
{
    if (basic.m_cFunctionStack.IsEmpty())
        return HANDLER;
    LumFrame("LUMBASIC", "CLumBasic::DispatchToken()", [&] {
        LumFrame("LUMBASICCOMMAND", "CLumBasic::Assign()", [&] {
            CLumsVarValue value;
            EvalCommitted(basic, step, value);
            const char* pszName = step.m_pszName;
            std::string strResult;
            if (IsResultTarget(basic, step))
            {
                strResult = CLumScopedKey(pszName, pszName).c_str();
                pszName = strResult.c_str();
            }
            if (value.IsString() && step.m_cType != '$')
                LumRaise(LUM_MSG_STRING_TO_NUMVAR, pszName);
            if (!value.IsString() && step.m_cType == '$' && value.IsNumber())
                LumRaise(LUM_MSG_NUMBER_TO_STRINGVAR, pszName);
            if (step.m_cType == '$' && !value.IsString())
                value = "";
            else if (step.m_cType == '%')
                value = static_cast<long>(value.GetLong());
            else if (step.m_cType != '$')
                value = value.GetDouble();
            // The scope may differ from the one at the start: functions ran meanwhile.
            m_nScope = basic.m_cFunctionStack.GetScope();
            if (CLumsVarValue* pTarget = Cached(step.m_cTarget))
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
void CLumFastForm::ConditionCommitted(CLumBasic& basic, SLumFastStep& step, bool& fTrue)
{
    const char* pszMethod = step.m_eKind == SLumFastStep::IF      ? "CLumBasic::If()"
                            : step.m_eKind == SLumFastStep::WHILE ? "CLumBasic::While()"
                                                                  : "CLumBasic::Loop()";
    LumFrame("LUMBASIC", "CLumBasic::DispatchToken()", [&] {
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
    LumFrame(EXPRESSION_LABEL, "CLumExpression::Berechne()", [&] {
        if (expr.m_eOp == SLumFastExpr::USERCALL)
        {
            std::unique_ptr<CLumsVarValue> pResult(UserCall(basic, expr));
            out.Swap(*pResult);
            return;
        }
        LumFrame(EXPRESSION_LABEL, "CLumExpression::Operator()", [&] {
            // Both sons run, left first.
            EvalFramed(basic, *expr.m_pLeft, out);
            CLumsVarValue right;
            EvalFramed(basic, *expr.m_pRight, right);
            LumFrame(EXPRESSION_LABEL, "CLumExpression::Operation()",
                     [&] { LumApplyOperator(expr.m_wToken, out, right, out); });
        });
    });
}

// A part that only computes: the quick way, and where that gives up the machinery,
// which may then report a failure; computing it twice changes nothing.
void CLumFastForm::EvalPureFramed(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    bool fDone = LumSucceeds([&] {
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
        std::unique_ptr<CLumsVarValue> aSmall[8];
        std::vector<std::unique_ptr<CLumsVarValue>> aMore(nArgs > 8 ? nArgs : 0);
        std::unique_ptr<CLumsVarValue>* apValues = nArgs > 8 ? aMore.data() : aSmall;
        for (size_t i = 0; i < nArgs; ++i)
        {
            apValues[i].reset(new CLumsVarValue());
            Auswerten([&] { EvalFramed(basic, *expr.m_apIndices[i], *apValues[i]); });
        }
        for (size_t i = nArgs; i-- > 0;)
            basic.m_cParamStack.Push(apValues[i].release());
    });
}

// A call as UserFunction makes it: Call finds the procedure and enters it, a nested
// run of the interpreter runs the function, whose End leaves the result.
CLumsVarValue* CLumFastForm::UserCall(CLumBasic& basic, SLumFastExpr& expr)
{
    return LumFrame("LUMBASICUSERFUNCTION", "CLumExpression::UserFunction()", [&] {
        LumFrame("LUMBASICCALL", "CLumBasic::Call()", [&] {
            CLumFunctions& table = *basic.m_pFunctions;
            // Arguments may run a Declare of the same name: the record found stays.
            table.Pin();
            struct Unpin
            {
                CLumFunctions& m_table;
                ~Unpin() { m_table.Unpin(); }
            } unpin{table};
            if (expr.m_pTable != &table || expr.m_nTableGeneration != table.GetGeneration())
            {
                expr.m_pInfo = table.Lookup(expr.m_pszName);
                expr.m_pTable = &table;
                expr.m_nTableGeneration = table.GetGeneration();
            }
            CallInfo* pInfo = expr.m_pInfo;
            if (pInfo == nullptr)
                LumRaise(LUM_MSG_NOT_DECLARED, expr.m_pszName);
            if (pInfo->m_pImage && pInfo->m_pImage->m_pBegin == nullptr)
                LumRaise(LUM_MSG_IMAGE_GONE, expr.m_pszName);
            PushArguments(basic, expr);
            // As Function reads a node's data: the cursor stands in it, behind the
            // arguments, where the call returns to.
            basic.m_pQuelle->SetMemoryMode(expr.m_pArgsEnd);
            basic.EnterProcedure(pInfo);
        });
        int fInFunction = basic.m_fInFunction;
        basic.m_fInFunction = 1;
        basic.RunLoop();
        basic.m_fInFunction = fInFunction;
        CLumCallStack& stack = basic.m_cCallStack;
        if (stack.IsEmpty() || stack.Top()->m_pResult == nullptr)
            LumRaise(LUM_MSG_END_SUB_IN_FUNCTION);
        std::unique_ptr<CallData> pCall(stack.Pop());
        CLumsVarValue* pResult = pCall->m_pResult;
        pCall->m_pResult = nullptr;
        basic.m_pQuelle->SetMemoryMode(nullptr);
        return pResult;
    });
}
