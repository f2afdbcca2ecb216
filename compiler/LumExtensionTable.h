// Statements and functions that a host's extension modules add to the language. The
// table comes from a text file, one entry a line:
//     statement NAME 0xTOKEN
//     function  NAME 0xTOKEN
// Blank lines and lines starting with "'" or "#" are ignored. Names are matched
// case-insensitively, like keywords.
#pragma once

#include "LumDiagnostics.h"

#include <lumbasic/LumHostArgs.h>

#include <string>
#include <string_view>
#include <vector>

class CLumExtensionTable
{
public:
    struct Entry
    {
        std::string m_strName;
        bool m_fFunction = false;
        unsigned short m_wToken = 0;
        // The arguments a call gives, for a name a host registered; a table's entries
        // take any number.
        int m_nArgs = LUM_ANY_ARGS;
    };

    // Adds the entries of a table's text; faults go to `diagnostics`, by line.
    void Parse(std::string_view text, CLumDiagnostics& diagnostics);
    bool Add(const Entry& entry, std::string& strError);
    // Adds the names a host registered with an interpreter; faults go to `diagnostics`.
    void AddHostNames(const std::vector<SLumHostName>& aNames, CLumDiagnostics& diagnostics);
    const Entry* Find(std::string_view name) const;
    const Entry* FindToken(unsigned short wToken) const;
    bool IsEmpty() const { return m_aEntries.empty(); }
    const std::vector<Entry>& GetEntries() const { return m_aEntries; }

private:
    std::vector<Entry> m_aEntries;
};
