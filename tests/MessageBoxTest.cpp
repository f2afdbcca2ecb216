// ShowMessage as statement and function: what reaches the box, what the program gets
// back, bad arguments, the default button, and the console box without a terminal.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"
#include "tests/LumProgramBuilder.h"

#include <lumbasic/LumMessageBox.h>

#include "res/LumMessages.h"

#include <algorithm>

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
