#include "LumCursesListView.h"
#include "LumCursesDraw.h"
#include "LumCursesTerminal.h"
#include "LumCursesText.h"

#include <algorithm>

namespace
{
void EnsureVisible(CLumDebugList& list, int nRow, int nRows)
{
    if (nRows <= 0 || nRow < 0)
        return;
    if (nRow < list.GetTopIndex())
        list.SetTopIndex(nRow);
    else if (nRow >= list.GetTopIndex() + nRows)
        list.SetTopIndex(nRow - nRows + 1);
}

void ClampTop(CLumDebugList& list, int nRows)
{
    int nMaxTop = std::max(list.GetCount() - nRows, 0);
    if (list.GetTopIndex() > nMaxTop)
        list.SetTopIndex(nMaxTop);
}
} // namespace

void CLumCursesListView::Fit(CLumDebugList& list, int nRows, int nColumns)
{
    // A list without room keeps its top index: nothing can be said about what shows.
    if (nRows <= 0)
        return;
    // A new size of the list, too, may have hidden the current row.
    if (list.GetCurSel() != m_nSeenCurSel || nRows != m_nSeenRows)
        EnsureVisible(list, list.GetCurSel(), nRows);
    m_nSeenCurSel = list.GetCurSel();
    m_nSeenRows = nRows;
    ClampTop(list, nRows);
    m_nSkip = std::max(std::min(m_nSkip, list.GetHorizontalExtent() - nColumns), 0);
}

void CLumCursesListView::ShowCurrent(CLumDebugList& list, int nRows)
{
    EnsureVisible(list, list.GetCurSel(), nRows);
    m_nSeenCurSel = list.GetCurSel();
}

void CLumCursesListView::Draw(const CLumDebugList& list, const SLumRect& rcInside, bool fFocus, bool fGutter,
                              const CLumCursesTerminal& terminal) const
{
    CLumTabStops stops(list.GetTabStops());
    int nGutter = fGutter ? GUTTER : 0;
    for (int i = 0; i < rcInside.m_nHeight; ++i)
    {
        int nRow = list.GetTopIndex() + i;
        int nY = rcInside.m_nY + i;
        attr_t nAttr = terminal.Look(nRow == list.GetSel() ? ELumCursesLook::Mark : ELumCursesLook::Normal);
        if (fFocus && nRow == list.GetCurSel())
            nAttr |= terminal.Look(ELumCursesLook::Cursor);
        std::wstring strRow =
            LumExpandTabs(LumDecodeUtf8(list.GetText(nRow)), stops, m_nSkip + rcInside.m_nWidth - nGutter);
        LumDrawText(nY, rcInside.m_nX, nGutter, std::wstring(), nAttr, 0, true);
        if (fGutter && nRow == list.GetSel())
            LumDrawCell(nY, rcInside.m_nX, WACS_RARROW, nAttr);
        LumDrawText(nY, rcInside.m_nX + nGutter, rcInside.m_nWidth - nGutter, strRow, nAttr, m_nSkip, true);
    }
}

bool CLumCursesListView::OnKey(CLumDebugList& list, unsigned nKey, int nRows, int nColumns)
{
    int nFrom = list.GetCurSel() >= 0 ? list.GetCurSel() : list.GetTopIndex();
    int nPage = std::max(nRows - 1, 1);
    switch (nKey)
    {
    case KEY_UP:
        return MoveTo(list, list.GetCurSel() >= 0 ? nFrom - 1 : nFrom, nRows);
    case KEY_DOWN:
        return MoveTo(list, list.GetCurSel() >= 0 ? nFrom + 1 : nFrom, nRows);
    case KEY_PPAGE:
        return MoveTo(list, nFrom - nPage, nRows);
    case KEY_NPAGE:
        return MoveTo(list, nFrom + nPage, nRows);
    case KEY_HOME:
        return MoveTo(list, 0, nRows);
    case KEY_END:
        return MoveTo(list, list.GetCount() - 1, nRows);
    case KEY_LEFT:
        m_nSkip = std::max(m_nSkip - 1, 0);
        return true;
    case KEY_RIGHT:
        m_nSkip = std::max(std::min(m_nSkip + 1, list.GetHorizontalExtent() - nColumns), 0);
        return true;
    default:
        return false;
    }
}

bool CLumCursesListView::MoveTo(CLumDebugList& list, int nRow, int nRows)
{
    if (list.GetCount() == 0)
        return true;
    list.SetCurSel(std::max(std::min(nRow, list.GetCount() - 1), 0));
    ShowCurrent(list, nRows);
    return true;
}

void CLumCursesListView::Scroll(CLumDebugList& list, int nDelta, int nRows)
{
    list.SetTopIndex(list.GetTopIndex() + nDelta);
    ClampTop(list, nRows);
}

int CLumCursesListView::RowAt(const CLumDebugList& list, const SLumRect& rcInside, int nY)
{
    int nRow = list.GetTopIndex() + nY - rcInside.m_nY;
    return rcInside.Contains(nY, rcInside.m_nX) && list.IsRow(nRow) ? nRow : -1;
}
