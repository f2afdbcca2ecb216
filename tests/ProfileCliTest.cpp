// Counting on the command line: runs that save their counts, and the listings and
// the lcov tracefile made from them.
#include "tests/LumImageDir.h"

#include <filesystem>
#include <fstream>

using namespace lumtest;

namespace
{
// A line of a source and its count after two runs, as `profile` shows it: "-" for a
// line without code, "#####" for one never reached.
struct LineShape
{
    const char* m_pszText;
    const char* m_pszCount;
};

// A line counts once each time the run enters it, however many statements it holds;
// a loop that goes back to it enters it again. Tell's third call on runs whole.
const LineShape s_aShapes[] = {
    {"' counts", "-"},
    {"Declare Sub Tell(n%)", "-"},
    {"Sub Main", "-"},
    {"    a = 1 : b = 2 : c = 3", "2"},
    {"    Dim p(3), q(3), r(3), s(3)", "2"},
    {"    For i% = 1 To 3 : n = n + 1 : Next i%", "6"},
    {"    Do : k = k + 1 : Loop Until k = 2", "4"},
    {"    For j% = 1 To 4", "2"},
    {"        Tell j% : m = m + 1", "8"},
    {"    Next j%", "8"},
    {"    If a = 2 Then b = 5", "2"},
    {"    If a = 2 Then", "2"},
    {"        b = 5", "#####"},
    {"    End If", "2"},
    {"End Sub", "2"},
    {"Sub Tell(n%)", "-"},
    {"    t = t + n%", "8"},
    {"    For k% = 1 To 3 : t = t + k% : Next k%", "24"},
    {"End Sub", "8"},
};
} // namespace

TEST(ProfileCli, ALineCountsEachTimeItIsEntered)
{
    CImageDir dir;
    std::string strText;
    for (const LineShape& shape : s_aShapes)
        strText += std::string(shape.m_pszText) + "\n";
    std::ofstream(dir.Path("prog.lbd")) << strText;
    // Once the fast way, once the plain way: the counts add up alike.
    for (const char* pszRun : {"run --profile prog.lbd", "run --profile --plain prog.lbd"})
    {
        CliResult o = RunCli(dir, pszRun);
        ASSERT_EQ(o.m_nStatus, 0) << o.m_strErr;
        EXPECT_EQ(o.m_strErr, "") << "the files lie beside the source";
    }

    CliResult o = RunCli(dir, "profile --lcov prog.info prog.lbd");
    EXPECT_EQ(o.m_nStatus, 0);
    EXPECT_EQ(o.m_strErr, "");
    std::string strSource = std::filesystem::canonical(dir.Path("prog.lbd")).string();
    std::string strListing;
    std::string strGcov = "        -:    0:Source:" + strSource +
                          "\n        -:    0:Data:" + strSource.substr(0, strSource.size() - 4) +
                          ".Profile\n        -:    0:Runs:2\n";
    std::string strLcov = "TN:\nSF:" + strSource + "\n";
    int nLine = 0, nFound = 0, nHit = 0;
    for (const LineShape& shape : s_aShapes)
    {
        std::string strCount = shape.m_pszCount;
        bool fRan = strCount != "-" && strCount != "#####";
        char szPrefix[16];
        snprintf(szPrefix, sizeof szPrefix, fRan ? "%05d " : "      ", fRan ? std::stoi(strCount) : 0);
        strListing += szPrefix + std::string(shape.m_pszText) + "\n";
        char szGcov[32];
        snprintf(szGcov, sizeof szGcov, "%9s:%5d:", shape.m_pszCount, ++nLine);
        strGcov += szGcov + std::string(shape.m_pszText) + "\n";
        if (strCount == "-")
            continue;
        strLcov += "DA:" + std::to_string(nLine) + "," + (fRan ? strCount : "0") + "\n";
        ++nFound;
        nHit += fRan;
    }
    EXPECT_EQ(dir.Read("prog_Profile.txt"), strListing);
    EXPECT_EQ(o.m_strOut, strGcov);
    EXPECT_EQ(dir.Read("prog.info"), strLcov + "LF:" + std::to_string(nFound) +
                                         "\nLH:" + std::to_string(nHit) + "\nend_of_record\n");

    if (std::system("command -v genhtml > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "genhtml (Debian package lcov) is not installed";
    std::string strCommand = "cd '" + dir.Dir() + "' && genhtml -q -o html prog.info > genhtml.out 2>&1";
    EXPECT_EQ(std::system(strCommand.c_str()), 0) << dir.Read("genhtml.out");
    // The page of the source shows its lines.
    std::string strPage;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.Path("html")))
        if (entry.path().filename() == "prog.lbd.gcov.html")
            strPage = dir.Read(std::filesystem::relative(entry.path(), dir.Dir()).string());
    EXPECT_NE(strPage.find("Tell j% : m = m + 1"), std::string::npos);
}

