// The run loop, dispatch and the failure trail, through whole images.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <atomic>
#include <chrono>
#include <thread>

using namespace lumtest;

TEST(RunLoop, AStatementLimitEndsTheRunAtItsBoundaryAndCountsImports)
{
    CImageDir dir;
    std::vector<uint8_t> aLibrary, aMain;
    SLumCompileOptions options;
    options.m_fLineMarkers = false;
    // Sub Main, For, two statements a pass for ten passes and End: 23 statements.
    ASSERT_EQ(CompileText("Sub Main\n For i% = 1 To 10\n  n% = i%\n Next i%\nEnd Sub\n", aLibrary, options),
              "");
    std::string strLibrary = dir.Save("loop.lbc", aLibrary);
    ASSERT_EQ(CompileText("Sub Main\n Import \"" + strLibrary + "\"\nEnd Sub\n", aMain, options), "");
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.SetStatementLimit(23 + 3);
    EXPECT_EQ(RunImage(basic, aMain), std::vector<std::string>());
    basic.SetStatementLimit(23 + 2);
    EXPECT_EQ(RunImage(basic, aMain).at(0),
              "Der Lauf hat die Grenze von 25 Anweisungen erreicht und wurde abgebrochen.");
    EXPECT_EQ(vars.GetValue("n%", nullptr)->GetLong(), 10);
    basic.SetStatementLimit(10);
    EXPECT_EQ(RunImage(basic, aLibrary).size(), 5u); // the message, then the labels of RunLoop and Do
    EXPECT_EQ(vars.GetValue("n%", nullptr)->GetLong(), 4);
}

// Functions and Subs run whole count their statements, markers, heads and ends as the
// stream counts them: every limit ends the run at the same statement with the same
// store.
TEST(RunLoop, AStatementLimitEndsFunctionsRunWholeWhereTheStreamEndsThem)
{
    std::vector<uint8_t> aImage;
    ASSERT_EQ(
        CompileText("Sub Main\n For i% = 1 To 5\n  t% = t% + Depth%(i% * 2)\n Next i%\nEnd Sub\n"
                    "Function Depth%(k%)\n If k% > 0 Then\n  Depth% = Depth%(k% - 1) + 1\n Else\n"
                    "  j% = 0\n  While j% < 3\n   j% = j% + 1\n   Bump j%\n  Wend\n  Depth% = j%\n End If\n"
                    "End Function\nSub Bump(v%)\n b% = b% + v%\nEnd Sub\n",
                    aImage),
        "");
    int nEnded = 0;
    for (unsigned long nLimit = 1;; nLimit += 3)
    {
        std::string aOutcome[2];
        for (bool fStream : {false, true})
        {
            CLumVariables vars;
            std::unique_ptr<CLumBasic> pBasic(fStream ? new CStreamBasic(&vars)
                                                      : new CLumBasic(&vars, nullptr));
            pBasic->SetStatementLimit(nLimit);
            for (const std::string& str : RunImage(*pBasic, aImage))
                aOutcome[fStream] += str + "\n";
            vars.MakeString(&aOutcome[fStream]);
        }
        ASSERT_EQ(aOutcome[0], aOutcome[1]) << nLimit;
        if (aOutcome[0].find("L:t%=45") != std::string::npos)
            break;
        ASSERT_NE(aOutcome[0].find("Grenze von " + std::to_string(nLimit) + " Anweisungen"),
                  std::string::npos);
        ++nEnded;
    }
    EXPECT_GT(nEnded, 50);
}

