#include <lumbasic/LumsNewValueDlg.h>

#include <lumbasic/LumsException.h>

#include "debug/LumDebugForms.h"
#include "res/LumMessages.h"

int CLumsNewValueDlg::DoModal(CLumDebugToolkit& toolkit)
{
    SLumDebugForm form{20102,
                       "Variablenwert ändern",
                       {{LUM_IDC_NAME, "Variable", m_strName, LoadMessage(LUM_MSG_NO_VARIABLE_NAME)},
                        {LUM_IDC_VALUE, "Wert", m_strValue, LoadMessage(LUM_MSG_NO_VALUE)}}};
    if (!LumAskForm(toolkit, form))
        return LUM_IDC_CANCEL;
    m_strName = LumNameOfField(form.m_aFields[0]);
    m_strValue = form.m_aFields[1].m_strValue;
    return LUM_IDC_OK;
}
