// Expressions become trees. What each part gives (number, string or not known until
// it runs) is followed along, so that an operation that can only fail at run time is
// reported here.
#include "LumCodeGen.h"

#include <cstring>

namespace
{
constexpr size_t MAX_INDICES = 6;

const char* TypeText(ELumType eType)
{
    return eType == ELumType::String ? "a string" : "a number";
}
} // namespace

CLumCodeGen::Typed CLumCodeGen::Expr(const CLumExpr& expr)
{
    switch (expr.m_eKind)
    {
    case ELumExpr::Long:
        return Typed{CLumTree::LongConst(expr.m_nLong), ELumType::Number};
    case ELumExpr::Double:
        return Typed{CLumTree::DoubleConst(std::string_view(expr.m_strText)), ELumType::Number};
    case ELumExpr::String:
        return Typed{CLumTree::StringConst(expr.m_strText), ELumType::String};
    case ELumExpr::Variable:
        return Variable(expr);
    case ELumExpr::Apply:
        return Apply(expr);
    case ELumExpr::Binary:
        return Binary(expr);
    case ELumExpr::NameOf:
        return NameOf(expr);
    case ELumExpr::Negate:
    {
        Typed operand = Expr(*expr.m_aArgs[0]);
        if (operand.m_eType == ELumType::String)
            Error(expr.m_pos, "type-mismatch", "a minus sign needs a number, not a string", expr.m_posEnd);
        return Typed{CLumTree::Operator(LBT_MINUS, CLumTree::LongConst(0), operand.m_tree), ELumType::Number};
    }
    case ELumExpr::Not:
    {
        // The image has no Not: a value is false exactly when it equals 0 or "".
        Typed operand = Expr(*expr.m_aArgs[0]);
        CLumTree zero =
            operand.m_eType == ELumType::String ? CLumTree::StringConst("") : CLumTree::LongConst(0);
        return Typed{CLumTree::Operator(LBT_EQ, operand.m_tree, zero), ELumType::Number};
    }
    }
    return Placeholder();
}

CLumTree CLumCodeGen::ExprOf(const CLumExpr& expr, ELumType eWanted, const char* pszWhat)
{
    Typed typed = Expr(expr);
    if (typed.m_eType != ELumType::Unknown && typed.m_eType != eWanted)
        Error(expr.m_pos, "type-mismatch",
              std::string("expected ") + TypeText(eWanted) + " for " + pszWhat + ", found " +
                  TypeText(typed.m_eType),
              expr.m_posEnd);
    return typed.m_tree;
}

CLumCodeGen::Typed CLumCodeGen::Variable(const CLumExpr& expr)
{
    const std::string& strName = expr.m_strText;
    if (const SLumBuiltin* pBuiltin = LumFindBuiltin(strName))
    {
        if (pBuiltin->m_nRequired == 0)
            return Typed{CLumTree::Function(pBuiltin->m_wToken, {}), pBuiltin->m_eResult};
        Error(expr.m_pos, "missing-arguments",
              "'" + strName + "' is a built-in function; give its arguments, as in " + strName + "(...)");
        return Placeholder();
    }
    if (m_options.m_pExtensions != nullptr)
        if (const CLumExtensionTable::Entry* pEntry = m_options.m_pExtensions->Find(strName))
        {
            if (pEntry->m_fFunction)
            {
                CheckHostArgumentCount(expr.m_pos, 0, *pEntry);
                return Typed{CLumTree::Function(pEntry->m_wToken, {}), ELumType::Unknown};
            }
            Error(expr.m_pos, "statement-as-value",
                  "'" + strName + "' is a statement of the host and gives no value");
            return Placeholder();
        }
    bool fOwnResult = m_pCurrent != nullptr && m_pCurrent->m_fFunction && m_pCurrent->m_strName == strName;
    if (!fOwnResult && (FindProc(strName) != nullptr || IsMainName(strName)))
    {
        Error(expr.m_pos, "procedure-as-value",
              "'" + strName + "' is a procedure; call it with its arguments, as in " + strName + "()");
        return Placeholder();
    }
    if (m_setArrays.count(strName) > 0)
    {
        Error(expr.m_pos, "array-use",
              "'" + strName + "' is an array; give an index, as in " + strName + "(1)");
        return Placeholder();
    }
    return Typed{CLumTree::Variable(strName), TypeOfName(strName)};
}

