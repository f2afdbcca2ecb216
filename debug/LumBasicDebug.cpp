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

// A marker goes on in its line when the marker before it on the same level of calls
// has the same line and stands before it: the statements of one line, with whatever
// they called in between. A jump back, as a loop makes, enters the line again.
bool CLumBasic::EntersLine(long nLine, const unsigned char* pAt)
{
    // Deeper levels belong to calls that have returned.
    m_aLineMarks.resize(static_cast<size_t>(m_cCallStack.GetCount()) + 1);
    SLumLineMark& last = m_aLineMarks.back();
    bool fEnters = last.m_pAt == nullptr || last.m_nLine != nLine || pAt <= last.m_pAt;
    last.m_pAt = pAt;
    last.m_nLine = nLine;
    return fEnters;
}
