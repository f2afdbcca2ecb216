#include "LumDifferential.h"

#include "LumFuzzGuard.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumMessageBox.h>
#include <lumbasic/LumSourceFiles.h>

#include "compiler/LumCompiler.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

namespace lumfuzz
{
struct CLumDifferential::SRun
{
    bool m_fFast;
    bool m_fProfile;
    unsigned long m_nLimit;
    // The program's own memory budget, kept in the run without a statement limit.
    size_t m_nMemory;
    // For a run without a limit: how long it may take before it is stopped, as one
    // that does not end.
    std::chrono::milliseconds m_patience{0};
    // The second of two runs of one interpreter on a cursor it keeps, each over the
    // store emptied for it, as a batch runs its records: it must be the first run over.
    bool m_fRepeated = false;
};

namespace
{
constexpr size_t MEMORY_LIMIT = 4 << 20;

// The message boxes a run showed, in order. A program may show large texts in a long
// loop, so past the first MiB only a hash of the rest is kept: two runs still compare
// exactly, and the log stays small.
class CBoxLog
{
public:
    void Add(const char* pszCaption, const char* pszText)
    {
        std::string strLine = std::string("box: ") + pszCaption + "|" + pszText + "\n";
        if (m_strShown.size() + strLine.size() <= KEPT)
        {
            m_strShown += strLine;
            return;
        }
        for (unsigned char c : strLine)
            m_nHash = (m_nHash ^ c) * 1099511628211ull;
        ++m_nHashed;
    }
    void Clear() { *this = CBoxLog(); }
    std::string Text() const
    {
        if (m_nHashed == 0)
            return m_strShown;
        return m_strShown + "boxes past the first MiB: " + std::to_string(m_nHashed) + " hash " +
               std::to_string(m_nHash) + "\n";
    }

private:
    static constexpr size_t KEPT = 1 << 20;
    std::string m_strShown;
    unsigned long long m_nHash = 14695981039346656037ull;
    unsigned long m_nHashed = 0;
};

// Runs `job` on a thread whose stack is large enough that only the counted limits of
// nesting can stop a run: a limit found by the stack's margin depends on the size of
// each way's frames, and those differ by design.
void OnLargeStack(const std::function<void()>& job)
{
    auto run = [](void* p) -> void* {
        (*static_cast<const std::function<void()>*>(p))();
        return nullptr;
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t(1) << 30);
    pthread_t thread;
    if (pthread_create(&thread, &attr, run, const_cast<std::function<void()>*>(&job)) != 0)
        abort();
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
}

std::string ReadAndRemove(const std::string& strPath)
{
    std::ifstream in(strPath, std::ios::binary);
    std::string strText((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(strPath.c_str());
    return strText;
}

void Save(const std::string& strPath, const void* pData, size_t nSize)
{
    std::ofstream(strPath, std::ios::binary)
        .write(static_cast<const char*>(pData), static_cast<std::streamsize>(nSize));
}

// Asks the run to stop once its time is up: a program that ends with a limit must end
// without one too, and a way that loops where the other ends is a finding, not a hang.
class CWatchdog
{
public:
    CWatchdog(CLumBasic& basic, std::chrono::milliseconds patience)
        : m_thread([this, &basic, patience] {
              std::unique_lock<std::mutex> lock(m_mutex);
              if (!m_wake.wait_for(lock, patience, [this] { return m_fDone; }))
                  basic.RequestStop();
          })
    {
    }
    ~CWatchdog()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_fDone = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }
    CWatchdog(const CWatchdog&) = delete;
    CWatchdog& operator=(const CWatchdog&) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_fDone = false;
    std::thread m_thread;
};

// Hit counting on for the runs of its life, with the listings written at each run's
// end and no counts kept from run to run.
class CCounting
{
public:
    CCounting()
    {
        m_pFilesBefore = LumSetSourceFiles(&m_cFiles);
        CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = 1;
        CLumBasicDebugWindow::m_fProfileExport = 1;
        CLumBasicDebugWindow::m_fProfileSave = 0;
    }
    ~CCounting()
    {
        CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = 0;
        CLumBasicDebugWindow::m_fProfileExport = 0;
        LumSetSourceFiles(m_pFilesBefore);
    }
    CCounting(const CCounting&) = delete;
    CCounting& operator=(const CCounting&) = delete;

private:
    CLumCrLfSourceFiles m_cFiles;
    CLumSourceFiles* m_pFilesBefore;
};
} // namespace

CLumDifferential::CLumDifferential()
{
    // No dot in the folder's path: the counts' files are named after the path up to it.
    char szDir[] = "/tmp/lumdiff-XXXXXX";
    if (mkdtemp(szDir) == nullptr)
        abort();
    m_strDir = szDir;
    m_strLibraryImage = m_strDir + "/lib.lbc";
}

CLumDifferential::~CLumDifferential()
{
    std::error_code error;
    std::filesystem::remove_all(m_strDir, error);
}

bool CLumDifferential::Compile(const std::string& strSource, const std::string& strName,
                               std::vector<uint8_t>& aImage, std::string& strErrors)
{
    std::string strPath = m_strDir + "/" + strName;
    Save(strPath, strSource.data(), strSource.size());
    m_mapLines[strPath] = static_cast<long>(std::count(strSource.begin(), strSource.end(), '\n'));
    CLumCompiler compiler;
    if (compiler.Compile(strSource, strPath, aImage))
        return true;
    strErrors += compiler.GetDiagnostics().Format(strName);
    return false;
}

// How one run ended, as text: failure, trail, call sites, boxes, store, statements
// counted, and with counting on the listing of each source.
std::string CLumDifferential::Outcome(const std::vector<uint8_t>& aImage, const SRun& run)
{
    std::string strOutcome;
    unsigned long nStatements = 0;
    bool fFailed = false;
    OnLargeStack([&] {
        CBoxLog boxes;
        LumMessageBoxFunction fnBefore =
            LumSetMessageBox([&](const char* pszText, const char* pszCaption, long nStyle) {
                boxes.Add(pszCaption, pszText);
                return LumMessageBoxDefault(nStyle);
            });
        std::unique_ptr<CCounting> pCounting(run.m_fProfile ? new CCounting : nullptr);
        strOutcome = Handled([&] {
            CLumVariables vars;
            CLumBasic basic(&vars, nullptr);
            basic.SetFastPaths(run.m_fFast);
            basic.SetStatementLimit(run.m_nLimit);
            // A text that doubles on each pass of a loop would fill the machine. The
            // budget counts the temporary values of the statements open, which each way
            // makes differently, so a run that meets it inside a procedure is not
            // compared (Compare).
            basic.SetMemoryLimit(run.m_nMemory != 0 ? run.m_nMemory : run.m_nLimit != 0 ? MEMORY_LIMIT : 0);
            std::string strRun;
            std::unique_ptr<CWatchdog> pWatchdog(run.m_nLimit == 0 ? new CWatchdog(basic, run.m_patience)
                                                                   : nullptr);
            CLumBasicFile cKept(aImage.data(), aImage.size());
            if (run.m_fRepeated)
            {
                try
                {
                    basic.DoFile(cKept);
                }
                catch (const CLumsException&)
                {
                }
                vars.Clear();
                boxes.Clear();
            }
            try
            {
                if (run.m_fRepeated)
                    basic.DoFile(cKept);
                else
                    basic.DoMemory(aImage.data(), aImage.size());
            }
            catch (const CLumsException& e)
            {
                fFailed = true;
                strRun += std::string("failed:\n") + e.what() + "\ncalls:\n";
                for (const SLumCallSite& site : e.GetCallSites())
                {
                    strRun += site.m_strProcedure + " " + site.m_strSource + ":" +
                              std::to_string(site.m_nLine) + "\n";
                    // Both ways could agree on a line that is not there.
                    auto itLines = m_mapLines.find(site.m_strSource);
                    if (!site.m_strSource.empty() &&
                        (itLines == m_mapLines.end() || site.m_nLine < 0 || site.m_nLine > itLines->second))
                        strRun += "  a call site outside its source\n";
                }
                strRun += "omitted " + std::to_string(e.GetCallSitesOmitted()) + "\n";
            }
            nStatements = basic.GetStatementCount();
            strRun += "--- store\n";
            vars.MakeString(&strRun);
            return strRun;
        });
        pCounting.reset();
        LumSetMessageBox(std::move(fnBefore));
        strOutcome += boxes.Text();
    });
    if (run.m_nLimit != 0)
        strOutcome += "statements: " + std::to_string(nStatements) + "\n";
    if (run.m_fProfile)
        for (const char* pszName : {"main", "lib"})
            strOutcome += std::string("--- counts of ") + pszName + "\n" +
                          ReadAndRemove(m_strDir + "/" + pszName + "_Profile.txt");
    if (run.m_fFast && !run.m_fProfile && !run.m_fRepeated && run.m_nLimit != 0)
    {
        ++m_nPrograms;
        m_nStatements += nStatements;
        m_nFailures += fFailed;
    }
    return strOutcome;
}

namespace
{
std::string Listed(const SLumGeneratedProgram& program)
{
    return "--- main.lbd\n" + program.m_strMain + "--- lib.lbd\n" + program.m_strLibrary +
           "--- statement limit " + std::to_string(program.m_nStatementLimit) + ", memory limit " +
           std::to_string(program.m_nMemoryLimit) + "\n";
}
} // namespace

bool CLumDifferential::CompileProgram(const SLumGeneratedProgram& program, std::vector<uint8_t>& aMain,
                                      std::string& strErrors)
{
    std::vector<uint8_t> aLibrary;
    std::remove(m_strLibraryImage.c_str());
    if (!program.m_strLibrary.empty() && Compile(program.m_strLibrary, "lib.lbd", aLibrary, strErrors))
        Save(m_strLibraryImage, aLibrary.data(), aLibrary.size());
    return Compile(program.m_strMain, "main.lbd", aMain, strErrors) && strErrors.empty();
}

std::string CLumDifferential::Describe(const SLumGeneratedProgram& program)
{
    std::string strErrors;
    std::vector<uint8_t> aMain;
    if (!CompileProgram(program, aMain, strErrors))
        return Listed(program) + strErrors;
    return Listed(program) + Outcome(aMain, {true, false, program.m_nStatementLimit, program.m_nMemoryLimit});
}

std::string CLumDifferential::Compare(const SLumGeneratedProgram& program)
{
    std::string strErrors;
    std::vector<uint8_t> aMain;
    std::string strProgram = Listed(program);
    if (!CompileProgram(program, aMain, strErrors))
        return "the generated program does not compile:\n" + strErrors + strProgram;

    // Between two statements of Main no statement is open, and both ways hold the same
    // values: a budget met there must be met at the same statement. Inside a procedure
    // the statements open around it hold temporary values, which each way makes
    // differently, so such a run is not compared.
    static const std::string s_strOverMemory = "Die Werte des Laufs belegen mehr als ";
    auto overInProcedure = [&](const std::string& strOutcome) {
        size_t nAt = strOutcome.find(s_strOverMemory);
        if (nAt == std::string::npos)
            return false;
        if (program.m_nMemoryLimit == 0)
            return true;
        // A function that an expression called may have returned already, and still the
        // expression around its call holds its temporary values open.
        if (strOutcome.find("CLumExpression::UserFunction()", nAt) != std::string::npos)
            return true;
        size_t nCalls = strOutcome.find("calls:\n", nAt) + 7;
        std::string strCalls = strOutcome.substr(nCalls, strOutcome.find("omitted ", nCalls) - nCalls);
        return strCalls.find('\n') + 1 != strCalls.size() || strCalls.compare(0, 5, "Main ") != 0;
    };
    bool fOverMemory = false;
    auto differ = [&](const char* pszFirst, const std::string& strFirst, const char* pszSecond,
                      const std::string& strSecond) {
        if (overInProcedure(strFirst) || overInProcedure(strSecond))
            fOverMemory = true;
        if (strFirst == strSecond || fOverMemory)
            return std::string();
        return std::string("=== ") + pszFirst + "\n" + strFirst + "=== " + pszSecond + "\n" + strSecond +
               strProgram;
    };
    unsigned long nLimit = program.m_nStatementLimit;
    size_t nMemory = program.m_nMemoryLimit;
    auto start = std::chrono::steady_clock::now();
    std::string strFast = Outcome(aMain, {true, false, nLimit, nMemory});
    auto took =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    std::string strPlain = Outcome(aMain, {false, false, nLimit, nMemory});
    std::string strDiff = differ("fast", strFast, "plain", strPlain);
    if (fOverMemory)
    {
        ++m_nOverMemory;
        return "";
    }
    if (strDiff.empty())
        strDiff = differ("fast", strFast, "fast, run again on a kept cursor over the emptied store",
                         Outcome(aMain, {true, false, nLimit, nMemory, {}, true}));
    if (strDiff.empty() && strFast.find("  a call site outside its source\n") != std::string::npos)
        return "a call site outside its source, both ways:\n" + strFast + strProgram;
    // Without a limit nothing is watched, and the fast form takes its quickest paths.
    if (strDiff.empty() && strFast.find("statements: " + std::to_string(nLimit) + "\n") == std::string::npos)
    {
        std::string strCounted = strFast.substr(0, strFast.rfind("statements: "));
        SRun unlimited{true, false, 0, nMemory, std::max(std::chrono::milliseconds(2000), 50 * took)};
        strDiff = differ("fast, limited", strCounted, "fast, unlimited (stopped if it did not end in time)",
                         Outcome(aMain, unlimited));
    }
    // With lines counted the two ways still hold different values beside the store, so
    // a budget met there is not compared either.
    if (strDiff.empty())
    {
        std::string strFastCounted = Outcome(aMain, {true, true, nLimit, nMemory});
        std::string strPlainCounted = Outcome(aMain, {false, true, nLimit, nMemory});
        if (strFastCounted.find(s_strOverMemory) == std::string::npos &&
            strPlainCounted.find(s_strOverMemory) == std::string::npos)
            strDiff =
                differ("fast, counting lines", strFastCounted, "plain, counting lines", strPlainCounted);
    }
    m_nOverMemory += fOverMemory;
    return strDiff;
}

std::string RunBothWays(const uint8_t* pData, size_t nSize)
{
    static CLumDifferential s_cDifferential;
    CLumChoices choices(pData, nSize);
    return NoThrow([&] {
        return s_cDifferential.Compare(LumGenerateProgram(choices, s_cDifferential.GetLibraryImage()));
    });
}
} // namespace lumfuzz
