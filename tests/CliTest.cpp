// The command-line host's run command: store in and out, failures, usage.
#include "tests/LumTestSupport.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace lumtest;

namespace
{
struct Outcome
{
    int m_nStatus;
    std::string m_strOut;
    std::string m_strErr;
};

std::string ReadAll(const std::string& strPath)
{
    std::ifstream in(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Runs the host with `strArgs`, stdin from /dev/null.
Outcome RunCli(const std::string& strArgs)
{
    std::string strOut = testing::TempDir() + "cli.out", strErr = testing::TempDir() + "cli.err";
    std::string strCommand =
        std::string(LUM_CLI_PATH) + " " + strArgs + " </dev/null >" + strOut + " 2>" + strErr;
    int nRaw = system(strCommand.c_str());
    return Outcome{WIFEXITED(nRaw) ? WEXITSTATUS(nRaw) : -1, ReadAll(strOut), ReadAll(strErr)};
}

std::string WriteImage(const char* pszName, const std::vector<uint8_t>& image)
{
    std::string strPath = testing::TempDir() + pszName;
    std::ofstream(strPath, std::ios::binary)
        .write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
    return strPath;
}
} // namespace

TEST(Cli, RunFillsAndDumpsTheStore)
{
    std::string strImage = WriteImage(
        "double.lbc", MainProgram([](CLumImageWriter& w) {
            AssignName(w, "n%",
                       CLumTree::Operator(LBT_MUL, CLumTree::Variable("n%"), CLumTree::LongConst(2)));
        }));
    std::string strVars = testing::TempDir() + "vars.txt";
    std::ofstream(strVars) << "L:n%=21\nS:keep$=a b\n";
    Outcome o = RunCli("run --vars " + strVars + " --dump " + strImage);
    EXPECT_EQ(o.m_nStatus, 0);
    EXPECT_EQ(o.m_strOut, "L:n%=42\nS:keep$=a b\n");
    EXPECT_EQ(o.m_strErr, "");
}

TEST(Cli, FailurePrintsTheTrailAndStillDumps)
{
    std::string strImage = WriteImage("fail.lbc", MainProgram([](CLumImageWriter& w) {
                                          AssignName(w, "a%", CLumTree::LongConst(1));
                                          w.DebugInfo(12);
                                          AssignName(w, "s$", CLumTree::LongConst(2));
                                      }));
    Outcome o = RunCli("run --dump " + strImage);
    EXPECT_EQ(o.m_nStatus, 1);
    EXPECT_EQ(o.m_strOut, "L:a%=1\n");
    EXPECT_EQ(o.m_strErr, "Der Stringvariablen s$ kann kein numerischer Wert zugewiesen werden.\n"
                          "LUMBASICCOMMAND\nCLumBasic::Assign()\nLUMBASIC\nCLumBasic::DispatchToken()\n"
                          "LUMBASIC\nCLumBasic::RunLoop()\nLUMBASIC\nCLumBasic::Do()\n"
                          "Der Fehler trat in Zeile 12 der Quelldatei auf.\n");
}

TEST(Cli, WrongUsageExitsWithTwo)
{
    for (const char* pszArgs : {"", "run", "fly x.lbc", "run --bogus x.lbc", "run a.lbc b.lbc"})
    {
        Outcome o = RunCli(pszArgs);
        EXPECT_EQ(o.m_nStatus, 2) << pszArgs;
        EXPECT_NE(o.m_strErr.find("usage: lumbasic"), std::string::npos) << pszArgs;
    }
}
