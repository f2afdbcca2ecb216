// Hit counts and their files: the byte layout, damaged files, counts that add up from
// run to run, a file that cannot be saved, the listing, and the files' names.
#include "tests/LumDebuggerTestSupport.h"

#include <lumbasic/LumBasicProfiler.h>
#include <lumbasic/LumMessageBox.h>

#include "debug/LumArchive.h"

#include <filesystem>
#include <sstream>

using namespace lumtest;

namespace
{
// 32-bit numbers, little-endian, as a file holds them.
std::string Bytes(std::initializer_list<int32_t> aNumbers)
{
    std::ostringstream out;
    CLumArchive ar(out, "");
    for (int32_t n : aNumbers)
        ar << n;
    return out.str();
}

std::string Saved(CLumBasicProfiler& profiler)
{
    std::ostringstream out;
    CLumArchive ar(out, "");
    profiler.Serialize(ar);
    return out.str();
}
} // namespace

// Buckets ascending, each chain from its head; loading puts each entry at the head
// again, so a file read and written back has its chains reversed.
TEST(Profiler, AFileHoldsTheEntriesInTheTablesWalkingOrder)
{
    CLumBasicProfiler profiler;
    for (long nLine : {1, 2, 17, 300, 16, 2, 272, 2000000, 2000000})
        profiler.CountHit(nLine);
    std::string strFile = Bytes({1, 7, 272, 1, 2, 2, 1, 1, 16, 1, 300, 1, 17, 1, 2000000, 2});
    EXPECT_EQ(Saved(profiler), strFile);

    CImageDir dir;
    dir.Save("a.Profile", std::vector<uint8_t>(strFile.begin(), strFile.end()));
    CLumBasicProfiler loaded;
    ASSERT_TRUE(loaded.LoadFile(dir.Path("a.Profile")));
    EXPECT_EQ(loaded.GetRuns(), 1);
    EXPECT_EQ(loaded.GetHits(2), 2);
    EXPECT_EQ(loaded.GetHits(3), 0);
    EXPECT_EQ(Saved(loaded), Bytes({1, 7, 1, 1, 2, 2, 272, 1, 17, 1, 300, 1, 16, 1, 2000000, 2}));
    loaded.CountHit(2000000);
    loaded.CountHit(2);
    EXPECT_EQ(loaded.GetRuns(), 2);
    EXPECT_EQ(loaded.GetHits(2), 3);
    EXPECT_EQ(loaded.GetHits(2000000), 3);
    EXPECT_FALSE(loaded.LoadFile(dir.Path("none.Profile")));
}

TEST(Profiler, FileNamesEndAtTheFirstDotOfThePath)
{
    const struct
    {
        const char* m_pszSource;
        const char* m_pszSuffix;
        const char* m_pszName;
    } aCases[] = {
        {"/d/a.lbd", ".Profile", "/d/a.Profile"},           {"/d/a.lbd", "_Profile.txt", "/d/a_Profile.txt"},
        {"/d/prog", ".Profile", "/d/prog.Profile"},         {"../a.lbd", "_Profile.txt", "_Profile.txt"},
        {"/d/old.src/a.lbd", ".Profile", "/d/old.Profile"},
    };
    for (const auto& c : aCases)
        EXPECT_EQ(LumProfileFileName(c.m_pszSource, c.m_pszSuffix), c.m_pszName) << c.m_pszSource;
}

namespace
{
// Main calls a procedure of the library three times in each run. Sources end their
// lines in CR LF, so that a line is a row of the listing.
class Profiles : public CDebuggerTest
{
protected:
    void SetUp() override
    {
        CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = 1;
        CLumBasicDebugWindow::m_fProfileSave = CLumBasicDebugWindow::m_fProfileExport = 1;
        Write("main.lbd", "Declare Sub Twice(n%)\r\nSub Main\r\n    Import dir$ + \"lib.lbc\"\r\n"
                          "    For i% = 1 To 3\r\n        Twice i%\r\n    Next\r\nEnd Sub\r\n");
        Write("lib.lbd", "Sub Twice(n%)\r\n    n% = n% * 2\r\nEnd Sub\r\n");
        CompileLibrary("lib.lbd");
        m_aMain = Compile("main.lbd");
    }
    CLumBasicProfiler Load(const std::string& strName)
    {
        CLumBasicProfiler profiler;
        EXPECT_TRUE(profiler.LoadFile(m_dir.Path(strName)));
        return profiler;
    }

    std::vector<uint8_t> m_aMain;
};
} // namespace

// A source counts one run per debugger run however often it is displayed, and the
// counts of a run add to those saved before.
TEST_F(Profiles, CountsAddUpFromRunToRun)
{
    for (int nRun = 0; nRun < 2; ++nRun)
        ASSERT_EQ(Run(m_aMain), std::vector<std::string>());
    CLumBasicProfiler main = Load("main.Profile");
    CLumBasicProfiler lib = Load("lib.Profile");
    EXPECT_EQ(main.GetRuns(), 2);
    EXPECT_EQ(lib.GetRuns(), 2);
    EXPECT_EQ(main.GetHits(5), 6);
    EXPECT_EQ(lib.GetHits(2), 6);
    EXPECT_EQ(m_dir.Read("main_Profile.txt"), "      Declare Sub Twice(n%)\n"
                                              "      Sub Main\n"
                                              "00002     Import dir$ + \"lib.lbc\"\n"
                                              "00002     For i% = 1 To 3\n"
                                              "00006         Twice i%\n"
                                              "00006     Next\n"
                                              "00002 End Sub\n");
    EXPECT_EQ(m_dir.Read("lib_Profile.txt"), "      Sub Twice(n%)\n00006     n% = n% * 2\n00006 End Sub\n");
}

