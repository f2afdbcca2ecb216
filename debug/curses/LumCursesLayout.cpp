#include "LumCursesLayout.h"
#include "LumCursesText.h"

#include <lumbasic/LumDebugToolkit.h>

#include <algorithm>

namespace
{
const std::array<SLumCursesControl, LUM_CURSES_CONTROLS> s_aControls = {{
    {ELumControlKind::List, LUM_IDC_SOURCE, "", 0},
    {ELumControlKind::List, LUM_IDC_VARIABLES, "Alle Variablen", 0},
    {ELumControlKind::List, LUM_IDC_WATCHES, "Ausgewählte Variablen", 0},
    {ELumControlKind::Check, LUM_IDC_PROFILE, "... anzeigen", 0},
    {ELumControlKind::Check, LUM_IDC_PROFILESAVE, "... sichern", 0},
    {ELumControlKind::Check, LUM_IDC_PROFILEEXPORT, "... exportieren", 0},
    {ELumControlKind::Button, LUM_IDC_STEP, "Schritt >", 10},
    {ELumControlKind::Button, LUM_IDC_STEPINTO, "Schritt v", 11},
    {ELumControlKind::Button, LUM_IDC_RUN, "Weiter >>", 5},
    {ELumControlKind::Button, LUM_IDC_NEWVAR, "Neue Var...", 2},
    {ELumControlKind::Button, LUM_IDC_CHGVAR, "Var ändern...", 3},
    {ELumControlKind::Button, LUM_IDC_OFF, "Debugger AUS", 12},
}};

// Wide enough for "[x] ... exportieren" with a blank on either side and the frame.
const int GROUP_WIDTH = 23;

// The part of a rectangle on a screen of nColumns, empty if nothing is.
SLumRect ClipRight(SLumRect rc, int nColumns)
{
    rc.m_nWidth = std::min(rc.m_nWidth, nColumns - rc.m_nX);
    if (rc.m_nWidth <= 0)
        rc = SLumRect();
    return rc;
}

// The three lists and the group box side by side in the band under the source list.
void LayoutLowerBand(SLumCursesLayout& layout, int nY, int nHeight, int nColumns)
{
    int nGroup = nColumns >= 50 ? GROUP_WIDTH : 0;
    int nLists = nColumns - nGroup;
    int nVariables = nLists * 53 / 100;
    layout.m_aControls[1] = {nY, 0, nHeight, nVariables};
    layout.m_aControls[2] = {nY, nVariables, nHeight, nLists - nVariables};
    if (nGroup == 0)
        return;
    layout.m_rcGroup = {nY, nLists, nHeight, nGroup};
    SLumRect rcInner = layout.m_rcGroup.Inner();
    // A roomy box spaces the check boxes out; a small one stacks them.
    int nStep = rcInner.m_nHeight >= 6 ? 2 : 1;
    int nOffset = rcInner.m_nHeight >= 6 ? 1 : 0;
    for (int i = 0; i < 3; ++i)
    {
        int nRow = rcInner.m_nY + nOffset + i * nStep;
        if (nRow < rcInner.m_nY + rcInner.m_nHeight)
            layout.m_aControls[LUM_CURSES_FIRST_CHECK + i] = {nRow, rcInner.m_nX + 1, 1,
                                                              rcInner.m_nWidth - 1};
    }
}

int ButtonWidth(int nIndex, bool fPadded)
{
    return LumTextWidth(LumButtonFace(s_aControls[static_cast<size_t>(nIndex)].m_pszLabel, false, fPadded));
}

// The columns that the buttons take in a row, with the gaps between them.
int ButtonRowWidth(bool fPadded)
{
    int nWidth = (fPadded ? 2 : 1) * (LUM_CURSES_CONTROLS - LUM_CURSES_FIRST_BUTTON - 1);
    for (int i = LUM_CURSES_FIRST_BUTTON; i < LUM_CURSES_CONTROLS; ++i)
        nWidth += ButtonWidth(i, fPadded);
    return nWidth;
}

// The buttons in nRows rows from nY on, wrapping to the next row where one does not fit.
void LayoutButtons(SLumCursesLayout& layout, int nY, int nRows, int nColumns)
{
    int nMargin = nColumns > 40 ? 1 : 0;
    layout.m_fPaddedButtons = nRows == 1 && nMargin + ButtonRowWidth(true) + 1 <= nColumns;
    int nGap = layout.m_fPaddedButtons ? 2 : 1;
    int nX = nMargin;
    for (int i = LUM_CURSES_FIRST_BUTTON; i < LUM_CURSES_CONTROLS; ++i)
    {
        int nWidth = ButtonWidth(i, layout.m_fPaddedButtons);
        if (nX + nWidth > nColumns && nX > nMargin && nY + 1 < layout.m_nButtonRow + nRows)
        {
            ++nY;
            nX = nMargin;
        }
        // The switch-off button keeps apart from the others, at the right edge.
        if (i == LUM_CURSES_CONTROLS - 1 && layout.m_fPaddedButtons)
            nX = std::max(nX, nColumns - 1 - nWidth);
        layout.m_aControls[static_cast<size_t>(i)] = ClipRight({nY, nX, 1, nWidth}, nColumns);
        nX += nWidth + nGap;
    }
}
} // namespace

const std::array<SLumCursesControl, LUM_CURSES_CONTROLS>& LumCursesControls()
{
    return s_aControls;
}

int LumCursesControlIndex(int nId)
{
    for (int i = 0; i < LUM_CURSES_CONTROLS; ++i)
        if (s_aControls[static_cast<size_t>(i)].m_nId == nId)
            return i;
    return -1;
}

std::wstring LumButtonFace(const char* pszLabel, bool fDefault, bool fPadded)
{
    std::wstring strBlank = fPadded ? L" " : L"";
    return (fDefault ? L"<" : L"[") + strBlank + LumDecodeUtf8(pszLabel) + strBlank +
           (fDefault ? L">" : L"]");
}

// Title on top, the source list over a band with the other lists and the coverage
// box, the buttons (in two rows if one is too narrow) and a line of key help at the
// bottom. A short screen gives up the help line first, then the band.
SLumCursesLayout LumLayoutWindow(int nLines, int nColumns)
{
    SLumCursesLayout layout;
    if (nLines <= 0 || nColumns <= 0)
        return layout;
    layout.m_rcTitle = {0, 0, 1, nColumns};
    bool fStatus = nLines >= 12;
    if (fStatus)
        layout.m_rcStatus = {nLines - 1, 0, 1, nColumns};
    int nButtonRows = nLines < 3 ? 0 : nLines >= 14 && ButtonRowWidth(false) + 1 > nColumns ? 2 : 1;
    layout.m_nButtonRow = nLines - (fStatus ? 1 : 0) - nButtonRows;
    if (nButtonRows > 0)
        LayoutButtons(layout, layout.m_nButtonRow, nButtonRows, nColumns);
    int nMiddle = std::max(layout.m_nButtonRow - 1, 0);
    int nLower = nMiddle >= 12 ? std::max(6, nMiddle * 2 / 5) : nMiddle >= 6 ? nMiddle / 2 : 0;
    layout.m_aControls[0] = {1, 0, nMiddle - nLower, nColumns};
    if (nLower > 0)
        LayoutLowerBand(layout, 1 + nMiddle - nLower, nLower, nColumns);
    return layout;
}
