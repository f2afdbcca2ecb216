#include "LumDapWindow.h"

#include "LumDapSession.h"

#include <lumbasic/LumBasicDebugger.h>

int CLumDapWindow::EnterModalMode(long nLine)
{
    // With counting on, the engine comes once more at its end, for a window to show
    // the counts: nothing runs there to stop at.
    if (!m_debugger.IsEnding())
        m_session.AtLine(m_debugger, nLine);
    return 0;
}

bool CLumDapWindow::FollowsEveryLine() const
{
    return m_session.FollowsLines();
}

// The session outlives the window, which a pause from the reading thread may meet gone.
const std::atomic<uint32_t>* CLumDapWindow::FollowTurns() const
{
    return m_session.FollowTurns();
}

void CLumDapWindow::ExportProfile()
{
    m_debugger.WriteProfileListing();
}

void CLumDapWindow::OnFailure(const CLumsException& e)
{
    m_session.AtFailure(m_debugger, e);
}