// Loops whose remaining passes the fast form runs closed from their Next (in Main, in a
// Sub called the regular way, nested, with calls inside, and one that gives up at an
// element to be made) count each line's hits as the plain way counts them.
TEST_F(Profiles, LoopsRunClosedCountTheirLinesAsThePlainWay)
{
    CLumBasicDebugWindow::m_fProfileSave = 0; // each run's listing shows its own counts
    Write("loops.lbd", "Declare Sub Twice(n%)\r\nDeclare Function Total(k%)\r\nSub Main\r\n"
                       "    Dim a(5)\r\n    For i% = 1 To 40\r\n        For j% = 1 To 3\r\n"
                       "            If j% > 1 Then\r\n                s = s + Total(j%)\r\n"
                       "            End If\r\n        Next j%\r\n        Twice i%\r\n    Next i%\r\n"
                       "    For i% = 1 To 9\r\n        a(i%) = i%\r\n    Next i%\r\nEnd Sub\r\n"
                       "Sub Twice(n%)\r\n    For k% = 1 To n%\r\n        t = t + k%\r\n    Next k%\r\n"
                       "End Sub\r\nFunction Total(k%)\r\n    Total = k% * 2\r\nEnd Function\r\n");
    std::vector<uint8_t> aImage = Compile("loops.lbd");
    std::string aListings[2];
    for (bool fPlain : {false, true})
    {
        CLumVariables vars;
        CLumBasic basic(&vars, nullptr);
        basic.SetFastPaths(!fPlain);
        EXPECT_EQ(RunImage(basic, aImage), std::vector<std::string>());
        aListings[fPlain] = m_dir.Read("loops_Profile.txt");
    }
    EXPECT_EQ(aListings[0], aListings[1]);
    EXPECT_NE(aListings[0].find("00820         t = t + k%"), std::string::npos) << aListings[0];
}

// A file that cannot be written is told in a box; the run goes on and the other
// sources are still saved.
TEST_F(Profiles, AProfileThatCannotBeSavedIsToldInABox)
{
    std::filesystem::create_directory(m_dir.Path("main.Profile"));
    std::vector<std::string> aBoxes;
    LumMessageBoxFunction fnBefore =
        LumSetMessageBox([&](const char* pszText, const char* pszCaption, long nStyle) {
            aBoxes.push_back(std::string(pszCaption) + "|" + pszText + "|" + std::to_string(nStyle));
            return LUM_IDOK;
        });
    std::vector<std::string> aTrail = Run(m_aMain);
    LumSetMessageBox(std::move(fnBefore));
    EXPECT_EQ(aTrail, std::vector<std::string>());
    EXPECT_EQ(aBoxes, std::vector<std::string>{"LUMOR Basic Debugger|Die Profile-Datei kann nicht gesichert "
                                               "werden.\nDer Pfad ist evtl. nicht vorhanden.|48"});
    EXPECT_EQ(Load("lib.Profile").GetHits(2), 3);
}

// A damaged file fails the run at its start, before any statement; one that holds
// what it promises loads, whatever stands behind it.
TEST_F(Profiles, ADamagedFileIsNeverReadPastItsEnd)
{
    const struct
    {
        std::string m_strFile;
        int m_nRunsAfter; // 0: the run fails
        int m_nHitsAfter; // of line 5
    } aCases[] = {
        {"\x01\x02\x03\x04\x05", 0, 0},       {Bytes({1, 3, 5, 4}), 0, 0},
        {Bytes({1, 0x7fffffff, 5, 4}), 0, 0}, {Bytes({3, 0}), 4, 3},
        {Bytes({1, 1, 5, 4}) + "rest", 2, 7},
    };
    for (const auto& c : aCases)
    {
        m_dir.Save("main.Profile", std::vector<uint8_t>(c.m_strFile.begin(), c.m_strFile.end()));
        m_vars.SetValuesFromString("L:i%=0\n");
        std::vector<std::string> aTrail = Run(m_aMain);
        if (c.m_nRunsAfter == 0)
        {
            ASSERT_GE(aTrail.size(), 3u);
            EXPECT_EQ(
                std::vector<std::string>(aTrail.begin(), aTrail.begin() + 3),
                (std::vector<std::string>{"Die Datei \"" + m_dir.Path("main.Profile") + "\" endet vorzeitig.",
                                          "CLUMBASICDEBUGGER", "CLumBasicDebugger::LoadProfile"}));
            EXPECT_EQ(m_vars.GetValue("i%", nullptr)->GetLong(), 0);
            EXPECT_EQ(m_dir.Read("main.Profile"), c.m_strFile);
            continue;
        }
        EXPECT_EQ(aTrail, std::vector<std::string>());
        CLumBasicProfiler main = Load("main.Profile");
        EXPECT_EQ(main.GetRuns(), c.m_nRunsAfter);
        EXPECT_EQ(main.GetHits(5), c.m_nHitsAfter);
    }
}

// The listing's rows are the source's lines ended by CR LF alone; a line without
// hits stands behind six blanks.
TEST_F(Profiles, TheListingShowsEveryRowWithItsCount)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    CLumBasicDebugger debugger;
    debugger.Start(&basic, m_dir.Path("x.lbd").c_str(), "a\r\nb\nc\r\n");
    debugger.WriteProfileListing();
    EXPECT_EQ(m_dir.Read("x_Profile.txt"), "      a\n      b\nc\n");
    debugger.Step(2);
    debugger.Step(2);
    EXPECT_EQ(debugger.MakeProfileExportName(), m_dir.Path("x_Profile.txt"));
    debugger.End();
    EXPECT_EQ(m_dir.Read("x_Profile.txt"), "      a\n00002 b\nc\n");
    EXPECT_EQ(Load("x.Profile").GetHits(2), 2);
}
