#include <lumbasic/LumsNewWatchDlg.h>

#include <lumbasic/LumsException.h>

#include "debug/LumDebugForms.h"
#include "res/LumMessages.h"

int CLumsNewWatchDlg::DoModal(CLumDebugToolkit& toolkit)
{
    SLumDebugForm form{20103,
                       "Variable anzeigen",
                       {{LUM_IDC_WATCHNAME, "Variable", m_strName, LoadMessage(LUM_MSG_NO_VARIABLE_NAME)}}};
    if (!LumAskForm(toolkit, form))
        return LUM_IDC_CANCEL;
    m_strName = LumNameOfField(form.m_aFields[0]);
    return LUM_IDC_OK;
}
