// Built-ins that the fast form computes itself, on arguments it computed itself: the
// functions of numbers, Str$, and those of texts that only cut or measure, with the
// cores that their handlers call on the arguments GetArg gave them; in closed runs too.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include "core/LumDepthGuard.h"
#include "expr/LumExpression.h"
#include "expr/LumText.h"

#include <algorithm>

// What a built-in reads, a letter for each argument as GetArg reads it: "T" a text,
// "N" a number; a small letter for one that HasArg finds or not. Null for a built-in
// that only the machinery computes.
const char* CLumFastForm::BuiltinKinds(unsigned short wToken)
{
    switch (wToken)
    {
    case LBT_ABS:
    case LBT_SGN:
    case LBT_FIX:
    case LBT_FRAC:
    case LBT_CHR:
        return "N";
    case LBT_ROUND:
        return "Nnn";
    case LBT_LEFT:
    case LBT_RIGHT:
        return "TN";
    case LBT_MID:
        return "TNn";
    case LBT_LEN:
    case LBT_ASC:
    case LBT_RTRIM:
    case LBT_LTRIM:
        return "T";
    case LBT_INSTR:
        return "TT";
    case LBT_STR:
        return "Nt";
    default:
        return nullptr;
    }
}

// Whether a built-in's argument computes here throughout, without the machinery, and
// how many expressions the regular way opens inside it at most: one for each index and
// each argument of a built-in.
bool CLumFastForm::Computes(const SLumFastExpr& expr, int& nLevels)
{
    nLevels = 0;
    switch (expr.m_eOp)
    {
    case SLumFastExpr::CONSTANT:
    case SLumFastExpr::VARIABLE:
        return true;
    case SLumFastExpr::OPERATOR:
    {
        int nRight = 0;
        if (!Computes(*expr.m_pLeft, nLevels) || !Computes(*expr.m_pRight, nRight))
            return false;
        nLevels = std::max(nLevels, nRight);
        return true;
    }
    case SLumFastExpr::ELEMENT:
    case SLumFastExpr::OTHER:
    {
        if (expr.m_eOp == SLumFastExpr::OTHER && !(expr.m_fBuiltin && expr.m_fArgsRead))
            return false;
        for (const SLumFastExpr* pPart : expr.m_apIndices)
        {
            int nPart = 0;
            if (pPart == nullptr || !Computes(*pPart, nPart))
                return false;
            nLevels = std::max(nLevels, nPart + 1);
        }
        return nLevels <= MAX_LEVELS;
    }
    default:
        return false;
    }
}

// A built-in as its handler computes it, where every argument it reads is there and of
// the kind it reads; false, with nothing changed, where one is not, or where the
// regular way would open more expressions than the nesting allows. The machinery then
// computes it and reports what it must.
bool CLumFastForm::Builtin(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    const char* pszKinds = BuiltinKinds(expr.m_wToken);
    size_t nArgs = expr.m_apIndices.size();
    if (nArgs == 0 || nArgs > 3 || (nArgs < 3 && pszKinds[nArgs] >= 'A' && pszKinds[nArgs] <= 'Z') ||
        CLumDepthGuard::GetDepth(CLumDepthGuard::EXPRESSION) + m_nLift + expr.m_nIndexDepth +
                expr.m_nArgLevels >=
            CLumExpression::MAX_NESTING)
        return false;
    if (expr.m_wToken == LBT_LEN || expr.m_wToken == LBT_ASC || expr.m_wToken == LBT_INSTR)
        return Measure(basic, expr, out);
    CLumsVarValue aArgs[3];
    for (size_t i = 0; i < nArgs; ++i)
    {
        EvalValue(basic, *expr.m_apIndices[i], aArgs[i]);
        if (!ArgumentFits(pszKinds[i], aArgs[i]))
            return false;
    }
    if (!ApplyBuiltin(basic, expr.m_wToken, aArgs[0], nArgs > 1 ? &aArgs[1] : nullptr,
                      nArgs > 2 ? &aArgs[2] : nullptr))
        return false;
    out.Swap(aArgs[0]);
    return true;
}

// GetArg refuses a number for a text and a text for a number.
LUM_HOT bool CLumFastForm::ArgumentFits(char cKind, const CLumsVarValue& arg)
{
    return cKind == 'T' || cKind == 't' ? !arg.IsNumber() : !arg.IsString();
}

