// Values of the fast form beyond numbers in variables: strings and other values with
// the value type's own operators, elements of arrays, built-in functions handed to the
// expression machinery, and the stores that make a variable where it is missing.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include "core/LumDepthGuard.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"
#include "vars/LumTextGrowth.h"

#include <cstring>

namespace
{
// Thrown where a value cannot be computed here; the statement's handler computes it.
struct SGiveUp
{
};

// A value takes the type its target's name asks for; false where the handler refuses.
bool Convert(CLumsVarValue& value, char cType)
{
    if (value.IsString())
        return cType == '$';
    if (cType == '$')
    {
        if (value.IsNumber())
            return false;
        value = ""; // an empty value is no number: a string variable takes it as ""
    }
    else if (cType == '%')
        value = static_cast<long>(value.GetLong());
    else
        value = value.GetDouble();
    return true;
}
} // namespace

// Computes the value of an assignment and stores it where the handler would.
bool CLumFastForm::ValueFor(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& value)
{
    if (step.m_fNumeric)
    {
        SLumNumber n;
        if (step.m_cType == '$' || !EvalNumber(basic, *step.m_pExpr, n))
            return false;
        LumFastStore(value, n, step.m_cType);
        return true;
    }
    EvalValue(basic, *step.m_pExpr, value);
    return Convert(value, step.m_cType);
}

CLumFastForm::EOutcome CLumFastForm::AssignValue(CLumBasic& basic, SLumFastStep& step)
{
    CLumsVarValue value;
    if (basic.m_cFunctionStack.IsEmpty() || !ValueFor(basic, step, value))
        return HANDLER;
    if (CLumsVarValue* pTarget = Cached(step.m_cTarget))
        pTarget->Swap(value);
    else
        Store(basic, step.m_pszName, value, &step.m_cTarget);
    return GO_ON;
}

// `s$ = s$ + a$ + ...`: where the value read is the variable written, a string, the
// parts are appended to it in place, with the room the copying way would give it
// (vars/LumTextGrowth.h). The parts, pure, are all computed before the variable
// changes; every other case copies as any assignment does.
CLumFastForm::EOutcome CLumFastForm::AssignAppend(CLumBasic& basic, SLumFastStep& step)
{
    CLumsVarValue* pTarget = Cached(step.m_cTarget);
    if (pTarget == nullptr || basic.m_cFunctionStack.IsEmpty() || !pTarget->IsString() ||
        Variable(basic, *step.m_pAppendTo) != pTarget)
        return AssignValue(basic, step);
    CLumsVarValue aValues[MAX_APPENDED];
    std::string_view aTexts[MAX_APPENDED];
    size_t nParts = step.m_apParts.size();
    for (size_t i = 0; i < nParts; ++i)
    {
        EvalValue(basic, *step.m_apParts[i], aValues[i]);
        aTexts[i] = std::string_view(aValues[i].GetText(), aValues[i].GetTextLength());
    }
    LumAppendTexts(pTarget->GetStringRef(), aTexts, nParts);
    return GO_ON;
}

// An element's assignment. The common one, a global element by a single index in a
// procedure that is no function with such a name, finds its element without
// composing the key; every other composes the key as NameOf does.
CLumFastForm::EOutcome CLumFastForm::AssignElement(CLumBasic& basic, SLumFastStep& step)
{
    if (basic.m_cFunctionStack.IsEmpty())
        return HANDLER;
    SLumFastExpr& target = *step.m_pTarget;
    long aIndices[CLumVariables::MAX_INDICES] = {};
    if (!Indices(basic, target, aIndices) || target.m_nNameLength > CLumVariables::MAX_KEY)
        return HANDLER;
    std::string_view name(target.m_pszName, target.m_nNameLength);
    CLumVariables& store = *basic.m_pVariables;
    const std::string& strTop = basic.m_cFunctionStack.TopString();
    // Whether the procedure's name could be an element's, which depends on the scope alone.
    uint64_t nScope = basic.m_cFunctionStack.GetScope();
    if (step.m_nCheckedScope != nScope)
    {
        step.m_fResultTarget = strTop.find(':') != std::string::npos;
        step.m_nCheckedScope = nScope;
    }
    bool fLocals = basic.GetDepth() > 1 && store.HasScopedElements();
    bool fSimple = !fLocals && aIndices[0] > 0 && aIndices[1] == 0 &&
                   aIndices[0] < static_cast<long>(CLumStringMap<CLumsVarValue>::MAX_ELEMENT_INDEX) &&
                   !name.empty() && name.size() + 11 <= CLumVariables::MAX_KEY && !step.m_fResultTarget;
    char szName[CLumVariables::MAX_KEY + 1];
    size_t nName = 0;
    // The result of a function goes by its own rule: for its handler.
    if (!fSimple &&
        (!ElementName(name, aIndices, szName, nName) || strTop == std::string_view(szName, nName)))
        return HANDLER;
    // A number goes straight into a global element by a single index.
    SLumNumber n;
    if (fSimple && step.m_fNumeric && step.m_cType != '$')
    {
        if (!EvalStatement(basic, *step.m_pExpr, n))
            return HANDLER;
        LumFastStore(*store.ObtainElement(name, static_cast<uint32_t>(aIndices[0]), target.m_cElements), n,
                     step.m_cType);
        return GO_ON;
    }
    CLumsVarValue value;
    if (!ValueFor(basic, step, value))
        return HANDLER;
    if (fSimple)
        store.ObtainElement(name, static_cast<uint32_t>(aIndices[0]), target.m_cElements)->Swap(value);
    else if (fLocals)
        Store(basic, szName, value, nullptr);
    else
        store.Obtain(std::string_view(szName, nName))->Swap(value);
    return GO_ON;
}

