// A small modal form over the window: its title in the frame, a labelled text box per
// field, OK and Cancel. Tab and the arrow keys up and down move the focus. Enter in a
// field goes on to the next one and is OK in the last; on a button it presses it.
// Escape is Cancel. OK with a field blank that must be filled shows why in the line
// above the buttons and puts the focus on that field.
#pragma once

#include "LumCursesEdit.h"
#include "LumCursesLayout.h"
#include "LumCursesTerminal.h"

#include <lumbasic/LumDebugToolkit.h>

#include <functional>
#include <vector>

class CLumCursesForm
{
public:
    // fnBackground draws the window under the form, without sending it.
    CLumCursesForm(SLumDebugForm& form, CLumCursesTerminal& terminal, std::function<void()> fnBackground);

    // True for OK, the fields then holding what the user left in the boxes.
    bool Run();

private:
    enum EResult
    {
        Open,
        Ok,
        Cancel,
    };

    void Draw();
    EResult OnKey(const SLumCursesKey& key);
    EResult OnMouse(const SLumCursesKey& key);
    EResult OnButtonKey(const SLumCursesKey& key);
    void MoveFocus(int nStep);
    // Ok, or Open with the refusal shown when a field that must be filled is blank.
    EResult TryOk();
    int OkIndex() const { return static_cast<int>(m_aEdits.size()); }

    SLumDebugForm& m_form;
    CLumCursesTerminal& m_terminal;
    std::function<void()> m_fnBackground;
    std::vector<CLumCursesEdit> m_aEdits;
    // A field's index, or OkIndex() for OK and the one after it for Cancel.
    int m_nFocus = 0;
    // Where the last drawing put the boxes and buttons, for the mouse.
    std::vector<SLumRect> m_aBoxes;
    std::vector<SLumRect> m_aButtons;
    // Why the last OK was refused, empty while none was.
    std::wstring m_strRefusal;
};
