#include "LumCursesPopup.h"
#include "LumCursesDraw.h"
#include "LumCursesText.h"

#include <algorithm>

namespace
{
const int BUTTON_GAP = 2;
} // namespace

SLumRect LumCenterPopup(int nHeight, int nWidth)
{
    nHeight = std::max(std::min(nHeight, LINES), 0);
    nWidth = std::max(std::min(nWidth, COLS), 0);
    return {(LINES - nHeight) / 2, (COLS - nWidth) / 2, nHeight, nWidth};
}

void LumDrawPopup(const SLumRect& rc, const std::wstring& strTitle, const CLumCursesTerminal& terminal)
{
    attr_t nAttr = terminal.Look(ELumCursesLook::Popup);
    LumFillRect(rc, nAttr);
    LumDrawFrame(rc, true, nAttr | A_BOLD);
    LumDrawFrameTitle(rc, strTitle, nAttr | A_BOLD);
}

int LumButtonRowWidth(const std::vector<std::wstring>& aFaces)
{
    int nWidth = 0;
    for (const std::wstring& strFace : aFaces)
        nWidth += LumTextWidth(strFace) + (nWidth > 0 ? BUTTON_GAP : 0);
    return nWidth;
}

std::vector<SLumRect> LumLayoutButtonRow(int nY, int nX, int nWidth, const std::vector<std::wstring>& aFaces)
{
    std::vector<SLumRect> aButtons;
    int nLeft = nX + std::max((nWidth - LumButtonRowWidth(aFaces)) / 2, 0);
    for (const std::wstring& strFace : aFaces)
    {
        int nFace = LumTextWidth(strFace);
        // A face that does not fit is cut, and one beyond the edge has no place.
        int nVisible = std::min(nFace, nX + nWidth - nLeft);
        aButtons.push_back(nVisible > 0 ? SLumRect{nY, nLeft, 1, nVisible} : SLumRect());
        nLeft += nFace + BUTTON_GAP;
    }
    return aButtons;
}

void LumDrawButton(const SLumRect& rc, const std::wstring& strFace, bool fFocus,
                   const CLumCursesTerminal& terminal)
{
    if (rc.IsEmpty())
        return;
    attr_t nAttr = terminal.Look(fFocus ? ELumCursesLook::Cursor : ELumCursesLook::Normal);
    LumDrawText(rc.m_nY, rc.m_nX, rc.m_nWidth, strFace, nAttr);
}

int LumButtonAt(const std::vector<SLumRect>& aButtons, int nY, int nX)
{
    for (size_t i = 0; i < aButtons.size(); ++i)
        if (aButtons[i].Contains(nY, nX))
            return static_cast<int>(i);
    return -1;
}

bool LumIsEnter(const SLumCursesKey& key)
{
    return key.IsChar('\r') || key.IsChar('\n') || key.IsKey(KEY_ENTER);
}

bool LumIsEscape(const SLumCursesKey& key)
{
    return key.IsChar(27);
}

bool LumIsRepaint(const SLumCursesKey& key)
{
    return key.IsChar(12);
}
