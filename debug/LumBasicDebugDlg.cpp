#include <lumbasic/LumBasicDebugDlg.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumsNewValueDlg.h>
#include <lumbasic/LumsNewWatchDlg.h>

#include "core/LumFrame.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace
{
const char* const FILE_LABEL = "LUMBASICDEBUGDLG";

// The tab stops of the source list with the coverage column shown: the count, then
// the text indented in steps of four characters.
std::vector<int> CoverageTabStops()
{
    std::vector<int> aStops;
    for (int i = 0; i < 40; ++i)
        aStops.push_back(32 + 16 * i);
    return aStops;
}

// A source row by the form of the refresh that builds it; an empty line stands as an
// empty row only in a full rebuild with the column shown.
std::string SourceRow(const std::string& strLine, char cMarker, int nHits, bool fWholeList)
{
    char szPrefix[32];
    if (CLumBasicDebugDlg::m_fProfile)
    {
        if (fWholeList && strLine.empty())
            return std::string();
        if (nHits > 0)
            snprintf(szPrefix, sizeof szPrefix, "%05d%c\t", nHits, cMarker);
        else
            snprintf(szPrefix, sizeof szPrefix, "     %c\t", cMarker);
    }
    else if (fWholeList)
        snprintf(szPrefix, sizeof szPrefix, "%c\t", cMarker);
    else
        snprintf(szPrefix, sizeof szPrefix, "\t%c", cMarker);
    return szPrefix + strLine;
}

// The name at the head of a variable row "name = value".
std::string NameOfRow(const std::string& strRow)
{
    return strRow.substr(0, strRow.find_first_of(" ="));
}
} // namespace

const CLumBasicDebugDlg::MessageEntry CLumBasicDebugDlg::sm_aMessageMap[] = {
    {ELumDebugNotify::Click, LUM_IDC_OFF, &CLumBasicDebugDlg::OnOff},
    {ELumDebugNotify::Click, LUM_IDC_STEP, &CLumBasicDebugDlg::OnStep},
    {ELumDebugNotify::Click, LUM_IDC_STEPINTO, &CLumBasicDebugDlg::OnStepinto},
    {ELumDebugNotify::DoubleClick, LUM_IDC_VARIABLES, &CLumBasicDebugDlg::OnDblclkVars},
    {ELumDebugNotify::DoubleClick, LUM_IDC_SOURCE, &CLumBasicDebugDlg::OnDblclkDbgwnd},
    {ELumDebugNotify::Click, LUM_IDC_RUN, &CLumBasicDebugDlg::OnRun},
    {ELumDebugNotify::Click, LUM_IDC_CHGVAR, &CLumBasicDebugDlg::OnChgvar},
    {ELumDebugNotify::Click, LUM_IDC_NEWVAR, &CLumBasicDebugDlg::OnNewvar},
    {ELumDebugNotify::Click, LUM_IDC_PROFILE, &CLumBasicDebugDlg::OnProfile},
    {ELumDebugNotify::Click, LUM_IDC_PROFILEEXPORT, &CLumBasicDebugDlg::OnProfileExport},
    {ELumDebugNotify::Click, LUM_IDC_PROFILESAVE, &CLumBasicDebugDlg::OnProfileSave},
};

CLumBasicDebugDlg::CLumBasicDebugDlg(CLumBasicDebugger* pDebugger, const char* pszText,
                                     CLumDebugToolkit& toolkit)
    : m_toolkit(toolkit), m_lbWatches(toolkit.GetList(LUM_IDC_WATCHES)),
      m_lbVariables(toolkit.GetList(LUM_IDC_VARIABLES)), m_lbSource(toolkit.GetList(LUM_IDC_SOURCE)),
      m_pDebugger(pDebugger), m_strText(pszText != nullptr ? pszText : "")
{
    m_toolkit.CreateWindow(*this);
    m_toolkit.SetWindowText("LUMOR Basic Debugger");
    DoDataExchange(false);
    RefreshDebugWindow();
}

CLumBasicDebugDlg::~CLumBasicDebugDlg()
{
    m_toolkit.DestroyWindow();
}

void CLumBasicDebugDlg::SetTitle(const std::string& strTitle)
{
    m_toolkit.SetWindowText(strTitle);
}

