// The terminal in curses mode, for as long as the object lives: the locale of the
// environment (for UTF-8), no echo, keys as they come, the mouse where the terminal
// reports it. Standard input and output serve when both are a terminal, else the
// controlling terminal (so the program's own output may go to a file). Only one
// object may exist at a time, as curses keeps its screen in globals.
#pragma once

#include <curses.h>

#include <cstdio>
#include <string>

// One input event: a character, a function key, a mouse event or the end of input.
struct SLumCursesKey
{
    enum EKind
    {
        End,
        Char,
        Key,
        Mouse,
    };
    EKind m_eKind = End;
    // The character, or the KEY_ code of a function key.
    unsigned m_nCode = 0;
    // Where the mouse was, and what it did: a click, a double click or the wheel.
    int m_nY = 0;
    int m_nX = 0;
    bool m_fClick = false;
    bool m_fDoubleClick = false;
    int m_nWheel = 0;

    bool IsChar(unsigned nCode) const { return m_eKind == Char && m_nCode == nCode; }
    bool IsKey(unsigned nCode) const { return m_eKind == Key && m_nCode == nCode; }
};

// The looks that drawing asks for by their meaning.
enum class ELumCursesLook
{
    Normal,
    Title,
    Status,
    // The row of the line that runs next.
    Mark,
    // The current row of the list with the focus, a focused button.
    Cursor,
    FocusFrame,
    Popup,
    Field,
};

class CLumCursesTerminal
{
public:
    // Throws std::runtime_error when there is no terminal that curses can drive.
    CLumCursesTerminal();
    ~CLumCursesTerminal();
    CLumCursesTerminal(const CLumCursesTerminal&) = delete;
    CLumCursesTerminal& operator=(const CLumCursesTerminal&) = delete;

    // Blocks until there is input; End when there will be none.
    SLumCursesKey ReadKey();
    attr_t Look(ELumCursesLook eLook) const;
    // Takes a changed terminal size into curses, for the time no key is read (reading
    // does it itself); true if the size changed.
    bool CatchResize();
    // Sends what was drawn to the terminal.
    void Flush();
    // Draws everything anew on the next Flush, for a screen that others wrote over.
    void Repaint();
    void ShowCursor(bool fShow);

private:
    void Open();
    void SetUpInput();

    SCREEN* m_pScreen = nullptr;
    FILE* m_pTty = nullptr;
    FILE* m_pIn = nullptr;
    FILE* m_pOut = nullptr;
    std::string m_strLocale;
    bool m_fColors = false;
    bool m_fCursorShown = false;
};
