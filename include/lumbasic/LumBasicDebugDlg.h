// The debug window: the source with the line about to run, all variables, the watched
// ones, the coverage check boxes and the buttons that release a stopped program. Its
// logic lives here; a toolkit (LumDebugToolkit.h) draws it and brings the user's input.
//
//     CLumScriptToolkit toolkit({"click 1003", "click 1007"});
//     LumSetDebugWindowFactory([&](CLumBasicDebugger* pDebugger, const char* pszText) {
//         return std::make_unique<CLumBasicDebugDlg>(pDebugger, pszText, toolkit);
//     });
#pragma once

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumDebugToolkit.h>
#include <lumbasic/LumExport.h>

#include <string>

class CLumBasicDebugger;

class LUM_API CLumBasicDebugDlg : public CLumBasicDebugWindow, public CLumDebugCommandTarget
{
public:
    // The window comes up at once, its check boxes as the last window left them.
    CLumBasicDebugDlg(CLumBasicDebugger* pDebugger, const char* pszText, CLumDebugToolkit& toolkit);
    ~CLumBasicDebugDlg() override;
    CLumBasicDebugDlg(const CLumBasicDebugDlg&) = delete;
    CLumBasicDebugDlg& operator=(const CLumBasicDebugDlg&) = delete;

    void SetTitle(const std::string& strTitle) override;
    void SetSourceText(const char* pszText) override;
    int EnterModalMode(long nLine) override;
    void RefreshDebugWindow() override;
    void RefreshLine(long nLine) override;
    // Writes the listing of the source on display from the window's rows.
    void ExportProfile() override;

    void OnCommand(ELumDebugNotify eNotify, int nId) override;
    void OnChar(unsigned nChar) override;

    // The length of the prefix in front of a source row's text.
    static size_t PrefixLength() { return m_fProfile ? 7 : 2; }

private:
    // Moves the check boxes to the statics (fSave) or the statics to the check boxes.
    void DoDataExchange(bool fSave);
    void RefreshVariables();
    void RefreshWatches();
    void RefreshSingleLine(long nLine);
    // Fills a list with rows and widens its scrollable width to the widest.
    void FillList(CLumDebugList& list, const std::vector<std::string>& aRows);
    void Widen(CLumDebugList& list, const std::string& strRow);

    void OnOff();
    void OnStep();
    void OnStepinto();
    void OnDblclkVars();
    void OnDblclkDbgwnd();
    void OnRun();
    void OnChgvar();
    void OnNewvar();
    void OnProfile();
    void OnProfileExport();
    void OnProfileSave();

    struct MessageEntry
    {
        ELumDebugNotify m_eNotify;
        int m_nId;
        void (CLumBasicDebugDlg::*m_pfnHandler)();
    };
    static const MessageEntry sm_aMessageMap[];

    CLumDebugToolkit& m_toolkit;
    CLumDebugList& m_lbWatches;
    CLumDebugList& m_lbVariables;
    CLumDebugList& m_lbSource;
    CLumBasicDebugger* m_pDebugger;
    std::string m_strText;
};
