// lumbasic debug end to end: the terminal debugger in a tmux session of fixed size,
// driven by keys and read back from the screen.
#include "tests/LumImageDir.h"

#include <chrono>
#include <fstream>
#include <thread>
#include <unistd.h>

using namespace lumtest;

namespace
{
const char* const PROGRAM = "Sub Main\n"                     // 1
                            "    total% = 0\n"               // 2
                            "    For i% = 1 To 3\n"          // 3
                            "        total% = total% + i%\n" // 4
                            "    Next i%\n"                  // 5
                            "    result% = total% * 2\n"     // 6
                            "End Sub\n";                     // 7

// A tmux server of the test's own, so that nothing else on the machine interferes;
// its socket is named after the test's directory, as a server just killed may still
// hold the one before.
class CTmux
{
public:
    explicit CTmux(const CImageDir& dir)
        : m_dir(dir), m_strSocket("lumtest" + dir.Dir().substr(dir.Dir().rfind('-') + 1))
    {
    }
    ~CTmux() { Tmux("kill-server"); }

    int Tmux(const std::string& strArgs, const std::string& strOut = "/dev/null") const
    {
        return std::system(
            ("tmux -u -L " + m_strSocket + " " + strArgs + " >'" + strOut + "' 2>/dev/null").c_str());
    }
    void Keys(const std::string& strKeys) const { Tmux("send-keys -t t " + strKeys); }
    std::string Screen() const
    {
        Tmux("capture-pane -p -t t", m_dir.Path("screen.txt"));
        return m_dir.Read("screen.txt");
    }
    // Waits for the text to show, or with fShown false to go; gives the screen as it
    // was at the end.
    std::string WaitFor(const std::string& strText, bool fShown = true) const
    {
        std::string strScreen;
        for (int i = 0; i < 100; ++i)
        {
            strScreen = Screen();
            if ((strScreen.find(strText) != std::string::npos) == fShown)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return strScreen;
    }
    // The screen's row that holds the text.
    std::string RowWith(const std::string& strText) const
    {
        std::istringstream in(Screen());
        for (std::string strRow; std::getline(in, strRow);)
            if (strRow.find(strText) != std::string::npos)
                return strRow;
        return std::string();
    }

private:
    const CImageDir& m_dir;
    std::string m_strSocket;
};

// PROGRAM under `lumbasic debug --dump` in a terminal of 100 by 30, stopped at its
// first line.
class DebugTerminal : public testing::Test
{
protected:
    void SetUp() override
    {
        if (std::system("command -v tmux >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "tmux is not installed";
        std::ofstream(m_dir.Path("prog.lbd")) << PROGRAM;
        ASSERT_EQ(m_tmux.Tmux("new-session -d -s t -x 100 -y 30 \"cd '" + m_dir.Dir() +
                              "' && LANG=C.UTF-8 '" LUM_CLI_PATH
                              "' debug --dump prog.lbd > out.txt; echo status $? >> out.txt; sleep 60\""),
                  0);
        ASSERT_NE(m_tmux.WaitFor("Debugging \"").find("Schritt >"), std::string::npos);
    }
    // Switches the debugger off; gives what the command wrote, its status last.
    std::string RunToTheEnd() const
    {
        m_tmux.Keys("F12");
        for (int i = 0; i < 100 && m_dir.Read("out.txt").find("status") == std::string::npos; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return m_dir.Read("out.txt");
    }

    CImageDir m_dir;
    CTmux m_tmux{m_dir};
};
} // namespace

TEST_F(DebugTerminal, StepBreakWatchChangeCountAndSwitchOff)
{
    CTmux& tmux = m_tmux;
    EXPECT_NE(tmux.RowWith("→").find("total% = 0"), std::string::npos) << tmux.Screen();

    tmux.Keys("F10");
    tmux.WaitFor("→         For");
    EXPECT_NE(tmux.RowWith("→").find("For i% = 1 To 3"), std::string::npos) << tmux.Screen();

    tmux.Keys("Down Down Down Space"); // a breakpoint on line 6
    EXPECT_NE(tmux.WaitFor(">    result%").find(">    result%"), std::string::npos) << tmux.Screen();
    tmux.Keys("Down Space"); // and one on line 7: the cursor stayed on line 6
    EXPECT_NE(tmux.WaitFor(">End Sub").find(">End Sub"), std::string::npos) << tmux.Screen();
    tmux.Keys("F5");
    tmux.WaitFor("→ ");
    for (int i = 0; i < 50 && tmux.RowWith("→").find("result%") == std::string::npos; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_NE(tmux.RowWith("→").find("result% = total% * 2"), std::string::npos) << tmux.Screen();

    tmux.Keys("F2");
    tmux.WaitFor("Variable anzeigen");
    tmux.Keys("total% Enter");
    EXPECT_NE(tmux.WaitFor("total% = 6   ").find("total% = 6"), std::string::npos) << tmux.Screen();
    tmux.Keys("F3");
    tmux.WaitFor("Variablenwert");
    tmux.Keys("total% Tab 10 Enter");
    EXPECT_NE(tmux.WaitFor("total% = 10").find("total% = 10"), std::string::npos) << tmux.Screen();

    tmux.Keys("Tab Tab Tab Space"); // the coverage column
    tmux.WaitFor("00003");
    EXPECT_NE(tmux.RowWith("total% = total% + i%").find("00003"), std::string::npos) << tmux.Screen();

    std::string strOut = RunToTheEnd();
    EXPECT_NE(strOut.find("L:result%=20\n"), std::string::npos) << strOut;
    EXPECT_NE(strOut.find("status 0"), std::string::npos) << strOut;
}

// At the stop before the loop, total% is 0. Enter in the name goes on to the value, a
// blank value is refused, Escape leaves the typed value unused, and a change shows at
// once, in the variable's own type.
TEST_F(DebugTerminal, TheValueFormChangesOnlyWhatTheUserGave)
{
    CTmux& tmux = m_tmux;
    tmux.Keys("F10 F3");
    tmux.WaitFor("Variablenwert");
    tmux.Keys("total% Enter 5");
    std::string strScreen = tmux.WaitFor("Wert:     5");
    EXPECT_NE(strScreen.find("Wert:     5"), std::string::npos) << strScreen;
    EXPECT_EQ(strScreen.find("Kein Wert"), std::string::npos) << strScreen;
    tmux.Keys("BSpace Enter");
    EXPECT_NE(tmux.WaitFor("Kein Wert angegeben!").find("Kein Wert angegeben!"), std::string::npos)
        << tmux.Screen();
    tmux.Keys("5 Escape");
    EXPECT_EQ(tmux.WaitFor("Variablenwert", false).find("Variablenwert"), std::string::npos) << tmux.Screen();
    EXPECT_NE(tmux.RowWith("total% = ").find("total% = 0 "), std::string::npos) << tmux.Screen();
    EXPECT_NE(tmux.RowWith("→").find("For i% = 1 To 3"), std::string::npos) << tmux.Screen();

    tmux.Keys("F3");
    tmux.WaitFor("Variablenwert");
    tmux.Keys("total% Enter 4.9 Enter");
    EXPECT_NE(tmux.WaitFor("total% = 4 ").find("total% = 4 "), std::string::npos) << tmux.Screen();
    std::string strOut = RunToTheEnd();
    EXPECT_NE(strOut.find("L:total%=10\n"), std::string::npos) << strOut;
    EXPECT_NE(strOut.find("L:result%=20\n"), std::string::npos) << strOut;
}

TEST_F(DebugTerminal, TheWatchFormRefusesABlankNameAndCancelsWithEscape)
{
    CTmux& tmux = m_tmux;
    tmux.Keys("F2");
    tmux.WaitFor("Variable anzeigen");
    tmux.Keys("Enter");
    EXPECT_NE(tmux.WaitFor("Kein Variablenname angegeben!").find("Kein Variablenname"), std::string::npos)
        << tmux.Screen();
    tmux.Keys("total% Enter");
    EXPECT_EQ(tmux.WaitFor("Variable anzeigen", false).find("Variable anzeigen"), std::string::npos)
        << tmux.Screen();
    tmux.Keys("F2");
    tmux.WaitFor("Variable anzeigen");
    tmux.Keys("i% Escape");
    tmux.WaitFor("Variable anzeigen", false);
    tmux.Keys("F10"); // a step repaints all: a watch the Escape let through would show
    tmux.WaitFor("→         For");
    std::string strScreen = tmux.Screen();
    EXPECT_NE(strScreen.find("││total% = 0 "), std::string::npos) << strScreen;
    EXPECT_EQ(strScreen.find("││i%"), std::string::npos) << strScreen;
}

// The console's output would draw over the window: it shows once the window is gone,
// and Input asks in a form over it.
TEST(DebugTerminalConsole, OutputWaitsForTheWindowAndInputAsksInAForm)
{
    if (std::system("command -v tmux >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "tmux is not installed";
    CImageDir dir;
    CTmux tmux(dir);
    std::ofstream(dir.Path("hallo.lbd")) << "Sub Main\n  Print \"Hallo\"\n  Input \"Name? \", name$\n"
                                            "  Print \"Tag,\", name$\nEnd Sub\n";
    ASSERT_EQ(tmux.Tmux("new-session -d -s t -x 100 -y 30 \"cd '" + dir.Dir() +
                        "' && LANG=C.UTF-8 '" LUM_CLI_PATH "' debug hallo.lbd; echo status $?; sleep 60\""),
              0);
    tmux.WaitFor("Debugging \"");
    tmux.Keys("F5");
    std::string strScreen = tmux.WaitFor("Eingabe:");
    EXPECT_NE(strScreen.find("Name?"), std::string::npos) << strScreen;
    EXPECT_EQ(strScreen.find("\nHallo"), std::string::npos) << strScreen;
    tmux.Keys("Ada Enter");
    tmux.WaitFor("→     End Sub");
    tmux.Keys("F5");
    strScreen = tmux.WaitFor("status 0");
    EXPECT_NE(strScreen.find("Hallo\nName? Ada\nTag, Ada\nstatus 0\n"), std::string::npos) << strScreen;
}
