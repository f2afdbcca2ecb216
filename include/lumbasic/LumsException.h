// The one failure type of the library. It carries a trail: the message of what
// went wrong first, then what each frame on the way out added.
#pragma once

#include <lumbasic/LumExport.h>

#include <cstddef>
#include <exception>
#include <string>
#include <vector>

// A procedure that was running when a run failed: its name (empty for statements
// outside any procedure), the source its image records (empty when it records none)
// and the line it stood at (0 without line markers).
struct SLumCallSite
{
    std::string m_strProcedure;
    std::string m_strSource;
    long m_nLine = 0;
};

class LUM_API CLumsException : public std::exception
{
public:
    // A failure deep in a recursion passes thousands of frames. The trail keeps
    // its first and its last entries and counts the ones between in one line.
    static constexpr size_t MAX_HEAD = 60;
    static constexpr size_t MAX_TAIL = 60;

    CLumsException() = default;
    // An exception whose trail begins with `strMessage`: a host's failure in one line.
    explicit CLumsException(std::string strMessage) { AddString() = std::move(strMessage); }

    // Appends a file or method label.
    void Add(const char* psz) { NewEntry().assign(psz ? psz : ""); }
    // Appends a new empty entry for the caller to fill.
    std::string& AddString() { return NewEntry(); }

    const std::vector<std::string>& GetTrail() const { return m_aTrail; }

    // The procedures running at the failure, innermost first: the one that failed at
    // its line, then each caller at the line of its call, last the one the run began
    // with. A deep recursion keeps MAX_HEAD innermost and MAX_TAIL outermost sites.
    const std::vector<SLumCallSite>& GetCallSites() const { return m_aCallSites; }
    // How many sites between those were left out.
    size_t GetCallSitesOmitted() const { return m_nCallSitesOmitted; }
    void AddCallSite(SLumCallSite site) { m_aCallSites.push_back(std::move(site)); }
    void OmitCallSites(size_t n) { m_nCallSitesOmitted += n; }
    // The trail joined by newlines.
    const char* what() const noexcept override;

private:
    std::string& NewEntry();

    std::vector<std::string> m_aTrail;
    size_t m_nOmitted = 0;
    std::vector<SLumCallSite> m_aCallSites;
    size_t m_nCallSitesOmitted = 0;
    mutable std::string m_strWhat;
};

// The text of a catalogue message by id; an unknown id gives the empty text.
LUM_API std::string LoadMessage(int id);

// The short report of a failed run, for a person, one line each ending in a newline:
//
//     lib.lbd:2: Division durch Null.
//       in Ratio, called from Show at prog.lbd:7
//       in Show, called from Main at prog.lbd:4
//
// The message is the trail's first entry, then come the calls, innermost first, from
// GetCallSites(); the repeated lines of a recursion are given once, with their count.
// `strProgram` names the program as the host knows it (the path it ran, or a name of
// its own for an image in memory): the sources recorded as that file, and procedures
// whose image records no source, are named by it; other sources relative to the
// working directory unless they lie above it. Empty: sources as recorded. A run an
// imported image makes shows as "imported by". Without line markers the lines are
// left out; without a call site (a file that cannot be read) the message stands
// behind the program's name alone. The errors of a source (CLumCompileException) are
// given as they are, one a line.
LUM_API std::string LumFailureReport(const CLumsException& e, const std::string& strProgram = std::string());
