#include "LumDiagnostics.h"

#include <algorithm>

namespace
{
// A source full of faults would bury the first ones; beyond this the rest is noise.
constexpr size_t MAX_ERRORS = 200;
constexpr size_t MAX_WARNINGS = 200;
} // namespace

void CLumDiagnostics::Error(SLumPos pos, const char* pszCode, std::string strMessage, SLumPos posEnd)
{
    if (m_nErrors >= MAX_ERRORS)
        return;
    m_aEntries.push_back(Entry{pos, std::move(strMessage), false, pszCode, posEnd});
    ++m_nErrors;
}

void CLumDiagnostics::Warning(SLumPos pos, const char* pszCode, std::string strMessage, SLumPos posEnd)
{
    if (GetWarningCount() < MAX_WARNINGS)
        m_aEntries.push_back(Entry{pos, std::move(strMessage), true, pszCode, posEnd});
}

std::string CLumDiagnostics::Format(const std::string& strFile) const
{
    std::vector<Entry> aSorted = m_aEntries;
    std::stable_sort(aSorted.begin(), aSorted.end(), [](const Entry& a, const Entry& b) {
        return a.m_pos.m_nLine != b.m_pos.m_nLine ? a.m_pos.m_nLine < b.m_pos.m_nLine
                                                  : a.m_pos.m_nColumn < b.m_pos.m_nColumn;
    });
    std::string strText;
    for (const Entry& entry : aSorted)
    {
        // A fault of the file as a whole has no position.
        std::string strWhere = entry.m_pos.m_nLine > 0 ? ":" + std::to_string(entry.m_pos.m_nLine) + ":" +
                                                             std::to_string(entry.m_pos.m_nColumn)
                                                       : "";
        strText +=
            strFile + strWhere + (entry.m_fWarning ? ": warning: " : ": error: ") + entry.m_strMessage + "\n";
    }
    if (m_nErrors >= MAX_ERRORS)
        strText += strFile + ": error: too many errors, stopped reporting\n";
    return strText;
}