void CLumBasicDebugDlg::SetSourceText(const char* pszText)
{
    m_strText = pszText != nullptr ? pszText : "";
}

void CLumBasicDebugDlg::DoDataExchange(bool fSave)
{
    const std::pair<int, int*> aChecks[] = {
        {LUM_IDC_PROFILE, &m_fProfile},
        {LUM_IDC_PROFILEEXPORT, &m_fProfileExport},
        {LUM_IDC_PROFILESAVE, &m_fProfileSave},
    };
    for (const auto& check : aChecks)
        if (fSave)
            *check.second = m_toolkit.IsDlgButtonChecked(check.first) ? 1 : 0;
        else
            m_toolkit.CheckDlgButton(check.first, *check.second);
}

// The program stands still until a handler ends the loop; which one did, the
// debugger cannot tell and need not.
int CLumBasicDebugDlg::EnterModalMode(long nLine)
{
    m_lbSource.SetSel(static_cast<int>(nLine - 1));
    RefreshVariables();
    RefreshWatches();
    m_toolkit.RunModalLoop();
    return 0;
}

void CLumBasicDebugDlg::RefreshDebugWindow()
{
    int nTop = m_lbSource.GetTopIndex();
    m_lbSource.ResetContent();
    m_lbSource.SetHorizontalExtent(10);
    m_lbSource.SetTabStops(m_fProfile ? CoverageTabStops() : std::vector<int>{16});
    std::vector<std::string> aLines = LumSplitSourceLines(m_strText.c_str());
    for (size_t i = 0; i < aLines.size(); ++i)
    {
        long nLine = static_cast<long>(i) + 1;
        std::string strRow = SourceRow(aLines[i], m_pDebugger->IsBreakpoint(nLine) ? '>' : ' ',
                                       m_pDebugger->GetHits(nLine), true);
        m_lbSource.AddString(strRow);
        Widen(m_lbSource, strRow);
    }
    m_lbSource.SetTopIndex(nTop);
    m_lbSource.SetSel(static_cast<int>(m_pDebugger->GetLineNr() - 1));
    m_toolkit.UpdateWindow();
}

// One row deleted and inserted: at every counted marker, so never a rebuild. A line
// without a row, as in a source changed after compiling, changes nothing.
void CLumBasicDebugDlg::RefreshSingleLine(long nLine)
{
    int nIndex = static_cast<int>(nLine - 1);
    if (!m_lbSource.IsRow(nIndex))
        return;
    std::string strRow = m_lbSource.GetText(nIndex);
    std::string strLine = strRow.size() > PrefixLength() ? strRow.substr(PrefixLength()) : std::string();
    m_lbSource.DeleteString(nIndex);
    m_lbSource.InsertString(nIndex, SourceRow(strLine, m_pDebugger->IsBreakpoint(nLine) ? '>' : ' ',
                                              m_pDebugger->GetHits(nLine), false));
    m_lbSource.SetSel(static_cast<int>(m_pDebugger->GetLineNr() - 1));
    m_toolkit.UpdateWindow();
}

void CLumBasicDebugDlg::RefreshLine(long nLine)
{
    if (m_fProfile)
        RefreshSingleLine(nLine);
}

void CLumBasicDebugDlg::RefreshVariables()
{
    std::vector<std::string> aRows;
    m_pDebugger->GetVariables(aRows);
    FillList(m_lbVariables, aRows);
}

void CLumBasicDebugDlg::RefreshWatches()
{
    std::vector<std::string> aRows;
    m_pDebugger->GetWatchList(aRows);
    FillList(m_lbWatches, aRows);
}

void CLumBasicDebugDlg::FillList(CLumDebugList& list, const std::vector<std::string>& aRows)
{
    list.ResetContent();
    list.SetHorizontalExtent(10);
    for (const std::string& strRow : aRows)
    {
        list.AddString(strRow);
        Widen(list, strRow);
    }
    m_toolkit.UpdateWindow();
}

void CLumBasicDebugDlg::Widen(CLumDebugList& list, const std::string& strRow)
{
    int nWidth = m_toolkit.MeasureText(strRow);
    if (nWidth > list.GetHorizontalExtent())
        list.SetHorizontalExtent(nWidth);
}