// A stop request from another thread ends an endless run wherever it stands: in a loop
// of Main (a For loop's remaining passes running closed too), in a user function, in an
// imported image; the interpreter runs the next
// image as if nothing had happened, in both forms of the run. A function that the fast
// form runs whole is stopped as it stood when its call began: every variable the call
// wrote is put back, and the run ends at the call.
TEST(RunLoop, AStopRequestEndsTheRunAndTheNextRunGoesWell)
{
    CImageDir dir;
    std::vector<uint8_t> aEndless;
    ASSERT_EQ(CompileText("Sub Main\n Do While 1\n  n% = n% + 1\n Loop\nEnd Sub\n", aEndless), "");
    std::string strEndless = dir.Save("endless.lbc", aEndless);
    const struct
    {
        std::string m_strSource;
        const char* m_pszInnermost;
        // Where the fast form differs: the procedure it stops in and n% then.
        const char* m_pszFastInnermost = nullptr;
        long m_nFastCount = 0;
    } aCases[] = {
        {"Sub Main\n Do While 1\n  n% = n% + 1\n Loop\nEnd Sub\n", "Main"},
        {"Sub Main\n For i% = 1 To 2000000000\n  n% = n% + 1\n Next i%\nEnd Sub\n", "Main"},
        {"Declare Function Spin%()\nSub Main\n x% = Spin%()\nEnd Sub\n"
         "Function Spin%()\n Do While 1\n  n% = n% + 1\n Loop\nEnd Function\n",
         "Spin%"},
        {"Sub Main\n Import \"" + strEndless + "\"\nEnd Sub\n", "Main"},
        // The endless fourth call runs whole, after three that counted 2 + 1 + 0.
        {"Declare Function Spin%(k%)\nSub Main\n For i% = 1 To 4\n  x% = Spin%(3 - i%)\n Next i%\nEnd Sub\n"
         "Function Spin%(k%)\n Do While k% <> 0\n  n% = n% + 1\n  k% = k% - 1\n Loop\n Spin% = k%\nEnd "
         "Function\n",
         "Spin%", "Main", 3},
        // The same at the bottom of a recursion: every level the call entered is put back.
        {"Declare Function Deep%(k%, m%)\nSub Main\n For i% = 1 To 4\n  x% = Deep%(3, 3 - i%)\n Next i%\n"
         "End Sub\nFunction Deep%(k%, m%)\n If k% > 0 Then\n  Deep% = Deep%(k% - 1, m%) + 1\n Else\n"
         "  Do While m% <> 0\n   n% = n% + 1\n   m% = m% - 1\n  Loop\n  Deep% = m%\n End If\nEnd Function\n",
         "Deep%", "Main", 3},
    };
    std::vector<uint8_t> aGood;
    ASSERT_EQ(CompileText("Sub Main\n good% = 42\nEnd Sub\n", aGood), "");
    for (bool fStream : {false, true})
        for (const auto& test : aCases)
        {
            std::vector<uint8_t> aImage;
            ASSERT_EQ(CompileText(test.m_strSource, aImage), "");
            CLumVariables vars;
            std::unique_ptr<CLumBasic> pBasic(fStream ? new CStreamBasic(&vars)
                                                      : new CLumBasic(&vars, nullptr));
            std::thread stopper([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(30));
                pBasic->RequestStop();
            });
            std::vector<std::string> aTrail;
            std::string strInnermost;
            try
            {
                pBasic->DoMemory(aImage.data(), aImage.size());
            }
            catch (const CLumsException& e)
            {
                aTrail = e.GetTrail();
                strInnermost = e.GetCallSites().at(0).m_strProcedure;
            }
            stopper.join();
            ASSERT_FALSE(aTrail.empty()) << test.m_strSource;
            EXPECT_EQ(aTrail[0], "Der Lauf wurde auf Anforderung abgebrochen.");
            long nCount = vars.GetValue("n%", nullptr)->GetLong();
            if (!fStream && test.m_pszFastInnermost != nullptr)
            {
                EXPECT_EQ(strInnermost, test.m_pszFastInnermost);
                EXPECT_EQ(nCount, test.m_nFastCount);
            }
            else
            {
                EXPECT_EQ(strInnermost, test.m_pszInnermost);
                EXPECT_GT(nCount, 0);
            }
            EXPECT_EQ(RunImage(*pBasic, aGood), std::vector<std::string>()) << test.m_strSource;
            EXPECT_EQ(vars.GetValue("good%", nullptr)->GetLong(), 42);
        }
}

// A memory budget stops a string that doubles each pass soon after it passes the
// budget, and counts only what the run adds to what the store held before.
TEST(RunLoop, AMemoryBudgetEndsARunThatGrowsTooBig)
{
    const size_t nBudget = 1 << 20;
    std::vector<uint8_t> aDoubling, aSmall;
    ASSERT_EQ(CompileText("Sub Main\n s$ = \"x\"\n Do While 1\n  s$ = s$ + s$\n Loop\nEnd Sub\n", aDoubling),
              "");
    ASSERT_EQ(CompileText("Sub Main\n t% = 1\nEnd Sub\n", aSmall), "");
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.SetMemoryLimit(nBudget);
    std::vector<std::string> aTrail = RunImage(basic, aDoubling);
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0], "Die Werte des Laufs belegen mehr als 1048576 Bytes; der Lauf wurde abgebrochen.");
    size_t nLength = vars.GetValue("s$", nullptr)->GetTextLength();
    EXPECT_GE(nLength, nBudget / 4);
    EXPECT_LE(nLength, nBudget);
    vars.SetValuesFromString(("S:big$=" + std::string(3 * nBudget, 'b') + "\n").c_str());
    EXPECT_EQ(RunImage(basic, aSmall), std::vector<std::string>())
        << "the store's text before the run counts";
    basic.SetMemoryLimit(0);
    EXPECT_EQ(RunImage(basic, aSmall), std::vector<std::string>());
}

