#include "LumCursesToolkit.h"
#include "LumCursesForm.h"
#include "LumCursesMessageBox.h"
#include "LumCursesTerminal.h"
#include "LumCursesText.h"

#include <lumbasic/LumMessageBox.h>

#include <algorithm>

namespace
{
// A burst of updates, as a program that runs with the coverage column shown sends
// one per line, paints a few times at once and then once per interval.
const double PAINT_BURST = 3;
const std::chrono::milliseconds PAINT_INTERVAL(30);

// Puts back the loop flag of an outer loop, also when a handler throws.
class CLoopScope
{
public:
    explicit CLoopScope(bool& fInLoop) : m_fInLoop(fInLoop), m_fOuter(fInLoop) { m_fInLoop = true; }
    ~CLoopScope() { m_fInLoop = m_fOuter; }
    CLoopScope(const CLoopScope&) = delete;
    CLoopScope& operator=(const CLoopScope&) = delete;

private:
    bool& m_fInLoop;
    bool m_fOuter;
};
} // namespace

CLumCursesToolkit::CLumCursesToolkit() = default;

CLumCursesToolkit::~CLumCursesToolkit() = default;

void CLumCursesToolkit::CreateWindow(CLumDebugCommandTarget& target)
{
    if (m_pTerminal == nullptr)
        m_pTerminal = std::make_unique<CLumCursesTerminal>();
    m_pTarget = &target;
    m_nFocus = 0;
    m_dPaintCredit = PAINT_BURST;
    m_tCredit = std::chrono::steady_clock::now();
    Paint();
}

void CLumCursesToolkit::DestroyWindow()
{
    m_pTerminal.reset();
    m_pTarget = nullptr;
    m_fInLoop = false;
}

void CLumCursesToolkit::SetWindowText(const std::string& strTitle)
{
    m_strTitle = strTitle;
}

CLumDebugList& CLumCursesToolkit::ListAt(int nIndex)
{
    return nIndex == 1 ? m_lbVariables : nIndex == 2 ? m_lbWatches : m_lbSource;
}

const CLumDebugList& CLumCursesToolkit::ListAt(int nIndex) const
{
    return nIndex == 1 ? m_lbVariables : nIndex == 2 ? m_lbWatches : m_lbSource;
}

int CLumCursesToolkit::RunModalLoop()
{
    m_nResult = LUM_IDC_CANCEL;
    if (m_pTerminal == nullptr || m_pTarget == nullptr)
        return m_nResult;
    {
        CLoopScope scope(m_fInLoop);
        ShowCurrentRows();
        // A handler may end the loop, or destroy the window.
        while (m_fInLoop && m_pTerminal != nullptr)
        {
            Paint();
            SLumCursesKey key = m_pTerminal->ReadKey();
            if (key.m_eKind == SLumCursesKey::End)
                EndModalLoop(LUM_IDC_CANCEL);
            else
                OnKey(key);
        }
    }
    // What the program runs under until it stops again.
    Paint();
    return m_nResult;
}

void CLumCursesToolkit::EndModalLoop(int nResult)
{
    m_nResult = nResult;
    m_fInLoop = false;
}

void CLumCursesToolkit::UpdateWindow()
{
    if (m_pTerminal == nullptr)
        return;
    auto tNow = std::chrono::steady_clock::now();
    std::chrono::duration<double> dElapsed = tNow - m_tCredit;
    m_dPaintCredit = std::min(m_dPaintCredit + dElapsed / PAINT_INTERVAL, PAINT_BURST);
    m_tCredit = tNow;
    if (m_dPaintCredit < 1)
        return;
    m_dPaintCredit -= 1;
    // No key is read while the program runs, so a resize would not show till it stops.
    m_pTerminal->CatchResize();
    Paint();
}

int CLumCursesToolkit::MeasureText(const std::string& str) const
{
    return LumTextWidth(LumExpandTabs(LumDecodeUtf8(str), CLumTabStops()));
}

bool CLumCursesToolkit::DoModal(SLumDebugForm& form)
{
    if (m_pTerminal == nullptr)
        return false;
    bool fOk = CLumCursesForm(form, *m_pTerminal, [this] { PaintLayout(); }).Run();
    Paint();
    return fOk;
}

int CLumCursesToolkit::MessageBox(const char* pszText, const char* pszCaption, long nStyle)
{
    if (m_pTerminal == nullptr)
        return LumConsoleMessageBox(pszText, pszCaption, nStyle);
    int nAnswer =
        CLumCursesMessageBox(pszText, pszCaption, nStyle, *m_pTerminal, [this] { PaintLayout(); }).Run();
    Paint();
    return nAnswer;
}
