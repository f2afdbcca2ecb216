// The debug window's logic, driven through the headless toolkit by scripted clicks and
// keys while real programs run: the row forms and their switch, every command in and
// out of a stop, the two forms, the check boxes carried to the next window, and the
// export from the window's rows.
#include "tests/LumDebuggerTestSupport.h"

#include <lumbasic/LumBasicDebugDlg.h>
#include <lumbasic/LumScriptToolkit.h>
#include <lumbasic/LumsNewValueDlg.h>
#include <lumbasic/LumsNewWatchDlg.h>

using namespace lumtest;

namespace
{
using Lines = std::vector<std::string>;

// Lines 1 to 5, the third one empty.
const char* const PROGRAM = "Sub Main\r\n"
                            "    a% = 1\r\n"
                            "\r\n"
                            "    b% = a% + 1\r\n"
                            "End Sub\r\n";

class DebugWindow : public CDebuggerTest
{
protected:
    void SetUp() override
    {
        CLumBasicDebugger::m_fDebug = 1;
        CLumBasicDebugger::m_fProfile = 1;
        Write("prog.lbd", PROGRAM);
    }
    // Runs the program with a window on `toolkit`; gives the transcript's entries that
    // start with one of the prefixes.
    Lines RunWith(CLumScriptToolkit& toolkit, const Lines& aPrefixes,
                  const std::string& strSource = "prog.lbd")
    {
        LumSetDebugWindowFactory([&toolkit](CLumBasicDebugger* pDebugger, const char* pszText) {
            return std::make_unique<CLumBasicDebugDlg>(pDebugger, pszText, toolkit);
        });
        EXPECT_EQ(Run(Compile(strSource)), Lines());
        Lines aFound;
        for (const std::string& str : toolkit.GetTranscript())
            for (const std::string& strPrefix : aPrefixes)
                if (str.compare(0, strPrefix.size(), strPrefix) == 0)
                    aFound.push_back(str);
        return aFound;
    }
};
} // namespace

TEST(DebugWindowLines, OnlyCrLfEndsALine)
{
    const std::pair<const char*, Lines> aCases[] = {
        {"a\r\nb", {"a", "b"}}, {"a\nb", {"a\nb"}}, {"a\rb", {"a\rb"}},
        {"a\r\n", {"a"}},       {"", {""}},         {"a\r\n\r\nb\r\n", {"a", "", "b"}},
    };
    for (const auto& c : aCases)
        EXPECT_EQ(LumSplitSourceLines(c.first), c.second) << c.first;
}

TEST_F(DebugWindow, RowsTakeTheirFormFromTheColumnAndTheRefreshThatBuiltThem)
{
    CLumScriptToolkit toolkit({"show 1001", "dblclk 1001 1", "show 1001", // breakpoint, column off
                               "click 1015", "show 1001",                 // column on: full rebuild
                               "dblclk 1001 2", "show 1001",              // breakpoint on the empty line
                               "click 1003", "show 1001",                 // line 4's first hit
                               "click 1015", "click 1015", "show 1001", "click 1019"});
    EXPECT_EQ(RunWith(toolkit, {"1001|", "stop"}), (Lines{"stop at row 1",
                                                          "1001| \tSub Main",
                                                          "1001| \t    a% = 1",
                                                          "1001| \t",
                                                          "1001| \t    b% = a% + 1",
                                                          "1001| \tEnd Sub",
                                                          "1001| \tSub Main",
                                                          "1001|\t>    a% = 1",
                                                          "1001| \t",
                                                          "1001| \t    b% = a% + 1",
                                                          "1001| \tEnd Sub",
                                                          "1001|      \tSub Main",
                                                          "1001|00001>\t    a% = 1",
                                                          "1001|",
                                                          "1001|      \t    b% = a% + 1",
                                                          "1001|      \tEnd Sub",
                                                          "1001|      \tSub Main",
                                                          "1001|00001>\t    a% = 1",
                                                          "1001|     >\t",
                                                          "1001|      \t    b% = a% + 1",
                                                          "1001|      \tEnd Sub",
                                                          "stop at row 3",
                                                          "1001|      \tSub Main",
                                                          "1001|00001>\t    a% = 1",
                                                          "1001|     >\t",
                                                          "1001|00001 \t    b% = a% + 1",
                                                          "1001|      \tEnd Sub",
                                                          "1001|      \tSub Main",
                                                          "1001|00001>\t    a% = 1",
                                                          "1001|",
                                                          "1001|00001 \t    b% = a% + 1",
                                                          "1001|      \tEnd Sub"}));
    EXPECT_EQ(CLumBasicDebugger::m_fDebug, 0);
}

