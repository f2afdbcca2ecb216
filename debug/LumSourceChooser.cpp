#include <lumbasic/LumSourceChooser.h>

#include "debug/LumDebugHost.h"

namespace
{
LumSourceChooser& Chooser()
{
    static LumSourceChooser s_fnChooser;
    return s_fnChooser;
}
} // namespace

LumSourceChooser LumSetSourceChooser(LumSourceChooser fnChooser)
{
    LumSourceChooser fnBefore = std::move(Chooser());
    Chooser() = std::move(fnChooser);
    return fnBefore;
}

bool LumChooseSource(const SLumSourceDialog& dialog, std::string& strChosen)
{
    return Chooser() ? Chooser()(dialog, strChosen) : false;
}
