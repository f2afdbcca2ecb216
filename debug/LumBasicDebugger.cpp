#include <lumbasic/LumBasicDebugger.h>

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicProfiler.h>
#include <lumbasic/LumSourceFiles.h>

#include "core/LumFilePolicy.h"
#include "core/LumFrame.h"
#include "debug/LumDebugHost.h"

#include <cstdint>
#include <cstring>

LUM_IMPLEMENT_RUNTIME(CLumBasicDebugger, CLumObject, nullptr)

int CLumBasicDebugger::m_fDebug = 0;
int CLumBasicDebugger::m_fProfile = 0;

namespace
{
std::unique_ptr<char[]> CopyText(const char* pszText, size_t nLength)
{
    std::unique_ptr<char[]> psz(new char[nLength + 1]);
    memcpy(psz.get(), pszText, nLength);
    psz[nLength] = '\0';
    return psz;
}

std::unique_ptr<char[]> CopyText(const char* pszText)
{
    return CopyText(pszText, strlen(pszText));
}
} // namespace

CLumBasicDebugger::CLumBasicDebugger() = default;

// The counters go first, then the window, then the text, as they were made.
CLumBasicDebugger::~CLumBasicDebugger()
{
    m_mapProfiles.clear();
    m_pDlg.reset();
    m_pszSource.reset();
}

void CLumBasicDebugger::Start(CLumBasic* pBasic, const char* pszSource, const char* pszText)
{
    m_fEnding = false;
    if (pszSource != nullptr)
        m_strMainSource = pszSource;
    m_pFilePolicy = pBasic != nullptr ? pBasic->m_pFilePolicy : nullptr;
    bool fResolved = m_pFilePolicy && m_pFilePolicy->HasResolver();
    // An interpreter put into debug mode debugs its run without the master switch,
    // which runs on other threads read and no run writes.
    m_fDebugging = m_fDebug || (pBasic != nullptr && pBasic->GetDebugMode());
    // Counting needs the source's text; a name that is no file of its own is asked for.
    if (m_fProfile && pszText == nullptr && !fResolved &&
        (pszSource == nullptr || !IsOwnAbsolutePath(pszSource)))
        DoSourceDialog();
    if (!m_fDebugging)
        return;
    m_pBasic = pBasic;
    SetSource(pszSource ? pszSource : "", pszText);
    m_pDlg.reset();
    m_pFollowTurns = nullptr;
    m_pDlg = LumMakeDebugWindow(this, m_pszSource.get());
    m_pFollowTurns = m_pDlg ? m_pDlg->FollowTurns() : nullptr;
    m_nQuietAt = ~uint64_t(0);
    SetTitle(LoadMessage(LUM_MSG_TITLE_START).c_str(), m_strMainSource);
}

void CLumBasicDebugger::SetSource(const char* pszSource, const char* pszText)
{
    std::string strSource = pszSource != nullptr && *pszSource != '\0' ? pszSource : m_strMainSource;
    m_lstSourceStack.push_front(strSource);
    DisplaySource(strSource, pszText);
}

void CLumBasicDebugger::RecallSource()
{
    if (m_lstSourceStack.size() <= 1)
        return;
    // Only a source that leaves the display is listed: a recursion between images
    // comes back to the same source level by level.
    if (m_pProfiler != nullptr && CLumBasicDebugWindow::m_fProfileExport &&
        m_lstSourceStack[1] != m_strCurrentSource)
        ExportProfile();
    m_lstSourceStack.pop_front();
    DisplaySource(m_lstSourceStack.front(), nullptr);
}

// The source map keeps the name the text was found under, the profile map the name
// that came in: after the user picked another file the two differ.
void CLumBasicDebugger::DisplaySource(const std::string& strSource, const char* pszText)
{
    if (strSource == m_strCurrentSource || !m_fDebugging)
        return;
    auto itSource = m_mapSources.find(strSource);
    bool fNew = itSource == m_mapSources.end();
    if (fNew && pszText == nullptr)
        AdmitSource(strSource);
    std::string strPrevious = m_strCurrentSource;
    m_strCurrentSource = strSource;
    std::string strStored;
    if (!fNew)
    {
        strStored = itSource->second;
        pszText = strStored.c_str();
    }
    SelectProfiler(strSource, strPrevious);
    m_pszSource.reset();
    bool fFirst = m_mapSources.empty();
    TakeSourceText(pszText);
    if (fFirst)
        m_strMainSource = m_strCurrentSource;
    if (fNew)
        m_mapSources[m_strCurrentSource] = m_pszSource.get();
    if (!fFirst)
        ShowSwitchedSource();
}

