// Errors and warnings found while compiling one source, with their positions. The
// compiler keeps going after an error, so a user sees every fault of a source in one
// pass. A warning never stops the compile. Each entry has a stable code, one per kind
// of fault, which an editor shows beside the text and a user can look up.
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
        // "unknown-name", "syntax", ...: the kind of fault, the same for every entry of it.
        const char* m_pszCode = "";
        // Behind the last byte the entry is about; line 0 until the compiler has set it
        // (CLumCompiler sets it to the end of the token at m_pos where nobody did).
        SLumPos m_posEnd;
    };

    void Error(SLumPos pos, const char* pszCode, std::string strMessage, SLumPos posEnd = {});
    void Warning(SLumPos pos, const char* pszCode, std::string strMessage, SLumPos posEnd = {});
    bool HasErrors() const { return m_nErrors > 0; }
    // The number of errors; warnings are counted apart.
    size_t GetCount() const { return m_nErrors; }
    size_t GetWarningCount() const { return m_aEntries.size() - m_nErrors; }
    // The entries sorted by position, one "file:line:col: error: text" or
    // "file:line:col: warning: text" line each.
    std::string Format(const std::string& strFile) const;
    const std::vector<Entry>& GetEntries() const { return m_aEntries; }
    // Sets the end of every entry that has none by `endOf`, which gives the end of what
    // starts at a position.
    template <class EndOf> void SetMissingEnds(EndOf&& endOf)
    {
        for (Entry& entry : m_aEntries)
            if (entry.m_posEnd.m_nLine == 0 && entry.m_pos.m_nLine > 0)
                entry.m_posEnd = endOf(entry.m_pos);
    }

private:
    std::vector<Entry> m_aEntries;
    size_t m_nErrors = 0;
};
