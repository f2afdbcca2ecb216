// Errors and warnings found while compiling one source, with their positions. The
// compiler keeps going after an error, so a user sees every fault of a source in one
// pass. A warning never stops the compile.
#pragma once

#include <string>
#include <vector>

struct SLumPos
{
    int m_nLine = 0;
    int m_nColumn = 0;
};

class CLumDiagnostics
{
public:
    struct Entry
    {
        SLumPos m_pos;
        std::string m_strMessage;
        bool m_fWarning = false;
    };

    void Error(SLumPos pos, std::string strMessage);
    void Warning(SLumPos pos, std::string strMessage);
    bool HasErrors() const { return m_nErrors > 0; }
    // The number of errors; warnings are counted apart.
    size_t GetCount() const { return m_nErrors; }
    size_t GetWarningCount() const { return m_aEntries.size() - m_nErrors; }
    // The entries sorted by position, one "file:line:col: error: text" or
    // "file:line:col: warning: text" line each.
    std::string Format(const std::string& strFile) const;
    const std::vector<Entry>& GetEntries() const { return m_aEntries; }

private:
    std::vector<Entry> m_aEntries;
    size_t m_nErrors = 0;
};
