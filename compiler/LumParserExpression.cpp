// Expressions by precedence, loosest first: Or, And, Not, comparisons, + and -,
// * and /, unary minus. All binary operators group from the left.
#include "LumParser.h"

#include <lumbasic/LumTokens.h>

#include <algorithm>

namespace
{
// Nesting written in the source: brackets, the arguments of a call or the indices of
// an element inside another, signs and Not in front of each other. Deeper nesting
// than this is no program anyone writes; it would only exhaust the stack of the
// compiler or of the interpreter.
constexpr int MAX_DEPTH = 200;

struct DepthGuard
{
    int& m_n;
    explicit DepthGuard(int& n) : m_n(n) { ++m_n; }
    ~DepthGuard() { --m_n; }
};

struct OperatorEntry
{
    const char* m_pszSymbol;
    unsigned short m_wToken;
};

const OperatorEntry s_aComparisons[] = {
    {"=", LBT_EQ}, {"<>", LBT_NE}, {"<", LBT_LT}, {">", LBT_GT}, {"<=", LBT_LE}, {">=", LBT_GE},
};
} // namespace

// A long chain such as 1 + 1 + ... is no nesting: the parser reads it in a loop. But
// each operator is a level of the tree, which the interpreter reads and evaluates
// recursively, so the height of the tree, arguments and indices included, is bounded
// by what the interpreter accepts.
void CLumParser::CheckHeight(CLumExpr& expr)
{
    for (const LumExprPtr& pArg : expr.m_aArgs)
        expr.m_nHeight = std::max(expr.m_nHeight, pArg->m_nHeight + 1);
    if (expr.m_nHeight > LUM_MAX_TREE_LEVELS)
        Fail(expr.m_pos, "too-deep",
             "expression too long: the interpreter evaluates at most " + std::to_string(LUM_MAX_TREE_LEVELS) +
                 " levels of operators in one expression; split it with an intermediate variable");
}

LumExprPtr CLumParser::Binary(unsigned short wOperator, LumExprPtr left, LumExprPtr right)
{
    auto pExpr = std::make_unique<CLumExpr>();
    pExpr->m_eKind = ELumExpr::Binary;
    pExpr->m_pos = left->m_pos;
    pExpr->m_wOperator = wOperator;
    pExpr->m_posEnd = right->m_posEnd;
    pExpr->m_aArgs.push_back(std::move(left));
    pExpr->m_aArgs.push_back(std::move(right));
    CheckHeight(*pExpr);
    return pExpr;
}

LumExprPtr CLumParser::Unary(ELumExpr eKind, LumExprPtr operand, SLumPos pos)
{
    auto pExpr = std::make_unique<CLumExpr>();
    pExpr->m_eKind = eKind;
    pExpr->m_pos = pos;
    pExpr->m_posEnd = operand->m_posEnd;
    pExpr->m_aArgs.push_back(std::move(operand));
    CheckHeight(*pExpr);
    return pExpr;
}

// The image has no unary operator: a literal is folded, anything else becomes 0 - x.
LumExprPtr CLumParser::Negate(LumExprPtr operand, SLumPos pos)
{
    if (operand->m_eKind == ELumExpr::Long)
    {
        operand->m_nLong = static_cast<int32_t>(-static_cast<int64_t>(operand->m_nLong));
        operand->m_pos = pos;
        return operand;
    }
    if (operand->m_eKind == ELumExpr::Double)
    {
        if (operand->m_strText == "2147483648")
        {
            operand->m_eKind = ELumExpr::Long;
            operand->m_nLong = INT32_MIN;
        }
        else if (!operand->m_strText.empty() && operand->m_strText[0] == '-')
            operand->m_strText.erase(0, 1);
        else
            operand->m_strText.insert(0, "-");
        operand->m_pos = pos;
        return operand;
    }
    return Unary(ELumExpr::Negate, std::move(operand), pos);
}

LumExprPtr CLumParser::ParseExpression()
{
    DepthGuard guard(m_nDepth);
    if (m_nDepth > MAX_DEPTH)
        Fail(Cur().m_pos, "too-deep", "expression nested too deeply");
    return ParseOr();
}

LumExprPtr CLumParser::ParseOr()
{
    LumExprPtr pLeft = ParseAnd();
    while (AcceptWord("Or"))
        pLeft = Binary(LBT_OR, std::move(pLeft), ParseAnd());
    return pLeft;
}

LumExprPtr CLumParser::ParseAnd()
{
    LumExprPtr pLeft = ParseNot();
    while (AcceptWord("And"))
        pLeft = Binary(LBT_AND, std::move(pLeft), ParseNot());
    return pLeft;
}

LumExprPtr CLumParser::ParseNot()
{
    if (!Cur().IsWord("Not"))
        return ParseComparison();
    SLumPos pos = Cur().m_pos;
    Advance();
    DepthGuard guard(m_nDepth);
    if (m_nDepth > MAX_DEPTH)
        Fail(pos, "too-deep", "expression nested too deeply");
    return Unary(ELumExpr::Not, ParseNot(), pos);
}

