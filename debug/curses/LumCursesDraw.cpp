#include "LumCursesDraw.h"
#include "LumCursesText.h"

#include <algorithm>

namespace
{
// The characters of the text that fall into the columns nSkip to nSkip + nWidth, as
// glyphs, and the columns they take.
std::wstring VisiblePart(const std::wstring& str, int nSkip, int nWidth, int& nUsed)
{
    std::wstring strOut;
    int nColumn = 0;
    bool fBase = false; // a combining character goes only on a base drawn here
    nUsed = 0;
    for (wchar_t c : str)
    {
        int nChar = LumCharWidth(c);
        if (nChar == 0)
        {
            if (fBase)
                strOut += c;
            continue;
        }
        if (nColumn < nSkip)
        {
            int nBlanks = std::min(nColumn + nChar - nSkip, nWidth - nUsed);
            if (nBlanks > 0)
            {
                strOut.append(static_cast<size_t>(nBlanks), L' ');
                nUsed += nBlanks;
            }
            nColumn += nChar;
            fBase = false;
            continue;
        }
        if (nUsed + nChar > nWidth)
            break;
        strOut += LumCharGlyph(c);
        nUsed += nChar;
        nColumn += nChar;
        fBase = true;
    }
    return strOut;
}
} // namespace

void LumDrawText(int nY, int nX, int nWidth, const std::wstring& str, attr_t nAttr, int nSkip, bool fPad)
{
    if (nY < 0 || nY >= LINES)
        return;
    if (nX < 0)
    {
        nSkip -= nX;
        nWidth += nX;
        nX = 0;
    }
    nWidth = std::min(nWidth, COLS - nX);
    if (nWidth <= 0)
        return;
    int nUsed = 0;
    std::wstring strOut = VisiblePart(str, std::max(nSkip, 0), nWidth, nUsed);
    if (fPad && nUsed < nWidth)
        strOut.append(static_cast<size_t>(nWidth - nUsed), L' ');
    wattrset(stdscr, nAttr);
    // The bottom right cell takes its character but reports an error; nothing is lost.
    mvwaddnwstr(stdscr, nY, nX, strOut.c_str(), static_cast<int>(strOut.size()));
    wattrset(stdscr, A_NORMAL);
}

void LumFillRect(const SLumRect& rc, attr_t nAttr)
{
    for (int nY = rc.m_nY; nY < rc.m_nY + rc.m_nHeight; ++nY)
        LumDrawText(nY, rc.m_nX, rc.m_nWidth, std::wstring(), nAttr, 0, true);
}

void LumDrawCell(int nY, int nX, const cchar_t* pChar, attr_t nAttr)
{
    if (nY < 0 || nY >= LINES || nX < 0 || nX >= COLS)
        return;
    wattrset(stdscr, nAttr);
    mvwadd_wch(stdscr, nY, nX, pChar);
    wattrset(stdscr, A_NORMAL);
}

void LumDrawFrame(const SLumRect& rc, bool fDouble, attr_t nAttr)
{
    if (rc.m_nHeight < 2 || rc.m_nWidth < 2)
        return;
    int nBottom = rc.m_nY + rc.m_nHeight - 1;
    int nRight = rc.m_nX + rc.m_nWidth - 1;
    const cchar_t* pHorizontal = fDouble ? WACS_D_HLINE : WACS_HLINE;
    const cchar_t* pVertical = fDouble ? WACS_D_VLINE : WACS_VLINE;
    for (int nX = rc.m_nX + 1; nX < nRight; ++nX)
    {
        LumDrawCell(rc.m_nY, nX, pHorizontal, nAttr);
        LumDrawCell(nBottom, nX, pHorizontal, nAttr);
    }
    for (int nY = rc.m_nY + 1; nY < nBottom; ++nY)
    {
        LumDrawCell(nY, rc.m_nX, pVertical, nAttr);
        LumDrawCell(nY, nRight, pVertical, nAttr);
    }
    LumDrawCell(rc.m_nY, rc.m_nX, fDouble ? WACS_D_ULCORNER : WACS_ULCORNER, nAttr);
    LumDrawCell(rc.m_nY, nRight, fDouble ? WACS_D_URCORNER : WACS_URCORNER, nAttr);
    LumDrawCell(nBottom, rc.m_nX, fDouble ? WACS_D_LLCORNER : WACS_LLCORNER, nAttr);
    LumDrawCell(nBottom, nRight, fDouble ? WACS_D_LRCORNER : WACS_LRCORNER, nAttr);
}

void LumDrawFrameTitle(const SLumRect& rc, const std::wstring& strTitle, attr_t nAttr)
{
    if (strTitle.empty() || rc.m_nWidth < 5)
        return;
    LumDrawText(rc.m_nY, rc.m_nX + 1, rc.m_nWidth - 2, L" " + strTitle + L" ", nAttr);
}
