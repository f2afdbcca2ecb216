// Helpers for tests of the debugger: a window that records every call and answers
// each stop from a script, and programs compiled from sources in a directory of their
// own, so that the debugger finds their texts and writes their profile files there.
#pragma once

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumSourceChooser.h>

#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <cstring>
#include <deque>
#include <fstream>

namespace lumtest
{
// What a debug session did, as the window saw it, and what it is to do at stops.
struct CDebugLog
{
    std::vector<std::string> m_aLog;
    // Played at a stop until an action releases the program; "step" when empty.
    //   step | run | off            the window's buttons
    //   break N | watch NAME | change NAME=VALUE | hits N | watches   and go on
    std::deque<std::string> m_aScript;
    std::string m_strDir;
    CLumBasicDebugger* m_pDebugger = nullptr;

    // A name without the directory of the test's files.
    std::string Short(const std::string& str) const
    {
        std::string strShort = str;
        for (size_t n; !m_strDir.empty() && (n = strShort.find(m_strDir + "/")) != std::string::npos;)
            strShort.erase(n, m_strDir.size() + 1);
        return strShort;
    }
    void Log(const std::string& str) { m_aLog.push_back(Short(str)); }
    // The log's lines that start with `strPrefix`.
    std::vector<std::string> Lines(const std::string& strPrefix) const
    {
        std::vector<std::string> aLines;
        for (const std::string& str : m_aLog)
            if (str.compare(0, strPrefix.size(), strPrefix) == 0)
                aLines.push_back(str);
        return aLines;
    }
};

class CScriptedWindow : public CLumBasicDebugWindow
{
public:
    CScriptedWindow(CDebugLog& log, CLumBasicDebugger* pDebugger, const char* pszText)
        : m_log(log), m_pDebugger(pDebugger)
    {
        m_log.m_pDebugger = pDebugger;
        m_log.Log("open " + FirstLine(pszText));
    }
    ~CScriptedWindow() override { m_log.Log("close"); }

    void SetTitle(const std::string& strTitle) override { m_log.Log("title " + strTitle); }
    void SetSourceText(const char* pszText) override { m_log.Log("text " + FirstLine(pszText)); }
    void RefreshDebugWindow() override { m_log.Log("refresh"); }
    void RefreshLine(long) override {}
    void ExportProfile() override
    {
        m_log.Log("export");
        m_pDebugger->WriteProfileListing();
    }
    int EnterModalMode(long nLine) override
    {
        m_log.Log("stop " + m_pDebugger->GetCurrentSource() + ":" + std::to_string(nLine));
        while (!m_log.m_aScript.empty() && Play(Next()))
        {
        }
        return 0;
    }

private:
    static std::string FirstLine(const char* pszText)
    {
        return pszText ? std::string(pszText, strcspn(pszText, "\r\n")) : "(null)";
    }
    std::string Next()
    {
        std::string str = m_log.m_aScript.front();
        m_log.m_aScript.pop_front();
        return str;
    }
    // False for the actions that release the program.
    bool Play(const std::string& strAction)
    {
        std::string strWord = strAction.substr(0, strAction.find(' '));
        std::string strArg = strAction.size() > strWord.size() ? strAction.substr(strWord.size() + 1) : "";
        if (strWord == "off")
            m_pDebugger->DebugOff();
        if (strWord == "run" || strWord == "off")
            m_pDebugger->SetStepMode(0);
        else if (strWord == "break")
            m_pDebugger->ToggleBreakpoint(std::stol(strArg));
        else if (strWord == "watch")
            m_pDebugger->AddWatch(strArg.c_str());
        else if (strWord == "change")
            m_pDebugger->ChangeVar(strArg.substr(0, strArg.find('=')).c_str(),
                                   strArg.substr(strArg.find('=') + 1).c_str());
        else if (strWord == "hits")
            m_log.Log("hits " + std::to_string(m_pDebugger->GetHits(std::stol(strArg))));
        else if (strWord == "watches")
        {
            std::vector<std::string> aRows;
            m_pDebugger->GetWatchList(aRows);
            for (const std::string& strRow : aRows)
                m_log.Log("watch " + strRow);
        }
        return strWord != "step" && strWord != "run" && strWord != "off";
    }

    CDebugLog& m_log;
    CLumBasicDebugger* m_pDebugger;
};

// A test with a directory of sources and images and, once installed, the scripted
// window. The debugger's switches are off at the start of each test.
class CDebuggerTest : public testing::Test
{
protected:
    void InstallWindow()
    {
        m_log.m_strDir = m_dir.Dir();
        LumSetDebugWindowFactory([this](CLumBasicDebugger* pDebugger, const char* pszText) {
            return std::unique_ptr<CLumBasicDebugWindow>(new CScriptedWindow(m_log, pDebugger, pszText));
        });
    }
    // Writes a source file and gives its path.
    std::string Write(const std::string& strName, const std::string& strText)
    {
        std::ofstream(m_dir.Path(strName), std::ios::binary) << strText;
        return m_dir.Path(strName);
    }
    // Compiles a source written before, recording `strSourceName` or else its own path.
    std::vector<uint8_t> Compile(const std::string& strName, const std::string& strSourceName = "")
    {
        CLumCompiler compiler;
        std::vector<uint8_t> aImage;
        if (strSourceName.empty())
            EXPECT_TRUE(compiler.CompileFile(m_dir.Path(strName), aImage));
        else
            EXPECT_TRUE(compiler.Compile(ReadText(m_dir.Path(strName)), strSourceName, aImage));
        return aImage;
    }
    // Compiles a library into NAME.lbc beside its source.
    void CompileLibrary(const std::string& strName, const std::string& strSourceName = "")
    {
        m_dir.Save(LumImagePathFor(strName), Compile(strName, strSourceName));
    }
    // Runs an image on a new interpreter whose store holds dir$, the directory with a
    // slash behind; gives the trail of a failure. The interpreter stays till the next run.
    std::vector<std::string> Run(const std::vector<uint8_t>& aImage)
    {
        m_pBasic.reset();
        m_vars.SetValuesFromString(("S:dir$=" + m_dir.Dir() + "/\n").c_str());
        m_pBasic.reset(new CLumBasic(&m_vars, nullptr));
        return RunImage(*m_pBasic, aImage);
    }

    CImageDir m_dir;
    CDebugLog m_log;
    CLumVariables m_vars;
    std::unique_ptr<CLumBasic> m_pBasic;
};
} // namespace lumtest