LUM_HOT bool CLumFastForm::ApplyBuiltin(CLumBasic& basic, unsigned short wToken, CLumsVarValue& value,
                                        const CLumsVarValue* pSecond, const CLumsVarValue* pThird)
{
    switch (wToken)
    {
    case LBT_CHR:
    {
        const char sz[2] = {LumChrOf(value.GetLong()), '\0'};
        CLumsVarValue text(sz);
        value.Swap(text);
        break;
    }
    case LBT_LEFT:
        LumLeftOf(value, pSecond->GetLong());
        break;
    case LBT_RIGHT:
        LumRightOf(value, pSecond->GetLong());
        break;
    case LBT_MID:
        LumMidOf(value, pSecond->GetLong(), pThird != nullptr ? pThird->GetLong() : 0);
        break;
    case LBT_RTRIM:
        LumRTrimOf(value);
        break;
    case LBT_LTRIM:
        LumLTrimOf(value);
        break;
    case LBT_STR:
    {
        // By an expression object of the plain kind, as EvalOther's machinery fills it.
        CLumExpression cExpression(basic.m_pQuelle, basic.m_pVariables, &basic);
        CLumsVarValue text;
        cExpression.StrOf(value, pSecond, text);
        value.Swap(text);
        break;
    }
    default:
        return NumberBuiltin(wToken, value, pSecond, pThird);
    }
    return true;
}

// Len, Asc and InStr only read their texts: a variable's text is read where it stands,
// not copied as GetArg copies it.
bool CLumFastForm::Measure(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out)
{
    size_t nArgs = expr.m_apIndices.size();
    CLumsVarValue aCopies[2];
    std::string_view aTexts[2];
    for (size_t i = 0; i < nArgs; ++i)
    {
        SLumFastExpr& arg = *expr.m_apIndices[i];
        const CLumsVarValue* pText = arg.m_eOp == SLumFastExpr::VARIABLE ? Variable(basic, arg) : nullptr;
        if (pText == nullptr || !pText->IsString())
        {
            EvalValue(basic, arg, aCopies[i]);
            if (aCopies[i].IsNumber())
                return false; // GetArg refuses a number for a text
            pText = &aCopies[i];
        }
        aTexts[i] = LumTextView(*pText);
    }
    MeasureTexts(expr.m_wToken, aTexts, out);
    return true;
}

LUM_HOT void CLumFastForm::MeasureTexts(unsigned short wToken, const std::string_view* pTexts,
                                        CLumsVarValue& out)
{
    if (wToken == LBT_LEN)
        out = static_cast<long>(pTexts[0].size());
    else if (wToken == LBT_ASC)
        out = LumAscOf(pTexts[0]);
    else
        out = LumInStrOf(pTexts[0], pTexts[1]);
}

// A built-in of numbers on its first argument, in place, with Round's further ones
// where given; false for any other built-in.
bool CLumFastForm::NumberBuiltin(unsigned short wToken, CLumsVarValue& value, const CLumsVarValue* pDigits,
                                 const CLumsVarValue* pMode)
{
    switch (wToken)
    {
    case LBT_ABS:
        LumAbsOf(value);
        return true;
    case LBT_SGN:
        LumSgnOf(value);
        return true;
    case LBT_FIX:
        LumFixOf(value);
        return true;
    case LBT_FRAC:
        LumFracOf(value);
        return true;
    case LBT_ROUND:
        LumRoundOf(value, pDigits, pMode);
        return true;
    default:
        return false;
    }
}

