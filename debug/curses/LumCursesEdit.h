// A single-line text box: characters typed in at the caret, Backspace and Delete,
// Left, Right, Home and End. A text wider than the box scrolls so that the caret
// stays in view.
#pragma once

#include "LumCursesTerminal.h"

#include <string>

class CLumCursesEdit
{
public:
    explicit CLumCursesEdit(const std::string& strText = std::string());

    // False for a key that a text box does not take.
    bool OnKey(const SLumCursesKey& key);
    // Puts the caret at a column of the box as last drawn.
    void ClickAt(int nColumn);
    // Draws the box into nWidth columns; with the focus, the terminal's cursor goes
    // to the caret.
    void Draw(int nY, int nX, int nWidth, bool fFocus, const CLumCursesTerminal& terminal);
    std::string GetText() const;

private:
    bool OnEditKey(unsigned nKey);

    std::wstring m_strText;
    size_t m_nCaret = 0;
    // Columns of the text scrolled out to the left.
    int m_nSkip = 0;
};
