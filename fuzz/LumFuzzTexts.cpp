// Readers of text: the store's text form and template filling.
#include "LumFuzzGuard.h"
#include "LumFuzzPaths.h"

#include <lumbasic/LumVariables.h>

#include "expr/LumExpression.h"
#include "res/LumMessages.h"

#include <cstring>
#include <vector>

namespace lumfuzz
{
namespace
{
std::string TextForm(const char* pszText)
{
    CLumVariables vars;
    vars.SetValuesFromString(pszText);
    std::string strText;
    vars.MakeString(&strText);
    return strText;
}

// The value's text read as the type the first byte picks; the last one leaves it empty.
CLumsVarValue MakeValue(uint8_t nPick, const char* pszText)
{
    switch (nPick % 4)
    {
    case 0:
        return CLumsVarValue(static_cast<long>(LumAtol(pszText)));
    case 1:
        return CLumsVarValue(LumAtof(pszText));
    case 2:
        return CLumsVarValue(pszText);
    default:
        return CLumsVarValue();
    }
}
} // namespace

std::string StoreRoundTrip(const uint8_t* pData, size_t nSize)
{
    std::string strInput(reinterpret_cast<const char*>(pData), nSize);
    return Handled([&] {
        std::string strFirst = TextForm(strInput.c_str());
        std::string strSecond = TextForm(strFirst.c_str());
        if (strFirst != strSecond)
            return "the store's text form read back gives another text:\n" + strFirst + "----\n" + strSecond;
        return std::string();
    });
}

std::string FillTemplate(const uint8_t* pData, size_t nSize)
{
    if (nSize == 0)
        return "";
    // Value and template as C texts: the bytes behind, with a terminator each.
    std::string strRest(reinterpret_cast<const char*>(pData + 1), nSize - 1);
    const char* pszValue = strRest.c_str();
    size_t nValue = strlen(pszValue);
    const char* pszTemplate = nValue < strRest.size() ? pszValue + nValue + 1 : "";
    // The destination sizes a caller may pass: the one Str$ passes, none, and small ones.
    static const int SIZES[] = {1024, 0, 1, 8};
    int nDest = SIZES[(pData[0] / 4) % 4];
    return Handled([&] {
        CLumsVarValue value = MakeValue(pData[0], pszValue);
        CLumExpression expression(nullptr, nullptr, nullptr);
        std::vector<char> aDest(static_cast<size_t>(nDest) + 1, '*');
        int n = 0;
        try
        {
            n = expression.FillTemplate(aDest.data(), pszTemplate, &value, nDest);
        }
        catch (const CLumsException& e)
        {
            // A value of no type fails any template; for a number, a text placeholder is
            // the one thing a template can get wrong; a text fills every template.
            bool fExpected = value.IsNumber()
                                 ? e.GetTrail().at(0) == LoadMessage(LUM_MSG_TEMPLATE_STRING_FOR_NUMBER)
                                 : !value.IsString();
            if (fExpected)
                return std::string();
            return "a template failed with: " + e.GetTrail().at(0);
        }
        if (n < 0 || (nDest > 0 && (n >= nDest || static_cast<size_t>(n) != strlen(aDest.data()))))
            return std::string("a filled template of a wrong length");
        return std::string();
    });
}
} // namespace lumfuzz
