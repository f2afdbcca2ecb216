// Built-in functions that yield strings. Cutting functions work in the string that
// GetArg gave, so the argument's text is never copied a second time.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"
#include "expr/LumCLocale.h"
#include "expr/LumText.h"

#include <algorithm>
#include <ctime>

namespace
{
const char* const FILE_LABEL = "LUMBASICSTRFUNCTION";

// strftime's buffer: a result that would reach this many bytes gives the empty string.
const size_t SYSTIME_BUFFER = 128;
// The buffer that StrStr hands to FillTemplate.
const int TEMPLATE_BUFFER = 1024;

const char* const WHITE_SPACE = " \t\n\v\f\r";

// A count or position of the language as an offset into a text of `nLength` bytes.
size_t Clamp(long n, size_t nLength)
{
    if (n <= 0)
        return 0;
    return static_cast<unsigned long>(n) < nLength ? static_cast<size_t>(n) : nLength;
}
} // namespace

CLumsVarValue* CLumExpression::LeftStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::LeftStr()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        LumLeftOf(*pValue, LumValuePtr(GetArg(CLumBasic::AT_NUMBER, 2))->GetLong());
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::RightStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::RightStr()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        LumRightOf(*pValue, LumValuePtr(GetArg(CLumBasic::AT_NUMBER, 2))->GetLong());
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::MidStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::MidStr()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        long nStart = LumValuePtr(GetArg(CLumBasic::AT_NUMBER, 2))->GetLong();
        // A count of 0, given or not, means the rest of the string.
        long nCount = 0;
        if (HasArg())
            nCount = LumValuePtr(GetArg(CLumBasic::AT_NUMBER, 3))->GetLong();
        LumMidOf(*pValue, nStart, nCount);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::ChrStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::ChrStr()", [&] {
        long nCode = LumValuePtr(GetArg(CLumBasic::AT_NUMBER, 1))->GetLong();
        char c = LumChrOf(nCode);
        LumValuePtr pResult(new CLumsVarValue());
        pResult->SetString(&c, c == '\0' ? 0 : 1);
        return pResult.release();
    });
}

CLumsVarValue* CLumExpression::RTrimStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::RTrimStr()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        LumRTrimOf(*pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::LTrimStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::LTrimStr()", [&] {
        LumValuePtr pValue(GetArg(CLumBasic::AT_STRING, 1));
        LumLTrimOf(*pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::StrStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::StrStr()", [&] {
        LumValuePtr pNumber(GetArg(CLumBasic::AT_NUMBER, 1));
        LumValuePtr pTemplate;
        if (HasArg())
            pTemplate.reset(GetArg(CLumBasic::AT_STRING, 2));
        LumValuePtr pResult(new CLumsVarValue());
        StrOf(*pNumber, pTemplate.get(), *pResult);
        return pResult.release();
    });
}

void CLumExpression::StrOf(CLumsVarValue& number, const CLumsVarValue* pTemplate, CLumsVarValue& out)
{
    if (pTemplate != nullptr)
    {
        char szBuffer[TEMPLATE_BUFFER];
        int n = FillTemplate(szBuffer, pTemplate->GetText(), &number, TEMPLATE_BUFFER);
        out.SetString(szBuffer, static_cast<size_t>(n));
    }
    else if (number.GetType() == CLumsVarValue::VT_DOUBLE)
    {
        char szBuffer[400];
        out.SetString(szBuffer, LumFormatDouble(szBuffer, number.GetDouble()));
    }
    else
    {
        char szBuffer[24];
        out.SetString(szBuffer, LumFormatLong(szBuffer, number.GetLong()));
    }
}

CLumsVarValue* CLumExpression::GetSysTimeStr()
{
    return LumFrame(FILE_LABEL, "CLumExpression::GetSysTimeStr()", [&] {
        LumValuePtr pFormat;
        if (HasArg())
            pFormat.reset(GetArg(CLumBasic::AT_STRING, 1));
        char szBuffer[SYSTIME_BUFFER];
        size_t n = 0;
        time_t now = time(nullptr);
        struct tm tmLocal;
        // The "C" locale: a host's setlocale must not change month or day names.
        if (pFormat != nullptr && localtime_r(&now, &tmLocal) != nullptr)
            n = strftime_l(szBuffer, sizeof szBuffer, pFormat->GetText(), &tmLocal, LumCLocale());
        LumValuePtr pResult(new CLumsVarValue());
        pResult->GetStringRef().assign(szBuffer, n);
        return pResult.release();
    });
}

std::string_view LumSliceOf(std::string_view text, unsigned short wToken, long n, long nCount)
{
    if (wToken == LBT_LEFT)
        return text.substr(0, Clamp(n, text.size()));
    if (wToken == LBT_RIGHT)
        return text.substr(text.size() - Clamp(n, text.size()));
    if (nCount < 0)
        return text.substr(0, 0);
    text = text.substr(Clamp(n, text.size()));
    return nCount > 0 ? text.substr(0, Clamp(nCount, text.size())) : text;
}

namespace
{
// A text value cut to its slice in place.
void Slice(CLumsVarValue& value, unsigned short wToken, long n, long nCount)
{
    LumText& str = LumTextRef(value);
    std::string_view part = LumSliceOf(str, wToken, n, nCount);
    size_t nStart = static_cast<size_t>(part.data() - str.data());
    str.resize(nStart + part.size());
    str.erase(0, nStart);
}
} // namespace

void LumLeftOf(CLumsVarValue& text, long nCount)
{
    Slice(text, LBT_LEFT, nCount, 0);
}

void LumRightOf(CLumsVarValue& text, long nCount)
{
    Slice(text, LBT_RIGHT, nCount, 0);
}

void LumMidOf(CLumsVarValue& text, long nStart, long nCount)
{
    Slice(text, LBT_MID, nStart, nCount);
}

char LumChrOf(long nCode)
{
    // Modulo 255, not 256, with the sign of the code; a remainder of 0 would be the
    // terminator, so it gives the empty string.
    return static_cast<char>(nCode % 255);
}

void LumRTrimOf(CLumsVarValue& text)
{
    LumText& str = LumTextRef(text);
    size_t nLast = str.find_last_not_of(WHITE_SPACE);
    str.resize(nLast == std::string::npos ? 0 : nLast + 1);
}

void LumLTrimOf(CLumsVarValue& text)
{
    LumText& str = LumTextRef(text);
    str.erase(0, std::min(str.find_first_not_of(WHITE_SPACE), str.size()));
}
