#include "LumCursesText.h"

#include <algorithm>
#include <cwchar>

static_assert(sizeof(wchar_t) >= 4, "wide characters must hold any Unicode character");

namespace
{
const wchar_t REPLACEMENT = 0xFFFD;
const int MAX_TAB_COLUMN = 1024;

// A lead byte: the length of the sequence it starts, 0 for none, and the smallest
// character the sequence may encode, so that overlong forms count as invalid.
struct SLead
{
    int m_nLength;
    unsigned long m_nMin;
};

SLead LeadOf(unsigned char c)
{
    if (c < 0x80)
        return {1, 0};
    if (c >= 0xC2 && c <= 0xDF)
        return {2, 0x80};
    if (c >= 0xE0 && c <= 0xEF)
        return {3, 0x800};
    if (c >= 0xF0 && c <= 0xF4)
        return {4, 0x10000};
    return {0, 0};
}

// The character at str[i], with nLength set to the bytes it took; U+FFFD with a
// length of 1 for a byte that starts no valid sequence.
wchar_t DecodeAt(const std::string& str, size_t i, size_t& nLength)
{
    nLength = 1;
    SLead lead = LeadOf(static_cast<unsigned char>(str[i]));
    int n = lead.m_nLength;
    if (n == 0 || i + static_cast<size_t>(n) > str.size())
        return REPLACEMENT;
    if (n == 1)
        return static_cast<wchar_t>(static_cast<unsigned char>(str[i]));
    unsigned long nChar = static_cast<unsigned char>(str[i]) & (0x7F >> n);
    for (int k = 1; k < n; ++k)
    {
        unsigned char c = static_cast<unsigned char>(str[i + static_cast<size_t>(k)]);
        if ((c & 0xC0) != 0x80)
            return REPLACEMENT;
        nChar = (nChar << 6) | (c & 0x3F);
    }
    if (nChar < lead.m_nMin || nChar > 0x10FFFF || (nChar >= 0xD800 && nChar <= 0xDFFF))
        return REPLACEMENT;
    nLength = static_cast<size_t>(n);
    return static_cast<wchar_t>(nChar);
}

void EncodeChar(unsigned long c, std::string& strOut)
{
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
        c = REPLACEMENT;
    if (c < 0x80)
        strOut += static_cast<char>(c);
    else if (c < 0x800)
    {
        strOut += static_cast<char>(0xC0 | (c >> 6));
        strOut += static_cast<char>(0x80 | (c & 0x3F));
    }
    else if (c < 0x10000)
    {
        strOut += static_cast<char>(0xE0 | (c >> 12));
        strOut += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        strOut += static_cast<char>(0x80 | (c & 0x3F));
    }
    else
    {
        strOut += static_cast<char>(0xF0 | (c >> 18));
        strOut += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        strOut += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        strOut += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Words stay whole where they fit, and are broken only where wider than a line;
// blanks between them stay as they were, except the one where a line breaks.
void WrapLine(const std::wstring& strLine, int nWidth, std::vector<std::wstring>& aLines)
{
    aLines.emplace_back();
    int nLast = 0; // the width of the last line, kept so that wrapping takes linear time
    auto fnBreak = [&] {
        aLines.emplace_back();
        nLast = 0;
    };
    size_t i = 0;
    for (bool fFirst = true;; fFirst = false)
    {
        size_t nEnd = strLine.find(L' ', i);
        std::wstring strWord = strLine.substr(i, nEnd == std::wstring::npos ? std::wstring::npos : nEnd - i);
        int nWord = LumTextWidth(strWord);
        if (!fFirst && nLast > 0 && nLast + 1 + nWord > nWidth)
            fnBreak();
        else if (!fFirst && nLast + 1 <= nWidth)
        {
            aLines.back() += L' ';
            ++nLast;
        }
        for (wchar_t c : strWord)
        {
            int nChar = LumCharWidth(c);
            if (nLast > 0 && nLast + nChar > nWidth)
                fnBreak();
            aLines.back() += c;
            nLast += nChar;
        }
        if (nEnd == std::wstring::npos)
            break;
        i = nEnd + 1;
    }
}
} // namespace

std::wstring LumDecodeUtf8(const std::string& str)
{
    std::wstring strOut;
    strOut.reserve(str.size());
    for (size_t i = 0, nLength = 0; i < str.size(); i += nLength)
        strOut += DecodeAt(str, i, nLength);
    return strOut;
}

std::string LumEncodeUtf8(const std::wstring& str)
{
    std::string strOut;
    strOut.reserve(str.size());
    for (wchar_t c : str)
        EncodeChar(static_cast<unsigned long>(c), strOut);
    return strOut;
}

int LumCharWidth(wchar_t c)
{
    int n = wcwidth(c);
    return n < 0 ? 1 : n;
}

wchar_t LumCharGlyph(wchar_t c)
{
    return wcwidth(c) < 0 ? L'?' : c;
}

int LumTextWidth(const std::wstring& str)
{
    return LumTextWidth(str, str.size());
}

int LumTextWidth(const std::wstring& str, size_t nChars)
{
    int n = 0;
    for (size_t i = 0; i < nChars && i < str.size(); ++i)
        n += LumCharWidth(str[i]);
    return n;
}

CLumTabStops::CLumTabStops(const std::vector<int>& aQuarters)
{
    // Stops that do not go forward mean nothing to a column, and stops far beyond any
    // screen would only blow rows up; they are left out.
    for (int nQuarters : aQuarters)
        if (nQuarters / 4 > (m_aColumns.empty() ? 0 : m_aColumns.back()) && nQuarters / 4 <= MAX_TAB_COLUMN)
            m_aColumns.push_back(nQuarters / 4);
    if (m_aColumns.size() == 1)
        m_nSpacing = m_aColumns[0];
    else if (m_aColumns.size() > 1)
        m_nSpacing = m_aColumns.back() - m_aColumns[m_aColumns.size() - 2];
}

int CLumTabStops::Next(int nColumn) const
{
    auto it = std::upper_bound(m_aColumns.begin(), m_aColumns.end(), nColumn);
    if (it != m_aColumns.end())
        return *it;
    int nLast = m_aColumns.empty() ? 0 : m_aColumns.back();
    return nLast + ((nColumn - nLast) / m_nSpacing + 1) * m_nSpacing;
}

std::wstring LumExpandTabs(const std::wstring& str, const CLumTabStops& stops, int nLimit)
{
    std::wstring strOut;
    int nColumn = 0;
    for (wchar_t c : str)
    {
        if (nColumn >= nLimit)
            break;
        if (c == L'\t')
        {
            int nNext = stops.Next(nColumn);
            strOut.append(static_cast<size_t>(nNext - nColumn), L' ');
            nColumn = nNext;
            continue;
        }
        strOut += c;
        nColumn += LumCharWidth(c);
    }
    return strOut;
}

std::vector<std::wstring> LumWrapText(const std::wstring& str, int nWidth)
{
    std::vector<std::wstring> aLines;
    nWidth = std::max(nWidth, 2);
    size_t i = 0;
    for (;;)
    {
        size_t nEnd = str.find(L'\n', i);
        std::wstring strLine = str.substr(i, nEnd == std::wstring::npos ? std::wstring::npos : nEnd - i);
        if (!strLine.empty() && strLine.back() == L'\r')
            strLine.pop_back();
        WrapLine(LumExpandTabs(strLine, CLumTabStops()), nWidth, aLines);
        if (nEnd == std::wstring::npos)
            break;
        i = nEnd + 1;
    }
    return aLines;
}
