// The command-line host's run command: the trail of a failure, usage.
#include "tests/LumImageDir.h"
#include "tests/LumTestSupport.h"

using namespace lumtest;

// --trail prints the whole trail, each frame's labels too; without it the report of
// tests/CliErrorsTest.cpp.
TEST(Cli, FailurePrintsTheTrailAndStillDumps)
{
    CImageDir dir;
    std::string strImage = dir.Save("fail.lbc", MainProgram([](CLumImageWriter& w) {
                                        AssignName(w, "a%", CLumTree::LongConst(1));
                                        w.DebugInfo(12);
                                        AssignName(w, "s$", CLumTree::LongConst(2));
                                    }));
    CliResult o = RunCli(dir, "run --trail --dump " + strImage);
    EXPECT_EQ(o.m_nStatus, 1);
    EXPECT_EQ(o.m_strOut, "L:a%=1\n");
    EXPECT_EQ(o.m_strErr, "Der Stringvariablen s$ kann kein numerischer Wert zugewiesen werden.\n"
                          "LUMBASICCOMMAND\nCLumBasic::Assign()\nLUMBASIC\nCLumBasic::DispatchToken()\n"
                          "LUMBASIC\nCLumBasic::RunLoop()\nLUMBASIC\nCLumBasic::Do()\n"
                          "Der Fehler trat in Zeile 12 der Quelldatei auf.\n");
    // The image records no source: the report names the file given.
    o = RunCli(dir, "run --dump " + strImage);
    EXPECT_EQ(o.m_nStatus, 1);
    EXPECT_EQ(o.m_strOut, "L:a%=1\n");
    EXPECT_EQ(o.m_strErr,
              strImage + ":12: Der Stringvariablen s$ kann kein numerischer Wert zugewiesen werden.\n");
}

TEST(Cli, WrongUsageExitsWithTwo)
{
    CImageDir dir;
    for (const char* pszArgs : {"", "run", "fly x.lbc", "run --bogus x.lbc", "run a.lbc b.lbc", "profile",
                                "profile --bogus a.lbd", "compile", "dis a b"})
    {
        CliResult o = RunCli(dir, pszArgs);
        EXPECT_EQ(o.m_nStatus, 2) << pszArgs;
        EXPECT_NE(o.m_strErr.find("usage: lumbasic"), std::string::npos) << pszArgs;
    }
}