LumExprPtr CLumParser::ParseComparison()
{
    LumExprPtr pLeft = ParseAdditive();
    for (;;)
    {
        unsigned short wToken = 0;
        for (const OperatorEntry& entry : s_aComparisons)
            if (Cur().IsSymbol(entry.m_pszSymbol))
                wToken = entry.m_wToken;
        if (wToken == 0)
            return pLeft;
        Advance();
        pLeft = Binary(wToken, std::move(pLeft), ParseAdditive());
    }
}

LumExprPtr CLumParser::ParseAdditive()
{
    LumExprPtr pLeft = ParseMultiplicative();
    for (;;)
    {
        if (AcceptSymbol("+"))
            pLeft = Binary(LBT_PLUS, std::move(pLeft), ParseMultiplicative());
        else if (AcceptSymbol("-"))
            pLeft = Binary(LBT_MINUS, std::move(pLeft), ParseMultiplicative());
        else
            return pLeft;
    }
}

LumExprPtr CLumParser::ParseMultiplicative()
{
    LumExprPtr pLeft = ParseUnary();
    for (;;)
    {
        if (AcceptSymbol("*"))
            pLeft = Binary(LBT_MUL, std::move(pLeft), ParseUnary());
        else if (AcceptSymbol("/"))
            pLeft = Binary(LBT_DIV, std::move(pLeft), ParseUnary());
        else
            return pLeft;
    }
}

LumExprPtr CLumParser::ParseUnary()
{
    SLumPos pos = Cur().m_pos;
    bool fMinus = Cur().IsSymbol("-");
    if (!fMinus && !Cur().IsSymbol("+"))
        return ParsePrimary();
    Advance();
    DepthGuard guard(m_nDepth);
    if (m_nDepth > MAX_DEPTH)
        Fail(pos, "too-deep", "expression nested too deeply");
    LumExprPtr pOperand = ParseUnary();
    return fMinus ? Negate(std::move(pOperand), pos) : std::move(pOperand);
}

LumExprPtr CLumParser::ParsePrimary()
{
    const SLumLexToken& token = Cur();
    auto pExpr = std::make_unique<CLumExpr>();
    pExpr->m_pos = token.m_pos;
    pExpr->m_posEnd = token.m_posEnd;
    pExpr->m_strText = token.m_strText;
    switch (token.m_eKind)
    {
    case ELumLex::Long:
        pExpr->m_eKind = ELumExpr::Long;
        pExpr->m_nLong = token.m_nLong;
        Advance();
        return pExpr;
    case ELumLex::Double:
        pExpr->m_eKind = ELumExpr::Double;
        Advance();
        return pExpr;
    case ELumLex::String:
        pExpr->m_eKind = ELumExpr::String;
        Advance();
        return pExpr;
    default:
        break;
    }
    if (AcceptSymbol("("))
    {
        LumExprPtr pInner = ParseExpression();
        ExpectSymbol(")", "to close the bracket");
        return pInner;
    }
    if (AcceptWord("NameOf"))
        return ParseNameOf(pExpr->m_pos);
    if (token.m_eKind != ELumLex::Word || IsReserved(token.m_strText))
        FailExpected("an expression");
    Advance();
    pExpr->m_eKind = ELumExpr::Variable;
    if (Cur().IsSymbol("("))
    {
        pExpr->m_eKind = ELumExpr::Apply;
        pExpr->m_aArgs = ParseParenArgs();
        pExpr->m_posEnd = PrevEnd();
        CheckHeight(*pExpr);
    }
    return pExpr;
}

// NameOf(x) or NameOf(a(i, j)): the name that an assignment to it would store under.
LumExprPtr CLumParser::ParseNameOf(SLumPos pos)
{
    ExpectSymbol("(", "behind NameOf");
    auto pTarget = std::make_unique<CLumExpr>();
    pTarget->m_pos = Cur().m_pos;
    pTarget->m_posEnd = Cur().m_posEnd;
    pTarget->m_strText = ExpectName("a variable or array element in NameOf");
    pTarget->m_eKind = ELumExpr::Variable;
    if (Cur().IsSymbol("("))
    {
        pTarget->m_eKind = ELumExpr::Apply;
        pTarget->m_aArgs = ParseParenArgs();
        pTarget->m_posEnd = PrevEnd();
    }
    ExpectSymbol(")", "to close NameOf");
    CheckHeight(*pTarget);
    LumExprPtr pNameOf = Unary(ELumExpr::NameOf, std::move(pTarget), pos);
    pNameOf->m_posEnd = PrevEnd();
    return pNameOf;
}

std::vector<LumExprPtr> CLumParser::ParseParenArgs()
{
    ExpectSymbol("(", "");
    std::vector<LumExprPtr> aArgs;
    if (AcceptSymbol(")"))
        return aArgs;
    do
        aArgs.push_back(ParseExpression());
    while (AcceptSymbol(","));
    ExpectSymbol(")", "to close the argument list");
    return aArgs;
}
