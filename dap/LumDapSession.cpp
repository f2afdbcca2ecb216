#include "LumDapSession.h"

#include "LumDapCapture.h"
#include "LumDapWindow.h"

#include "LumCompilerCommands.h"
#include "LumConsole.h"
#include "LumProgramFile.h"
#include "LumRunCommand.h"
#include "LumRunOptions.h"
#include "LumVarsFile.h"

#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumMessageBox.h>
#include <lumbasic/LumVariables.h>

#include <cstdio>
#include <set>
#include <stdexcept>
#include <unistd.h>

namespace
{
// The launch configuration's options as the command line of `lumbasic run`.
std::vector<std::string> RunArguments(const json& args)
{
    std::vector<std::string> aArgs;
    const std::pair<const char*, const char*> aTexts[] = {
        {"vars", "--vars"}, {"extensions", "--extensions"}, {"sandbox", "--sandbox"}};
    for (const auto& text : aTexts)
        if (args.contains(text.first))
            aArgs.insert(aArgs.end(), {text.second, args.at(text.first).get<std::string>()});
    const std::pair<const char*, const char*> aNumbers[] = {
        {"answer", "--answer"}, {"maxSteps", "--max-steps"}, {"maxMemory", "--max-memory"}};
    for (const auto& number : aNumbers)
        if (args.contains(number.first))
            aArgs.insert(aArgs.end(),
                         {number.second, std::to_string(args.at(number.first).get<long long>())});
    const std::pair<const char*, const char*> aSwitches[] = {
        {"profile", "--profile"}, {"strict", "--strict"}, {"trail", "--trail"}, {"plain", "--plain"}};
    for (const auto& entry : aSwitches)
        if (args.value(entry.first, false))
            aArgs.push_back(entry.second);
    const json modules = args.value("modules", json::array());
    for (const json& module : modules)
    {
        std::string strModule = module.at("library").get<std::string>();
        std::string strClasses;
        const json classes = module.value("classes", json::array());
        for (const json& cls : classes)
            strClasses += (strClasses.empty() ? "" : ",") + cls.get<std::string>();
        aArgs.insert(aArgs.end(),
                     {"--module", strClasses.empty() ? strModule : strModule + ":" + strClasses});
        const json settings = module.value("settings", json::object());
        for (const auto& setting : settings.items())
            aArgs.insert(aArgs.end(), {"--set", setting.key() + "=" + setting.value().get<std::string>()});
    }
    aArgs.push_back(args.at("program").get<std::string>());
    return aArgs;
}

// What the adapter sets up around the run: boxes and Input answer without the
// terminal, whose input is the protocol's, and the engine's window is the adapter's.
class CDapRunSession : public CLumRunSession
{
public:
    CDapRunSession(CLumDapSession& session, bool fAnswer, int nAnswer, CLumConsole& console)
        : m_rConsole(console)
    {
        console.SetInput([](const std::string& strPrompt, std::string&) {
            CLumConsole::WriteStandard(strPrompt + "\n");
            return false;
        });
        // Without an answer in the configuration a box is confirmed, as with OK.
        m_fnBoxBefore =
            LumSetMessageBox([fAnswer, nAnswer](const char* pszText, const char* pszCaption, long) {
                CLumConsole::WriteStandard(std::string(pszCaption) + ": " + pszText + "\n");
                return fAnswer ? nAnswer : LUM_IDOK;
            });
        m_fnWindowBefore = LumSetDebugWindowFactory([&session](CLumBasicDebugger* pDebugger, const char*) {
            return std::make_unique<CLumDapWindow>(session, *pDebugger);
        });
        CLumBasicDebugger::m_fDebug = 1;
    }
    ~CDapRunSession() override
    {
        CLumBasicDebugger::m_fDebug = 0;
        LumSetDebugWindowFactory(std::move(m_fnWindowBefore));
        LumSetMessageBox(std::move(m_fnBoxBefore));
        m_rConsole.SetInput(CLumConsole::ReadStandard);
    }

private:
    CLumConsole& m_rConsole;
    LumDebugWindowFactory m_fnWindowBefore;
    LumMessageBoxFunction m_fnBoxBefore;
};

// Collects what is said on standard error while a launch is checked, for its answer.
struct CSaid : CLumDapChannel
{
    void Respond(const json&, const json&) override {}
    void Refuse(const json&, const std::string&) override {}
    void Event(const std::string&, const json& body) override { m_strText += body.value("output", ""); }
    std::string m_strText;
};
} // namespace

CLumDapSession::CLumDapSession(CLumDapChannel& channel, bool fCapture)
    : m_channel(channel), m_fCapture(fCapture)
{
}

CLumDapSession::~CLumDapSession()
{
    Terminate();
    if (m_thread.joinable())
        m_thread.join();
}

