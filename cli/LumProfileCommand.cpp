#include "LumProfileCommand.h"

#include "LumCompiler.h"
#include "LumProgramFile.h"
#include "LumRunCommand.h"

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumBasicProfiler.h>
#include <lumbasic/LumSourceFiles.h>
#include <lumbasic/LumsException.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace
{
const char* const USAGE = "usage: lumbasic profile [--lcov FILE] SOURCE...";

// The lines of a source file, each without its line end.
std::vector<std::string> SourceLines(const std::string& strText)
{
    std::vector<std::string> aLines;
    std::istringstream in(strText);
    for (std::string strLine; std::getline(in, strLine);)
    {
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        aLines.push_back(strLine);
    }
    return aLines;
}

// What one source's coverage is made of.
struct Coverage
{
    std::string m_strSource; // the absolute path, as images name it
    std::string m_strData;   // the file of its counts
    std::vector<std::string> m_aLines;
    std::set<int32_t> m_setStepped;
    CLumBasicProfiler m_cCounts;
};

// False after the reason went to standard error.
bool ReadCoverage(const std::string& strPath, Coverage& coverage)
{
    std::string strText;
    if (!LumReadNamedFile(strPath, strText)) // it names the reason
        return false;
    coverage.m_strSource = CLumSourceFiles().AbsolutePath(strPath);
    CLumCompiler compiler;
    std::vector<uint8_t> aImage;
    if (!compiler.Compile(strText, coverage.m_strSource, aImage))
    {
        fputs(compiler.GetDiagnostics().Format(strPath).c_str(), stderr);
        return false;
    }
    coverage.m_aLines = SourceLines(strText);
    coverage.m_setStepped = compiler.GetSteppedLines();
    coverage.m_strData = LumProfileFileName(coverage.m_strSource, ".Profile");
    try
    {
        coverage.m_cCounts.LoadFile(coverage.m_strData);
    }
    catch (const CLumsException& e)
    {
        LumPrintTrail(e.GetTrail());
        return false;
    }
    return true;
}

// In the form of gcov: the count, "#####" for a line that can run and never did, "-"
// for a line without code. The head names the file the counts came from, which lies
// elsewhere than the source where a directory's name holds a dot.
void PrintListing(const Coverage& coverage)
{
    printf("%9s:%5d:Source:%s\n", "-", 0, coverage.m_strSource.c_str());
    printf("%9s:%5d:Data:%s\n", "-", 0, coverage.m_strData.c_str());
    printf("%9s:%5d:Runs:%d\n", "-", 0, coverage.m_cCounts.GetRuns());
    for (size_t i = 0; i < coverage.m_aLines.size(); ++i)
    {
        int32_t nLine = static_cast<int32_t>(i + 1);
        int nHits = coverage.m_cCounts.GetHits(nLine);
        std::string strCount = nHits != 0                           ? std::to_string(nHits)
                               : coverage.m_setStepped.count(nLine) ? "#####"
                                                                    : "-";
        printf("%9s:%5d:%s\n", strCount.c_str(), nLine, coverage.m_aLines[i].c_str());
    }
}

// A record of an lcov tracefile: every line that can run or was counted.
std::string LcovRecord(const Coverage& coverage)
{
    std::string strRecord = "TN:\nSF:" + coverage.m_strSource + "\n";
    int nFound = 0;
    int nHit = 0;
    for (size_t i = 0; i < coverage.m_aLines.size(); ++i)
    {
        int32_t nLine = static_cast<int32_t>(i + 1);
        int nHits = coverage.m_cCounts.GetHits(nLine);
        if (nHits == 0 && coverage.m_setStepped.count(nLine) == 0)
            continue;
        strRecord += "DA:" + std::to_string(nLine) + "," + std::to_string(nHits) + "\n";
        ++nFound;
        nHit += nHits != 0;
    }
    return strRecord + "LF:" + std::to_string(nFound) + "\nLH:" + std::to_string(nHit) + "\nend_of_record\n";
}
} // namespace

CLumProfileFilesNote::CLumProfileFilesNote()
{
    m_fnBefore = LumSetProfileWritten([this](const std::string& strSource, const std::string& strFile) {
        m_mapFiles[strSource].insert(strFile);
    });
}

CLumProfileFilesNote::~CLumProfileFilesNote()
{
    LumSetProfileWritten(std::move(m_fnBefore));
}

void CLumProfileFilesNote::Tell() const
{
    for (const auto& entry : m_mapFiles)
    {
        std::filesystem::path dir = std::filesystem::path(entry.first).parent_path();
        std::string strFiles;
        bool fAway = false;
        for (const std::string& strFile : entry.second)
        {
            fAway = fAway || std::filesystem::path(strFile).parent_path() != dir;
            strFiles += (strFiles.empty() ? "" : " and ") + strFile;
        }
        if (fAway)
            fprintf(stderr,
                    "lumbasic: the counts of %s are in %s, named after the source's path up to its "
                    "first dot\n",
                    entry.first.c_str(), strFiles.c_str());
    }
}

void LumStartProfiling()
{
    // Sources written here end their lines in LF; the listings need a row per line.
    static CLumCrLfSourceFiles s_cFiles;
    LumSetSourceFiles(&s_cFiles);
    CLumBasicDebugger::m_fDebug = 1;
    CLumBasicDebugger::m_fProfile = 1;
    CLumBasicDebugWindow::m_fProfileSave = 1;
    CLumBasicDebugWindow::m_fProfileExport = 1;
}

int LumProfileCommand(const std::vector<std::string>& aArgs)
{
    std::string strLcov;
    std::vector<std::string> aSources;
    bool fOk = true;
    for (size_t i = 0; i < aArgs.size() && fOk; ++i)
    {
        if (aArgs[i] == "--lcov" && i + 1 < aArgs.size())
            strLcov = aArgs[++i];
        else if (!aArgs[i].empty() && aArgs[i][0] == '-')
            fOk = false;
        else
            aSources.push_back(aArgs[i]);
    }
    if (!fOk || aSources.empty())
    {
        fprintf(stderr, "%s\n", USAGE);
        return 2;
    }
    std::string strTrace;
    for (const std::string& strSource : aSources)
    {
        Coverage coverage;
        if (!ReadCoverage(strSource, coverage))
            return 1;
        PrintListing(coverage);
        strTrace += LcovRecord(coverage);
    }
    if (strLcov.empty())
        return 0;
    std::ofstream out(strLcov, std::ios::trunc);
    out << strTrace;
    out.close();
    if (!out)
    {
        fprintf(stderr, "lumbasic: cannot write %s\n", strLcov.c_str());
        return 1;
    }
    return 0;
}
