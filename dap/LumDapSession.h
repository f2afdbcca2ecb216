// One debugged run of `lumbasic dap`: the launch configuration read into the options
// of `lumbasic run`, the run on a thread of its own through the command line's run,
// and its stops. At a stop the run thread waits for the client and serves the
// requests that look at the program there (LumDapInspector); the reading thread
// hands them over and releases the program.
#pragma once

#include "LumDapBreakpoints.h"
#include "LumDapChannel.h"
#include "LumDapInspector.h"

#include "LumExtensionTable.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class CLumBasicDebugger;

class CLumDapSession
{
public:
    // How a stopped program goes on.
    enum class EStep
    {
        Continue,
        In,
        Over,
        Out,
    };

    // `fCapture`: the run's standard output and error go to the client (LumDapCapture).
    CLumDapSession(CLumDapChannel& channel, bool fCapture);
    // Ends a run that goes on and waits for it.
    ~CLumDapSession();
    CLumDapSession(const CLumDapSession&) = delete;
    CLumDapSession& operator=(const CLumDapSession&) = delete;

    // The reading thread's side.
    // Reads the arguments of launch and checks the program; false with the reason.
    bool Launch(const json& args, std::string& strWhy);
    // The configuration is done: the run starts.
    void Start();
    bool HasStarted() const { return m_thread.joinable(); }
    json SetBreakpoints(const json& args)
    {
        json answer = m_breakpoints.Set(args, m_extensions);
        Turn();
        return answer;
    }
    void SetStopOnFailure(bool fStop) { m_fStopOnFailure = fStop; }
    bool IsStopped();
    // Waits until the run stands at a stop or has ended; at once when it has not started.
    void Settle();
    // Runs `fnTask` on the run's thread at the stop, with the inspector of the stop
    // and the failure's report (empty unless it stopped at a failure); false when the
    // program does not stand at a stop.
    bool WhenStopped(std::function<void(CLumDapInspector&, const std::string& strFailure)> fnTask);
    // Releases a stopped program; false when it does not stand at a stop.
    bool Resume(EStep eStep);
    // Stops a running program at its next line.
    void Pause()
    {
        m_fPause = true;
        Turn();
    }
    // Whether the run must come to the session at every line: something may stop it
    // (a breakpoint, a step, a pause, the stop on entry) or end it. Any thread.
    bool FollowsLines() const
    {
        return m_fFollow.load(std::memory_order_relaxed) || m_fPause.load(std::memory_order_relaxed) ||
               m_fTerminate.load(std::memory_order_relaxed) || m_breakpoints.Any();
    }
    // Ends the run at its next line, a stopped one at once.
    void Terminate();
    // Rises after each change that may turn FollowsLines to yes: the run, which adds up
    // the lines between while nothing could stop it, watches it at each line.
    const std::atomic<uint32_t>* FollowTurns() const { return &m_nTurns; }

    // The run thread's side, from the window.
    void AtLine(CLumBasicDebugger& debugger, long nLine);
    void AtFailure(CLumBasicDebugger& debugger, const CLumsException& e) noexcept;

private:
    void Run();
    std::vector<SLumCallSite> Frames(CLumBasicDebugger& debugger, long nLine) const;
    bool StepDue(size_t nDepth) const;
    // Whether a breakpoint that was hit stops: its hit count and condition hold and it
    // logs nothing; a log point writes its message.
    bool BreakpointStops(CLumDapInspector& inspector, const SLumDapBreakpoint& breakpoint);
    void Turn() { m_nTurns.fetch_add(1, std::memory_order_release); }
    void SetFollow(bool fFollow)
    {
        m_fFollow = fFollow;
        Turn();
    }
    std::string LogMessage(CLumDapInspector& inspector, const std::string& strMessage) const;
    // Stops the program for the client until it is released.
    void Stop(CLumDapInspector& inspector, size_t nDepth, const std::string& strReason,
              const std::string& strText = std::string());

    CLumDapChannel& m_channel;
    bool m_fCapture;
    CLumDapBreakpoints m_breakpoints;
    CLumExtensionTable m_extensions;
    // The arguments of `lumbasic run` the launch configuration stands for.
    std::vector<std::string> m_aArgs;
    std::string m_strCommand;
    // The program's source as images name it, and its path as the configuration gives it.
    std::string m_strProgram;
    std::string m_strProgramPath;
    bool m_fStopOnEntry = false;
    std::thread m_thread;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_settled;
    bool m_fStopped = false;
    bool m_fEnded = false;
    std::deque<std::function<void()>> m_lstTasks;
    bool m_fResume = false;
    EStep m_eResume = EStep::Continue;
    std::atomic<bool> m_fPause{false};
    std::atomic<bool> m_fTerminate{false};
    std::atomic<bool> m_fStopOnFailure{true};
    // The stop on entry is due or a step goes on: the run's thread writes it.
    std::atomic<bool> m_fFollow{false};
    std::atomic<uint32_t> m_nTurns{0};

    // The run thread's own.
    CLumDapInspector* m_pInspector = nullptr;
    std::string m_strFailure;
    EStep m_eStep = EStep::Continue;
    size_t m_nStepDepth = 0;
};
