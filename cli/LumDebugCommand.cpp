// lumbasic debug: a run under the debug window, drawn on the terminal. The window
// stops the program at its first line and at every line after a step, shows the
// source, the variables and the watches, and counts line hits for its coverage column.
#include "LumRunCommand.h"

#include "LumConsole.h"
#include "LumTerminalPlugin.h"

#include <lumbasic/LumBasicDebugDlg.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumMessageBox.h>
#include <lumbasic/LumsException.h>
#include <lumbasic/LumSourceChooser.h>
#include <lumbasic/LumSourceFiles.h>
#include <lumbasic/LumVariables.h>

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
    CDebugSession(bool fAnswer, int nAnswer, CLumConsole& console,
                  std::unique_ptr<CLumTerminalToolkit> pToolkit)
        : m_rConsole(console), m_pToolkit(std::move(pToolkit))
    {
        console.SetOutput([this](const std::string& strText) { Write(strText); });
        console.SetInput(
            [this](const std::string& strPrompt, std::string& strLine) { return Ask(strPrompt, strLine); });
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
                return fAnswer ? nAnswer : m_pToolkit->MessageBox(pszText, pszCaption, nStyle);
            });
        CLumBasicDebugger::m_fDebug = 1;
        CLumBasicDebugger::m_fProfile = 1;
    }

    ~CDebugSession() override
    {
        m_rConsole.SetOutput(CLumConsole::WriteStandard);
        m_rConsole.SetInput(CLumConsole::ReadStandard);
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
            return std::make_unique<CLumBasicDebugDlg>(pDebugger, pszText, *m_pToolkit);
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
        if (!m_pToolkit->HasWindow())
            return false;
        SLumDebugForm form{0, dialog.m_strTitle, {{LUM_IDC_NAME, "Datei", dialog.m_strFileName}}};
        if (!m_pToolkit->DoModal(form) || !m_cFiles.Exists(form.m_aFields[0].m_strValue))
            return false;
        strChosen = m_cFiles.AbsolutePath(form.m_aFields[0].m_strValue);
        return true;
    }

    // The program's output would draw over the window: while the window stands it is
    // held, and written once the terminal is given back.
    void Write(const std::string& strText)
    {
        m_cHeld.m_str += strText;
        if (!m_pToolkit->HasWindow())
            m_cHeld.Flush();
    }

    // Input asks in a form over the window, which holds the prompt and the line given.
    bool Ask(const std::string& strPrompt, std::string& strLine)
    {
        if (!m_pToolkit->HasWindow())
        {
            m_cHeld.Flush();
            return CLumConsole::ReadStandard(strPrompt, strLine);
        }
        SLumDebugForm form{0, strPrompt, {{LUM_IDC_NAME, "Eingabe", ""}}};
        bool fGiven = m_pToolkit->DoModal(form);
        strLine = fGiven ? form.m_aFields[0].m_strValue : "";
        m_cHeld.m_str += strPrompt + strLine + "\n";
        return fGiven;
    }

    // Destroyed after the toolkit, which gives the terminal back.
    struct SHeldOutput
    {
        std::string m_str;
        void Flush()
        {
            CLumConsole::WriteStandard(m_str);
            m_str.clear();
        }
        ~SHeldOutput() { Flush(); }
    };

    CLumConsole& m_rConsole;
    SHeldOutput m_cHeld;
    // Sources written here end their lines in LF; the window needs a row per line.
    CLumCrLfSourceFiles m_cFiles;
    std::unique_ptr<CLumTerminalToolkit> m_pToolkit;
    CLumSourceFiles* m_pFilesBefore = nullptr;
    LumDebugWindowFactory m_fnWindowBefore;
    LumSourceChooser m_fnChooserBefore;
    LumMessageBoxFunction m_fnBoxBefore;
};
} // namespace

int LumDebugCommand(const std::vector<std::string>& aArgs)
{
    std::string strError;
    std::unique_ptr<CLumTerminalToolkit> pToolkit = LumLoadTerminalToolkit(strError);
    if (pToolkit == nullptr)
    {
        char szText[1024];
        snprintf(szText, sizeof szText, LoadMessage(LUM_MSG_NO_TERMINAL).c_str(), strError.c_str());
        fprintf(stderr, "lumbasic: %s\n", szText);
        return 1;
    }
    CLumVariables cVariables;
    return LumRunProgram(
        aArgs, USAGE,
        [&pToolkit](bool fAnswer, int nAnswer, CLumConsole& console) -> std::unique_ptr<CLumRunSession> {
            return std::make_unique<CDebugSession>(fAnswer, nAnswer, console, std::move(pToolkit));
        },
        cVariables);
}