// A folder as `mktemp -d` makes it, tmp.XXXXXXXXXX, holds a dot: the files are named
// after the path up to it and lie beside the folder. The run says so, and `profile`
// finds them there.
TEST(ProfileCli, TheCountsOfASourceInAFolderWithADotAreToldAndFound)
{
    CImageDir dir;
    std::string strFolder = dir.Path("tmp.XXXXXXXXXX");
    ASSERT_NE(mkdtemp(&strFolder[0]), nullptr);
    std::ofstream(strFolder + "/price.lbd") << "Sub Main\n    p = 1\nEnd Sub\n";
    std::string strSource = std::filesystem::canonical(strFolder + "/price.lbd").string();
    std::string strStem = std::filesystem::canonical(dir.Dir()).string() + "/tmp";

    CliResult o = RunCli(dir, "run --profile " + strFolder + "/price.lbd");
    EXPECT_EQ(o.m_nStatus, 0);
    EXPECT_EQ(o.m_strErr, "lumbasic: the counts of " + strSource + " are in " + strStem + ".Profile and " +
                              strStem + "_Profile.txt, named after the source's path up to its first dot\n");
    EXPECT_EQ(dir.Read("tmp_Profile.txt"), "      Sub Main\n00001     p = 1\n00001 End Sub\n");

    o = RunCli(dir, "profile " + strFolder + "/price.lbd");
    EXPECT_EQ(o.m_strOut, "        -:    0:Source:" + strSource + "\n        -:    0:Data:" + strStem +
                              ".Profile\n        -:    0:Runs:1\n        -:    1:Sub Main\n"
                              "        1:    2:    p = 1\n        1:    3:End Sub\n");
}

// A recursion run whole counts its lines as the plain way does: links that pass several
// markers at once (End If, End Function), each depth entering its first line afresh,
// and a line of two statements.
TEST(ProfileCli, ARecursionRunWholeCountsAsThePlainWay)
{
    const char* pszSource = "Declare Function D%(k%)\nSub Main\n  For i% = 1 To 4\n    t% = t% + D%(i% * 3)\n"
                            "  Next i%\nEnd Sub\nFunction D%(k%)\n  If k% > 0 Then\n    D% = D%(k% - 1) + 1\n"
                            "    If k% > 5 Then D% = D% + 2 : D% = D% - 1\n  Else\n    D% = 0\n  End If\n"
                            "End Function\n";
    std::string aListings[2];
    for (int i = 0; i < 2; ++i)
    {
        CImageDir dir;
        std::ofstream(dir.Path("prog.lbd")) << pszSource;
        CliResult o = RunCli(dir, i == 0 ? "run --profile prog.lbd" : "run --profile --plain prog.lbd");
        ASSERT_EQ(o.m_nStatus, 0) << o.m_strErr;
        ASSERT_EQ(RunCli(dir, "profile prog.lbd").m_nStatus, 0);
        aListings[i] = dir.Read("prog_Profile.txt");
    }
    EXPECT_EQ(aListings[0], aListings[1]);
    // 4 + 7 + 10 + 13 calls.
    EXPECT_NE(aListings[0].find("00034 End Function"), std::string::npos) << aListings[0];
}