// Points m_pProfiler at the counter of the source, made and loaded on first display.
// A counter that fails to load is not kept, and the display stays as it was.
void CLumBasicDebugger::SelectProfiler(const std::string& strSource, const std::string& strPrevious)
{
    auto itProfile = m_mapProfiles.find(strSource);
    if (itProfile != m_mapProfiles.end())
    {
        m_pProfiler = itProfile->second.get();
        return;
    }
    struct Restore
    {
        CLumBasicDebugger* m_p;
        const std::string& m_strPrevious;
        CLumBasicProfiler* m_pPrevious;
        bool m_fDone;
        ~Restore()
        {
            if (m_fDone)
                return;
            m_p->m_strCurrentSource = m_strPrevious;
            m_p->m_pProfiler = m_pPrevious;
        }
    } restore{this, strPrevious, m_pProfiler, false};
    std::unique_ptr<CLumBasicProfiler> pProfiler(new CLumBasicProfiler());
    m_pProfiler = pProfiler.get();
    LoadProfile();
    m_mapProfiles.emplace(strSource, std::move(pProfiler));
    restore.m_fDone = true;
}

void CLumBasicDebugger::TakeSourceText(const char* pszText)
{
    if (pszText != nullptr)
    {
        m_fHasSource = 1;
        m_pszSource = CopyText(pszText);
        return;
    }
    // A resolver serves a source by its name, and no file is opened, not even one the
    // user would choose.
    bool fResolved = m_pFilePolicy && m_pFilePolicy->HasResolver();
    m_fHasSource = fResolved ? !m_strCurrentSource.empty() : IsOwnAbsolutePath(m_strCurrentSource);
    if (!m_fHasSource && !fResolved)
        m_fHasSource = DoSourceDialog();
    if (!m_fHasSource)
    {
        m_pszSource = CopyText(LoadMessage(LUM_MSG_NO_SOURCE).c_str());
        return;
    }
    if (fResolved)
    {
        std::vector<uint8_t> aBytes = m_pFilePolicy->Resolve(m_strCurrentSource);
        m_pszSource = CopyText(reinterpret_cast<const char*>(aBytes.data()), aBytes.size());
        return;
    }
    AdmitSource(m_strCurrentSource); // the user may have chosen another
    std::string strBytes = LumGetSourceFiles().ReadBytes(m_strCurrentSource);
    m_pszSource = CopyText(strBytes.data(), strBytes.size());
}

void CLumBasicDebugger::ShowSwitchedSource()
{
    if (!m_pDlg)
        return;
    m_pDlg->SetSourceText(m_pszSource.get());
    m_pDlg->RefreshDebugWindow();
    if (m_strCurrentSource == m_strMainSource)
        SetTitle(LoadMessage(LUM_MSG_TITLE_MAIN).c_str(), m_strMainSource);
    else
        SetTitle(LoadMessage(LUM_MSG_TITLE_SUB).c_str(), m_strCurrentSource);
}

void CLumBasicDebugger::SetTitle(const char* pszFormat, const std::string& strName)
{
    if (m_pDlg)
        m_pDlg->SetTitle(LumFormat(pszFormat, strName.c_str()));
}

int CLumBasicDebugger::DoSourceDialog()
{
    SLumSourceDialog dialog{"lbd", m_strCurrentSource, true, LoadMessage(LUM_MSG_CHOOSER_FILTER),
                            LoadMessage(LUM_MSG_CHOOSER_TITLE)};
    std::string strChosen;
    if (!LumChooseSource(dialog, strChosen))
    {
        m_strCurrentSource.clear();
        return 0;
    }
    m_strCurrentSource = LumGetSourceFiles().AbsolutePath(strChosen);
    return 1;
}

bool CLumBasicDebugger::IsOwnAbsolutePath(const std::string& strPath) const
{
    const CLumSourceFiles& files = LumGetSourceFiles();
    return files.Exists(strPath) && files.AbsolutePath(strPath) == strPath;
}

// A source outside the host's root is refused before it is looked for, so that a run
// cannot learn what lies outside. A resolver answers for sources itself, and a source
// without a name names no file.
void CLumBasicDebugger::AdmitSource(const std::string& strPath) const
{
    if (m_pFilePolicy && !m_pFilePolicy->HasResolver() && !strPath.empty())
        m_pFilePolicy->Admit(strPath);
}

int CLumBasicDebugger::Step(long nLine)
{
    CountLine(nLine);
    if (m_pDlg && m_fHasSource && m_fProfile && m_pProfiler != nullptr)
        m_pDlg->RefreshLine(nLine);
    if (!m_fDebugging)
        return 0;
    // Breakpoints hold a line alone, so they belong to the main source.
    if (!m_mapBreakpoints.empty() && m_strCurrentSource == m_strMainSource && m_mapBreakpoints.count(nLine))
        m_fStepMode = 1;
    if (m_fStepMode && m_pDlg)
        m_pDlg->EnterModalMode(nLine);
    return 0;
}

