// The engine's way to what a host installs: its window and its source chooser.
#pragma once

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumSourceChooser.h>

// The window of a debugger that starts, or null when no factory is installed.
std::unique_ptr<CLumBasicDebugWindow> LumMakeDebugWindow(CLumBasicDebugger* pDebugger, const char* pszText);
// Asks the installed chooser; false ("cancelled") when none is installed.
bool LumChooseSource(const SLumSourceDialog& dialog, std::string& strChosen);