TEST_F(DebugWindow, ALineWithoutARowStillStopsAndChangesNoRow)
{
    std::vector<uint8_t> aImage = Compile("prog.lbd");
    Write("prog.lbd", "Sub Main\r\n"); // changed after compiling
    CLumScriptToolkit toolkit({"click 1015", "click 1003", "click 1003", "show 1001", "click 1007"});
    LumSetDebugWindowFactory([&toolkit](CLumBasicDebugger* pDebugger, const char* pszText) {
        return std::make_unique<CLumBasicDebugDlg>(pDebugger, pszText, toolkit);
    });
    EXPECT_EQ(Run(aImage), Lines());
    Lines aStops;
    for (const std::string& str : toolkit.GetTranscript())
        if (str.compare(0, 4, "stop") == 0 || str.compare(0, 5, "1001|") == 0)
            aStops.push_back(str);
    EXPECT_EQ(aStops, (Lines{"stop at row -1", "stop at row -1", "stop at row -1", "1001|      \tSub Main",
                             "stop at row -1"}));
}

TEST_F(DebugWindow, CommandsWatchAndChangeVariablesAndReleaseTheProgram)
{
    // clang-format off
    CLumScriptToolkit toolkit({"click 1003",                        // to line 4, a% is set
                               "click 1005", "ok", "ok b%",         // a blank name refused
                               "click 1005", "cancel",              // a watch by name cancelled
                               "dblclk 1008 0", "dblclk 1008 -1",   // a watch by double click
                               "select 1009 1", "click 1006", "ok", // the name from the row
                               "ok a% 41", "show 1008",             // both lists show the change
                               "click 1006", "cancel", "show 1009", // nothing changed
                               "escape", "show 1009", "enter", "click 1007"});
    EXPECT_EQ(RunWith(toolkit, {"1008|a%", "1009|", "stop", "form", "refused", "loop"}),
              (Lines{"stop at row 1", "loop ended 1003", "stop at row 3",
                     "form Variable anzeigen", "refused Kein Variablenname angegeben!", "form Variable anzeigen",
                     "form Variablenwert ändern", "refused Kein Wert angegeben!", "1008|a% = 41",
                     "form Variablenwert ändern", "1009|b% = 0", "1009|a% = 41", "loop ended 2",
                     "stop at row 4", "1009|b% = 42", "1009|a% = 41", "loop ended 1003",
                     "stop at row 4", "loop ended 1007"}));
    // clang-format on
    EXPECT_EQ(m_vars.GetValue("b%", nullptr)->GetLong(), 42);
}

TEST_F(DebugWindow, CheckBoxesPassToTheNextWindowAndTheExportListsTheRows)
{
    CLumScriptToolkit first({"click 1016", "click 1017", "click 1007", "click 1003"});
    EXPECT_EQ(RunWith(first, {"stop"}), (Lines{"stop at row 1", "stop at row 4"}));
    EXPECT_EQ(m_dir.Read("prog_Profile.txt"), "      Sub Main\n"
                                              "00001     a% = 1\n"
                                              "      \n"
                                              "00001     b% = a% + 1\n"
                                              "00001 End Sub\n");
    EXPECT_EQ(m_dir.Read("prog.Profile").size(), 8u + 3 * 8);

    CLumScriptToolkit second({"click 1007", "click 1003"});
    RunWith(second, {});
    EXPECT_EQ(second.IsDlgButtonChecked(LUM_IDC_PROFILEEXPORT), 1);
    EXPECT_EQ(second.IsDlgButtonChecked(LUM_IDC_PROFILESAVE), 1);
    EXPECT_EQ(second.IsDlgButtonChecked(LUM_IDC_PROFILE), 0);
    EXPECT_EQ(m_dir.Read("prog_Profile.txt").substr(0, 32), "      Sub Main\n00002     a% = 1\n");
}

// A host's toolkit that knows nothing of refusals may close a form on a blank field:
// that changes nothing, as a Cancel.
TEST(DebugWindowForms, ABlankFieldThatAToolkitLetsThroughCountsAsCancel)
{
    class CCarelessToolkit : public CLumScriptToolkit
    {
    public:
        bool DoModal(SLumDebugForm&) override { return true; }
    } toolkit;
    CLumsNewValueDlg value;
    value.m_strName = "a%";
    EXPECT_EQ(value.DoModal(toolkit), LUM_IDC_CANCEL);
    CLumsNewWatchDlg watch;
    watch.m_strName = " ";
    EXPECT_EQ(watch.DoModal(toolkit), LUM_IDC_CANCEL);
    watch.m_strName = " b% ";
    EXPECT_EQ(watch.DoModal(toolkit), LUM_IDC_OK);
    EXPECT_EQ(watch.m_strName, "b%");
}
