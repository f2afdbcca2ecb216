// The terminal toolkit of `lumbasic debug`, made by its plugin (debug/curses/), which
// only this command loads.
#pragma once

#include "debug/curses/LumTerminalToolkit.h"

#include <memory>
#include <string>

// Loads the plugin from the library folder beside the command, LUM_BIN_TO_LIB from the
// command's own folder as its run path goes, and makes a toolkit. Null, with the
// loader's reason in strError, when the plugin is missing or is not one.
std::unique_ptr<CLumTerminalToolkit> LumLoadTerminalToolkit(std::string& strError);