void CLumBasicDebugDlg::ExportProfile()
{
    LumFrame(FILE_LABEL, "CLumBasicDebugDlg::ExportProfile", [&] {
        std::string strPath = m_pDebugger->MakeProfileExportName();
        std::ofstream out(strPath, std::ios::trunc);
        if (!out)
            LumRaise(LUM_MSG_FILE_UNWRITABLE, strPath.c_str(), strerror(errno));
        for (int i = 0; i < m_lbSource.GetCount(); ++i)
        {
            std::string strRow = m_lbSource.GetText(i);
            std::string strLine =
                strRow.size() > PrefixLength() ? strRow.substr(PrefixLength()) : std::string();
            int nHits = m_pDebugger->GetHits(i + 1);
            char szCount[16];
            if (nHits != 0)
                snprintf(szCount, sizeof szCount, "%05d ", nHits);
            else
                snprintf(szCount, sizeof szCount, "      ");
            out << szCount << strLine << '\n';
        }
        out.close();
        if (!out)
            LumRaise(LUM_MSG_FILE_UNWRITABLE, strPath.c_str(), strerror(errno));
    });
}

void CLumBasicDebugDlg::OnCommand(ELumDebugNotify eNotify, int nId)
{
    for (const MessageEntry& entry : sm_aMessageMap)
        if (entry.m_eNotify == eNotify && entry.m_nId == nId)
            return (this->*entry.m_pfnHandler)();
}

// No keyboard commands of the window's own: the toolkit's default handling holds.
void CLumBasicDebugDlg::OnChar(unsigned) {}

void CLumBasicDebugDlg::OnStep()
{
    if (m_toolkit.IsModalLoopActive())
        m_toolkit.EndModalLoop(LUM_IDC_STEP);
}

// The same as a step: calls and imports are entered either way.
void CLumBasicDebugDlg::OnStepinto()
{
    if (m_toolkit.IsModalLoopActive())
        m_toolkit.EndModalLoop(LUM_IDC_STEPINTO);
}

void CLumBasicDebugDlg::OnRun()
{
    m_pDebugger->SetStepMode(0);
    if (m_toolkit.IsModalLoopActive())
        m_toolkit.EndModalLoop(LUM_IDC_RUN);
}

void CLumBasicDebugDlg::OnOff()
{
    m_pDebugger->DebugOff();
    OnRun();
}

// The refresh marks the running line, which makes it the current row; the current
// row goes back to the toggled one, so that a keyboard user sets the next breakpoint
// from there and not from the running line.
void CLumBasicDebugDlg::OnDblclkDbgwnd()
{
    int nIndex = m_lbSource.GetCurSel();
    if (nIndex < 0)
        return;
    m_pDebugger->ToggleBreakpoint(nIndex + 1);
    RefreshSingleLine(nIndex + 1);
    m_lbSource.SetCurSel(nIndex);
}

void CLumBasicDebugDlg::OnDblclkVars()
{
    int nIndex = m_lbVariables.GetCurSel();
    if (nIndex < 0)
        return;
    m_pDebugger->AddWatch(NameOfRow(m_lbVariables.GetText(nIndex)).c_str());
    RefreshWatches();
}

void CLumBasicDebugDlg::OnNewvar()
{
    CLumsNewWatchDlg dlg;
    if (dlg.DoModal(m_toolkit) != LUM_IDC_OK)
        return;
    m_pDebugger->AddWatch(dlg.m_strName.c_str());
    RefreshWatches();
}

// Both lists show the new value at once, so that the user sees what the change did.
void CLumBasicDebugDlg::OnChgvar()
{
    CLumsNewValueDlg dlg;
    int nIndex = m_lbWatches.GetCurSel();
    std::string strRow = m_lbWatches.GetText(nIndex);
    if (nIndex >= 0 && strRow.find_first_of(" =") != std::string::npos)
        dlg.m_strName = NameOfRow(strRow);
    if (dlg.DoModal(m_toolkit) != LUM_IDC_OK)
        return;
    m_pDebugger->ChangeVar(dlg.m_strName.c_str(), dlg.m_strValue.c_str());
    RefreshVariables();
    RefreshWatches();
}

void CLumBasicDebugDlg::OnProfile()
{
    DoDataExchange(true);
    RefreshDebugWindow();
}

void CLumBasicDebugDlg::OnProfileExport()
{
    DoDataExchange(true);
}

void CLumBasicDebugDlg::OnProfileSave()
{
    DoDataExchange(true);
}
