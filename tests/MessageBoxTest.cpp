// ShowMessage as statement and function: what reaches the box, what the program gets
// back, bad arguments, the default button, and the console box on a terminal and without one.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"
#include "tests/LumProgramBuilder.h"

#include <lumbasic/LumMessageBox.h>

#include "res/LumMessages.h"

#include <algorithm>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

using namespace lumtest;

namespace
{
// Installs a box that records each call and answers from a list; puts the old one back.
class CRecordingBox
{
public:
    explicit CRecordingBox(std::vector<int> aAnswers) : m_aAnswers(std::move(aAnswers))
    {
        m_fnOld = LumSetMessageBox([this](const char* pszText, const char* pszCaption, long nStyle) {
            m_aCalls.push_back(std::string(pszCaption) + "|" + pszText + "|" + std::to_string(nStyle));
            return m_aAnswers.at(m_aCalls.size() - 1);
        });
    }
    ~CRecordingBox() { LumSetMessageBox(std::move(m_fnOld)); }
    std::vector<std::string> m_aCalls;

private:
    std::vector<int> m_aAnswers;
    LumMessageBoxFunction m_fnOld;
};

// A terminal on standard input while it lives, with the lines typed in already and
// some Enters behind them, so that a box that asks more often than it should still
// gets its default instead of waiting; the prompts go to a file.
class CTypedTerminal
{
public:
    CTypedTerminal(const std::string& strTyped, const std::string& strPromptFile)
    {
        int nMaster = posix_openpt(O_RDWR | O_NOCTTY);
        if (nMaster < 0 || grantpt(nMaster) != 0 || unlockpt(nMaster) != 0)
            throw std::runtime_error("no terminal to type on");
        int nTerminal = open(ptsname(nMaster), O_RDWR | O_NOCTTY);
        termios modes;
        tcgetattr(nTerminal, &modes);
        modes.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(nTerminal, TCSANOW, &modes);
        std::string strInput = strTyped + "\n\n\n\n";
        EXPECT_EQ(write(nMaster, strInput.data(), strInput.size()), static_cast<ssize_t>(strInput.size()));
        m_nMaster = nMaster;
        int nPrompts = open(strPromptFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        fflush(stderr);
        m_nOldIn = dup(STDIN_FILENO);
        m_nOldErr = dup(STDERR_FILENO);
        dup2(nTerminal, STDIN_FILENO);
        dup2(nPrompts, STDERR_FILENO);
        close(nTerminal);
        close(nPrompts);
    }
    ~CTypedTerminal()
    {
        fflush(stderr);
        dup2(m_nOldIn, STDIN_FILENO);
        dup2(m_nOldErr, STDERR_FILENO);
        close(m_nOldIn);
        close(m_nOldErr);
        close(m_nMaster);
        clearerr(stdin);
    }

private:
    int m_nMaster, m_nOldIn, m_nOldErr;
};
} // namespace

TEST(MessageBox, StatementAndFunctionShowTheBoxAndOnlyTheFunctionGivesTheAnswer)
{
    CRecordingBox box({LUM_IDOK, LUM_IDNO, LUM_IDYES});
    std::vector<uint8_t> aImage;
    ASSERT_EQ(CompileText("Sub Main\n"
                          "    ShowMessage \"Titel\", \"Hallo\", 0\n"
                          "    a% = ShowMessage(\"Frage\", \"Weiter\" + \"?\", 4 + 256)\n"
                          "    b% = Ask%()\n"
                          "End Sub\n"
                          "Function Ask%()\n"
                          "    Ask% = ShowMessage(\"In\", \"Funktion\", 3.7)\n"
                          "End Function\n",
                          aImage),
              "");
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    EXPECT_EQ(RunImage(basic, aImage), std::vector<std::string>());
    EXPECT_EQ(box.m_aCalls,
              (std::vector<std::string>{"Titel|Hallo|0", "Frage|Weiter?|260", "In|Funktion|3"}));
    EXPECT_EQ(vars.Lookup("a%")->GetLong(), LUM_IDNO);
    EXPECT_EQ(vars.Lookup("b%")->GetLong(), LUM_IDYES);
}

TEST(MessageBox, TheFirstBadArgumentDecidesAndNoBoxIsShown)
{
    struct Case
    {
        const char* m_pszWhat;
        std::vector<CLumTree> m_aArgs;
        std::string m_strMessage;
    };
    char sz57005[256], sz57006a[256], sz57006b[256], sz57007[256];
    snprintf(sz57005, sizeof sz57005, LoadMessage(LUM_MSG_ARG_NOT_NUMBER).c_str(), 3, "x");
    snprintf(sz57006a, sizeof sz57006a, LoadMessage(LUM_MSG_ARG_NOT_STRING).c_str(), 1);
    snprintf(sz57006b, sizeof sz57006b, LoadMessage(LUM_MSG_ARG_NOT_STRING).c_str(), 2);
    snprintf(sz57007, sizeof sz57007, LoadMessage(LUM_MSG_ARG_MISSING).c_str(), 3);
    const Case aCases[] = {
        {"string style", {S("c"), S("t"), S("x")}, sz57005},
        {"numeric caption before a string style", {L(1), S("t"), S("x")}, sz57006a},
        {"numeric text", {S("c"), D(2.5), L(0)}, sz57006b},
        {"missing style", {S("c"), S("t")}, sz57007},
    };
    for (const Case& c : aCases)
    {
        SCOPED_TRACE(c.m_pszWhat);
        CRecordingBox box({});
        CLumBasic basic;
        auto image = MainProgram([&](CLumImageWriter& w) {
            w.Token(LBT_SHOWMESSAGE);
            for (const CLumTree& arg : c.m_aArgs)
                w.Expression(arg);
            w.Separator();
        });
        std::vector<std::string> aTrail = RunImage(basic, image);
        ASSERT_GE(aTrail.size(), 3u);
        EXPECT_EQ(aTrail[0], c.m_strMessage);
        EXPECT_NE(std::find(aTrail.begin(), aTrail.end(), "CLumBasic::ShowMessageFct"), aTrail.end());
        EXPECT_TRUE(box.m_aCalls.empty());
    }
}

TEST(MessageBox, TheDefaultButtonComesFromBitsEightAndNine)
{
    struct Case
    {
        long m_nStyle;
        int m_nAnswer;
    };
    const Case aCases[] = {
        {LUM_MB_OK, LUM_IDOK},
        {LUM_MB_OKCANCEL | LUM_MB_DEFBUTTON2, LUM_IDCANCEL},
        {LUM_MB_ABORTRETRYIGNORE, LUM_IDABORT},
        {LUM_MB_ABORTRETRYIGNORE | LUM_MB_DEFBUTTON3, LUM_IDIGNORE},
        {LUM_MB_YESNOCANCEL | LUM_MB_DEFBUTTON2, LUM_IDNO},
        {LUM_MB_YESNOCANCEL | LUM_MB_DEFBUTTON3, LUM_IDCANCEL},
        {LUM_MB_YESNO, LUM_IDYES},
        {LUM_MB_RETRYCANCEL | LUM_MB_DEFBUTTON2, LUM_IDCANCEL},
        // A default the set does not have falls back to the first button.
        {LUM_MB_YESNO | LUM_MB_DEFBUTTON3, LUM_IDYES},
        {LUM_MB_OK | LUM_MB_DEFBUTTON2, LUM_IDOK},
        // Icon bits and a set this platform does not know.
        {LUM_MB_YESNO | 0x20 | LUM_MB_DEFBUTTON2, LUM_IDNO},
        {0x9, LUM_IDOK},
    };
    for (const Case& c : aCases)
        EXPECT_EQ(LumMessageBoxDefault(c.m_nStyle), c.m_nAnswer) << std::hex << c.m_nStyle;
}

TEST(MessageBox, TheCommandLineBoxAnswersTheDefaultOrTheGivenAnswerWithoutWaiting)
{
    CImageDir dir;
    std::ofstream(dir.Path("ask.lbd"))
        << "Sub Main\n    a% = ShowMessage(\"Frage\", \"Weiter?\", 4 + 256)\nEnd Sub\n";
    CliResult defaulted = RunCli(dir, "run --dump ask.lbd");
    EXPECT_EQ(defaulted.m_nStatus, 0);
    EXPECT_EQ(defaulted.m_strOut, "L:a%=7\n");
    EXPECT_EQ(defaulted.m_strErr, "Frage\nWeiter?\n");

    CliResult answered = RunCli(dir, "run --answer 6 --dump ask.lbd");
    EXPECT_EQ(answered.m_nStatus, 0);
    EXPECT_EQ(answered.m_strOut, "L:a%=6\n");

    for (const char* pszArgs : {"run --answer ja ask.lbd", "run --answer ask.lbd", "run --answer 6x ask.lbd"})
        EXPECT_EQ(RunCli(dir, pszArgs).m_nStatus, 2) << pszArgs;
}

// On a terminal the box numbers its buttons from 1 in the order it shows them; a
// number or key the box lacks is asked again, and Enter is the default button.
TEST(MessageBox, OnATerminalTheConsoleBoxTakesTheButtonOfTheNumberTyped)
{
    struct Case
    {
        long m_nStyle;
        const char* m_pszTyped;
        int m_nAnswer;
    };
    const Case aCases[] = {
        {LUM_MB_YESNOCANCEL, "1\n", LUM_IDYES},
        {LUM_MB_YESNOCANCEL, "2\n", LUM_IDNO},
        {LUM_MB_ABORTRETRYIGNORE, "3\n", LUM_IDIGNORE},
        {LUM_MB_RETRYCANCEL, "1\n", LUM_IDRETRY},
        {LUM_MB_OKCANCEL, "2\n", LUM_IDCANCEL},
        {LUM_MB_YESNO, "0\n3\n12\nn\n", LUM_IDNO},
        {LUM_MB_YESNO | LUM_MB_DEFBUTTON2, "\n", LUM_IDNO},
        {LUM_MB_OK, "2\n1\n", LUM_IDOK},
        {LUM_MB_YESNOCANCEL, "4\n3\n", LUM_IDCANCEL}, // its prompts are looked at below
    };
    CImageDir dir;
    for (const Case& c : aCases)
    {
        int nAnswer = 0;
        {
            CTypedTerminal terminal(c.m_pszTyped, dir.Path("prompts.txt"));
            nAnswer = LumConsoleMessageBox("Weiter?", "Frage", c.m_nStyle);
        }
        EXPECT_EQ(nAnswer, c.m_nAnswer) << std::hex << c.m_nStyle << " " << c.m_pszTyped;
    }
    const std::string strPrompt = "[1 (J) Ja, 2 (N) Nein, 3 (A) Abbrechen; Enter: Ja] ";
    EXPECT_EQ(dir.Read("prompts.txt"), "Frage\nWeiter?\n" + strPrompt + strPrompt);
}
