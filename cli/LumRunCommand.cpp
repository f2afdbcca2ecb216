#include "LumRunCommand.h"

#include "LumCompilerCommands.h"
#include "LumCompiler.h"
#include "LumConsole.h"
#include "LumModuleLoader.h"
#include "LumProfileCommand.h"
#include "LumRunOptions.h"
#include "LumVarsFile.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumMessageBox.h>

#include "core/LumSanitizers.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <set>

namespace
{
const char* const USAGE =
    "usage: lumbasic run [--vars FILE] [--dump] [--answer N] [--profile] [--strict] [--trail]\n"
    "           [--max-steps N] [--max-memory MB] [--module LIB[:CLASS,...] [--set NAME=VALUE]...]...\n"
    "           [--extensions FILE] [--plain] [--sandbox DIR] IMAGE|SOURCE";

// Every box answers the same without asking; the text still goes to the log.
void InstallAnswer(int nAnswer)
{
    LumSetMessageBox([nAnswer](const char* pszText, const char* pszCaption, long) {
        fprintf(stderr, "%s\n%s\n", pszCaption, pszText);
        return nAnswer;
    });
}
} // namespace

void LumPrintTrail(const std::vector<std::string>& aTrail)
{
    for (const std::string& str : aTrail)
        fprintf(stderr, "%s\n", str.c_str());
}

namespace
{
// The interpreter of the run in progress, for Ctrl-C to stop.
std::atomic<CLumBasic*> s_pRunning{nullptr};

extern "C" void StopOnInterrupt(int)
{
    // A stop request only sets a flag, which a signal handler may do.
    if (CLumBasic* pBasic = s_pRunning.load())
        pBasic->RequestStop();
}

// While it lives, Ctrl-C ends the run at its next statement; a second Ctrl-C, for a
// run that waits inside one statement, ends the process as usual.
class CStopOnInterrupt
{
public:
    explicit CStopOnInterrupt(CLumBasic& basic)
    {
        s_pRunning.store(&basic);
        struct sigaction action = {};
        action.sa_handler = StopOnInterrupt;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESETHAND | SA_RESTART;
        sigaction(SIGINT, &action, &m_previous);
    }
    ~CStopOnInterrupt()
    {
        sigaction(SIGINT, &m_previous, nullptr);
        s_pRunning.store(nullptr);
    }
    CStopOnInterrupt(const CStopOnInterrupt&) = delete;
    CStopOnInterrupt& operator=(const CStopOnInterrupt&) = delete;

private:
    struct sigaction m_previous;
};

// Runs the image, or the source compiled in memory, on a new interpreter over `vars`,
// filled first from the checked text of --vars, with the modules and then the
// console. Gives the exit status: 0, or 1 with
// the report of the failure in `strReport`, or with --trail the trail.
int RunImage(const SLumRunOptions& options, const SLumProgramFile& file, const std::vector<uint8_t>& aSource,
             const std::string& strVars, CLumModuleLoader& modules, CLumConsole& console, CLumVariables& vars,
             std::string& strReport)
{
    try
    {
        if (!strVars.empty())
            vars.SetValuesFromString(strVars.c_str());
        CLumBasic cBasic(&vars, nullptr);
        modules.AttachTo(cBasic);
        console.RegisterWith(cBasic);
        LumApplyRunOptions(options, cBasic);
        CStopOnInterrupt stopOnInterrupt(cBasic);
        if (file.m_fSource)
            cBasic.DoMemory(aSource.data(), aSource.size());
        else if (file.m_fRegular)
            cBasic.Do(file.m_strPath.c_str());
        else // a pipe, read once
            cBasic.DoMemory(reinterpret_cast<const unsigned char*>(file.m_strContent.data()),
                            file.m_strContent.size());
    }
    catch (const CLumsException& e)
    {
        if (options.m_fTrail)
            for (const std::string& str : e.GetTrail())
                strReport += str + "\n";
        else
            strReport = LumFailureReport(e, file.m_strPath);
        return 1;
    }
    return 0;
}

// Writes the store's text form to standard output; 1 if it cannot be made.
int Dump(const CLumVariables& vars)
{
    std::string strText;
    int nStatus = 0;
    try
    {
        vars.MakeString(&strText);
    }
    catch (const CLumsException& e)
    {
        LumPrintTrail(e.GetTrail());
        nStatus = 1;
    }
    fwrite(strText.data(), 1, strText.size(), stdout);
    return nStatus;
}
} // namespace

int LumRunCommand(const std::vector<std::string>& aArgs)
{
    // The process ends with this command, so its store is left to the system, which
    // takes the memory back at once: freeing a million elements one by one reads them
    // all again and cost such a run a tenth of its time. Where a leak checker looks at
    // the end, the store is freed as any other: values keep their texts' pointers
    // where the checker does not see them.
#ifdef LUM_LEAKS_CHECKED
    CLumVariables cVariables;
    return LumRunProgram(aArgs, USAGE, nullptr, cVariables);
#else
    static CLumVariables* s_pStore = new CLumVariables;
    return LumRunProgram(aArgs, USAGE, nullptr, *s_pStore);
#endif
}

int LumRunProgram(const std::vector<std::string>& aArgs, const char* pszUsage,
                  const LumRunSessionFactory& fnSession, CLumVariables& cVariables)
{
    SLumRunOptions options;
    if (!LumParseRunOptions(aArgs, pszUsage, options))
        return 2;
    if (!LumCheckSandbox(options))
        return 1;
    if (options.m_fAnswer)
        InstallAnswer(options.m_nAnswer);
    if (options.m_fProfile)
        LumStartProfiling();

    // A bad line of --vars leaves nothing run.
    std::string strVars;
    std::set<std::string> setHostNames;
    if (!options.m_strVars.empty() && !LumReadVarsFile(options.m_strVars, strVars, setHostNames))
        return 1;

    // A source, known by its content, is compiled in memory; its line markers still
    // name the source's lines.
    SLumProgramFile file;
    if (!LumReadProgramFile(options.m_strImage, file))
        return 1;
    std::vector<uint8_t> aSource;
    if (file.m_fSource)
    {
        SLumCompileOptions compileOptions;
        compileOptions.m_fStrict = options.m_fStrict;
        compileOptions.m_pHostNames = &setHostNames;
        CLumExtensionTable extensions;
        if (!LumLoadExtensions(options.m_strExtensions, extensions) ||
            !LumCompileSource(file, extensions, compileOptions, aSource))
            return 1;
    }

    // Modules are made before the run; one that cannot be made leaves nothing run.
    CLumModuleLoader modules;
    try
    {
        if (!modules.Load(options.m_aModules))
            return 1;
    }
    catch (const CLumsException& e)
    {
        LumPrintTrail(e.GetTrail());
        return 1;
    }

    int nStatus = 1;
    std::string strReport;
    CLumProfileFilesNote profileFiles;
    CLumConsole console;
    {
        std::unique_ptr<CLumRunSession> pSession;
        if (fnSession)
            pSession = fnSession(options.m_fAnswer, options.m_nAnswer, console);
        nStatus = RunImage(options, file, aSource, strVars, modules, console, cVariables, strReport);
    }
    // Behind the session: the debugger's window is closed by now.
    fputs(strReport.c_str(), stderr);
    profileFiles.Tell();
    if (options.m_fDump && Dump(cVariables) != 0)
        nStatus = 1;
    return nStatus;
}
