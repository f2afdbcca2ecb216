// Drawing on the screen, clipped to it: whatever a caller asks for, nothing is drawn
// outside, so that a tiny terminal shows what fits and no more.
#pragma once

#include "LumCursesLayout.h"

#include <curses.h>

#include <string>

// Draws the columns from nSkip on of the text into nWidth columns at nY, nX. A wide
// character cut by either edge leaves blanks; with fPad, blanks fill the rest.
void LumDrawText(int nY, int nX, int nWidth, const std::wstring& str, attr_t nAttr, int nSkip = 0,
                 bool fPad = false);
void LumFillRect(const SLumRect& rc, attr_t nAttr);
// A frame on the edge of the rectangle, double-lined for the control with the focus.
void LumDrawFrame(const SLumRect& rc, bool fDouble, attr_t nAttr);
// A title in the top edge of a frame, after its corner.
void LumDrawFrameTitle(const SLumRect& rc, const std::wstring& strTitle, attr_t nAttr);
// A wide character such as an arrow, in one cell.
void LumDrawCell(int nY, int nX, const cchar_t* pChar, attr_t nAttr);