CLumCodeGen::Typed CLumCodeGen::Apply(const CLumExpr& expr)
{
    const std::string& strName = expr.m_strText;
    if (const ProcInfo* pInfo = FindProc(strName))
    {
        const CLumProc& proc =
            pInfo->m_pDeclaration != nullptr ? *pInfo->m_pDeclaration : *pInfo->m_pDefinition;
        if (proc.m_fFunction)
            return UserFunction(expr, proc);
        Error(expr.m_pos, "statement-as-value",
              "'" + strName + "' is a Sub and gives no value; call it as a statement");
        return Placeholder();
    }
    if (const SLumBuiltin* pBuiltin = LumFindBuiltin(strName))
        return Builtin(expr, *pBuiltin);
    if (m_options.m_pExtensions != nullptr)
        if (const CLumExtensionTable::Entry* pEntry = m_options.m_pExtensions->Find(strName))
        {
            if (!pEntry->m_fFunction)
            {
                Error(expr.m_pos, "statement-as-value",
                      "'" + strName + "' is a statement of the host and gives no value");
                return Placeholder();
            }
            CheckHostArgumentCount(expr.m_pos, expr.m_aArgs.size(), *pEntry);
            return Typed{CLumTree::Function(pEntry->m_wToken, Arguments(expr.m_aArgs, "", strName)),
                         ELumType::Unknown};
        }
    if (m_setArrays.count(strName) > 0)
        return Typed{ArrayElement(expr, strName, expr.m_aArgs, false), TypeOfName(strName)};
    Error(expr.m_pos, "unknown-name",
          IsMainName(strName) ? "Sub Main cannot be called" : UnknownName(strName, false));
    return Placeholder();
}

bool CLumCodeGen::CheckArgumentCount(SLumPos pos, size_t nGiven, size_t nMin, size_t nMax,
                                     const std::string& strName, SLumPos posEnd)
{
    if (nGiven >= nMin && nGiven <= nMax)
        return true;
    std::string strWanted =
        nMin == nMax ? std::to_string(nMin) : "from " + std::to_string(nMin) + " to " + std::to_string(nMax);
    Error(pos, "argument-count",
          "'" + strName + "' takes " + strWanted + (nMax == 1 ? " argument" : " arguments") + ", not " +
              std::to_string(nGiven),
          posEnd);
    return false;
}

// A name the host registered says how many arguments it takes; a table's entry does not.
void CLumCodeGen::CheckHostArgumentCount(SLumPos pos, size_t nGiven, const CLumExtensionTable::Entry& entry)
{
    if (entry.m_nArgs != LUM_ANY_ARGS)
        CheckArgumentCount(pos, nGiven, static_cast<size_t>(entry.m_nArgs),
                           static_cast<size_t>(entry.m_nArgs), entry.m_strName);
}

std::vector<CLumTree> CLumCodeGen::Arguments(const std::vector<LumExprPtr>& aArgs, const char* pszTypes,
                                             const std::string& strName)
{
    std::vector<CLumTree> aTrees;
    size_t nTypes = strlen(pszTypes);
    for (size_t i = 0; i < aArgs.size(); ++i)
    {
        Typed arg = Expr(*aArgs[i]);
        ELumType eWanted = i >= nTypes          ? ELumType::Unknown
                           : pszTypes[i] == 'S' ? ELumType::String
                                                : ELumType::Number;
        if (eWanted != ELumType::Unknown && arg.m_eType != ELumType::Unknown && arg.m_eType != eWanted)
            Error(aArgs[i]->m_pos, "argument-type",
                  "argument " + std::to_string(i + 1) + " of '" + strName + "' must be " + TypeText(eWanted),
                  aArgs[i]->m_posEnd);
        aTrees.push_back(arg.m_tree);
    }
    return aTrees;
}

