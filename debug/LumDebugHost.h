// The engine's way to what a host installs: its window, its source chooser and its
// note of the profile files written.
#pragma once

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumSourceChooser.h>

// The window of a debugger that starts, or null when no factory is installed.
std::unique_ptr<CLumBasicDebugWindow> LumMakeDebugWindow(CLumBasicDebugger* pDebugger, const char* pszText);
// Asks the installed chooser; false ("cancelled") when none is installed.
bool LumChooseSource(const SLumSourceDialog& dialog, std::string& strChosen);
// Tells the installed function, if any, of a profile file just written.
void LumTellProfileWritten(const std::string& strSource, const std::string& strFile);
