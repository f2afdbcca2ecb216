// The user's keys and mouse in the debug window, turned into the commands that a
// dialog's controls would send. A command may end the loop or destroy the window, so
// nothing here touches the screen after sending one.
#include "LumCursesPopup.h"
#include "LumCursesTerminal.h"
#include "LumCursesToolkit.h"

namespace
{
const int WHEEL_ROWS = 3;

ELumControlKind KindOf(int nIndex)
{
    return LumCursesControls()[static_cast<size_t>(nIndex)].m_eKind;
}

int IdOf(int nIndex)
{
    return LumCursesControls()[static_cast<size_t>(nIndex)].m_nId;
}

// The control that a function key clicks, -1 for none.
int FunctionKeyControl(unsigned nKey)
{
    for (const SLumCursesControl& control : LumCursesControls())
        if (control.m_nFunctionKey > 0 && nKey == static_cast<unsigned>(KEY_F(control.m_nFunctionKey)))
            return control.m_nId;
    return -1;
}
} // namespace

void CLumCursesToolkit::OnKey(const SLumCursesKey& key)
{
    if (key.m_eKind == SLumCursesKey::Mouse)
        OnMouse(key);
    else if (LumIsEscape(key))
    {
        if (m_fInLoop)
            EndModalLoop(LUM_IDC_CANCEL);
    }
    // The dialog's rule: Enter presses the button with the focus, or else the default.
    else if (LumIsEnter(key))
        Click(KindOf(m_nFocus) == ELumControlKind::Button ? IdOf(m_nFocus) : LUM_IDC_STEP);
    else if (key.IsChar('\t') || key.IsKey(KEY_BTAB))
        MoveFocus(key.IsChar('\t') ? 1 : -1, 0, LUM_CURSES_CONTROLS);
    else if (LumIsRepaint(key))
        m_pTerminal->Repaint();
    else if (key.IsChar(' '))
        OnSpace();
    else if (key.m_eKind == SLumCursesKey::Key)
        OnControlKey(key.m_nCode);
    else if (key.m_nCode >= 0x20 && key.m_nCode != 0x7F && m_pTarget != nullptr)
        m_pTarget->OnChar(key.m_nCode);
}

void CLumCursesToolkit::OnControlKey(unsigned nKey)
{
    int nId = FunctionKeyControl(nKey);
    if (nId >= 0)
        return Click(nId);
    SLumCursesLayout layout = LumLayoutWindow(LINES, COLS);
    bool fForward = nKey == KEY_RIGHT || nKey == KEY_DOWN;
    bool fBackward = nKey == KEY_LEFT || nKey == KEY_UP;
    switch (KindOf(m_nFocus))
    {
    case ELumControlKind::List:
    {
        SLumRect rcInside = ListInside(m_nFocus, layout);
        int nColumns = rcInside.m_nWidth - GutterOf(m_nFocus, layout);
        m_aViews[m_nFocus].OnKey(ListAt(m_nFocus), nKey, rcInside.m_nHeight, nColumns);
        break;
    }
    // Arrows move among the check boxes and among the buttons, as in a group.
    case ELumControlKind::Check:
        if (fForward || fBackward)
            MoveFocus(fForward ? 1 : -1, LUM_CURSES_FIRST_CHECK, LUM_CURSES_FIRST_BUTTON);
        break;
    case ELumControlKind::Button:
        if (fForward || fBackward)
            MoveFocus(fForward ? 1 : -1, LUM_CURSES_FIRST_BUTTON, LUM_CURSES_CONTROLS);
        break;
    }
}

// Space is the keyboard's double click on a list's current row.
void CLumCursesToolkit::OnSpace()
{
    if (KindOf(m_nFocus) != ELumControlKind::List)
        return Click(IdOf(m_nFocus));
    if (ListAt(m_nFocus).GetCurSel() >= 0 && m_pTarget != nullptr)
        m_pTarget->OnCommand(ELumDebugNotify::DoubleClick, IdOf(m_nFocus));
}

// To the next control from nFirst to before nLast that has a place on the screen.
void CLumCursesToolkit::MoveFocus(int nStep, int nFirst, int nLast)
{
    SLumCursesLayout layout = LumLayoutWindow(LINES, COLS);
    int nCount = nLast - nFirst;
    int nFocus = m_nFocus;
    for (int i = 0; i < nCount; ++i)
    {
        nFocus = nFirst + (nFocus - nFirst + nStep + nCount) % nCount;
        if (!layout.m_aControls[static_cast<size_t>(nFocus)].IsEmpty())
        {
            m_nFocus = nFocus;
            return;
        }
    }
}

// A check box changes its state before the command arrives.
void CLumCursesToolkit::Click(int nId)
{
    int nIndex = LumCursesControlIndex(nId);
    if (nIndex >= 0 && KindOf(nIndex) == ELumControlKind::Check)
        CheckDlgButton(nId, !IsDlgButtonChecked(nId));
    if (m_pTarget != nullptr)
        m_pTarget->OnCommand(ELumDebugNotify::Click, nId);
}

void CLumCursesToolkit::OnMouse(const SLumCursesKey& key)
{
    SLumCursesLayout layout = LumLayoutWindow(LINES, COLS);
    for (int i = 0; i < LUM_CURSES_CONTROLS; ++i)
    {
        if (!layout.m_aControls[static_cast<size_t>(i)].Contains(key.m_nY, key.m_nX))
            continue;
        if (KindOf(i) == ELumControlKind::List)
            return OnListMouse(i, key, layout);
        if (!key.m_fClick && !key.m_fDoubleClick)
            return;
        m_nFocus = i;
        return Click(IdOf(i));
    }
}

// A click makes a row current, a double click does too and sends its command: on the
// empty part of a list, with no row current.
void CLumCursesToolkit::OnListMouse(int nIndex, const SLumCursesKey& key, const SLumCursesLayout& layout)
{
    CLumDebugList& list = ListAt(nIndex);
    SLumRect rcInside = ListInside(nIndex, layout);
    if (key.m_nWheel != 0)
        return m_aViews[nIndex].Scroll(list, key.m_nWheel * WHEEL_ROWS, rcInside.m_nHeight);
    if (!key.m_fClick && !key.m_fDoubleClick)
        return;
    m_nFocus = nIndex;
    if (!rcInside.Contains(key.m_nY, key.m_nX))
        return;
    int nRow = CLumCursesListView::RowAt(list, rcInside, key.m_nY);
    if (key.m_fDoubleClick)
    {
        list.SetCurSel(nRow);
        if (m_pTarget != nullptr)
            m_pTarget->OnCommand(ELumDebugNotify::DoubleClick, IdOf(nIndex));
    }
    else if (nRow >= 0)
        list.SetCurSel(nRow);
}