// In a closed run, a built-in the fast form computes, as Builtin computes it: its
// arguments as values, of the kinds GetArg reads, and the handler's core on them.
bool CLumFastForm::ClosedBuiltinValue(SLumFastExpr& expr, CLumsVarValue& out)
{
    if (!expr.m_fBuiltin)
        return GiveUp();
    if (!expr.m_fArgsRead)
        return WarmUp();
    const char* pszKinds = BuiltinKinds(expr.m_wToken);
    size_t nArgs = expr.m_apIndices.size();
    if (nArgs == 0 || nArgs > 3 || (nArgs < 3 && pszKinds[nArgs] >= 'A' && pszKinds[nArgs] <= 'Z') ||
        m_nClosedNested >= MAX_LEVELS)
        return GiveUp();
    if (expr.m_wToken == LBT_LEN || expr.m_wToken == LBT_ASC || expr.m_wToken == LBT_INSTR)
        return ClosedMeasure(expr, out);
    bool fDone;
    if (ClosedSlice(expr, pszKinds, out, fDone))
        return fDone;
    CLumFastNested nested(m_nClosedNested);
    // The first argument is worked on in place; a text constant further on (a template)
    // is read where it stands.
    CLumsVarValue aArgs[3];
    const CLumsVarValue* apArgs[3] = {};
    for (size_t i = 0; i < nArgs; ++i)
    {
        apArgs[i] = i > 0 ? TextConstant(*expr.m_apIndices[i]) : nullptr;
        if (apArgs[i] == nullptr)
        {
            if (!ClosedAny(*expr.m_apIndices[i], nullptr, aArgs[i]))
                return false;
            apArgs[i] = &aArgs[i];
        }
        if (!ArgumentFits(pszKinds[i], *apArgs[i]))
            return GiveUp();
    }
    if (!ApplyBuiltin(*m_pClosedBasic, expr.m_wToken, aArgs[0], apArgs[1], apArgs[2]))
        return GiveUp();
    out.Swap(aArgs[0]);
    return true;
}

// In a closed run, Left$, Right$ and Mid$ of a text variable, by numbers that are
// constants or variables, as the handlers cut the copy GetArg makes: the part is taken
// from the variable's text where it stands, with no copy of the whole. Nothing else is
// computed before the text is read, so that it is the text the copy would have been
// made of. False, and nothing done, where the built-in is for the general way; else
// `fDone` is what that way would give.
bool CLumFastForm::ClosedSlice(SLumFastExpr& expr, const char* pszKinds, CLumsVarValue& out, bool& fDone)
{
    unsigned short wToken = expr.m_wToken;
    size_t nArgs = expr.m_apIndices.size();
    if ((wToken != LBT_LEFT && wToken != LBT_RIGHT && wToken != LBT_MID) || nArgs < 2 ||
        expr.m_apIndices[0]->m_eOp != SLumFastExpr::VARIABLE || !TextsAllowed())
        return false;
    const CLumsVarValue* pText = Cached(expr.m_apIndices[0]->m_cCache);
    if (pText == nullptr || !pText->IsString())
        return false;
    long aNumbers[2] = {0, 0};
    for (size_t i = 1; i < nArgs; ++i)
    {
        SLumFastExpr& arg = *expr.m_apIndices[i];
        const CLumsVarValue* pArg = arg.m_eOp == SLumFastExpr::VARIABLE   ? Cached(arg.m_cCache)
                                    : arg.m_eOp == SLumFastExpr::CONSTANT ? &arg.m_pNode->GetConstant()
                                                                          : nullptr;
        if (pArg == nullptr)
            return false;
        if (!ArgumentFits(pszKinds[i], *pArg))
        {
            fDone = GiveUp();
            return true;
        }
        aNumbers[i - 1] = pArg->GetLong();
    }
    std::string_view text = LumSliceOf(LumTextView(*pText), wToken, aNumbers[0], aNumbers[1]);
    out.SetString(text.data(), text.size());
    fDone = true;
    return true;
}

// In a closed run, Len, Asc and InStr as Measure computes them: a text variable read
// where it stands.
bool CLumFastForm::ClosedMeasure(SLumFastExpr& expr, CLumsVarValue& out)
{
    CLumFastNested nested(m_nClosedNested);
    size_t nArgs = expr.m_apIndices.size();
    CLumsVarValue aCopies[2];
    std::string_view aTexts[2];
    for (size_t i = 0; i < nArgs; ++i)
    {
        SLumFastExpr& arg = *expr.m_apIndices[i];
        const CLumsVarValue* pText =
            arg.m_eOp == SLumFastExpr::VARIABLE ? Cached(arg.m_cCache) : TextConstant(arg);
        if (pText == nullptr || !pText->IsString())
        {
            if (!ClosedAny(arg, nullptr, aCopies[i]))
                return false;
            if (aCopies[i].IsNumber())
                return GiveUp(); // GetArg refuses a number for a text
            pText = &aCopies[i];
        }
        aTexts[i] = LumTextView(*pText);
    }
    MeasureTexts(expr.m_wToken, aTexts, out);
    return true;
}
