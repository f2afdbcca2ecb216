// The small form of the debug window that asks for a variable and its new value.
#pragma once

#include <lumbasic/LumDebugToolkit.h>
#include <lumbasic/LumExport.h>

#include <string>

class LUM_API CLumsNewValueDlg
{
public:
    // Shows the form with the two fields as they stand; LUM_IDC_OK with the user's
    // values in them, or LUM_IDC_CANCEL with them unchanged. OK needs both fields
    // filled, and the name loses the blanks around it.
    int DoModal(CLumDebugToolkit& toolkit);

    std::string m_strName;
    std::string m_strValue;
};
