// The small form of the debug window that asks for the name of a variable to watch.
#pragma once

#include <lumbasic/LumDebugToolkit.h>
#include <lumbasic/LumExport.h>

#include <string>

class LUM_API CLumsNewWatchDlg
{
public:
    // Shows the form; LUM_IDC_OK with the user's name in m_strName, without the blanks
    // around it, or LUM_IDC_CANCEL. A blank name is refused.
    int DoModal(CLumDebugToolkit& toolkit);

    std::string m_strName;
};
