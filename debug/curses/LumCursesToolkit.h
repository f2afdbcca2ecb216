// The debug window on a terminal, drawn with curses over the whole screen: the title
// on top, the source list, under it the list of all variables, the watched ones and
// the coverage check boxes, the buttons and a line of key help at the bottom.
//
//     CLumCursesToolkit toolkit;
//     LumSetMessageBox([&](const char* pszText, const char* pszCaption, long nStyle) {
//         return toolkit.MessageBox(pszText, pszCaption, nStyle);
//     });
//
// Keys: Tab and Shift-Tab move the focus through the lists, the check boxes and the
// buttons; the arrow keys move it among the check boxes and among the buttons. In a
// list, the arrow keys up and down, Page Up, Page Down, Home and End move the current
// row, Left and Right scroll sideways, and Space is a double click on the current row.
// Space presses a button or toggles a check box. Enter presses the button with the
// focus, or else the default button "Schritt >". Escape is the window's cancel: it
// ends the modal loop with LUM_IDC_CANCEL. F10, F11, F5, F2, F3 and F12 click
// "Schritt >", "Schritt v", "Weiter >>", "Neue Var...", "Var ändern..." and "Debugger
// AUS". Ctrl-L draws the screen anew, after output of others. Any other character goes
// to the target's OnChar. The mouse clicks, double-clicks and scrolls the lists where
// the terminal reports it.
#pragma once

#include "LumCursesListView.h"

#include "LumTerminalToolkit.h"

#include <chrono>
#include <memory>
#include <string>

class CLumCursesTerminal;
struct SLumCursesKey;
struct SLumCursesLayout;

class CLumCursesToolkit : public CLumTerminalToolkit
{
public:
    // Leaves the terminal alone: CreateWindow takes it.
    CLumCursesToolkit();
    // Gives the terminal back as it was, if the window still exists.
    ~CLumCursesToolkit() override;
    CLumCursesToolkit(const CLumCursesToolkit&) = delete;
    CLumCursesToolkit& operator=(const CLumCursesToolkit&) = delete;

    // Takes the terminal into curses mode and draws the window. Throws
    // std::runtime_error when there is no terminal to take.
    void CreateWindow(CLumDebugCommandTarget& target) override;
    // Gives the terminal back; an active modal loop ends.
    void DestroyWindow() override;
    void SetWindowText(const std::string& strTitle) override;
    // Without a window, and when the input ends, the loop ends at once as on Escape.
    int RunModalLoop() override;
    void EndModalLoop(int nResult) override;
    bool IsModalLoopActive() const override { return m_fInLoop; }
    // A running program may call this at each line: the screen is drawn right away
    // for a few calls, then at most about 30 times a second.
    void UpdateWindow() override;
    // Terminal columns. A tab goes to the next multiple of 8, never short of where the
    // window's lists put it (their stops lie at 4, 8, 12 ... or at 8, 12, 16 ...), so
    // that a list can always scroll to a row's end.
    int MeasureText(const std::string& str) const override;
    bool DoModal(SLumDebugForm& form) override;

    int MessageBox(const char* pszText, const char* pszCaption, long nStyle) override;
    bool HasWindow() const override { return m_pTerminal != nullptr; }

private:
    // Drawing, in LumCursesWindowPaint.cpp.
    void Paint();
    void PaintLayout();
    void PaintList(int nIndex, const SLumCursesLayout& layout);
    void PaintChecks(const SLumCursesLayout& layout);
    void PaintButtons(const SLumCursesLayout& layout);
    void PaintStatus(const SLumCursesLayout& layout);
    void FitLists(const SLumCursesLayout& layout);
    void ShowCurrentRows();
    SLumRect ListInside(int nIndex, const SLumCursesLayout& layout) const;
    int GutterOf(int nIndex, const SLumCursesLayout& layout) const;

    // Input, in LumCursesWindowInput.cpp.
    void OnKey(const SLumCursesKey& key);
    void OnControlKey(unsigned nKey);
    void OnMouse(const SLumCursesKey& key);
    void OnListMouse(int nIndex, const SLumCursesKey& key, const SLumCursesLayout& layout);
    void OnSpace();
    void MoveFocus(int nStep, int nFirst, int nLast);
    void Click(int nId);

    CLumDebugList& ListAt(int nIndex);
    const CLumDebugList& ListAt(int nIndex) const;

    CLumCursesListView m_aViews[3];
    std::string m_strTitle;
    CLumDebugCommandTarget* m_pTarget = nullptr;
    std::unique_ptr<CLumCursesTerminal> m_pTerminal;
    bool m_fInLoop = false;
    int m_nResult = 0;
    // The control with the focus, by its place in LumCursesControls().
    int m_nFocus = 0;
    // Paints that UpdateWindow may do right away; they grow back with time.
    double m_dPaintCredit = 0;
    std::chrono::steady_clock::time_point m_tCredit;
};
