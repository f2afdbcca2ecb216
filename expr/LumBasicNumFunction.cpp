// Built-in functions that yield numbers. Each works in the value that GetArg gave
// where it can, so a call costs no allocation beyond its argument.
//
// The empty value (a constant of unknown type) reaches AT_NUMBER functions; it
// behaves as the long 0 here as it does in arithmetic.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"
#include "expr/LumText.h"

#include <cmath>
#include <cstdlib>

namespace
{
const char* const FILE_LABEL = "LUMBASICNUMFUNCTION";

const double ROUND_EPS = 0.001;
const double ROUND_BASE = 10.0;
const double ROUND_HALF = 0.5;
const int ROUND_DEFAULT_DIGITS = 2;
const int ROUND_DEFAULT_MODE = 4;

// The whole part of a double, cut towards zero.
double WholePart(double d)
{
    return d >= 0.0 ? floor(d) : ceil(d);
}

bool IsDouble(const CLumsVarValue& value)
{
    return value.GetType() == CLumsVarValue::VT_DOUBLE;
}

// 10 to the power of n by squaring, in exactly this order of operations: above
// 10^22 the result depends on it, and rounded amounts must match to the last bit.
double Power(unsigned long long nExponent)
{
    double p = 1.0;
    double base = ROUND_BASE;
    while (nExponent != 0)
    {
        if (nExponent & 1)
            p *= base;
        nExponent >>= 1;
        if (nExponent != 0)
            base *= base;
    }
    return p;
}

// Forces the rounding of a product to double: a fused multiply-add of the product
// with the tolerance would skip it and move results in the last place.
double RoundedToDouble(double d)
{
    volatile double v = d;
    return v;
}

// A double rounded to `nDigits` places by mode `nMode` (0 down, 1 up, 2 half away from
// zero, 3 towards zero, 4 away from zero), each with a tolerance for a number just short of a step.
double RoundDouble(double x, int nMode, int nDigits)
{
    // Widened, so that the extreme digit counts neither overflow nor negate
    // badly.
    long long nWide = nDigits;
    double eps = ROUND_EPS;
    if (nWide < -2)
        eps = ROUND_EPS / Power(static_cast<unsigned long long>(-2 - nWide));
    double p = Power(static_cast<unsigned long long>(nWide < 0 ? -nWide : nWide));
    double y = x;
    if (nWide > 0)
        y = RoundedToDouble(x * p);
    else if (nWide < 0)
        y = x / p;
    double s = y >= 0.0 ? 1.0 : -1.0;
    double r;
    switch (nMode)
    {
    case 0:
        r = floor(y + eps);
        break;
    case 1:
        r = ceil(y - eps);
        break;
    case 2:
        r = s * floor(fabs(y) + ROUND_HALF + eps);
        break;
    case 3:
        r = s * floor(fabs(y) + eps);
        break;
    case 4:
        r = s * ceil(fabs(y) - eps);
        break;
    default:
        return 0.0;
    }
    if (nWide > 0)
        return r / p;
    if (nWide < 0)
        return r * p;
    return r;
}
// Round's places and mode, where given, else its defaults.
void RoundArgs(const CLumsVarValue* pDigits, const CLumsVarValue* pMode, int& nDigits, int& nMode) noexcept
{
    nDigits = pDigits != nullptr ? pDigits->GetLong() : ROUND_DEFAULT_DIGITS;
    nMode = pMode != nullptr ? pMode->GetLong() : ROUND_DEFAULT_MODE;
}
} // namespace

CLumsVarValue* CLumExpression::Abs()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Abs()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_NUMBER, 1));
        LumAbsOf(*pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Sgn()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Sgn()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_NUMBER, 1));
        LumSgnOf(*pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Asc()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Asc()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        *pValue = LumAscOf(LumTextView(*pValue));
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Len()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Len()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        *pValue = static_cast<long>(LumTextView(*pValue).size());
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Val()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Val()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        *pValue = LumAtof(pValue->GetText());
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Fix()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Fix()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_NUMBER, 1));
        LumFixOf(*pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Frac()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Frac()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_NUMBER, 1));
        LumFracOf(*pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::InStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::InStr()", [&] {
        LumValuePtr pText(GetArg(CLumBasic::AT_STRING, 1));
        LumValuePtr pSearch(GetArg(CLumBasic::AT_STRING, 2));
        *pText = LumInStrOf(LumTextView(*pText), LumTextView(*pSearch));
        return pText.release();
    });
}

CLumsVarValue* CLumExpression::Round()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Round()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_NUMBER, 1));
        LumValuePtr pDigits, pMode;
        if (HasArg())
        {
            pDigits.reset(GetArg(CLumBasic::AT_NUMBER, 2));
            if (HasArg())
                pMode.reset(GetArg(CLumBasic::AT_NUMBER, 3));
        }
        int nDigits, nMode;
        RoundArgs(pDigits.get(), pMode.get(), nDigits, nMode);
        *pValue = DoubleRound(pValue->GetDouble(), nMode, nDigits);
        return pValue.release();
    });
}

double CLumExpression::DoubleRound(double x, int nMode, int nDigits)
{
    return LumFrameCatchAll(FILE_LABEL, "CLumExpression::DoubleRound()",
                            [&] { return RoundDouble(x, nMode, nDigits); });
}

long LumAscOf(std::string_view text) noexcept
{
    // The byte is signed: 0x80 and above give negative codes.
    return text.empty() ? 0L : static_cast<long>(static_cast<signed char>(text[0]));
}

long LumInStrOf(std::string_view text, std::string_view search) noexcept
{
    size_t nPos = text.find(search);
    return nPos == std::string_view::npos ? -1L : static_cast<long>(nPos);
}

void LumAbsOf(CLumsVarValue& value) noexcept
{
    if (IsDouble(value))
        value = fabs(value.GetDouble());
    else
        value = labs(static_cast<long>(value.GetLong()));
}

void LumSgnOf(CLumsVarValue& value) noexcept
{
    if (IsDouble(value))
    {
        double d = value.GetDouble();
        value = d < 0.0 ? -1.0 : (d > 0.0 ? 1.0 : d);
    }
    else
    {
        long n = value.GetLong();
        value = n < 0 ? -1L : (n > 0 ? 1L : 0L);
    }
}

void LumFixOf(CLumsVarValue& value) noexcept
{
    if (IsDouble(value))
        value = WholePart(value.GetDouble());
    else
        value = static_cast<long>(value.GetLong());
}

void LumFracOf(CLumsVarValue& value) noexcept
{
    // A long passes unchanged: it is not a whole part with a fraction of 0.
    if (IsDouble(value))
        value = value.GetDouble() - WholePart(value.GetDouble());
    else
        value = static_cast<long>(value.GetLong());
}

void LumRoundOf(CLumsVarValue& value, const CLumsVarValue* pDigits, const CLumsVarValue* pMode) noexcept
{
    int nDigits, nMode;
    RoundArgs(pDigits, pMode, nDigits, nMode);
    value = RoundDouble(value.GetDouble(), nMode, nDigits);
}
