// lumbasic batch: a program over every record of a file, on several threads.
#include "LumBatchJob.h"
#include "LumBatchProgress.h"
#include "LumCompilerCommands.h"
#include "LumModuleLoader.h"
#include "LumRunCommand.h"
#include "LumRunOptions.h"

#include <lumbasic/LumBasic.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace
{
const char* const USAGE =
    "usage: lumbasic batch --in FILE --out FILE [--errors FILE] [--jobs N] [--fields NAME,...] [--skip N]\n"
    "           [--max-steps N] [--max-memory MB] [--module LIB[:CLASS,...] [--set NAME=VALUE]...]...\n"
    "           [--extensions FILE] [--plain] [--strict] [--sandbox DIR] IMAGE|SOURCE";

struct SBatchOptions
{
    SLumRunOptions m_run;
    SLumBatchJob m_job;
    std::string m_strFields;
};

// A whole number from 0 (or 1) up.
bool ParseNumber(const std::string& str, unsigned long long nMin, unsigned long long& n)
{
    char* pszEnd = nullptr;
    if (str.empty() || str[0] < '0' || str[0] > '9')
        return false;
    n = strtoull(str.c_str(), &pszEnd, 10);
    return *pszEnd == '\0' && n >= nMin && n <= 1000000000000ULL;
}

// The batch's own options, each with a value; false when aArgs[i] is none of them.
bool TakeBatchOption(const std::vector<std::string>& aArgs, size_t& i, SBatchOptions& options, bool& fOk)
{
    const std::string& str = aArgs[i];
    if (str != "--in" && str != "--out" && str != "--errors" && str != "--jobs" && str != "--fields" &&
        str != "--skip")
        return false;
    fOk = ++i < aArgs.size();
    if (!fOk)
        return true;
    const std::string& strValue = aArgs[i];
    unsigned long long n = 0;
    if (str == "--in")
        options.m_job.m_strIn = strValue;
    else if (str == "--out")
        options.m_job.m_strOut = strValue;
    else if (str == "--errors")
        options.m_job.m_strErrors = strValue;
    else if (str == "--fields")
        options.m_strFields = strValue;
    else if (str == "--jobs")
        fOk = ParseNumber(strValue, 1, n) && n <= 1024 && (options.m_job.m_nJobs = static_cast<int>(n)) > 0;
    else
        fOk = ParseNumber(strValue, 0, n) && ((options.m_job.m_nSkip = n), true);
    return true;
}

// The options of a run that mean nothing for a batch: its store is each record's.
bool IsForSingleRun(const SLumRunOptions& run)
{
    return !run.m_strVars.empty() || run.m_fDump || run.m_fProfile || run.m_fTrail || run.m_fAnswer;
}

bool ParseOptions(const std::vector<std::string>& aArgs, SBatchOptions& options)
{
    options.m_job.m_nJobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    bool fOk = true;
    for (size_t i = 0; i < aArgs.size() && fOk; ++i)
    {
        const std::string& str = aArgs[i];
        if (str.empty() || str[0] != '-')
        {
            fOk = options.m_run.m_strImage.empty();
            options.m_run.m_strImage = str;
        }
        else if (!TakeBatchOption(aArgs, i, options, fOk))
            fOk = LumTakeRunOption(aArgs, i, options.m_run);
    }
    if (fOk && IsForSingleRun(options.m_run))
    {
        fprintf(stderr, "lumbasic: --vars, --dump, --profile, --trail and --answer are for a single run; "
                        "a batch fills each record's store from its fields\n");
        return false;
    }
    fOk = fOk && !options.m_run.m_strImage.empty() && !options.m_job.m_strIn.empty() &&
          !options.m_job.m_strOut.empty();
    if (!fOk)
        fprintf(stderr, "%s\n", USAGE);
    return fOk;
}

// The image of the program named: compiled in memory from a source.
bool ReadProgram(const SLumRunOptions& run, SLumBatchProgram& program)
{
    SLumProgramFile file;
    if (!LumReadProgramFile(run.m_strImage, file))
        return false;
    program.m_strName = file.m_strPath;
    if (!file.m_fSource)
    {
        program.m_aImage.assign(file.m_strContent.begin(), file.m_strContent.end());
        return true;
    }
    SLumCompileOptions compileOptions;
    compileOptions.m_fStrict = run.m_fStrict;
    CLumExtensionTable extensions;
    return LumLoadExtensions(run.m_strExtensions, extensions) &&
           LumCompileSource(file, extensions, compileOptions, program.m_aImage);
}

std::atomic<bool> s_fStop{false};

extern "C" void StopTaking(int)
{
    s_fStop.store(true);
}

// While it lives, Ctrl-C stops the batch taking records; a second one ends the
// process as usual.
class CStopOnInterrupt
{
public:
    CStopOnInterrupt()
    {
        struct sigaction action = {};
        action.sa_handler = StopTaking;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESETHAND | SA_RESTART;
        sigaction(SIGINT, &action, &m_previous);
    }
    ~CStopOnInterrupt() { sigaction(SIGINT, &m_previous, nullptr); }
    CStopOnInterrupt(const CStopOnInterrupt&) = delete;
    CStopOnInterrupt& operator=(const CStopOnInterrupt&) = delete;

private:
    struct sigaction m_previous;
};

void PrintSummary(const SLumBatchSummary& summary)
{
    fprintf(stderr, "lumbasic: %llu read, %llu written, %llu failed\n",
            static_cast<unsigned long long>(summary.m_nRead),
            static_cast<unsigned long long>(summary.m_nWritten),
            static_cast<unsigned long long>(summary.m_nFailed));
    if (summary.m_nFirstNotDone != 0)
        fprintf(stderr, "lumbasic: stopped before record %llu; go on with --skip %llu\n",
                static_cast<unsigned long long>(summary.m_nFirstNotDone),
                static_cast<unsigned long long>(summary.m_nFirstNotDone - 1));
}
} // namespace