int CLumBasicDebugger::IsBreakpoint(long nLine) const
{
    return m_strCurrentSource == m_strMainSource && m_mapBreakpoints.count(nLine) != 0;
}

int CLumBasicDebugger::ToggleBreakpoint(long nLine)
{
    if (m_strCurrentSource != m_strMainSource)
        return 0;
    if (m_mapBreakpoints.erase(nLine) != 0)
        return 0;
    m_mapBreakpoints.insert(nLine);
    return 1;
}

void CLumBasicDebugger::GetVariables(std::vector<std::string>& list) const
{
    if (m_pBasic != nullptr)
        m_pBasic->DumpVariables(list);
}

void CLumBasicDebugger::GetWatchList(std::vector<std::string>& list) const
{
    if (m_pBasic == nullptr)
        return;
    for (const std::string& strName : m_lstWatches)
        list.push_back(m_pBasic->DumpVariable(strName.c_str()));
}

void CLumBasicDebugger::AddWatch(const char* pszName)
{
    m_lstWatches.emplace_back(pszName ? pszName : "");
}

// The variable keeps its type: text that is no number reads as far as it goes. A name
// the store does not know gives its shared null value, which must stay as it is: the
// new variable takes the type its name's last character gives.
void CLumBasicDebugger::ChangeVar(const char* pszName, const char* pszValue)
{
    if (m_pBasic == nullptr || pszName == nullptr)
        return;
    const CLumsVarValue* pFound = m_pBasic->GetVar(pszName, nullptr);
    int nType = pFound != nullptr ? pFound->GetType() : CLumsVarValue::VT_EMPTY;
    if (nType == CLumsVarValue::VT_EMPTY)
        nType = CLumVariables::GetNullValue(pszName)->GetType();
    const char* psz = pszValue ? pszValue : "";
    std::unique_ptr<CLumsVarValue> pValue(new CLumsVarValue());
    if (nType == CLumsVarValue::VT_STRING)
        *pValue = psz;
    else if (nType == CLumsVarValue::VT_LONG)
        *pValue = static_cast<long>(LumAtol(psz));
    else
        *pValue = LumAtof(psz);
    m_pBasic->SetVar(pszName, pValue.release());
}

int CLumBasicDebugger::GetHits(long nLine) const
{
    if (!m_fProfile || !m_fHasSource || m_pProfiler == nullptr)
        return 0;
    return m_pProfiler->GetHits(nLine);
}

void CLumBasicDebugger::GetCallStack(std::vector<SLumCallSite>& aSites) const
{
    if (m_pBasic == nullptr)
        return;
    size_t nOmitted = 0;
    m_pBasic->VisitCallSites(
        SIZE_MAX, 0, [&](int, SLumCallSite&& site) { aSites.push_back(std::move(site)); }, nOmitted);
}

void CLumBasicDebugger::Fail(const CLumsException& e)
{
    if (m_fDebugging && m_pDlg)
        m_pDlg->OnFailure(e);
}

void CLumBasicDebugger::DebugOff()
{
    m_fDebugging = 0;
    m_fDebug = 0;
    m_fProfile = 0;
    CLumBasicDebugWindow::m_fProfile = 0;
}

// With counting on, the counts are exported and saved, and a window stops once more
// behind the program's last statement for the user to read them.
void CLumBasicDebugger::End()
{
    m_fEnding = true;
    if (m_fProfile)
    {
        if (m_pProfiler != nullptr && CLumBasicDebugWindow::m_fProfileExport)
            ExportProfile();
        WriteDueListings();
        if (CLumBasicDebugWindow::m_fProfileSave)
            SaveAllProfiles();
        if (m_pDlg)
            m_pDlg->EnterModalMode(m_nLineNr);
    }
    m_pBasic = nullptr;
    m_pszSource.reset();
    m_pFollowTurns = nullptr;
    m_pDlg.reset();
}

// SaveProfile works on the source on display; each source takes that place in turn.
void CLumBasicDebugger::SaveAllProfiles()
{
    struct Restore
    {
        CLumBasicDebugger* m_p;
        std::string m_strSource;
        CLumBasicProfiler* m_pProfiler;
        ~Restore()
        {
            m_p->m_strCurrentSource = std::move(m_strSource);
            m_p->m_pProfiler = m_pProfiler;
        }
    } restore{this, m_strCurrentSource, m_pProfiler};
    for (auto& entry : m_mapProfiles)
    {
        m_strCurrentSource = entry.first;
        m_pProfiler = entry.second.get();
        SaveProfile();
    }
}
