// What a list control shows of its model: the rows from its top index down, shifted
// left by a horizontal scroll, tabs expanded at the list's stops, the marked row set
// off (with an arrow in a gutter, if it has one) and, while the list has the focus,
// the current row as a cursor. The model's top index stays the first visible row.
#pragma once

#include "LumCursesLayout.h"

#include <lumbasic/LumDebugToolkit.h>

class CLumCursesTerminal;

class CLumCursesListView
{
public:
    // Columns of the gutter in front of the rows of a list that has one.
    static const int GUTTER = 2;

    // Brings a current row that changed since the last look into view, as setting a
    // current row does (and so does a change of the size), and keeps the top index and the scroll inside the
    // rows. A row scrolled out of view with the wheel stays out of view until it changes.
    void Fit(CLumDebugList& list, int nRows, int nColumns);
    // Brings the current row into view, changed or not.
    void ShowCurrent(CLumDebugList& list, int nRows);
    void Draw(const CLumDebugList& list, const SLumRect& rcInside, bool fFocus, bool fGutter,
              const CLumCursesTerminal& terminal) const;
    // Arrows, pages, Home and End move the current row, Left and Right scroll; false
    // for any other key.
    bool OnKey(CLumDebugList& list, unsigned nKey, int nRows, int nColumns);
    // Scrolls by nDelta rows, the current row staying where it is.
    void Scroll(CLumDebugList& list, int nDelta, int nRows);
    // The row shown on screen line nY, -1 for the empty part under the rows.
    static int RowAt(const CLumDebugList& list, const SLumRect& rcInside, int nY);

private:
    // Always true: the key was taken, even by a list without rows.
    bool MoveTo(CLumDebugList& list, int nRow, int nRows);

    int m_nSkip = 0;
    int m_nSeenCurSel = -1;
    int m_nSeenRows = 0;
};
