// The commands compile, dis and run with a source, through the command-line host.
#include "tests/LumCompilerTestSupport.h"

#include <sys/wait.h>

#include <filesystem>
#include <fstream>

using namespace lumtest;

namespace
{
struct Outcome
{
    int m_nStatus;
    std::string m_strOut;
    std::string m_strErr;
};

Outcome Cli(const std::string& strArgs)
{
    std::string strOut = testing::TempDir() + "compiler-cli.out",
                strErr = testing::TempDir() + "compiler-cli.err";
    std::string strCommand =
        std::string(LUM_CLI_PATH) + " " + strArgs + " </dev/null >" + strOut + " 2>" + strErr;
    int nRaw = system(strCommand.c_str());
    return Outcome{WIFEXITED(nRaw) ? WEXITSTATUS(nRaw) : -1, ReadText(strOut), ReadText(strErr)};
}

std::string WriteSource(const char* pszName, const char* pszText)
{
    std::string strPath = testing::TempDir() + pszName;
    std::ofstream(strPath, std::ios::binary) << pszText;
    return strPath;
}
} // namespace

TEST(CompilerCli, CompileWritesTheImageBesideTheSourceAndDisListsIt)
{
    std::string strSource = WriteSource("cli-ok.lbd", "Sub Main\n  n% = 6 * 7\nEnd Sub\n");
    std::string strImage = testing::TempDir() + "cli-ok.lbc";
    std::filesystem::remove(strImage);
    Outcome compiled = Cli("compile " + strSource);
    EXPECT_EQ(compiled.m_nStatus, 0) << compiled.m_strErr;
    ASSERT_TRUE(std::filesystem::exists(strImage));

    Outcome listed = Cli("dis " + strImage);
    EXPECT_EQ(listed.m_nStatus, 0);
    std::string strAbsolute = std::filesystem::absolute(strSource).lexically_normal().string();
    EXPECT_NE(listed.m_strOut.find("LBT_SOURCENAME   \"" + strAbsolute + "\""), std::string::npos)
        << listed.m_strOut;
    EXPECT_NE(listed.m_strOut.find("LBT_ASSIGN       \"n%\" = (6 * 7)"), std::string::npos)
        << listed.m_strOut;

    Outcome ran = Cli("run --dump " + strImage);
    EXPECT_EQ(ran.m_nStatus, 0);
    EXPECT_EQ(ran.m_strOut, "L:n%=42\n");
}

TEST(CompilerCli, OptionsChangeTheImage)
{
    std::string strSource = WriteSource("cli-opt.lbd", "Sub Main\n  Beep 3\nEnd Sub\n");
    std::string strTable = WriteSource("cli-opt.ext", "statement Beep 0x2083\n");
    std::string strImage = testing::TempDir() + "cli-opt.img";
    EXPECT_EQ(
        Cli("compile --no-lines --extensions " + strTable + " " + strSource + " -o " + strImage).m_nStatus,
        0);
    Outcome listed = Cli("dis --extensions " + strTable + " " + strImage);
    EXPECT_EQ(listed.m_strOut.find("LBT_DEBUGINFO"), std::string::npos) << listed.m_strOut;
    EXPECT_NE(listed.m_strOut.find("Beep             3"), std::string::npos) << listed.m_strOut;
    // Without the table the listing cannot go on behind the host's statement.
    EXPECT_EQ(Cli("dis " + strImage).m_nStatus, 1);
}

TEST(CompilerCli, RunCompilesASourceAndItsTrailNamesTheLine)
{
    std::string strSource = WriteSource("cli-fail.lbd", "Sub Main\n  a = 1\n\n  b = a / 0\nEnd Sub\n");
    Outcome ran = Cli("run --dump " + strSource);
    EXPECT_EQ(ran.m_nStatus, 1);
    EXPECT_EQ(ran.m_strOut, "D:a=1.000000\n");
    EXPECT_NE(ran.m_strErr.find("Der Fehler trat in Zeile 4 der Quelldatei auf."), std::string::npos)
        << ran.m_strErr;
}

TEST(CompilerCli, ErrorsAndWrongUseGiveTheirStatus)
{
    std::string strSource = WriteSource("cli-bad.lbd", "Sub Main\n  x = \nEnd Sub\n");
    Outcome compiled = Cli("compile " + strSource);
    EXPECT_EQ(compiled.m_nStatus, 1);
    EXPECT_EQ(compiled.m_strErr,
              strSource + ":2:7: error: expected an expression, found the end of the line\n");
    EXPECT_EQ(Cli("run " + strSource).m_nStatus, 1);
    EXPECT_EQ(Cli("compile " + testing::TempDir() + "missing.lbd").m_strErr,
              testing::TempDir() + "missing.lbd: error: cannot read the source file\n");
    EXPECT_EQ(Cli("compile").m_nStatus, 2);
    EXPECT_EQ(Cli("dis a b").m_nStatus, 2);
}

TEST(CompilerCli, ShowMessageAsStatementAndFunctionGetsTheAnswer)
{
    std::string strSource = WriteSource("cli-box.lbd", "Sub Main\n"
                                                       "  ShowMessage \"Titel\", \"Gespeichert\", 0\n"
                                                       "  answer% = ShowMessage(\"Titel\", \"Drucken?\", 4)\n"
                                                       "End Sub\n");
    Outcome ran = Cli("run --answer 6 --dump " + strSource);
    EXPECT_EQ(ran.m_nStatus, 0) << ran.m_strErr;
    EXPECT_EQ(ran.m_strOut, "L:answer%=6\n");
    EXPECT_NE(ran.m_strErr.find("Gespeichert"), std::string::npos) << ran.m_strErr;
    EXPECT_NE(ran.m_strErr.find("Drucken?"), std::string::npos) << ran.m_strErr;
}

TEST(CompilerCli, TheExamplesRunToTheirTotals)
{
    std::string strDir = std::string(LUM_SOURCE_DIR) + "/examples/";
    const std::pair<const char*, const char*> aCases[] = {
        {"invoice.lbd", "S:grossLine$=Gesamt                                      1.567,05 €\n"},
        {"loan.lbd", "S:summary$=Rate      1.024,54, Zinsen gesamt       294,52\n"},
        {"strings.lbd", "S:joined$=äpfel | Birnen | Kirschen | Pflaumen\n"},
    };
    for (const auto& c : aCases)
    {
        Outcome ran = Cli("run --dump " + strDir + c.first);
        EXPECT_EQ(ran.m_nStatus, 0) << ran.m_strErr;
        EXPECT_NE(ran.m_strOut.find(c.second), std::string::npos) << ran.m_strOut;
    }
    std::string strLibrary = testing::TempDir() + "mathlib.lbc";
    ASSERT_EQ(Cli("compile " + strDir + "mathlib.lbd -o " + strLibrary).m_nStatus, 0);
    std::string strVars = WriteSource("geometry.vars", ("S:library$=" + strLibrary + "\n").c_str());
    Outcome ran = Cli("run --vars " + strVars + " --dump " + strDir + "geometry.lbd");
    EXPECT_EQ(ran.m_nStatus, 0) << ran.m_strErr;
    EXPECT_NE(ran.m_strOut.find("D:hypotenuse=5.000000\n"), std::string::npos) << ran.m_strOut;
    EXPECT_NE(ran.m_strOut.find("L:libraryCalls%=2\n"), std::string::npos) << ran.m_strOut;
}
