#include "LumNearMiss.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace
{
bool SameLetter(char a, char b)
{
    return tolower(static_cast<unsigned char>(a)) == tolower(static_cast<unsigned char>(b));
}

// Edits (insert, delete, replace, swap of two neighbours) from one name to the other,
// where a letter in the other case is no edit: a name that differs only in case is at
// distance 0.
size_t Distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> aBeforeLast(b.size() + 1), aLast(b.size() + 1), aRow(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        aLast[j] = j;
    for (size_t i = 1; i <= a.size(); ++i)
    {
        aRow[0] = i;
        for (size_t j = 1; j <= b.size(); ++j)
        {
            size_t nReplace = aLast[j - 1] + (SameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
            aRow[j] = std::min({aLast[j] + 1, aRow[j - 1] + 1, nReplace});
            if (i > 1 && j > 1 && SameLetter(a[i - 1], b[j - 2]) && SameLetter(a[i - 2], b[j - 1]))
                aRow[j] = std::min(aRow[j], aBeforeLast[j - 2] + 1);
        }
        aBeforeLast.swap(aLast);
        aLast.swap(aRow);
    }
    return aLast[b.size()];
}

// Short names are near every other short name, so they get fewer edits: "x" must not
// suggest "Abs", nor "n1" suggest "n2". The type character does not count.
size_t Limit(std::string_view name)
{
    size_t nLetters = name.size();
    if (nLetters > 0 && (name.back() == '$' || name.back() == '%'))
        --nLetters;
    return nLetters <= 2 ? 0 : nLetters <= 5 ? 1 : 2;
}
} // namespace

CLumNearMiss::CLumNearMiss(std::string_view name)
    : m_strName(name), m_nLimit(Limit(name)), m_nBest(m_nLimit + 1)
{
}

void CLumNearMiss::Offer(std::string_view candidate)
{
    if (candidate == m_strName)
        return;
    size_t nLonger = std::max(candidate.size(), m_strName.size());
    if (nLonger - std::min(candidate.size(), m_strName.size()) >= m_nBest)
        return;
    size_t nDistance = Distance(m_strName, candidate);
    if (nDistance < m_nBest)
    {
        m_nBest = nDistance;
        m_strBest = candidate;
    }
}

std::string CLumNearMiss::DidYouMean() const
{
    if (m_strBest.empty())
        return "";
    return std::string(m_nBest == 0 ? "names are case-sensitive, " : "") + "did you mean '" + m_strBest +
           "'?";
}
