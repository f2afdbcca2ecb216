#include <lumbasic/LumScriptToolkit.h>

#include <sstream>

CLumScriptToolkit::CLumScriptToolkit(std::vector<std::string> aScript)
{
    AddScript(aScript);
}

void CLumScriptToolkit::AddScript(const std::vector<std::string>& aScript)
{
    m_aScript.insert(m_aScript.end(), aScript.begin(), aScript.end());
}

void CLumScriptToolkit::CreateWindow(CLumDebugCommandTarget& target)
{
    m_pTarget = &target;
    m_aTranscript.push_back("window made");
}

void CLumScriptToolkit::DestroyWindow()
{
    m_pTarget = nullptr;
    m_aTranscript.push_back("window gone");
}

void CLumScriptToolkit::SetWindowText(const std::string& strTitle)
{
    m_strTitle = strTitle;
    m_aTranscript.push_back("title " + strTitle);
}

int CLumScriptToolkit::RunModalLoop()
{
    m_aTranscript.push_back("stop at row " + std::to_string(m_lbSource.GetCurSel()));
    bool fOuter = m_fInLoop;
    m_fInLoop = true;
    while (m_fInLoop)
    {
        if (m_aScript.empty())
            m_aScript.push_back("escape");
        std::string strEvent = m_aScript.front();
        m_aScript.pop_front();
        if (!Send(strEvent))
            m_aTranscript.push_back("not an event: " + strEvent);
    }
    m_fInLoop = fOuter;
    m_aTranscript.push_back("loop ended " + std::to_string(m_nResult));
    return m_nResult;
}

void CLumScriptToolkit::EndModalLoop(int nResult)
{
    m_nResult = nResult;
    m_fInLoop = false;
}

int CLumScriptToolkit::MeasureText(const std::string& str) const
{
    int n = 0;
    for (unsigned char c : str)
        n += (c & 0xC0) != 0x80;
    return n;
}

// A refused OK keeps the form open for the next entry, as a user who is told why.
bool CLumScriptToolkit::DoModal(SLumDebugForm& form)
{
    m_aTranscript.push_back("form " + form.m_strTitle);
    for (;;)
    {
        std::string strAnswer = m_aScript.empty() ? "cancel" : m_aScript.front();
        std::istringstream in(strAnswer);
        std::string strWord;
        in >> strWord;
        if (strWord != "ok" && strWord != "cancel")
            return false; // not an answer: it stays for the loop, the form is cancelled
        m_aScript.pop_front();
        if (strWord == "cancel")
            return false;
        for (SLumDebugForm::Field& field : form.m_aFields)
            if (!(in >> field.m_strValue))
                break;
        int nRefused = form.FirstRefused();
        if (nRefused < 0)
            return true;
        m_aTranscript.push_back("refused " + form.m_aFields[static_cast<size_t>(nRefused)].m_strRefusal);
    }
}

bool CLumScriptToolkit::Send(const std::string& strEvent)
{
    std::istringstream in(strEvent);
    std::string strWord;
    int nId = 0, nRow = 0;
    in >> strWord;
    if (m_pTarget == nullptr)
        return false;
    if (strWord == "enter")
        m_pTarget->OnCommand(ELumDebugNotify::Click, LUM_IDC_STEP);
    else if (strWord == "escape")
    {
        if (m_fInLoop)
            EndModalLoop(LUM_IDC_CANCEL);
    }
    else if (strWord == "click" && in >> nId)
    {
        if (nId == LUM_IDC_PROFILE || nId == LUM_IDC_PROFILEEXPORT || nId == LUM_IDC_PROFILESAVE)
            CheckDlgButton(nId, !IsDlgButtonChecked(nId));
        m_pTarget->OnCommand(ELumDebugNotify::Click, nId);
    }
    else if (strWord == "show" && in >> nId)
    {
        for (int i = 0; i < GetList(nId).GetCount(); ++i)
            m_aTranscript.push_back(std::to_string(nId) + "|" + GetList(nId).GetText(i));
    }
    else if ((strWord == "dblclk" || strWord == "select") && in >> nId >> nRow)
    {
        GetList(nId).SetCurSel(nRow);
        if (strWord == "dblclk")
            m_pTarget->OnCommand(ELumDebugNotify::DoubleClick, nId);
    }
    else
        return false;
    return true;
}