bool CLumDapSession::Launch(const json& args, std::string& strWhy)
{
    try
    {
        m_aArgs = RunArguments(args);
        // Where run refuses the options it says so with this line in place of its usage.
        m_strCommand = "lumbasic run";
        for (const std::string& strArg : m_aArgs)
            m_strCommand += " " + strArg;
        m_fStopOnEntry = args.value("stopOnEntry", false);
        SetFollow(m_fStopOnEntry);
        if (args.contains("cwd") && chdir(args.at("cwd").get<std::string>().c_str()) != 0)
            throw std::runtime_error("cwd: " + args.at("cwd").get<std::string>());
    }
    catch (const std::exception& e)
    {
        strWhy = LumDapMessage(LUM_MSG_DAP_LAUNCH, {e.what()});
        return false;
    }
    // The options, the program and the extension table, as `run` would check them:
    // what they say goes to standard error, which the launch's answer then holds.
    SLumRunOptions options;
    CSaid said;
    bool fOk = false;
    {
        std::unique_ptr<CLumDapCapture> pCapture;
        if (m_fCapture)
            pCapture = std::make_unique<CLumDapCapture>(2, "stderr", said);
        fOk = LumParseRunOptions(m_aArgs, m_strCommand.c_str(), options) && LumCheckSandbox(options) &&
              LumLoadExtensions(options.m_strExtensions, m_extensions);
        std::string strVars;
        std::set<std::string> setHostNames;
        fOk = fOk && (options.m_strVars.empty() || LumReadVarsFile(options.m_strVars, strVars, setHostNames));
        SLumProgramFile file;
        if (fOk && (fOk = LumReadProgramFile(options.m_strImage, file)) && file.m_fSource)
        {
            SLumCompileOptions compileOptions;
            compileOptions.m_fStrict = options.m_fStrict;
            compileOptions.m_pHostNames = &setHostNames;
            std::vector<uint8_t> aImage;
            fOk = LumCompileSource(file, m_extensions, compileOptions, aImage);
        }
    }
    m_strProgram = CLumDapBreakpoints::SourceKey(options.m_strImage);
    m_strProgramPath = options.m_strImage;
    std::string& strSaid = said.m_strText;
    if (fOk && !strSaid.empty()) // the compiler's warnings
        m_channel.Output("stderr", strSaid);
    while (!strSaid.empty() && strSaid.back() == '\n')
        strSaid.pop_back();
    if (!fOk)
        strWhy = LumDapMessage(LUM_MSG_DAP_LAUNCH, {strSaid.empty() ? options.m_strImage : strSaid});
    return fOk;
}

void CLumDapSession::Start()
{
    if (!m_thread.joinable())
        m_thread = std::thread([this] { Run(); });
}

void CLumDapSession::Run()
{
    int nStatus = 1;
    {
        std::unique_ptr<CLumDapCapture> pOut, pErr;
        if (m_fCapture)
        {
            pOut = std::make_unique<CLumDapCapture>(1, "stdout", m_channel);
            pErr = std::make_unique<CLumDapCapture>(2, "stderr", m_channel);
        }
        CLumVariables cVariables;
        nStatus = LumRunProgram(
            m_aArgs, m_strCommand.c_str(),
            [this](bool fAnswer, int nAnswer, CLumConsole& console) {
                return std::make_unique<CDapRunSession>(*this, fAnswer, nAnswer, console);
            },
            cVariables);
    }
    m_channel.Event("exited", json{{"exitCode", nStatus}});
    m_channel.Event("terminated", json::object());
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fEnded = true;
    m_settled.notify_all();
}

bool CLumDapSession::IsStopped()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_fStopped;
}

void CLumDapSession::Settle()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (HasStarted())
        m_settled.wait(lock, [this] { return (m_fStopped && !m_fResume) || m_fEnded; });
}

bool CLumDapSession::WhenStopped(std::function<void(CLumDapInspector&, const std::string&)> fnTask)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_fStopped)
        return false;
    m_lstTasks.push_back([this, fnTask] { fnTask(*m_pInspector, m_strFailure); });
    m_wake.notify_all();
    return true;
}

bool CLumDapSession::Resume(EStep eStep)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_fStopped)
        return false;
    m_fResume = true;
    m_eResume = eStep;
    m_wake.notify_all();
    return true;
}

void CLumDapSession::Terminate()
{
    m_fTerminate = true;
    Turn();
    Resume(EStep::Continue);
}

std::vector<SLumCallSite> CLumDapSession::Frames(CLumBasicDebugger& debugger, long nLine) const
{
    std::vector<SLumCallSite> aFrames;
    debugger.GetCallStack(aFrames);
    // The statements of an imported image outside its procedures run in an
    // interpreter of their own: the frame on top of its importer's.
    const std::string& strSource = debugger.GetCurrentSource();
    if (aFrames.empty() || (!strSource.empty() && aFrames.front().m_strSource != strSource))
        aFrames.insert(aFrames.begin(), SLumCallSite{std::string(), strSource, nLine});
    return aFrames;
}

bool CLumDapSession::StepDue(size_t nDepth) const
{
    switch (m_eStep)
    {
    case EStep::In:
        return true;
    case EStep::Over:
        return nDepth <= m_nStepDepth;
    case EStep::Out:
        return nDepth < m_nStepDepth;
    default:
        return false;
    }
}

