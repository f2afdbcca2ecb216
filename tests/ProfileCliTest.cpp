// Counting on the command line: runs that save their counts, and the listings and
// the lcov tracefile made from them.
#include "tests/LumImageDir.h"

#include <filesystem>
#include <fstream>

using namespace lumtest;

TEST(ProfileCli, RunsAddUpAndTheListingMarksWhatNeverRan)
{
    CImageDir dir;
    std::ofstream(dir.Path("prog.lbd"))
        << "' counts\nSub Main\n    If n% > 0 Then\n        n% = 0\n    End If\n"
           "    n% = 1\nEnd Sub\n";
    for (int nRun = 0; nRun < 2; ++nRun)
        ASSERT_EQ(RunCli(dir, "run --profile prog.lbd").m_nStatus, 0);
    // Sources on this platform end their lines in LF; the listing still has a row each.
    EXPECT_EQ(dir.Read("prog_Profile.txt"), "      ' counts\n00002 Sub Main\n00002     If n% > 0 Then\n"
                                            "              n% = 0\n00002     End If\n00002     n% = 1\n"
                                            "00002 End Sub\n");

    CliResult o = RunCli(dir, "profile --lcov prog.info prog.lbd");
    std::string strSource = std::filesystem::canonical(dir.Path("prog.lbd")).string();
    EXPECT_EQ(o.m_nStatus, 0);
    EXPECT_EQ(o.m_strErr, "");
    EXPECT_EQ(o.m_strOut, "        -:    0:Source:" + strSource +
                              "\n"
                              "        -:    0:Runs:2\n"
                              "        -:    1:' counts\n"
                              "        2:    2:Sub Main\n"
                              "        2:    3:    If n% > 0 Then\n"
                              "    #####:    4:        n% = 0\n"
                              "        2:    5:    End If\n"
                              "        2:    6:    n% = 1\n"
                              "        2:    7:End Sub\n");
    EXPECT_EQ(dir.Read("prog.info"),
              "TN:\nSF:" + strSource +
                  "\nDA:2,2\nDA:3,2\nDA:4,0\nDA:5,2\nDA:6,2\nDA:7,2\nLF:6\nLH:5\nend_of_record\n");

    if (std::system("command -v genhtml > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "genhtml (Debian package lcov) is not installed";
    std::string strCommand = "cd '" + dir.Dir() + "' && genhtml -q -o html prog.info > genhtml.out 2>&1";
    EXPECT_EQ(std::system(strCommand.c_str()), 0) << dir.Read("genhtml.out");
    // The page of the source shows its lines.
    std::string strPage;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.Path("html")))
        if (entry.path().filename() == "prog.lbd.gcov.html")
            strPage = dir.Read(std::filesystem::relative(entry.path(), dir.Dir()).string());
    EXPECT_NE(strPage.find("n% = 1"), std::string::npos);
}