int LumBatchCommand(const std::vector<std::string>& aArgs)
{
    SBatchOptions options;
    if (!ParseOptions(aArgs, options))
        return 2;
    std::string strError;
    if (!options.m_strFields.empty() &&
        !LumParseFieldList(options.m_strFields, options.m_job.m_aFields, strError))
    {
        fprintf(stderr, "lumbasic: --fields: %s\n", strError.c_str());
        return 2;
    }
    SLumBatchProgram program;
    if (!LumCheckSandbox(options.m_run) || !ReadProgram(options.m_run, program))
        return 1;

    // Each thread's interpreter gets modules of its own, made by one loader.
    CLumModuleLoader modules;
    std::mutex mutexModules;
    if (!options.m_run.m_aModules.empty() && !modules.Load(options.m_run.m_aModules))
        return 1;
    bool fFirst = true;
    program.m_fnSetUp = [&](CLumBasic& basic) {
        std::lock_guard<std::mutex> lock(mutexModules);
        if (!fFirst && !options.m_run.m_aModules.empty() && !modules.Load(options.m_run.m_aModules))
            throw CLumsException("the modules cannot be made");
        fFirst = false;
        modules.AttachTo(basic);
        LumApplyRunOptions(options.m_run, basic);
    };

    CLumBatchProgress progress;
    options.m_job.m_pStop = &s_fStop;
    options.m_job.m_fnProgress = [&progress](const SLumBatchProgress& at) {
        progress.Show(at);
    };
    options.m_job.m_fnReport = [&progress](const std::string& str) {
        progress.Clear();
        fputs(str.c_str(), stderr);
    };
    SLumBatchSummary summary;
    bool fOk;
    {
        CStopOnInterrupt stopOnInterrupt;
        fOk = LumRunBatchJob(program, options.m_job, summary, strError);
    }
    progress.Clear();
    if (!fOk)
    {
        fprintf(stderr, "lumbasic: %s\n", strError.c_str());
        return 1;
    }
    PrintSummary(summary);
    return summary.m_nFailed == 0 && summary.m_nFirstNotDone == 0 ? 0 : 1;
}
