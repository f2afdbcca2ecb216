// The source-level debugger. It runs in the interpreter's thread: at each line marker
// the run calls Step, which counts a hit and, at a stop, waits in the window's modal
// loop until the user releases the program. It follows the source through imports and
// calls between images, and keeps for one main run the source texts, the hit counters,
// the breakpoints and the watches.
//
// The engine reaches the world through interfaces a host replaces: the window
// (LumBasicDebugWindow.h), the source chooser (LumSourceChooser.h) and the access to
// source files (LumSourceFiles.h). Without a window it counts hits and never stops.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicProfiler.h>
#include <lumbasic/LumObject.h>

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class CLumBasic;
class CLumBasicDebugWindow;
class CLumBasicProfiler;
class CLumFilePolicy;
class CLumsException;
struct SLumCallSite;

class LUM_API CLumBasicDebugger : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumBasicDebugger)

public:
    // The master switch of the debugger: the debug mode of interpreters made from now
    // on. While it is 0 nothing stops and no source is displayed, except in the run of
    // an interpreter put into debug mode (CLumBasic::SetDebugMode). A host sets it
    // before runs start; no run writes it, only DebugOff.
    static int m_fDebug;
    // The master switch of hit counting; only a host sets it, before runs start.
    static int m_fProfile;

    CLumBasicDebugger();
    ~CLumBasicDebugger() override;
    CLumBasicDebugger(const CLumBasicDebugger&) = delete;
    CLumBasicDebugger& operator=(const CLumBasicDebugger&) = delete;

    // The interpreter's side. A source is a file path, empty for the main source; a
    // text is the source text when the caller has it, else null.
    void Start(CLumBasic* pBasic, const char* pszSource, const char* pszText);
    void End();
    void SetSource(const char* pszSource, const char* pszText);
    void RecallSource();
    // Counts a hit on the line and stops when a stop is due. Always 0: the debugger
    // never ends a run by itself.
    int Step(long nLine);
    // Whether Step can do no more than count and note the line: no window is open that
    // could stop there, or the window need not follow the lines, and no breakpoint is
    // set. The fast form then counts a line with
    // CountLine, without the marker's handler.
    bool OnlyCounts() const { return (m_pDlg == nullptr || !WindowFollows()) && m_mapBreakpoints.empty(); }
    bool HasWindow() const { return m_pDlg != nullptr; }
    // Whether a run may go on counting where OnlyCounts held without asking again at
    // each line: no window is open, or the window's turns are watched instead
    // (CLumBasicDebugWindow::FollowTurns). Breakpoints change only where the run stops.
    bool MayOnlyCountOn() const { return m_pDlg == nullptr || m_pFollowTurns != nullptr; }
    // The window's count of turns, null without a window. Read before OnlyCounts: a
    // turn after that shows as a new count.
    const std::atomic<uint32_t>* FollowTurns() const { return m_pFollowTurns; }
    uint32_t FollowTurnsNow() const
    {
        return m_pFollowTurns != nullptr ? m_pFollowTurns->load(std::memory_order_acquire) : 0;
    }
    void CountLine(long nLine)
    {
        m_nLineNr = nLine;
        if (CLumBasicProfiler* pProfiler = CountsInto())
            pProfiler->CountHit(nLine);
    }
    // Where CountLine counts, null where it only notes the line: for a row of hits
    // that nothing can switch between, the lines counted one by one and the last noted.
    CLumBasicProfiler* CountsInto() const { return m_fHasSource && m_fProfile ? m_pProfiler : nullptr; }
    void NoteLine(long nLine) { m_nLineNr = nLine; }

    // The window's side.
    void SetStepMode(int fStepMode) { m_fStepMode = fStepMode; }
    int IsBreakpoint(long nLine) const;
    int ToggleBreakpoint(long nLine);
    // The whole store, a row per variable, always through the main program's interpreter.
    void GetVariables(std::vector<std::string>& list) const;
    // Appends a row per watch, in the order they were added.
    void GetWatchList(std::vector<std::string>& list) const;
    void AddWatch(const char* pszName);
    // Stores `pszValue` into the variable, which keeps its type.
    void ChangeVar(const char* pszName, const char* pszValue);
    long GetLineNr() const { return m_nLineNr; }
    int GetHits(long nLine) const;
    // The procedures running in the main program, innermost first, each with its
    // source and the line it stands at; one site without a name outside procedures.
    void GetCallStack(std::vector<SLumCallSite>& aSites) const;
    // The main program's interpreter while a run is debugged, else null.
    CLumBasic* GetBasic() const { return m_pBasic; }
    // Whether End is under way: a window's last stop, to read the counts, follows.
    bool IsEnding() const { return m_fEnding; }
    // The main run failed with `e`, whose call sites are recorded and whose stacks
    // and store still stand as they were: the window may stop there.
    void Fail(const CLumsException& e);
    // Switches debugging and counting off for this run and for every interpreter of
    // the process: the one call that writes the master switches while a run goes on.
    void DebugOff();

    // What a front end shows besides the window's rows.
    const std::string& GetMainSource() const { return m_strMainSource; }
    const std::string& GetCurrentSource() const { return m_strCurrentSource; }
    // The names of the nested sources, innermost first.
    const std::deque<std::string>& GetSourceStack() const { return m_lstSourceStack; }
    // The text on display, null while no source has been displayed.
    const char* GetSourceText() const { return m_pszSource.get(); }

    // The profile files of the source on display. Under a host's file policy, one that
    // lies outside it fails with the refusal, here and where it would be opened.
    void LoadProfile();
    void SaveProfile();
    std::string MakeProfileExportName() const;
    // Writes the listing of the source on display, each line behind its count, to the
    // file of MakeProfileExportName. A window's export may use it, as the rows it
    // shows are the lines of the same text.
    void WriteProfileListing() const;

