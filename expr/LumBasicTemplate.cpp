// Writing a value through a picture template: amounts in German form for numbers,
// cut-outs and dates from a timestamp text for strings.
//
// The walk keeps the classic fixed texts of 1023 bytes, but cannot step outside them:
// a value byte read past the value's end reads as 0, and a result byte that falls
// outside the result text is dropped. A number's result is built from the right, so
// an overlong one keeps its last 1023 bytes; a string's keeps its first 1023. The
// decimal zeros a template asks for are counted rather than stored, so a template of
// any length lines up the digits as if the texts had no end.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"
#include "expr/LumText.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace
{
const char* const FILE_LABEL = "LUMBASICTEMPLATE";

// Usable bytes of the value text and of the result text, each with a terminator behind.
const long long TEXT_MAX = 1023;

const char* const MONTHS[] = {"Januar", "Februar", "März",      "April",   "Mai",      "Juni",
                              "Juli",   "August",  "September", "Oktober", "November", "Dezember"};
const char* const NO_MONTH = "#####";

// A date placeholder: where its digits stand in a timestamp text "jjjjmmttHHMMSS"
// and how often it may be served before it writes "#".
struct DatePart
{
    char m_c;
    int m_nOffset;
    int m_nCount;
};
const DatePart DATE_PARTS[] = {{'j', 0, 4}, {'m', 4, 2},  {'t', 6, 2},
                               {'H', 8, 2}, {'M', 10, 2}, {'S', 12, 2}};
const int DATE_PART_COUNT = sizeof DATE_PARTS / sizeof DATE_PARTS[0];

class CTemplateWalk
{
public:
    CTemplateWalk(std::string_view tpl, std::string_view text, long long nPad, bool fNumber)
        : m_tpl(tpl), m_text(text), m_nPad(nPad), m_fNumber(fNumber)
    {
        m_nRemaining = static_cast<long long>(text.size()) + nPad;
        m_nDir = fNumber ? -1 : 1;
        m_nTpl = fNumber ? static_cast<long long>(tpl.size()) - 1 : 0;
        m_nValue = fNumber ? m_nRemaining - 1 : 0;
        m_nResult = fNumber ? TEXT_MAX - 1 : 0;
    }

    void Run()
    {
        for (; m_nTpl >= 0 && m_nTpl < static_cast<long long>(m_tpl.size()); m_nTpl += m_nDir)
        {
            char c = m_tpl[static_cast<size_t>(m_nTpl)];
            if (m_nRemaining == 0 && c != 'N' && c != 'Z')
                break;
            Act(c);
        }
    }

    // The text built, up to a zero byte that a date placeholder may have copied.
    std::string_view Result() const
    {
        long long nBegin = m_fNumber ? std::max(m_nResult + 1, 0LL) : 0;
        long long nEnd = m_fNumber ? TEXT_MAX : std::min(m_nResult, TEXT_MAX);
        std::string_view text(m_szResult + nBegin, static_cast<size_t>(std::max(nEnd - nBegin, 0LL)));
        return text.substr(0, text.find('\0'));
    }

private:
    void Act(char c)
    {
        switch (c)
        {
        case '9':
        case '0':
        case 'c':
            Consume();
            return;
        case 'N':
        case 'Z':
            if (m_nRemaining > 0)
                Consume();
            else
                Write('0');
            return;
        case 's':
            if (m_fNumber)
                LumRaise(LUM_MSG_TEMPLATE_STRING_FOR_NUMBER);
            // The rest of the value, as often as asked: the cursor stays.
            Write(m_text.substr(static_cast<size_t>(m_nValue)));
            return;
        case 'o':
            MonthName();
            return;
        case '.':
            // No group dot between the sign and the first digit.
            if (m_fNumber && m_nRemaining == 1 && ValueByte(m_nValue) == '-')
                return;
            break;
        default:
            if (DatePlaceholder(c))
                return;
            break;
        }
        Write(c);
    }

    // The value text with its counted decimal zeros; 0 outside it.
    char ValueByte(long long n) const
    {
        if (n < 0)
            return '\0';
        if (n < static_cast<long long>(m_text.size()))
            return m_text[static_cast<size_t>(n)];
        return n < static_cast<long long>(m_text.size()) + m_nPad ? '0' : '\0';
    }

    void Consume()
    {
        Write(ValueByte(m_nValue));
        m_nValue += m_nDir;
        --m_nRemaining;
    }

    bool DatePlaceholder(char c)
    {
        for (int i = 0; i < DATE_PART_COUNT; ++i)
        {
            if (DATE_PARTS[i].m_c != c)
                continue;
            if (m_anServed[i] < DATE_PARTS[i].m_nCount)
                Write(ValueByte(m_nValue + DATE_PARTS[i].m_nOffset + m_anServed[i]++));
            else
                Write('#');
            return true;
        }
        return false;
    }

    void MonthName()
    {
        // Two bytes by the rules of atoi: a zero byte ends them early.
        char szMonth[3] = {ValueByte(m_nValue + 4), 0, 0};
        if (szMonth[0] != '\0')
            szMonth[1] = ValueByte(m_nValue + 5);
        long nMonth = LumAtol(szMonth);
        Write(nMonth >= 1 && nMonth <= 12 ? MONTHS[nMonth - 1] : NO_MONTH);
    }

    void Write(char c)
    {
        if (m_nResult >= 0 && m_nResult < TEXT_MAX)
            m_szResult[m_nResult] = c;
        m_nResult += m_nDir;
    }

    // Text in reading order; for a number it ends at the cursor.
    void Write(std::string_view text)
    {
        long long nLength = static_cast<long long>(text.size());
        long long nFirst = m_nDir > 0 ? m_nResult : m_nResult - nLength + 1;
        long long nFrom = std::max(nFirst, 0LL);
        long long nTo = std::min(nFirst + nLength, TEXT_MAX);
        if (nFrom < nTo)
            memcpy(m_szResult + nFrom, text.data() + (nFrom - nFirst), static_cast<size_t>(nTo - nFrom));
        m_nResult += nLength * m_nDir;
    }

    std::string_view m_tpl;
    std::string_view m_text;
    long long m_nPad;
    bool m_fNumber;
    long long m_nRemaining;
    int m_nDir;
    long long m_nTpl;
    long long m_nValue;
    long long m_nResult;
    int m_anServed[DATE_PART_COUNT] = {};
    char m_szResult[TEXT_MAX + 1];
};

// Gives the number's digits with the template's decimal place: surplus decimals cut
// without rounding, the "." taken out. Missing decimals are returned in *pnPad.
std::string_view AlignDecimals(char* pszText, size_t nText, std::string_view tpl, long long* pnPad)
{
    size_t nComma = tpl.rfind(',');
    size_t nTplDecimals = nComma == std::string_view::npos ? 0 : tpl.size() - nComma - 1;
    const char* pDot = static_cast<const char*>(memchr(pszText, '.', nText));
    size_t nDecimals = pDot == nullptr ? 0 : nText - static_cast<size_t>(pDot - pszText) - 1;
    *pnPad = 0;
    if (nDecimals > nTplDecimals)
        nText -= nDecimals - nTplDecimals;
    else
        *pnPad = static_cast<long long>(nTplDecimals - nDecimals);
    if (pDot != nullptr)
    {
        size_t nDot = static_cast<size_t>(pDot - pszText);
        memmove(pszText + nDot, pszText + nDot + 1, nText - nDot - 1);
        --nText;
    }
    return std::string_view(pszText, nText);
}
} // namespace

