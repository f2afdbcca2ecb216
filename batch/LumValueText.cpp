#include "LumValueText.h"

#include <lumbasic/LumsVarValue.h>

#include <charconv>
#include <cmath>

bool LumAppendNumber(std::string& strOut, const CLumsVarValue* pValue)
{
    if (pValue == nullptr || !pValue->IsNumber())
        return false;
    char buffer[48];
    std::to_chars_result result;
    if (pValue->GetType() == CLumsVarValue::VT_LONG)
        result = std::to_chars(buffer, buffer + sizeof buffer, pValue->LongValue());
    else if (std::isfinite(pValue->DoubleValue()))
    {
        // Plain digits for the numbers of money and counts, where the shortest form
        // could be 2e+05; an exponent only far out.
        double d = pValue->DoubleValue();
        bool fPlain = d == 0 || (std::fabs(d) >= 1e-5 && std::fabs(d) < 1e16);
        result = std::to_chars(buffer, buffer + sizeof buffer, d,
                               fPlain ? std::chars_format::fixed : std::chars_format::general);
    }
    else
        return false;
    strOut.append(buffer, result.ptr);
    return true;
}
