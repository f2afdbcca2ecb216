// The line marker: the one link between a running program and the debugger.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>

#include "core/LumFrame.h"

int CLumBasic::SetDebugInfo()
{
    return LumFrame("LUMBASICDEBUG", "CLumBasic::SetDebugInfo()", [&] {
        m_nLine = m_pQuelle->GetDWord();
        if (!m_fDebugMode || m_pDebugger == nullptr)
            return 0;
        // Of a row of markers only the last reaches the debugger: lines without code
        // of their own neither stop nor count.
        if (m_pQuelle->PeekToken() == LBT_DEBUGINFO)
            return 0;
        return m_pDebugger->Step(m_nLine);
    });
}
