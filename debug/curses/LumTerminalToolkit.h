// The terminal toolkit of `lumbasic debug` as its command sees it. The toolkit lives in
// a plugin of its own (liblumbasic-curses.so), so that curses is loaded by the one
// command that draws on the terminal and not by every start of `lumbasic`. The command
// finds the plugin's entry LUM_TERMINAL_TOOLKIT_ENTRY with dlsym.
#pragma once

#include <lumbasic/LumDebugToolkit.h>

class CLumTerminalToolkit : public CLumDebugToolkit
{
public:
    // A message box over the window, with the buttons and answers of LumMessageBox.h.
    // Without a window, the console's box (LumConsoleMessageBox) answers.
    virtual int MessageBox(const char* pszText, const char* pszCaption, long nStyle) = 0;
    virtual bool HasWindow() const = 0;
};

// The plugin's file, in the library folder: the relative path from the command's folder
// to it is the one the command's run path takes to liblumbasic.
#define LUM_TERMINAL_PLUGIN "liblumbasic-curses.so"
#define LUM_TERMINAL_TOOLKIT_ENTRY "LumCreateTerminalToolkit"
// A new toolkit that leaves the terminal alone until CreateWindow; the caller deletes it.
using LumCreateTerminalToolkitFunction = CLumTerminalToolkit* (*)();
