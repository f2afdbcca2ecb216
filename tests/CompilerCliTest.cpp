// The commands compile, dis and run with a source, through the command-line host.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <sys/wait.h>

#include <filesystem>
#include <fstream>

using namespace lumtest;

namespace
{
// A file of the test's directory with the given text; gives its path.
std::string WriteSource(const CImageDir& dir, const char* pszName, const std::string& strText)
{
    std::string strPath = dir.Path(pszName);
    std::ofstream(strPath, std::ios::binary) << strText;
    return strPath;
}
} // namespace

TEST(CompilerCli, CompileWritesTheImageBesideTheSourceAndDisListsIt)
{
    CImageDir dir;
    std::string strSource = WriteSource(dir, "cli-ok.lbd", "Sub Main\n  n% = 6 * 7\nEnd Sub\n");
    std::string strImage = dir.Path("cli-ok.lbc");
    std::filesystem::remove(strImage);
    CliResult compiled = RunCli(dir, "compile " + strSource);
    EXPECT_EQ(compiled.m_nStatus, 0) << compiled.m_strErr;
    ASSERT_TRUE(std::filesystem::exists(strImage));

    CliResult listed = RunCli(dir, "dis " + strImage);
    EXPECT_EQ(listed.m_nStatus, 0);
    std::string strAbsolute = std::filesystem::absolute(strSource).lexically_normal().string();
    EXPECT_NE(listed.m_strOut.find("LBT_SOURCENAME   \"" + strAbsolute + "\""), std::string::npos)
        << listed.m_strOut;
    EXPECT_NE(listed.m_strOut.find("LBT_ASSIGN       \"n%\" = (6 * 7)"), std::string::npos)
        << listed.m_strOut;

    CliResult ran = RunCli(dir, "run --dump " + strImage);
    EXPECT_EQ(ran.m_nStatus, 0);
    EXPECT_EQ(ran.m_strOut, "L:n%=42\n");
}

TEST(CompilerCli, OptionsChangeTheImage)
{
    CImageDir dir;
    std::string strSource = WriteSource(dir, "cli-opt.lbd", "Sub Main\n  Beep 3\nEnd Sub\n");
    std::string strTable = WriteSource(dir, "cli-opt.ext", "statement Beep 0x2083\n");
    std::string strImage = dir.Path("cli-opt.img");
    EXPECT_EQ(RunCli(dir, "compile --no-lines --extensions " + strTable + " " + strSource + " -o " + strImage)
                  .m_nStatus,
              0);
    CliResult listed = RunCli(dir, "dis --extensions " + strTable + " " + strImage);
    EXPECT_EQ(listed.m_strOut.find("LBT_DEBUGINFO"), std::string::npos) << listed.m_strOut;
    EXPECT_NE(listed.m_strOut.find("Beep             3"), std::string::npos) << listed.m_strOut;
    // Without the table the listing cannot go on behind the host's statement.
    EXPECT_EQ(RunCli(dir, "dis " + strImage).m_nStatus, 1);
}

TEST(CompilerCli, ASourceWithErrorsGivesThemAndStatusOne)
{
    CImageDir dir;
    std::string strSource = WriteSource(dir, "cli-bad.lbd", "Sub Main\n  x = \nEnd Sub\n");
    CliResult compiled = RunCli(dir, "compile " + strSource);
    EXPECT_EQ(compiled.m_nStatus, 1);
    EXPECT_EQ(compiled.m_strErr,
              strSource + ":2:7: error: expected an expression, found the end of the line\n");
}

TEST(CompilerCli, TheExamplesRunToTheirTotals)
{
    CImageDir dir;
    std::string strDir = std::string(LUM_SOURCE_DIR) + "/examples/";
    const std::pair<const char*, const char*> aCases[] = {
        {"invoice.lbd", "S:grossLine$=Gesamt                                      1.567,05 €\n"},
        {"loan.lbd", "S:summary$=Rate      1.024,54, Zinsen gesamt       294,52\n"},
        {"strings.lbd", "S:joined$=äpfel | Birnen | Kirschen | Pflaumen\n"},
    };
    for (const auto& c : aCases)
    {
        CliResult ran = RunCli(dir, "run --dump " + strDir + c.first);
        EXPECT_EQ(ran.m_nStatus, 0) << ran.m_strErr;
        EXPECT_NE(ran.m_strOut.find(c.second), std::string::npos) << ran.m_strOut;
    }
    std::string strLibrary = dir.Path("mathlib.lbc");
    ASSERT_EQ(RunCli(dir, "compile " + strDir + "mathlib.lbd -o " + strLibrary).m_nStatus, 0);
    std::string strVars = WriteSource(dir, "geometry.vars", ("S:library$=" + strLibrary + "\n").c_str());
    CliResult ran = RunCli(dir, "run --vars " + strVars + " --dump " + strDir + "geometry.lbd");
    EXPECT_EQ(ran.m_nStatus, 0) << ran.m_strErr;
    EXPECT_NE(ran.m_strOut.find("D:hypotenuse=5.000000\n"), std::string::npos) << ran.m_strOut;
    EXPECT_NE(ran.m_strOut.find("L:libraryCalls%=2\n"), std::string::npos) << ran.m_strOut;
}
