// Where the debug window's controls stand on a terminal of a given size. Nothing here
// draws: the layout is a function of the size, so that drawing, the mouse and the
// keys that page through a list all agree on it.
#pragma once

#include <array>
#include <string>

struct SLumRect
{
    int m_nY = 0;
    int m_nX = 0;
    int m_nHeight = 0;
    int m_nWidth = 0;

    bool IsEmpty() const { return m_nHeight <= 0 || m_nWidth <= 0; }
    bool Contains(int nY, int nX) const
    {
        return nY >= m_nY && nY < m_nY + m_nHeight && nX >= m_nX && nX < m_nX + m_nWidth;
    }
    // The inside of a frame; a rectangle too small for a frame has none.
    SLumRect Inner() const
    {
        if (m_nHeight < 3 || m_nWidth < 3)
            return *this;
        return {m_nY + 1, m_nX + 1, m_nHeight - 2, m_nWidth - 2};
    }
};

enum class ELumControlKind
{
    List,
    Check,
    Button,
};

// A control of the window, in the order that Tab moves the focus through them.
struct SLumCursesControl
{
    ELumControlKind m_eKind;
    int m_nId;
    const char* m_pszLabel;
    // The function key that clicks the control, 0 for none.
    int m_nFunctionKey;
};

// The focus order: the three lists, the three check boxes, the six buttons.
const int LUM_CURSES_CONTROLS = 12;
const int LUM_CURSES_FIRST_CHECK = 3;
const int LUM_CURSES_FIRST_BUTTON = 6;
const std::array<SLumCursesControl, LUM_CURSES_CONTROLS>& LumCursesControls();
// The control's place in the focus order, -1 for an id that the window lacks.
int LumCursesControlIndex(int nId);

// A button's face: "[ label ]", or "< label >" for the default button; without the
// inner blanks when space is short.
std::wstring LumButtonFace(const char* pszLabel, bool fDefault, bool fPadded);

struct SLumCursesLayout
{
    SLumRect m_rcTitle;
    SLumRect m_rcStatus;
    SLumRect m_rcGroup;
    // By the focus order: the frames of the lists, the check boxes, the button faces.
    std::array<SLumRect, LUM_CURSES_CONTROLS> m_aControls;
    bool m_fPaddedButtons = true;
    // The first row of buttons.
    int m_nButtonRow = 0;
};

// Everything clipped to the screen; a control that finds no room gets an empty place.
SLumCursesLayout LumLayoutWindow(int nLines, int nColumns);
