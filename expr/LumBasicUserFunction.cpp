// Functions of the program called from inside an expression.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"

#include <memory>

// An expression needs the value before it can go on, so the call cannot be a mere
// jump as at statement level: the function runs in a nested run loop on the same
// interpreter and stream, and its End leaves the result on the call stack.
CLumsVarValue* CLumExpression::UserFunction()
{
    return LumFrame("LUMBASICUSERFUNCTION", "CLumExpression::UserFunction()", [&] {
        CLumBasic* pBasic = m_pBasic;
        pBasic->Call();
        // Set around the nested run only, so that it neither ends the debugger nor
        // recalls a source as a main run or an import would.
        int fInFunction = pBasic->m_fInFunction;
        pBasic->m_fInFunction = 1;
        pBasic->RunLoop();
        pBasic->m_fInFunction = fInFunction;
        CLumCallStack& stack = pBasic->m_cCallStack;
        if (stack.IsEmpty() || stack.Top()->m_pResult == nullptr)
            LumRaise(LUM_MSG_END_SUB_IN_FUNCTION);
        std::unique_ptr<CallData> pCall(stack.Pop());
        pBasic->NoteReturn(pCall->m_nCallerLine);
        CLumsVarValue* pResult = pCall->m_pResult;
        pCall->m_pResult = nullptr;
        return pResult;
    });
}
