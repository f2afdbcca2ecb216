// Drawing the debug window: every paint draws all of it into curses' picture of the
// screen, and curses sends the terminal only what changed.
#include "LumCursesDraw.h"
#include "LumCursesTerminal.h"
#include "LumCursesText.h"
#include "LumCursesToolkit.h"

#include <algorithm>

namespace
{
// What Space does where the focus is, before the keys that work everywhere.
const wchar_t* SpaceHelp(int nFocus)
{
    switch (nFocus)
    {
    case 0:
        return L"Leertaste: Haltepunkt  ";
    case 1:
        return L"Leertaste: beobachten  ";
    case 2:
        return L"";
    default:
        return nFocus < LUM_CURSES_FIRST_BUTTON ? L"Leertaste: umschalten  " : L"Leertaste: drücken  ";
    }
}

std::wstring Centered(const std::wstring& str, int nWidth)
{
    int nBlanks = (nWidth - LumTextWidth(str)) / 2;
    return std::wstring(static_cast<size_t>(nBlanks > 0 ? nBlanks : 0), L' ') + str;
}
} // namespace

void CLumCursesToolkit::Paint()
{
    if (m_pTerminal == nullptr)
        return;
    PaintLayout();
    m_pTerminal->ShowCursor(false);
    m_pTerminal->Flush();
}

void CLumCursesToolkit::PaintLayout()
{
    SLumCursesLayout layout = LumLayoutWindow(LINES, COLS);
    FitLists(layout);
    werase(stdscr);
    const SLumRect& rcTitle = layout.m_rcTitle;
    LumDrawText(rcTitle.m_nY, rcTitle.m_nX, rcTitle.m_nWidth,
                Centered(LumDecodeUtf8(m_strTitle), rcTitle.m_nWidth),
                m_pTerminal->Look(ELumCursesLook::Title), 0, true);
    for (int i = 0; i < LUM_CURSES_FIRST_CHECK; ++i)
        PaintList(i, layout);
    PaintChecks(layout);
    PaintButtons(layout);
    PaintStatus(layout);
}

SLumRect CLumCursesToolkit::ListInside(int nIndex, const SLumCursesLayout& layout) const
{
    return layout.m_aControls[static_cast<size_t>(nIndex)].Inner();
}

// Only the source list marks a row, and it gives up its gutter when narrow.
int CLumCursesToolkit::GutterOf(int nIndex, const SLumCursesLayout& layout) const
{
    return nIndex == 0 && ListInside(nIndex, layout).m_nWidth >= 10 ? CLumCursesListView::GUTTER : 0;
}

void CLumCursesToolkit::FitLists(const SLumCursesLayout& layout)
{
    for (int i = 0; i < LUM_CURSES_FIRST_CHECK; ++i)
    {
        SLumRect rcInside = ListInside(i, layout);
        m_aViews[i].Fit(ListAt(i), rcInside.m_nHeight, rcInside.m_nWidth - GutterOf(i, layout));
    }
}

void CLumCursesToolkit::ShowCurrentRows()
{
    SLumCursesLayout layout = LumLayoutWindow(LINES, COLS);
    for (int i = 0; i < LUM_CURSES_FIRST_CHECK; ++i)
        m_aViews[i].ShowCurrent(ListAt(i), ListInside(i, layout).m_nHeight);
}

void CLumCursesToolkit::PaintList(int nIndex, const SLumCursesLayout& layout)
{
    const SLumRect& rcFrame = layout.m_aControls[static_cast<size_t>(nIndex)];
    if (rcFrame.IsEmpty())
        return;
    const CLumDebugList& list = ListAt(nIndex);
    bool fFocus = nIndex == m_nFocus;
    attr_t nFrame = m_pTerminal->Look(fFocus ? ELumCursesLook::FocusFrame : ELumCursesLook::Normal);
    LumDrawFrame(rcFrame, fFocus, nFrame);
    LumDrawFrameTitle(rcFrame, LumDecodeUtf8(LumCursesControls()[static_cast<size_t>(nIndex)].m_pszLabel),
                      nFrame);
    SLumRect rcInside = ListInside(nIndex, layout);
    m_aViews[nIndex].Draw(list, rcInside, fFocus, GutterOf(nIndex, layout) > 0, *m_pTerminal);
    if (rcInside.m_nWidth == rcFrame.m_nWidth)
        return;
    // Arrows in the right edge tell of rows above or below the visible ones.
    int nRight = rcFrame.m_nX + rcFrame.m_nWidth - 1;
    if (list.GetTopIndex() > 0)
        LumDrawCell(rcInside.m_nY, nRight, WACS_UARROW, nFrame);
    if (list.GetTopIndex() + rcInside.m_nHeight < list.GetCount())
        LumDrawCell(rcInside.m_nY + rcInside.m_nHeight - 1, nRight, WACS_DARROW, nFrame);
}

void CLumCursesToolkit::PaintChecks(const SLumCursesLayout& layout)
{
    if (layout.m_rcGroup.IsEmpty())
        return;
    LumDrawFrame(layout.m_rcGroup, false, A_NORMAL);
    LumDrawFrameTitle(layout.m_rcGroup, L"Überdeckung ...", A_NORMAL);
    for (int i = LUM_CURSES_FIRST_CHECK; i < LUM_CURSES_FIRST_BUTTON; ++i)
    {
        const SLumRect& rc = layout.m_aControls[static_cast<size_t>(i)];
        const SLumCursesControl& control = LumCursesControls()[static_cast<size_t>(i)];
        std::wstring strFace =
            (IsDlgButtonChecked(control.m_nId) ? L"[x] " : L"[ ] ") + LumDecodeUtf8(control.m_pszLabel);
        attr_t nAttr = m_pTerminal->Look(i == m_nFocus ? ELumCursesLook::Cursor : ELumCursesLook::Normal);
        LumDrawText(rc.m_nY, rc.m_nX, std::min(rc.m_nWidth, LumTextWidth(strFace)), strFace, nAttr);
    }
}

void CLumCursesToolkit::PaintButtons(const SLumCursesLayout& layout)
{
    for (int i = LUM_CURSES_FIRST_BUTTON; i < LUM_CURSES_CONTROLS; ++i)
    {
        const SLumRect& rc = layout.m_aControls[static_cast<size_t>(i)];
        const SLumCursesControl& control = LumCursesControls()[static_cast<size_t>(i)];
        std::wstring strFace =
            LumButtonFace(control.m_pszLabel, control.m_nId == LUM_IDC_STEP, layout.m_fPaddedButtons);
        attr_t nAttr = m_pTerminal->Look(i == m_nFocus ? ELumCursesLook::Cursor : ELumCursesLook::Normal);
        LumDrawText(rc.m_nY, rc.m_nX, rc.m_nWidth, strFace, nAttr);
    }
}

void CLumCursesToolkit::PaintStatus(const SLumCursesLayout& layout)
{
    const SLumRect& rc = layout.m_rcStatus;
    if (rc.IsEmpty())
        return;
    std::wstring strHelp = std::wstring(L" ") + SpaceHelp(m_nFocus) +
                           L"F10 Schritt  F11 Schritt v  F5 Weiter  F2 Neue Var  F3 Ändern  F12 AUS";
    LumDrawText(rc.m_nY, rc.m_nX, rc.m_nWidth, strHelp, m_pTerminal->Look(ELumCursesLook::Status), 0, true);
}
