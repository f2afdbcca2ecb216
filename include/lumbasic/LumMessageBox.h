// The message box that programs show with ShowMessage. Programs pass the style numbers
// of the platform they were written for and test its button numbers, so those numbers
// are kept here. A host installs its own box (a dialog of its toolkit, a scripted
// answer); without one, a box on the console is used.
#pragma once

#include <lumbasic/LumExport.h>

#include <functional>

// Button sets, in the low four bits of the style.
enum LumMessageBoxStyle : long
{
    LUM_MB_OK = 0x0,
    LUM_MB_OKCANCEL = 0x1,
    LUM_MB_ABORTRETRYIGNORE = 0x2,
    LUM_MB_YESNOCANCEL = 0x3,
    LUM_MB_YESNO = 0x4,
    LUM_MB_RETRYCANCEL = 0x5,
    LUM_MB_TYPEMASK = 0xF,
    // The icon, in bits 4 to 7; a box on the console shows none.
    LUM_MB_ICONEXCLAMATION = 0x30,
    // The default button, in bits 8 and 9; none of them means the first.
    LUM_MB_DEFBUTTON2 = 0x100,
    LUM_MB_DEFBUTTON3 = 0x200,
    LUM_MB_DEFMASK = 0x300,
};

// The answers: the number of the button chosen.
enum LumMessageBoxAnswer : int
{
    LUM_IDOK = 1,
    LUM_IDCANCEL = 2,
    LUM_IDABORT = 3,
    LUM_IDRETRY = 4,
    LUM_IDIGNORE = 5,
    LUM_IDYES = 6,
    LUM_IDNO = 7,
};

// Shows a box with text, caption and style and gives the answer. It may block the
// calling thread until the user answers; a failure may be thrown and reaches the
// program's run as any failure does.
using LumMessageBoxFunction = std::function<int(const char* pszText, const char* pszCaption, long nStyle)>;

// Installs the box that every interpreter of the process uses from now on and gives
// the one installed before. An empty function brings back the console box. It may be
// installed while programs run on other threads; a box shown there already stays
// until it is answered. The box runs on the thread of the run that shows it, so with
// interpreters running in parallel it is called from several threads at once.
LUM_API LumMessageBoxFunction LumSetMessageBox(LumMessageBoxFunction fnBox);

// Shows a box with the installed function.
LUM_API int LumMessageBox(const char* pszText, const char* pszCaption, long nStyle);

// The console box. With a terminal on standard input it shows caption and text on
// standard error and asks for a button by its key or number, Enter choosing the
// default; on end of input it answers the default. Without a terminal it never waits:
// it writes caption and text to standard error and answers the default button.
LUM_API int LumConsoleMessageBox(const char* pszText, const char* pszCaption, long nStyle);

// The answer the default button of a style gives: its number, or the first button's
// when bits 8 and 9 name a button that the set does not have.
LUM_API int LumMessageBoxDefault(long nStyle);
