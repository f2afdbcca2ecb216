// lumbasic debug: a run under the debug window, drawn on the terminal. The window
// stops the program at its first line and at every line after a step, shows the
// source, the variables and the watches, and counts line hits for its coverage column.
#include "LumRunCommand.h"

#include "LumCursesToolkit.h"

#include <lumbasic/LumBasicDebugDlg.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumMessageBox.h>
#include <lumbasic/LumsException.h>
#include <lumbasic/LumSourceChooser.h>
#include <lumbasic/LumSourceFiles.h>

#include "res/LumMessages.h"

#include <cstdio>
#include <stdexcept>

namespace
{
const char* const USAGE =
    "usage: lumbasic debug [--vars FILE] [--dump] [--answer N] [--strict] [--trail]\n"
    "           [--max-steps N] [--max-memory MB] [--module LIB[:CLASS,...] [--set NAME=VALUE]...]...\n"
    "           [--extensions FILE] [--plain] [--sandbox DIR] IMAGE|SOURCE";

class CDebugSession : public CLumRunSession
{
public:
    CDebugSession(bool fAnswer, int nAnswer)
    {
        m_pFilesBefore = LumSetSourceFiles(&m_cFiles);
        m_fnWindowBefore =
            LumSetDebugWindowFactory([this](CLumBasicDebugger* pDebugger, const char* pszText) {
                return MakeWindow(pDebugger, pszText);
            });
        m_fnChooserBefore =
            LumSetSourceChooser([this](const SLumSourceDialog& dialog, std::string& strChosen) {
                return Choose(dialog, strChosen);
            });
        // Boxes of the program stand inside the window; an answer given beforehand
        // keeps them off the screen altogether.
        m_fnBoxBefore = LumSetMessageBox(
            [this, fAnswer, nAnswer](const char* pszText, const char* pszCaption, long nStyle) {
                return fAnswer ? nAnswer : m_cToolkit.MessageBox(pszText, pszCaption, nStyle);
            });
        CLumBasicDebugger::m_fDebug = 1;
        CLumBasicDebugger::m_fProfile = 1;
    }

    ~CDebugSession() override
    {
        LumSetMessageBox(std::move(m_fnBoxBefore));
        LumSetSourceChooser(std::move(m_fnChooserBefore));
        LumSetDebugWindowFactory(std::move(m_fnWindowBefore));
        LumSetSourceFiles(m_pFilesBefore);
    }

private:
    std::unique_ptr<CLumBasicDebugWindow> MakeWindow(CLumBasicDebugger* pDebugger, const char* pszText)
    {
        try
        {
            return std::make_unique<CLumBasicDebugDlg>(pDebugger, pszText, m_cToolkit);
        }
        catch (const std::runtime_error& e)
        {
            // Nothing has run yet: the window comes before the first line.
            char szText[512];
            snprintf(szText, sizeof szText, LoadMessage(LUM_MSG_NO_TERMINAL).c_str(), e.what());
            CLumsException failure;
            failure.AddString() = szText;
            throw failure;
        }
    }

    // The source an image names is not there: the user may point at it.
    bool Choose(const SLumSourceDialog& dialog, std::string& strChosen)
    {
        if (!m_cToolkit.HasWindow())
            return false;
        SLumDebugForm form{0, dialog.m_strTitle, {{LUM_IDC_NAME, "Datei", dialog.m_strFileName}}};
        if (!m_cToolkit.DoModal(form) || !m_cFiles.Exists(form.m_aFields[0].m_strValue))
            return false;
        strChosen = m_cFiles.AbsolutePath(form.m_aFields[0].m_strValue);
        return true;
    }

    // Sources written here end their lines in LF; the window needs a row per line.
    CLumCrLfSourceFiles m_cFiles;
    CLumCursesToolkit m_cToolkit;
    CLumSourceFiles* m_pFilesBefore = nullptr;
    LumDebugWindowFactory m_fnWindowBefore;
    LumSourceChooser m_fnChooserBefore;
    LumMessageBoxFunction m_fnBoxBefore;
};
} // namespace

int LumDebugCommand(const std::vector<std::string>& aArgs)
{
    return LumRunProgram(aArgs, USAGE, [](bool fAnswer, int nAnswer) -> std::unique_ptr<CLumRunSession> {
        return std::make_unique<CDebugSession>(fAnswer, nAnswer);
    });
}