// Stores into the variable SetVar would store into, making it where it is missing,
// and remembers where it stands: a key given in full as it stands; in a procedure its
// local where there is one, else the global. The result of a function is its local
// under the function's own name.
void CLumFastForm::Store(CLumBasic& basic, const char* pszName, CLumsVarValue& value, CLumNameCache* pCache)
{
    const std::string& strTop = basic.m_cFunctionStack.TopString();
    CLumVariables& store = *basic.m_pVariables;
    CLumsVarValue* pTarget;
    if (strTop == pszName)
        pTarget = store.Obtain(CLumScopedKey(strTop, pszName).view());
    else if (pszName[0] != '@' && basic.GetDepth() > 1)
    {
        CLumScopedKey cScoped(strTop, pszName);
        pTarget = store.Obtain(store.Contains(cScoped.view()) ? cScoped.view() : std::string_view(pszName));
    }
    else
        pTarget = store.Obtain(pszName);
    pTarget->Swap(value);
    if (pCache != nullptr)
        *pCache = CLumNameCache{&store, store.GetGeneration(), basic.m_cFunctionStack.GetScope(), pTarget};
}

bool CLumFastForm::EvalOtherNumber(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out)
{
    if (expr.m_eOp == SLumFastExpr::ELEMENT)
        return LumFastNumber(*Element(basic, expr), out);
    CLumsVarValue value;
    EvalOther(basic, expr, value);
    return LumFastNumber(value, out);
}

void CLumFastForm::EvalValue(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    switch (expr.m_eOp)
    {
    case SLumFastExpr::CONSTANT:
        out = expr.m_pNode->GetConstant();
        break;
    case SLumFastExpr::VARIABLE:
        out = *Variable(basic, expr);
        break;
    case SLumFastExpr::ELEMENT:
        out = *Element(basic, expr);
        break;
    case SLumFastExpr::OPERATOR:
    {
        // Both sons run, left first, as in the expression machinery.
        EvalValue(basic, *expr.m_pLeft, out);
        CLumsVarValue right;
        EvalValue(basic, *expr.m_pRight, right);
        LumApplyOperator(expr.m_wToken, out, right, out);
        break;
    }
    default:
        EvalOther(basic, expr, out);
        break;
    }
}

// The indices of an element as numbers, read as GetIndices reads them; false where one
// cannot be computed here.
bool CLumFastForm::AllIndices(CLumBasic& basic, SLumFastExpr& expr, long* pIndices)
{
    for (size_t i = 0; i < expr.m_apIndices.size(); ++i)
    {
        SLumNumber n;
        if (!Leaf(basic, *expr.m_apIndices[i], n))
            return false;
        pIndices[i] = n.m_fDouble ? LumDoubleToLong(n.m_dDouble) : n.m_nLong;
    }
    return true;
}

// An element read as GetVar finds it: in a procedure its local first, which only a
// store that ever held a scoped element key can have.
const CLumsVarValue* CLumFastForm::Element(CLumBasic& basic, SLumFastExpr& expr)
{
    long aIndices[CLumVariables::MAX_INDICES] = {};
    if (!Indices(basic, expr, aIndices) || expr.m_nNameLength > CLumVariables::MAX_KEY)
        throw SGiveUp();
    std::string_view name(expr.m_pszName, expr.m_nNameLength);
    CLumVariables& store = *basic.m_pVariables;
    char szKey[CLumVariables::MAX_KEY + 1];
    if (basic.GetDepth() > 1 && store.HasScopedElements())
    {
        CLumScopedKey cScoped(basic.m_cFunctionStack.TopString(), name);
        if (const CLumsVarValue* pValue = store.Lookup(
                std::string_view(szKey, CLumVariables::MakeName(szKey, cScoped.view(), aIndices))))
            return pValue;
    }
    if (const CLumsVarValue* pValue = store.FindElement(name, aIndices, expr.m_cElements))
        return pValue;
    return CLumVariables::GetNullValue(name);
}

// The name NameOf gives an element: its name and each index up to the first 0; false
// where that would not fit a key.
bool CLumFastForm::ElementName(std::string_view name, const long* pIndices, char* pszKey, size_t& nLength)
{
    size_t n = name.size();
    if (n > CLumVariables::MAX_KEY)
        return false;
    memcpy(pszKey, name.data(), n);
    for (size_t i = 0; i < CLumVariables::MAX_INDICES && pIndices[i] != 0; ++i)
    {
        char szDigits[24];
        size_t nDigits = LumFormatLong(szDigits, pIndices[i]);
        if (n + 1 + nDigits > CLumVariables::MAX_KEY)
            return false;
        pszKey[n++] = ':';
        memcpy(pszKey + n, szDigits, nDigits);
        n += nDigits;
    }
    pszKey[n] = '\0';
    nLength = n;
    return true;
}

void CLumFastForm::EvalOther(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    if (expr.m_fArgsComputed && Builtin(basic, expr, out))
        return;
    CLumDepthGuard::CLift lift(CLumDepthGuard::EXPRESSION, m_nLift + expr.m_nIndexDepth);
    CLumExpression cExpression(basic.m_pQuelle, basic.m_pVariables, &basic);
    std::unique_ptr<CLumsVarValue> pValue(cExpression.Berechne(expr.m_pNode));
    out.Swap(*pValue);
    if (expr.m_fBuiltin)
        ReadBuiltin(basic, expr);
}
