// The line marker: the one link between a running program and the debugger.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>

#include "core/LumFrame.h"

int CLumBasic::SetDebugInfo()
{
    return LumFrame("LUMBASICDEBUG", "CLumBasic::SetDebugInfo()", [&] {
        const unsigned char* pAt = m_pQuelle->GetPosition();
        NoteMarker(m_pQuelle->GetDWord());
        if (!m_fDebugMode || m_pDebugger == nullptr)
            return 0;
        // Of a row of markers only the last reaches the debugger: lines without code
        // of their own neither stop nor count. Nor do a declaration and a procedure's
        // head, which run nothing the user could watch.
        unsigned short wNext = m_pQuelle->PeekToken();
        if (wNext == LBT_DEBUGINFO || wNext == LBT_DECLARE || wNext == LBT_SUB || wNext == LBT_FUNCTION)
            return 0;
        if (!EntersLine(m_nLine, pAt))
            return 0;
        return m_pDebugger->Step(m_nLine);
    });
}