void CLumDapSession::AtLine(CLumBasicDebugger& debugger, long nLine)
{
    if (m_fTerminate)
    {
        CLumsException e;
        e.AddString() = LoadMessage(LUM_MSG_DAP_TERMINATED);
        throw e;
    }
    SLumDapBreakpoint breakpoint;
    bool fBreakpoint = m_breakpoints.Hit(debugger.GetCurrentSource(), nLine, breakpoint);
    if (!fBreakpoint && !m_fStopOnEntry && !m_fPause && m_eStep == EStep::Continue)
        return;
    std::vector<SLumCallSite> aFrames = Frames(debugger, nLine);
    size_t nDepth = aFrames.size();
    CLumDapInspector inspector(debugger, *debugger.GetBasic()->GetVariables(), std::move(aFrames),
                               m_strProgram);
    std::string strReason;
    if (m_fStopOnEntry)
        strReason = "entry";
    else if (m_fPause.exchange(false))
        strReason = "pause";
    else if (fBreakpoint && BreakpointStops(inspector, breakpoint))
        strReason = "breakpoint";
    else if (StepDue(nDepth))
        strReason = "step";
    m_fStopOnEntry = false;
    SetFollow(m_eStep != EStep::Continue);
    if (!strReason.empty())
        Stop(inspector, nDepth, strReason);
}

bool CLumDapSession::BreakpointStops(CLumDapInspector& inspector, const SLumDapBreakpoint& breakpoint)
{
    std::string strWhy;
    if (!CLumDapBreakpoints::HitConditionHolds(breakpoint.m_strHitCondition, breakpoint.m_nHits, strWhy))
        return false;
    if (!breakpoint.m_strCondition.empty())
    {
        try
        {
            if (!inspector.Value(breakpoint.m_strCondition, 0).IsTrue())
                return false;
        }
        catch (const std::exception& e)
        {
            strWhy = LumDapMessage(LUM_MSG_DAP_CONDITION, {breakpoint.m_strCondition, e.what()});
        }
    }
    // A faulty condition or hit count stops, so that the user sees why.
    if (!strWhy.empty())
        m_channel.Output("console", strWhy + "\n");
    else if (!breakpoint.m_strLogMessage.empty())
    {
        m_channel.Output("console", LogMessage(inspector, breakpoint.m_strLogMessage) + "\n");
        return false;
    }
    return true;
}

// "{expression}" parts give their values; "{{" and "}}" stand for braces.
std::string CLumDapSession::LogMessage(CLumDapInspector& inspector, const std::string& strMessage) const
{
    std::string strText;
    for (size_t i = 0; i < strMessage.size(); ++i)
    {
        char c = strMessage[i];
        size_t nClose = c == '{' ? strMessage.find('}', i + 1) : std::string::npos;
        if ((c == '{' || c == '}') && i + 1 < strMessage.size() && strMessage[i + 1] == c)
            strText += strMessage[i++];
        else if (nClose == std::string::npos)
            strText += c;
        else
        {
            std::string strExpression = strMessage.substr(i + 1, nClose - i - 1);
            try
            {
                strText += LumDapText(inspector.Value(strExpression, 0));
            }
            catch (const std::exception& e)
            {
                strText += std::string("<") + e.what() + ">";
            }
            i = nClose;
        }
    }
    return strText;
}

void CLumDapSession::Stop(CLumDapInspector& inspector, size_t nDepth, const std::string& strReason,
                          const std::string& strText)
{
    fflush(stdout);
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_fTerminate)
        return;
    // A pause asked for meanwhile is answered by this stop.
    m_fPause = false;
    m_pInspector = &inspector;
    m_fStopped = true;
    m_settled.notify_all();
    json body{{"reason", strReason}, {"threadId", 1}, {"allThreadsStopped", true}};
    if (!strText.empty())
        body["text"] = strText;
    // Under the lock: a request that follows the event finds the program stopped.
    m_channel.Event("stopped", body);
    while (!m_fResume)
    {
        if (m_lstTasks.empty())
        {
            m_wake.wait(lock);
            continue;
        }
        std::function<void()> fnTask = std::move(m_lstTasks.front());
        m_lstTasks.pop_front();
        lock.unlock();
        fnTask();
        lock.lock();
    }
    m_fResume = false;
    m_fStopped = false;
    m_pInspector = nullptr;
    m_eStep = m_eResume;
    m_nStepDepth = nDepth;
    SetFollow(m_eStep != EStep::Continue);
}

void CLumDapSession::AtFailure(CLumBasicDebugger& debugger, const CLumsException& e) noexcept
{
    try
    {
        m_strFailure = LumFailureReport(e, m_strProgramPath);
        if (m_fTerminate || !m_fStopOnFailure)
            return;
        std::vector<SLumCallSite> aFrames = e.GetCallSites();
        size_t nDepth = aFrames.size();
        CLumDapInspector inspector(debugger, *debugger.GetBasic()->GetVariables(), std::move(aFrames),
                                   m_strProgram);
        Stop(inspector, nDepth, "exception", e.GetTrail().empty() ? std::string() : e.GetTrail().front());
    }
    catch (...)
    {
        // The run's own failure goes on; this stop is lost.
    }
}
