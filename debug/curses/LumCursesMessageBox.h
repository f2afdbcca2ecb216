// A message box over the window: the caption in the frame, the text wrapped to the
// box, and the buttons of the style (LumMessageBox.h), the default one with the focus.
// Left, Right and Tab move the focus, Enter and Space choose, a button's first letter
// chooses it, Escape is Cancel where the box has one (and OK where OK is all), and the
// arrow keys up and down scroll a text that does not fit.
#pragma once

#include "LumCursesLayout.h"
#include "LumCursesTerminal.h"

#include <functional>
#include <string>
#include <vector>

class CLumCursesMessageBox
{
public:
    // fnBackground draws the window under the box, without sending it.
    CLumCursesMessageBox(const char* pszText, const char* pszCaption, long nStyle,
                         CLumCursesTerminal& terminal, std::function<void()> fnBackground);

    // The answer, LUM_IDOK to LUM_IDNO. At the end of input, the default button's.
    int Run();

private:
    struct Button
    {
        int m_nAnswer;
        const char* m_pszLabel;
    };

    void Draw();
    // The answer the key chose, 0 for none yet.
    int OnKey(const SLumCursesKey& key);
    int OnLetter(unsigned nChar) const;
    int EscapeAnswer() const;
    void ScrollText(int nDelta);

    std::wstring m_strText;
    std::wstring m_strCaption;
    std::vector<Button> m_aButtons;
    int m_nDefault = 0;
    int m_nFocus = 0;
    CLumCursesTerminal& m_terminal;
    std::function<void()> m_fnBackground;
    // The first line of the text shown, and how many show.
    int m_nTopLine = 0;
    int m_nTextRows = 0;
    int m_nLines = 0;
    std::vector<SLumRect> m_aPlaces;
};
