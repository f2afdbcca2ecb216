// The debugger engine driven by a scripted window: where it stops, which source it
// shows through imports and calls, sources it cannot find, and the window's changes.
#include "tests/LumDebuggerTestSupport.h"

#include <lumbasic/LumMessageBox.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

using namespace lumtest;

namespace
{
const char* const MAIN = "Declare Sub Twice(n%)\n"
                         "Sub Main\n"
                         "    n% = 1\n"
                         "    Import dir$ + lib$\n"
                         "    Twice n%\n"
                         "    n% = n% + 1\n"
                         "End Sub\n";
const char* const LIB = "Sub Twice(n%)\n"
                        "    n% = n% * 2\n"
                        "End Sub\n";

// Main imports the library named by lib$ and calls its procedure.
class Debugger : public CDebuggerTest
{
protected:
    void SetUp() override
    {
        CLumBasicDebugger::m_fDebug = 1;
        InstallWindow();
        Write("main.lbd", MAIN);
        Write("lib.lbd", LIB);
        CompileLibrary("lib.lbd");
    }
    std::vector<std::string> RunMain(const char* pszLib)
    {
        m_vars.SetValuesFromString((std::string("S:lib$=") + pszLib + "\n").c_str());
        return Run(Compile("main.lbd"));
    }
};

struct StopCase
{
    const char* m_pszName;
    std::vector<std::string> m_aScript;
    std::vector<std::string> m_aStops;
};

const StopCase s_aStopCases[] = {
    {"StepsEnterImportsAndCalls",
     {},
     {"stop main.lbd:3", "stop main.lbd:4", "stop main.lbd:5", "stop lib.lbd:2", "stop lib.lbd:3",
      "stop main.lbd:6", "stop main.lbd:7"}},
    {"ContinueRunsToABreakpointAndStepsOnFromIt",
     {"break 6", "run"},
     {"stop main.lbd:3", "stop main.lbd:6", "stop main.lbd:7"}},
    {"ASubModulePassesTheLineOfABreakpoint", {"break 2", "run"}, {"stop main.lbd:3"}},
    {"NoBreakpointIsSetInASubModule",
     {"step", "step", "step", "break 6", "run"},
     {"stop main.lbd:3", "stop main.lbd:4", "stop main.lbd:5", "stop lib.lbd:2"}},
    {"OffLetsTheProgramRunFree", {"off"}, {"stop main.lbd:3"}},
};

class StopRules : public Debugger, public testing::WithParamInterface<StopCase>
{
};
} // namespace