private:
    void DisplaySource(const std::string& strSource, const char* pszText);
    void SelectProfiler(const std::string& strSource, const std::string& strPrevious);
    void TakeSourceText(const char* pszText);
    void ShowSwitchedSource();
    int DoSourceDialog();
    bool IsOwnAbsolutePath(const std::string& strPath) const;
    void AdmitSource(const std::string& strPath) const;
    std::string MakeProfileName() const;
    std::string ProfilePath(const std::string& strSource, const char* pszSuffix) const;
    void ExportProfile();
    void WriteDueListings();
    void WriteListing(const std::string& strSource, const char* pszText, const CLumBasicProfiler* pProfiler,
                      int fHasSource) const;
    void SaveAllProfiles();
    void SetTitle(const char* pszFormat, const std::string& strName);

    std::unique_ptr<CLumBasicDebugWindow> m_pDlg;
    // The window's FollowTurns, taken when it was made, and its value when the window
    // last said it need not follow (beyond any count while it has not).
    const std::atomic<uint32_t>* m_pFollowTurns = nullptr;
    mutable uint64_t m_nQuietAt = ~uint64_t(0);
    // A window that gives its turns is asked again only once they changed.
    bool WindowFollows() const
    {
        if (m_pFollowTurns == nullptr)
            return m_pDlg->FollowsEveryLine();
        uint32_t nTurns = m_pFollowTurns->load(std::memory_order_acquire);
        if (nTurns == m_nQuietAt)
            return false;
        bool fFollows = m_pDlg->FollowsEveryLine();
        m_nQuietAt = fFollows ? ~uint64_t(0) : nTurns;
        return fFollows;
    }
    CLumBasic* m_pBasic = nullptr;
    std::unique_ptr<char[]> m_pszSource;
    std::set<long> m_mapBreakpoints;
    int m_fStepMode = 1;
    bool m_fEnding = false;
    // Whether this run is debugged: the master switch, or its interpreter's debug mode,
    // when it started.
    int m_fDebugging = 0;
    std::vector<std::string> m_lstWatches;
    CLumBasicProfiler* m_pProfiler = nullptr;
    long m_nLineNr = 1;
    std::string m_strMainSource;
    std::string m_strCurrentSource;
    int m_fHasSource = 1;
    std::map<std::string, std::string> m_mapSources;
    std::map<std::string, std::unique_ptr<CLumBasicProfiler>> m_mapProfiles;
    // A deque: calls between images recurse as deep as a program's calls may.
    std::deque<std::string> m_lstSourceStack;
    // Without a window a listing is written once, at the end: one written each time
    // its source leaves the display would be overwritten by the next anyway.
    struct DueListing
    {
        CLumBasicProfiler* m_pProfiler;
        int m_fHasSource;
    };
    std::map<std::string, DueListing> m_mapDueListings;
    // The file policy of the interpreter that started the debugger, or null.
    std::shared_ptr<const CLumFilePolicy> m_pFilePolicy;
};
