#include <lumbasic/LumsNewValueDlg.h>

int CLumsNewValueDlg::DoModal(CLumDebugToolkit& toolkit)
{
    SLumDebugForm form{20102,
                       "Variablenwert ändern",
                       {{LUM_IDC_NAME, "Variable", m_strName}, {LUM_IDC_VALUE, "Wert", m_strValue}}};
    if (!toolkit.DoModal(form))
        return LUM_IDC_CANCEL;
    m_strName = form.m_aFields[0].m_strValue;
    m_strValue = form.m_aFields[1].m_strValue;
    return LUM_IDC_OK;
}