TEST_P(StopRules, StopWhereTheRulesSay)
{
    m_log.m_aScript.assign(GetParam().m_aScript.begin(), GetParam().m_aScript.end());
    EXPECT_EQ(RunMain("lib.lbc"), std::vector<std::string>());
    EXPECT_EQ(m_log.Lines("stop"), GetParam().m_aStops);
    EXPECT_EQ(m_vars.GetValue("n%", nullptr)->GetLong(), 2);
    EXPECT_EQ(CLumBasicDebugger::m_fDebug, GetParam().m_aScript == std::vector<std::string>{"off"} ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Debugger, StopRules, testing::ValuesIn(s_aStopCases),
                         [](const testing::TestParamInfo<StopCase>& info) { return info.param.m_pszName; });

TEST_F(Debugger, TheWindowFollowsTheSourceThroughAnImportAndACall)
{
    m_log.m_aScript = {"step", "step", "run"};
    EXPECT_EQ(RunMain("lib.lbc"), std::vector<std::string>());
    EXPECT_EQ(m_log.m_aLog, (std::vector<std::string>{
                                "open Declare Sub Twice(n%)",
                                "title Debugging \"main.lbd\"",
                                "stop main.lbd:3",
                                "stop main.lbd:4",
                                "text Sub Twice(n%)",
                                "refresh",
                                "title Debugging sub module \"lib.lbd\"",
                                "text Declare Sub Twice(n%)",
                                "refresh",
                                "title Debugging main module \"main.lbd\"",
                                "stop main.lbd:5",
                                "text Sub Twice(n%)",
                                "refresh",
                                "title Debugging sub module \"lib.lbd\"",
                                "text Declare Sub Twice(n%)",
                                "refresh",
                                "title Debugging main module \"main.lbd\"",
                                "close",
                            }));
}

namespace
{
struct ImportCase
{
    const char* m_pszLib;
    std::vector<std::string> m_aStops;
    bool m_fFails;
    std::vector<std::string> m_aStack; // after the run
};
} // namespace

// The source on display imported again shows no switch; a failed import leaves its
// name on the stack, where a failure to open the image never put it.
TEST_F(Debugger, ImportsThatSwitchNothingOrFail)
{
    Write("bad.lbd", "Sub Main\n    z = 0\n    x = 1 / z\nEnd Sub\n");
    CompileLibrary("bad.lbd");
    Write("same.lbd", LIB);
    CompileLibrary("same.lbd", m_dir.Path("main.lbd"));
    const ImportCase aCases[] = {
        {"same.lbc",
         {"stop main.lbd:3", "stop main.lbd:4", "stop main.lbd:5", "stop main.lbd:2", "stop main.lbd:3",
          "stop main.lbd:6", "stop main.lbd:7"},
         false,
         {}},
        {"bad.lbc",
         {"stop main.lbd:3", "stop main.lbd:4", "stop bad.lbd:2", "stop bad.lbd:3"},
         true,
         {"bad.lbd", "main.lbd"}},
        {"missing.lbc", {"stop main.lbd:3", "stop main.lbd:4"}, true, {"main.lbd"}},
    };
    for (const ImportCase& c : aCases)
    {
        m_log.m_aLog.clear();
        EXPECT_EQ(!RunMain(c.m_pszLib).empty(), c.m_fFails) << c.m_pszLib;
        EXPECT_EQ(m_log.Lines("stop"), c.m_aStops) << c.m_pszLib;
        if (c.m_fFails)
        {
            std::vector<std::string> aStack;
            for (const std::string& str : m_log.m_pDebugger->GetSourceStack())
                aStack.push_back(m_log.Short(str));
            EXPECT_EQ(aStack, c.m_aStack) << c.m_pszLib;
        }
        else
        {
            EXPECT_EQ(m_log.Lines("title"), std::vector<std::string>{"title Debugging \"main.lbd\""});
        }
    }
}

namespace
{
struct SourceCase
{
    const char* m_pszName;
    bool m_fRecord; // the image names its source by a relative path to it
    bool m_fProfile;
    bool m_fChoose; // the chooser answers with the source, else cancels
    int m_nAsked;
    const char* m_pszOpen;
    const char* m_pszHits; // of line 3, at the stop of line 4
};

const SourceCase s_aSourceCases[] = {
    {"NoRecordShowsNothing", false, false, false, 0, "open (null)", "hits 0"},
    {"NoRecordCountsNothing", false, true, false, 1, "open (null)", "hits 0"},
    {"ARelativeNameCancelled", true, true, false, 2, "open Keine Quelldatei angegeben!", "hits 0"},
    {"ARelativeNameChosen", true, true, true, 2, "open Declare Sub Twice(n%)", "hits 1"},
};

class Sources : public Debugger, public testing::WithParamInterface<SourceCase>
{
};
} // namespace

TEST_P(Sources, ASourceNotFoundByItsNameIsAskedFor)
{
    const SourceCase& c = GetParam();
    CLumBasicDebugger::m_fProfile = c.m_fProfile;
    std::vector<SLumSourceDialog> aAsked;
    LumSetSourceChooser([&](const SLumSourceDialog& dialog, std::string& strChosen) {
        aAsked.push_back(dialog);
        strChosen = m_dir.Path("main.lbd");
        return c.m_fChoose;
    });
    std::vector<uint8_t> aImage;
    if (c.m_fRecord)
        aImage = Compile("main.lbd", std::filesystem::relative(m_dir.Path("main.lbd")).string());
    else
    {
        CLumImageWriter w;
        w.DebugInfo(2);
        Head(w, "Main");
        w.DebugInfo(3);
        AssignName(w, "n%", CLumTree::LongConst(1));
        w.DebugInfo(4);
        EndProc(w);
        w.Terminator();
        aImage = w.Finish();
    }
    m_log.m_aScript = {"step", "hits 3", "off"};
    m_vars.SetValuesFromString("S:lib$=lib.lbc\n");
    EXPECT_EQ(Run(aImage), std::vector<std::string>());
    EXPECT_EQ(m_log.m_aLog.front(), c.m_pszOpen);
    EXPECT_EQ(m_log.Lines("hits"), std::vector<std::string>{c.m_pszHits});
    ASSERT_EQ(static_cast<int>(aAsked.size()), c.m_nAsked);
    if (!aAsked.empty())
    {
        EXPECT_EQ(aAsked[0].m_strTitle, "Quelldatei auswählen");
        EXPECT_EQ(aAsked[0].m_strFilter, "LUMOR Basic Quellcode (*.lbd)|*.lbd||");
        EXPECT_EQ(aAsked[0].m_strDefaultExt, "lbd");
        EXPECT_TRUE(aAsked[0].m_fFileMustExist);
    }
}

INSTANTIATE_TEST_SUITE_P(Debugger, Sources, testing::ValuesIn(s_aSourceCases),
                         [](const testing::TestParamInfo<SourceCase>& info) { return info.param.m_pszName; });

// What the window changes goes through the main program's interpreter: a variable
// keeps its type, an unknown one takes its name's, and the shared null values stay.
TEST_F(Debugger, ChangesAndWatchesGoThroughTheMainInterpreter)
{
    const struct
    {
        const char* m_pszChange;
        const char* m_pszRow;
    } aCases[] = {
        {"s$=12", "s$ = \"12\""},   {"l%=abc", "l% = 0"},          {"m%=42x", "m% = 42"},
        {"d=2.25", "d = 2.250000"}, {"e=x", "e = 0.000000"},       {"new%=7", "new% = 7"},
        {"new$=x", "new$ = \"x\""}, {"new=1.5", "new = 1.500000"}, {"s$=12", "s$ = \"12\""},
    };
    m_vars.SetValuesFromString("S:s$=abc\nL:l%=5\nL:m%=5\nD:d=1.5\nD:e=1.5\n");
    for (const auto& c : aCases)
    {
        std::string strChange = c.m_pszChange;
        m_log.m_aScript.insert(m_log.m_aScript.end(),
                               {"change " + strChange, "watch " + strChange.substr(0, strChange.find('='))});
    }
    m_log.m_aScript.insert(m_log.m_aScript.end(), {"watches", "off"});
    EXPECT_EQ(RunMain("lib.lbc"), std::vector<std::string>());
    std::vector<std::string> aRows;
    for (const auto& c : aCases)
        aRows.push_back(std::string("watch ") + c.m_pszRow);
    EXPECT_EQ(m_log.Lines("watch"), aRows);
    EXPECT_EQ(CLumVariables::GetNullValue("new%")->GetType(), CLumsVarValue::VT_LONG);
    EXPECT_EQ(CLumVariables::GetNullValue("new%")->GetLong(), 0);
    EXPECT_EQ(CLumVariables::GetNullValue("new$")->GetText(), std::string());
}

// The loop runs free for two passes; then the host, in the middle of the run, sets a
// breakpoint in the loop's body from the message box the program shows, and the next
// pass stops there.
TEST_F(Debugger, ABreakpointSetWhileALoopRunsFreeStopsItsNextPass)
{
    Write("loop.lbd", "Sub Main\n"
                      "    For i% = 1 To 5\n"
                      "        s% = s% + i%\n"
                      "        If i% = 2 Then\n"
                      "            ShowMessage \"Halt\", \"Zeile 3\", 0\n"
                      "        End If\n"
                      "    Next i%\n"
                      "End Sub\n");
    LumMessageBoxFunction fnOld = LumSetMessageBox([this](const char*, const char*, long nStyle) {
        m_log.m_pDebugger->ToggleBreakpoint(3);
        return LumMessageBoxDefault(nStyle);
    });
    m_log.m_aScript = {"run", "off"};
    EXPECT_EQ(Run(Compile("loop.lbd")), std::vector<std::string>());
    LumSetMessageBox(std::move(fnOld));
    EXPECT_EQ(m_log.Lines("stop"), (std::vector<std::string>{"stop loop.lbd:2", "stop loop.lbd:3"}));
    EXPECT_EQ(m_vars.GetValue("s%", nullptr)->GetLong(), 15);
}

// Steps go from line to line: a declaration and a head run nothing to watch, a line of
// several statements is one step, a call between them steps through the procedure and
// back to the next line, and a loop that goes back to a line enters it again, on one
// line too. A breakpoint stops where its line is entered.
TEST_F(Debugger, StepsGoFromLineToLineWhereCodeRuns)
{
    Write("lines.lbd", "Declare Sub Tell(n%)\n"                      // 1
                       "Declare Function Twice(x)\n"                 // 2
                       "Sub Main\n"                                  // 3
                       "    a = 1 : b = Twice(a) : c = 3\n"          // 4
                       "    Dim p(3), q(3), r(3)\n"                  // 5
                       "    For i% = 1 To 2 : n = n + 1 : Next i%\n" // 6
                       "    For j% = 1 To 2\n"                       // 7
                       "        Tell j% : m = m + 1\n"               // 8
                       "    Next j%\n"                               // 9
                       "End Sub\n"                                   // 10
                       "Sub Tell(n%)\n"                              // 11
                       "    t = t + n%\n"                            // 12
                       "End Sub\n"                                   // 13
                       "Function Twice(x)\n"                         // 14
                       "    Twice = 2 * x\n"                         // 15
                       "End Function\n");                            // 16
    const StopCase aCases[] = {
        {"steps",
         {},
         {"4", "15", "16", "5", "6", "6", "7", "8", "12", "13", "9", "8", "12", "13", "9", "10"}},
        {"a breakpoint", {"break 8", "run", "run", "run"}, {"4", "8", "8"}},
        {"a breakpoint on a loop of one line", {"break 6", "run", "run", "run"}, {"4", "6", "6"}},
    };
    std::vector<uint8_t> aImage = Compile("lines.lbd");
    for (const StopCase& c : aCases)
    {
        m_log.m_aLog.clear();
        m_log.m_aScript.assign(c.m_aScript.begin(), c.m_aScript.end());
        EXPECT_EQ(Run(aImage), std::vector<std::string>());
        std::vector<std::string> aStops;
        for (const std::string& strLine : c.m_aStops)
            aStops.push_back("stop lines.lbd:" + strLine);
        EXPECT_EQ(m_log.Lines("stop"), aStops) << c.m_pszName;
    }
}

// A run that fails inside a function, continued to its failure, leaves the interpreter
// as a run that never began: the next debugged run on it starts a debugger of its own
// and stops as usual, from its first line.
TEST_F(Debugger, AFailureInAFunctionLeavesTheNextRunItsDebugger)
{
    Write("fails.lbd", "Sub Main\n"
                       "    y = Half(0)\n"
                       "End Sub\n"
                       "Function Half(x)\n"
                       "    Half = 1 / x\n"
                       "End Function\n");
    m_log.m_aScript = {"run"};
    ASSERT_FALSE(Run(Compile("fails.lbd")).empty());
    m_log.m_aLog.clear();
    m_vars.SetValuesFromString("S:lib$=lib.lbc\n");
    EXPECT_EQ(RunImage(*m_pBasic, Compile("main.lbd")), std::vector<std::string>());
    EXPECT_EQ(m_log.Lines("stop"), s_aStopCases[0].m_aStops);
}

namespace
{
// A window that need not follow the lines until another thread turns it, and says so
// with a count of its turns or not at all (asked at every line then). Its one stop
// notes the line, the hits of the loop's body and i%, and ends the loop.
class CTurningWindow : public CLumBasicDebugWindow
{
public:
    CTurningWindow(CLumBasicDebugger& debugger, CLumVariables& vars, std::atomic<bool>& fFollows,
                   const std::atomic<uint32_t>* pTurns, std::vector<std::string>& aStops)
        : m_debugger(debugger), m_vars(vars), m_fFollows(fFollows), m_pTurns(pTurns), m_aStops(aStops)
    {
    }
    void SetTitle(const std::string&) override {}
    void SetSourceText(const char*) override {}
    void RefreshDebugWindow() override {}
    void RefreshLine(long) override {}
    void ExportProfile() override {}
    int EnterModalMode(long nLine) override
    {
        if (m_debugger.IsEnding())
            return 0;
        m_aStops.push_back(std::to_string(nLine) + " " + std::to_string(m_debugger.GetHits(3)) + " " +
                           std::to_string(m_vars.GetValue("i%", nullptr)->GetLong()));
        m_fFollows = false;
        m_debugger.ChangeVar("stop%", "1");
        return 0;
    }
    bool FollowsEveryLine() const override { return m_fFollows; }
    const std::atomic<uint32_t>* FollowTurns() const override { return m_pTurns; }

private:
    CLumBasicDebugger& m_debugger;
    CLumVariables& m_vars;
    std::atomic<bool>& m_fFollows;
    const std::atomic<uint32_t>* m_pTurns;
    std::vector<std::string>& m_aStops;
};
} // namespace

// A window turned to following from another thread while the loop runs at the speed of
// counting stops it at the next line, with every hit before counted; one that gives a
// count of its turns adds up the hits between, one without is asked at every line.
TEST_F(Debugger, AWindowTurnedFromAnotherThreadStopsAtTheNextLine)
{
    Write("spin.lbd", "Sub Main\n"
                      "    While stop% = 0\n"
                      "        i% = i% + 1\n"
                      "    Wend\n"
                      "End Sub\n");
    std::vector<uint8_t> aImage = Compile("spin.lbd");
    CLumBasicDebugger::m_fProfile = 1;
    for (bool fCounted : {true, false})
    {
        std::atomic<bool> fFollows{false};
        std::atomic<uint32_t> nTurns{0};
        std::vector<std::string> aStops;
        LumDebugWindowFactory fnBefore =
            LumSetDebugWindowFactory([&](CLumBasicDebugger* pDebugger, const char*) {
                return std::make_unique<CTurningWindow>(*pDebugger, m_vars, fFollows,
                                                        fCounted ? &nTurns : nullptr, aStops);
            });
        m_vars.SetValuesFromString("L:stop%=0\nL:i%=0\n");
        CLumBasic basic(&m_vars, nullptr);
        // A window never asked again ends the run here rather than never.
        basic.SetStatementLimit(200000000);
        std::thread turner([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            fFollows = true;
            nTurns.fetch_add(1, std::memory_order_release);
        });
        std::vector<std::string> aTrail = RunImage(basic, aImage);
        turner.join();
        LumSetDebugWindowFactory(std::move(fnBefore));
        EXPECT_EQ(aTrail, std::vector<std::string>()) << fCounted;
        ASSERT_EQ(aStops.size(), 1u) << fCounted;
        long nLine = 0, nHits = 0, nI = 0;
        std::istringstream(aStops[0]) >> nLine >> nHits >> nI;
        EXPECT_TRUE(nLine >= 2 && nLine <= 4) << aStops[0];
        // At line 3 its hit came before its statement.
        EXPECT_EQ(nHits, nI + (nLine == 3 ? 1 : 0)) << aStops[0];
        EXPECT_GT(nI, 0) << aStops[0];
    }
    CLumBasicDebugger::m_fProfile = 0;
}
