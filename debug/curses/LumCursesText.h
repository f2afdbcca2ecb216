// Text as the terminal shows it. Rows arrive as UTF-8 and are drawn as wide
// characters, each taking the columns that wcwidth gives in the current locale. A
// character that the locale cannot show (a control character, a byte that is no
// UTF-8, anything in a locale without UTF-8) takes one column and is drawn as '?', so
// that a measure and a drawing always agree.
#pragma once

#include <climits>
#include <string>
#include <vector>

// Each byte that starts no valid sequence becomes U+FFFD.
std::wstring LumDecodeUtf8(const std::string& str);
std::string LumEncodeUtf8(const std::wstring& str);

// Columns of one character: 0 for a combining one, 1 for one that cannot be shown.
int LumCharWidth(wchar_t c);
// What stands on the screen for the character.
wchar_t LumCharGlyph(wchar_t c);
int LumTextWidth(const std::wstring& str);
// Columns of the first nChars characters.
int LumTextWidth(const std::wstring& str, size_t nChars);

// A list's tab stops, given in quarters of an average character's width: 32 is column
// 8. Beyond the last stop, tabs go on at the distance between the last two stops (a
// single stop repeats itself); a list without stops has one every 8 columns. Stops
// beyond column 1024 are left out.
class CLumTabStops
{
public:
    explicit CLumTabStops(const std::vector<int>& aQuarters = {});
    // The column a tab at nColumn moves to: always a later one.
    int Next(int nColumn) const;

private:
    std::vector<int> m_aColumns;
    int m_nSpacing = 8;
};

// Tabs replaced by the blanks up to their stop; the text ends where it reaches
// nLimit columns, as far as a drawing needs it.
std::wstring LumExpandTabs(const std::wstring& str, const CLumTabStops& stops, int nLimit = INT_MAX);

// Lines at most nWidth columns wide: broken at line ends, then between words, and
// inside a word only when it is wider than a line. Tabs become blanks to the next
// multiple of 8.
std::vector<std::wstring> LumWrapText(const std::wstring& str, int nWidth);
