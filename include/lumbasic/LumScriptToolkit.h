// A debug window toolkit without a screen: it keeps the window's rows, selections and
// check boxes in memory, takes the user's input from a script and writes what
// happened to a transcript. Tests drive the debug window through it, and a host can
// answer a debugging session from a file of commands.
//
// A script is a list of events, one per entry, taken in order:
//     click ID          a button or check box (a check box changes its state first)
//     dblclk ID ROW     a double click on row ROW of a list; -1 for its empty part
//     select ID ROW     makes ROW the current row of a list, without a command
//     show ID           writes the rows of a list to the transcript, as "ID|row"
//     enter | escape    the keys: the default button, the toolkit's cancel
//     ok [VALUE]...     answers a form with OK, its first fields set to the values in
//                       order; an OK the form refuses leaves it open for the next entry
//     cancel            answers a form with Cancel
// A modal loop takes events until a command ends it, a form takes the next entry.
// When the script runs out, a loop ends as on Escape and a form is cancelled.
#pragma once

#include <lumbasic/LumDebugToolkit.h>
#include <lumbasic/LumExport.h>

#include <deque>
#include <string>
#include <vector>

class LUM_API CLumScriptToolkit : public CLumDebugToolkit
{
public:
    explicit CLumScriptToolkit(std::vector<std::string> aScript = {});

    void CreateWindow(CLumDebugCommandTarget& target) override;
    void DestroyWindow() override;
    void SetWindowText(const std::string& strTitle) override;
    int RunModalLoop() override;
    void EndModalLoop(int nResult) override;
    bool IsModalLoopActive() const override { return m_fInLoop; }
    void UpdateWindow() override {}
    // Characters, not bytes: UTF-8 text takes its place as it would on a screen.
    int MeasureText(const std::string& str) const override;
    bool DoModal(SLumDebugForm& form) override;

    // Plays one event now, in a loop or not; false for an entry that is no event.
    bool Send(const std::string& strEvent);
    void AddScript(const std::vector<std::string>& aScript);
    // What happened, an entry per line: "title T", "stop at row N", "form T",
    // "refused WHY", "loop ended R", "window made", "window gone".
    const std::vector<std::string>& GetTranscript() const { return m_aTranscript; }
    const std::string& GetTitle() const { return m_strTitle; }
    bool HasWindow() const { return m_pTarget != nullptr; }

private:
    std::deque<std::string> m_aScript;
    std::vector<std::string> m_aTranscript;
    std::string m_strTitle;
    CLumDebugCommandTarget* m_pTarget = nullptr;
    bool m_fInLoop = false;
    int m_nResult = 0;
};
