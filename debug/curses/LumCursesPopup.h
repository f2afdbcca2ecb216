// What the pop-up boxes over the window share: a centred frame with a title, and a
// row of buttons in it.
#pragma once

#include "LumCursesLayout.h"
#include "LumCursesTerminal.h"

#include <string>
#include <vector>

// A box of the size, centred on the screen and cut to it.
SLumRect LumCenterPopup(int nHeight, int nWidth);
// Clears the box and frames it, the title in the frame.
void LumDrawPopup(const SLumRect& rc, const std::wstring& strTitle, const CLumCursesTerminal& terminal);

// The places of button faces side by side, centred in the columns from nX on.
std::vector<SLumRect> LumLayoutButtonRow(int nY, int nX, int nWidth, const std::vector<std::wstring>& aFaces);
int LumButtonRowWidth(const std::vector<std::wstring>& aFaces);
void LumDrawButton(const SLumRect& rc, const std::wstring& strFace, bool fFocus,
                   const CLumCursesTerminal& terminal);
// The button under the mouse, -1 for none.
int LumButtonAt(const std::vector<SLumRect>& aButtons, int nY, int nX);

// The keys that all boxes know.
bool LumIsEnter(const SLumCursesKey& key);
bool LumIsEscape(const SLumCursesKey& key);
// Ctrl-L: a screen that something else wrote over is drawn anew.
bool LumIsRepaint(const SLumCursesKey& key);
