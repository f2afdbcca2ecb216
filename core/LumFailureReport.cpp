// The short report of a failed run for a person: the message at the failing line of
// its source, then the calls that led there.
#include <lumbasic/LumCompile.h>
#include <lumbasic/LumsException.h>

#include <strings.h>

#include <filesystem>
#include <vector>

namespace
{
// A run begins with Main or with the statements outside every procedure; below
// another procedure only an import starts one.
bool StartsARun(const SLumCallSite& site)
{
    return site.m_strProcedure.empty() || strcasecmp(site.m_strProcedure.c_str(), "Main") == 0;
}

class CReport
{
public:
    explicit CReport(const std::string& strProgram) : m_strProgram(strProgram)
    {
        std::error_code error;
        m_cwd = std::filesystem::current_path(error);
        if (error)
            m_cwd.clear();
    }

    std::string File(const SLumCallSite& site) const
    {
        if (site.m_strSource.empty() || IsProgram(site.m_strSource))
            return m_strProgram.empty() ? (site.m_strSource.empty() ? "<source>" : site.m_strSource)
                                        : m_strProgram;
        if (!m_cwd.empty())
        {
            std::filesystem::path relative =
                std::filesystem::path(site.m_strSource).lexically_relative(m_cwd);
            if (!relative.empty() && *relative.begin() != "..")
                return relative.string();
        }
        return site.m_strSource;
    }

    std::string Where(const SLumCallSite& site) const
    {
        return site.m_nLine > 0 ? File(site) + ":" + std::to_string(site.m_nLine) : File(site);
    }

    // How the callee came to run: called, or imported when it starts a run.
    std::string Step(const SLumCallSite& callee, const SLumCallSite& caller) const
    {
        bool fImported = StartsARun(callee);
        std::string strCallee = callee.m_strProcedure.empty() ? File(callee)
                                : fImported                   ? callee.m_strProcedure + " of " + File(callee)
                                                              : callee.m_strProcedure;
        std::string strCaller =
            caller.m_strProcedure.empty() ? "" : (fImported ? "by " : "from ") + caller.m_strProcedure + " ";
        return "  in " + strCallee + (fImported ? ", imported " : ", called ") + strCaller + "at " +
               Where(caller);
    }

private:
    // Whether a source an image records is the program's file: the same file, or the
    // same name where the file is not there.
    bool IsProgram(const std::string& strSource) const
    {
        if (m_strProgram.empty())
            return false;
        std::error_code error;
        return strSource == m_strProgram || std::filesystem::equivalent(strSource, m_strProgram, error);
    }

    std::string m_strProgram;
    std::filesystem::path m_cwd;
};

// Runs of the same line, as a recursion makes them, once with their count.
std::string Collapse(const std::vector<std::string>& aLines)
{
    std::string strText;
    for (size_t i = 0; i < aLines.size();)
    {
        size_t nEnd = i + 1;
        while (nEnd < aLines.size() && aLines[nEnd] == aLines[i])
            ++nEnd;
        strText += aLines[i];
        if (nEnd - i > 1)
            strText += " (" + std::to_string(nEnd - i) + " times)";
        strText += "\n";
        i = nEnd;
    }
    return strText;
}

// Where sites were left out: a run of a deep recursion keeps its MAX_HEAD innermost
// and its MAX_TAIL outermost sites, so the callers of its last innermost one are
// missing. Each run's sites end with the one that started it. None: the size.
size_t FindGap(const std::vector<SLumCallSite>& aSites, size_t nOmitted)
{
    const size_t nKept = CLumsException::MAX_HEAD + CLumsException::MAX_TAIL;
    for (size_t nRun = 0, i = 0; nOmitted > 0 && i < aSites.size(); ++i)
    {
        if (!StartsARun(aSites[i]) && i + 1 < aSites.size())
            continue;
        if (i + 1 - nRun == nKept)
            return nRun + CLumsException::MAX_HEAD - 1;
        nRun = i + 1;
    }
    return aSites.size();
}
} // namespace

std::string LumFailureReport(const CLumsException& e, const std::string& strProgram)
{
    const std::vector<std::string>& aTrail = e.GetTrail();
    // The errors of a source are their own report, one a line.
    if (dynamic_cast<const CLumCompileException*>(&e) != nullptr)
    {
        std::string strText;
        for (const std::string& strLine : aTrail)
            strText += strLine + "\n";
        return strText;
    }
    std::string strMessage = aTrail.empty() ? "the run failed" : aTrail[0];
    std::vector<SLumCallSite> aSites = e.GetCallSites();
    // An import that failed before its image ran stood nowhere: the failure is the
    // importer's, at its Import.
    while (aSites.size() > 1 && aSites[0].m_strProcedure.empty() && aSites[0].m_strSource.empty() &&
           aSites[0].m_nLine == 0)
        aSites.erase(aSites.begin());
    if (aSites.empty())
        return (strProgram.empty() ? "" : strProgram + ": ") + strMessage + "\n";
    CReport report(strProgram);
    std::string strText = report.Where(aSites[0]) + ": " + strMessage + "\n";
    size_t nGap = FindGap(aSites, e.GetCallSitesOmitted());
    std::vector<std::string> aLines;
    for (size_t i = 0; i + 1 < aSites.size(); ++i)
    {
        if (i != nGap)
        {
            aLines.push_back(report.Step(aSites[i], aSites[i + 1]));
            continue;
        }
        strText += Collapse(aLines);
        aLines.clear();
        strText += "  ... " + std::to_string(e.GetCallSitesOmitted() + 1) + " calls left out ...\n";
    }
    return strText + Collapse(aLines);
}
