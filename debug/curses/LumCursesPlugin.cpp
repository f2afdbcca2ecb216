// The entry of the plugin liblumbasic-curses.so, the one symbol it exports.
#include "LumCursesToolkit.h"

extern "C" __attribute__((visibility("default"))) CLumTerminalToolkit* LumCreateTerminalToolkit()
{
    return new CLumCursesToolkit;
}
