#include <lumbasic/LumsNewWatchDlg.h>

int CLumsNewWatchDlg::DoModal(CLumDebugToolkit& toolkit)
{
    SLumDebugForm form{20103, "Variable anzeigen", {{LUM_IDC_WATCHNAME, "Variable", m_strName}}};
    if (!toolkit.DoModal(form))
        return LUM_IDC_CANCEL;
    m_strName = form.m_aFields[0].m_strValue;
    return LUM_IDC_OK;
}
