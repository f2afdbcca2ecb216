#include "LumCursesTerminal.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
bool s_fOpen = false;

enum EPair : short
{
    PAIR_MARK = 1,
    PAIR_FOCUS = 2,
};

[[noreturn]] void Fail(const std::string& strWhy)
{
    throw std::runtime_error("the debug window needs a terminal: " + strWhy);
}

// Cursor addressing is what a full-screen window cannot do without.
bool CanPlaceCursor()
{
    const char* pszMove = tigetstr("cup");
    return pszMove != nullptr && pszMove != reinterpret_cast<const char*>(-1);
}
} // namespace

CLumCursesTerminal::CLumCursesTerminal()
{
    if (s_fOpen)
        Fail("another debug window has it");
    const char* pszLocale = setlocale(LC_ALL, nullptr);
    m_strLocale = pszLocale != nullptr ? pszLocale : "C";
    setlocale(LC_ALL, "");
    try
    {
        Open();
    }
    catch (...)
    {
        if (m_pTty != nullptr)
            fclose(m_pTty);
        setlocale(LC_ALL, m_strLocale.c_str());
        throw;
    }
    s_fOpen = true;
    SetUpInput();
}

CLumCursesTerminal::~CLumCursesTerminal()
{
    curs_set(1);
    endwin();
    delscreen(m_pScreen);
    if (m_pTty != nullptr)
        fclose(m_pTty);
    setlocale(LC_ALL, m_strLocale.c_str());
    s_fOpen = false;
}

void CLumCursesTerminal::Open()
{
    m_pIn = stdin;
    m_pOut = stdout;
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO))
    {
        m_pTty = fopen("/dev/tty", "r+");
        if (m_pTty == nullptr)
            Fail("standard input and output are none, and there is no controlling terminal");
        m_pIn = m_pOut = m_pTty;
    }
    const char* pszTerm = getenv("TERM");
    if (pszTerm == nullptr || *pszTerm == '\0')
        Fail("TERM is not set");
    // What the program wrote before goes out before the screen is taken.
    fflush(stdout);
    m_pScreen = newterm(nullptr, m_pOut, m_pIn);
    if (m_pScreen == nullptr)
        Fail(std::string("the terminal type \"") + pszTerm + "\" is unknown");
    if (!CanPlaceCursor())
    {
        endwin();
        delscreen(m_pScreen);
        Fail(std::string("the terminal type \"") + pszTerm + "\" cannot place the cursor");
    }
}

void CLumCursesTerminal::SetUpInput()
{
    // cbreak, not raw: Ctrl-C still stops a program that runs away.
    cbreak();
    noecho();
    nonl();
    intrflush(stdscr, FALSE);
    keypad(stdscr, TRUE);
    set_escdelay(25);
    curs_set(0);
    mmask_t nMask = BUTTON1_CLICKED | BUTTON1_DOUBLE_CLICKED | BUTTON4_PRESSED;
#ifdef BUTTON5_PRESSED
    nMask |= BUTTON5_PRESSED;
#endif
    mousemask(nMask, nullptr);
    if (!has_colors() || start_color() == ERR)
        return;
    short nBackground = use_default_colors() == OK ? -1 : COLOR_BLACK;
    init_pair(PAIR_MARK, COLOR_BLACK, COLOR_YELLOW);
    init_pair(PAIR_FOCUS, COLOR_CYAN, nBackground);
    m_fColors = true;
}

SLumCursesKey CLumCursesTerminal::ReadKey()
{
    SLumCursesKey key;
    wint_t nChar = 0;
    int nResult;
    // A signal that curses does not handle itself interrupts the read; that is no end.
    do
        errno = 0;
    while ((nResult = wget_wch(stdscr, &nChar)) == ERR && errno == EINTR);
    if (nResult == ERR)
        return key;
    key.m_nCode = static_cast<unsigned>(nChar);
    key.m_eKind = nResult == KEY_CODE_YES ? SLumCursesKey::Key : SLumCursesKey::Char;
    MEVENT event;
    if (key.IsKey(KEY_MOUSE) && getmouse(&event) == OK)
    {
        key.m_eKind = SLumCursesKey::Mouse;
        key.m_nY = event.y;
        key.m_nX = event.x;
        key.m_fClick = (event.bstate & BUTTON1_CLICKED) != 0;
        key.m_fDoubleClick = (event.bstate & BUTTON1_DOUBLE_CLICKED) != 0;
        key.m_nWheel = (event.bstate & BUTTON4_PRESSED) != 0 ? -1 : 0;
#ifdef BUTTON5_PRESSED
        if ((event.bstate & BUTTON5_PRESSED) != 0)
            key.m_nWheel = 1;
#endif
    }
    return key;
}

attr_t CLumCursesTerminal::Look(ELumCursesLook eLook) const
{
    switch (eLook)
    {
    case ELumCursesLook::Title:
        return A_REVERSE | A_BOLD;
    case ELumCursesLook::Status:
    case ELumCursesLook::Cursor:
        return A_REVERSE;
    case ELumCursesLook::Mark:
        return m_fColors ? COLOR_PAIR(PAIR_MARK) | A_BOLD : A_BOLD | A_UNDERLINE;
    case ELumCursesLook::FocusFrame:
        return m_fColors ? COLOR_PAIR(PAIR_FOCUS) | A_BOLD : A_BOLD;
    case ELumCursesLook::Field:
        return A_UNDERLINE;
    case ELumCursesLook::Popup:
    case ELumCursesLook::Normal:
        break;
    }
    return A_NORMAL;
}

bool CLumCursesTerminal::CatchResize()
{
    winsize size{};
    if (ioctl(fileno(m_pOut), TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0)
        return false;
    if (!is_term_resized(size.ws_row, size.ws_col))
        return false;
    resize_term(size.ws_row, size.ws_col);
    return true;
}

void CLumCursesTerminal::Flush()
{
    wnoutrefresh(stdscr);
    doupdate();
}

void CLumCursesTerminal::Repaint()
{
    clearok(curscr, TRUE);
}

void CLumCursesTerminal::ShowCursor(bool fShow)
{
    if (fShow != m_fCursorShown)
        curs_set(fShow ? 1 : 0);
    m_fCursorShown = fShow;
}
