// The debug window of the adapter: the engine calls it at every line it enters and
// at a failure, and it hands both to the session, which decides whether to stop.
#pragma once

#include <lumbasic/LumBasicDebugWindow.h>

class CLumBasicDebugger;
class CLumDapSession;

class CLumDapWindow : public CLumBasicDebugWindow
{
public:
    CLumDapWindow(CLumDapSession& session, CLumBasicDebugger& debugger)
        : m_session(session), m_debugger(debugger)
    {
    }

    void SetTitle(const std::string&) override {}
    void SetSourceText(const char*) override {}
    int EnterModalMode(long nLine) override;
    void RefreshDebugWindow() override {}
    void RefreshLine(long) override {}
    void ExportProfile() override;
    void OnFailure(const CLumsException& e) override;
    bool FollowsEveryLine() const override;
    const std::atomic<uint32_t>* FollowTurns() const override;

private:
    CLumDapSession& m_session;
    CLumBasicDebugger& m_debugger;
};