CLumCodeGen::Typed CLumCodeGen::Builtin(const CLumExpr& expr, const SLumBuiltin& builtin)
{
    CheckArgumentCount(expr.m_pos, expr.m_aArgs.size(), static_cast<size_t>(builtin.m_nRequired),
                       strlen(builtin.m_pszArgs), expr.m_strText, expr.m_posEnd);
    return Typed{
        CLumTree::Function(builtin.m_wToken, Arguments(expr.m_aArgs, builtin.m_pszArgs, expr.m_strText)),
        builtin.m_eResult};
}

CLumCodeGen::Typed CLumCodeGen::UserFunction(const CLumExpr& expr, const CLumProc& proc)
{
    CheckArgumentCount(expr.m_pos, expr.m_aArgs.size(), proc.m_aParams.size(), proc.m_aParams.size(),
                       expr.m_strText, expr.m_posEnd);
    return Typed{CLumTree::UserFunction(expr.m_strText, Arguments(expr.m_aArgs, "", expr.m_strText)),
                 TypeOfName(expr.m_strText)};
}

CLumTree CLumCodeGen::ArrayElement(const CLumExpr& expr, const std::string& strName,
                                   const std::vector<LumExprPtr>& aIndices, bool fNameWanted)
{
    if (aIndices.empty() || aIndices.size() > MAX_INDICES)
    {
        Error(expr.m_pos, "array-dimensions", "an element of '" + strName + "' has from 1 to 6 indices");
        return CLumTree::Variable(strName, fNameWanted);
    }
    std::vector<CLumTree> aTrees;
    for (const auto& pIndex : aIndices)
        aTrees.push_back(ExprOf(*pIndex, ELumType::Number, "an index"));
    return CLumTree::Array(strName, aTrees, fNameWanted);
}

CLumCodeGen::Typed CLumCodeGen::Binary(const CLumExpr& expr)
{
    Typed left = Expr(*expr.m_aArgs[0]);
    Typed right = Expr(*expr.m_aArgs[1]);
    unsigned short wToken = expr.m_wOperator;
    bool fString = left.m_eType == ELumType::String || right.m_eType == ELumType::String;
    bool fNumber = left.m_eType == ELumType::Number || right.m_eType == ELumType::Number;
    ELumType eResult = ELumType::Number;
    if (wToken == LBT_PLUS)
        eResult = fString                                                                 ? ELumType::String
                  : left.m_eType == ELumType::Number && right.m_eType == ELumType::Number ? ELumType::Number
                                                                                          : ELumType::Unknown;
    else if ((wToken == LBT_MINUS || wToken == LBT_MUL || wToken == LBT_DIV) && fString)
        Error(expr.m_pos, "type-mismatch",
              std::string("the operator '") + LumOperatorSymbol(wToken) + "' is not defined for strings",
              expr.m_posEnd);
    else if (wToken >= LBT_EQ && wToken <= LBT_LE && left.m_eType != right.m_eType && fString && fNumber)
        Error(expr.m_pos, "type-mismatch",
              std::string("a string and a number cannot be compared with '") + LumOperatorSymbol(wToken) +
                  "'",
              expr.m_posEnd);
    return Typed{CLumTree::Operator(wToken, left.m_tree, right.m_tree), eResult};
}

CLumCodeGen::Typed CLumCodeGen::NameOf(const CLumExpr& expr)
{
    const CLumExpr& target = *expr.m_aArgs[0];
    if (target.m_eKind == ELumExpr::Variable)
        return Typed{CLumTree::Variable(target.m_strText, true), ELumType::String};
    if (m_setArrays.count(target.m_strText) == 0)
    {
        std::string strMeant = NearArray(target.m_strText);
        Error(target.m_pos, "array-use",
              "NameOf needs a variable or an element of an array: '" + target.m_strText + "' is no array" +
                  (strMeant.empty() ? "" : "; " + strMeant));
        return Placeholder();
    }
    return Typed{ArrayElement(target, target.m_strText, target.m_aArgs, true), ELumType::String};
}