int CLumExpression::FillTemplate(char* pszDest, const char* pszTemplate, CLumsVarValue* pValue, int nSize)
{
    return LumFrame(FILE_LABEL, "CLumExpression::FillTemplate()", [&] {
        std::string_view tpl(pszTemplate == nullptr ? "" : pszTemplate);
        int nType = pValue == nullptr ? CLumsVarValue::VT_EMPTY : pValue->GetType();
        // Big enough for "%f" of the largest double.
        char szNumber[400];
        std::string_view text;
        long long nPad = 0;
        switch (nType)
        {
        case CLumsVarValue::VT_LONG:
            text = AlignDecimals(szNumber, LumFormatLong(szNumber, pValue->GetLong()), tpl, &nPad);
            break;
        case CLumsVarValue::VT_DOUBLE:
            text = AlignDecimals(szNumber, LumFormatDouble(szNumber, pValue->GetDouble()), tpl, &nPad);
            break;
        case CLumsVarValue::VT_STRING:
            text = LumTextView(*pValue).substr(0, TEXT_MAX);
            break;
        default:
            LumRaise(LUM_MSG_TEMPLATE_BAD_TYPE, tpl.data());
        }
        CTemplateWalk walk(tpl, text, nPad, nType != CLumsVarValue::VT_STRING);
        walk.Run();
        std::string_view result = walk.Result();
        if (pszDest == nullptr || nSize <= 0)
            return 0;
        size_t n = std::min(result.size(), static_cast<size_t>(nSize - 1));
        memcpy(pszDest, result.data(), n);
        pszDest[n] = '\0';
        return static_cast<int>(n);
    });
}
