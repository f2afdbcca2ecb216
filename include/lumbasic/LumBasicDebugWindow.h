// The debug window as the engine sees it. A host installs a factory that makes its
// window (a dialog of its toolkit, a terminal front end, a debug adapter); without
// one the debugger has no window, counts hits and never stops.
#pragma once

#include <lumbasic/LumExport.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class CLumBasicDebugger;
class CLumsException;

class LUM_API CLumBasicDebugWindow
{
public:
    // The window's check boxes. They outlive every window, so that the next window
    // comes up as the last one left them.
    static int m_fProfile;       // show the hit counts beside the source
    static int m_fProfileExport; // write the listing when a source leaves the display
    static int m_fProfileSave;   // save the counts of all sources at the debugger's end

    virtual ~CLumBasicDebugWindow() = default;

    virtual void SetTitle(const std::string& strTitle) = 0;
    // The source text to show; null for none. RefreshDebugWindow follows.
    virtual void SetSourceText(const char* pszText) = 0;
    // The stop: returns when the user releases the program. The line is the one about
    // to run; it may have no row when the source changed after compiling.
    virtual int EnterModalMode(long nLine) = 0;
    // Rebuilds all rows.
    virtual void RefreshDebugWindow() = 0;
    // Rebuilds the row of a line whose count changed.
    virtual void RefreshLine(long nLine) = 0;
    // Writes the listing of the source on display; CLumBasicDebugger::WriteProfileListing
    // writes it from the source text.
    virtual void ExportProfile() = 0;
    // The main run failed with `e`, before its stacks unwind; nothing by default. It
    // must not throw: the failure goes on its way once it returns.
    virtual void OnFailure(const CLumsException& e) { (void)e; }
    // Whether the window must come to every line (EnterModalMode, RefreshLine). A
    // window that knows it could not stop now (no breakpoint, no step, no pause asked
    // for) says no, and the run counts its lines as without a window, functions run
    // whole included; it asks again at each line, from the run's thread, so it must
    // answer quickly and may change its answer from any thread.
    virtual bool FollowsEveryLine() const { return true; }
    // A count that rises each time the answer of FollowsEveryLine may have turned to
    // yes, raised after the change that turns it (a breakpoint set, a pause asked for),
    // from any thread; it must outlive the window. With one, the run asks
    // FollowsEveryLine again only once the count has changed, and reads the count alone
    // at the lines between. Null (the default): the window is asked at every line.
    virtual const std::atomic<uint32_t>* FollowTurns() const { return nullptr; }
};

// Makes the window of a debugger that starts, showing `pszText` (null for none).
// Null means no window.
using LumDebugWindowFactory =
    std::function<std::unique_ptr<CLumBasicDebugWindow>(CLumBasicDebugger* pDebugger, const char* pszText)>;

// Installs the factory for debuggers that start from now on and gives the one before.
// An empty function means no window.
LUM_API LumDebugWindowFactory LumSetDebugWindowFactory(LumDebugWindowFactory fnFactory);

// The rows of a source text, as a window shows them. Only the pair CR LF ends a line:
// a lone LF or CR belongs to its line. A text ending in CR LF has no empty row behind
// it, and an empty text is one empty row.
LUM_API std::vector<std::string> LumSplitSourceLines(const char* pszText);
