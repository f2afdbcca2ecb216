// The file chooser the debugger opens when it cannot find a source by the name the
// program image gives. A host installs its toolkit's chooser or a prompt; without one
// every question answers "cancelled", and the source shows as not found.
#pragma once

#include <lumbasic/LumExport.h>

#include <functional>
#include <string>

// What the chooser is asked with.
struct LUM_API SLumSourceDialog
{
    std::string m_strDefaultExt; // appended to a name typed without one
    std::string m_strFileName;   // the name to start from
    bool m_fFileMustExist;
    std::string m_strFilter; // "description|pattern||"
    std::string m_strTitle;
};

// Gives true with the chosen file's path, false when the user cancelled.
using LumSourceChooser = std::function<bool(const SLumSourceDialog& dialog, std::string& strChosen)>;

// Installs the chooser and gives the one before; an empty function means "cancelled".
LUM_API LumSourceChooser LumSetSourceChooser(LumSourceChooser fnChooser);