// A text built by appending to itself, in one part or several, grows in place: a
// budget of 4 MiB is reached within seconds either way (copying the whole text at
// each append would take minutes, and the stop request ends that), at the same pass.
TEST(RunLoop, ATextBuiltByAppendsReachesItsBudgetInLinearTimeEitherWay)
{
    const char* const apszAppends[] = {"s$ = s$ + p$", "s$ = s$ + \"Pos. \" + p$ + (i%) + \"; \""};
    for (const char* pszAppend : apszAppends)
    {
        std::vector<uint8_t> aImage;
        ASSERT_EQ(
            CompileText(std::string("Sub Main\n p$ = \"Artikel 4711, 3 Stueck zu 12,50 EUR\"\n For i% = 1 "
                                    "To 2000000\n  ") +
                            pszAppend + "\n Next i%\nEnd Sub\n",
                        aImage),
            "");
        long anPasses[2] = {};
        for (bool fFast : {true, false})
        {
            CLumVariables vars;
            CLumBasic basic(&vars, nullptr);
            basic.SetFastPaths(fFast);
            basic.SetMemoryLimit(4 << 20);
            std::atomic<bool> fDone{false};
            std::thread stopper([&] {
                for (int i = 0; i < 200 && !fDone; ++i)
                    std::this_thread::sleep_for(std::chrono::milliseconds(50));
                if (!fDone)
                    basic.RequestStop();
            });
            std::vector<std::string> aTrail = RunImage(basic, aImage);
            fDone = true;
            stopper.join();
            ASSERT_FALSE(aTrail.empty()) << pszAppend;
            EXPECT_EQ(aTrail[0],
                      "Die Werte des Laufs belegen mehr als 4194304 Bytes; der Lauf wurde abgebrochen.")
                << pszAppend << (fFast ? ", fast" : ", plain");
            anPasses[fFast] = vars.GetValue("i%", nullptr)->GetLong();
        }
        EXPECT_EQ(anPasses[0], anPasses[1]) << pszAppend;
    }
}

// A budget ends the run at the same statement either way, for every budget around the
// sizes involved: the constants the fast form converts when it first translates a
// statement count from the statement's turn, as on the stream, and a text parameter
// holds a copy with the room the head's handler gives it, not the room of the
// concatenation it was passed; a statement the fast form translated and then left to
// its handler is admitted by the handler's dispatch with those constants still ahead.
TEST(RunLoop, ABudgetEndsTheRunAtTheSameStatementEitherWay)
{
    const std::string astrSources[] = {
        "Sub Main\n s$ = \"" + std::string(220, '7') +
            "\"\n For i% = 1 To 20\n  s$ = s$ + \"0123456789\" + s$\n Next i%\nEnd Sub\n",
        "Declare Sub Keep(r$)\nSub Main\n s$ = \"" + std::string(300, '7') +
            "\"\n For i% = 1 To 20\n  Keep 1 + s$\n  s$ = s$ + \"0123456789\"\n Next i%\nEnd Sub\n"
            "Sub Keep(r$)\nEnd Sub\n",
        "Sub Main\n For i% = 1 To 20\n  Let (\"e\" + Str$(i% * 1000)) = i%\n Next i%\nEnd Sub\n"};
    for (size_t nBudget = 64; nBudget <= 2048; nBudget += 8)
        for (const std::string& strSource : astrSources)
        {
            std::vector<uint8_t> aImage;
            ASSERT_EQ(CompileText(strSource, aImage), "");
            std::string astrEnd[2];
            for (bool fFast : {true, false})
            {
                CLumVariables vars;
                CLumBasic basic(&vars, nullptr);
                basic.SetFastPaths(fFast);
                basic.SetMemoryLimit(nBudget);
                basic.SetStatementLimit(100000); // statements counted as well, as hosts bound runs
                std::vector<std::string> aTrail = RunImage(basic, aImage);
                astrEnd[fFast] = (aTrail.empty() ? std::string("no failure") : aTrail[0]) + " after " +
                                 std::to_string(basic.GetStatementCount()) + " statements";
            }
            ASSERT_EQ(astrEnd[1], astrEnd[0]) << "budget " << nBudget;
        }
}
