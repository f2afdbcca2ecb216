// The limits of nesting and of open calls, right at their boundary: one step below
// runs, the limit itself fails with its own message.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <pthread.h>

#include <functional>

using namespace lumtest;

namespace
{
// Runs `job` on a thread whose stack is large enough that only the counted limits can
// stop a run, even in a sanitized build.
void OnLargeStack(const std::function<void()>& job)
{
    auto run = [](void* p) -> void* {
        (*static_cast<const std::function<void()>*>(p))();
        return nullptr;
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t(1) << 30);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attr, run, const_cast<std::function<void()>*>(&job)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
}

// Runs `strSource` with depth% set; gives the trail's first entry, or r% after success.
std::string RunAtDepth(const std::string& strSource, long nDepth)
{
    std::vector<uint8_t> aImage;
    EXPECT_EQ(CompileText(strSource, aImage), "");
    std::string strResult;
    OnLargeStack([&] {
        CLumVariables vars;
        vars.SetValuesFromString(("L:depth%=" + std::to_string(nDepth) + "\n").c_str());
        CLumBasic basic(&vars, nullptr);
        std::vector<std::string> aTrail = RunImage(basic, aImage);
        strResult = aTrail.empty() ? vars.GetValue("r%", nullptr)->GetText() : aTrail[0];
    });
    return strResult;
}
} // namespace

TEST(Limit, NestedRunsReachTheirLimitAndNoMore)
{
    // Sub Main's run, then one run per activation of F%: depth + 2 runs.
    const std::string strSource =
        "Declare Function F%(n%)\n"
        "Sub Main\n  r% = F%(depth%)\nEnd Sub\n"
        "Function F%(n%)\n  F% = 0\n  If n% > 0 Then F% = F%(n% - 1) + 1\nEnd Function\n";
    EXPECT_EQ(RunAtDepth(strSource, CLumBasic::MAX_NESTING - 2), std::to_string(CLumBasic::MAX_NESTING - 2));
    EXPECT_EQ(
        RunAtDepth(strSource, CLumBasic::MAX_NESTING - 1),
        "Die Schachtelungstiefe von 2000 verschachtelten Läufen ist überschritten (Rekursion ohne Ende?).");
}

// The main thread's stack, found without the list of mappings: a stack limit far
// smaller than the counted limit needs stops the recursion cleanly.
TEST(Limit, TheMainThreadsStackStopsARecursionCleanly)
{
    CImageDir dir;
    std::ofstream(dir.Path("deep.lbd"))
        << "Declare Function F%(n%)\n"
           "Sub Main\n  r% = F%(1990)\nEnd Sub\n"
           "Function F%(n%)\n  F% = 0\n  If n% > 0 Then F% = F%(n% - 1) + 1\nEnd Function\n";
    std::string strCommand = "cd '" + dir.Dir() +
                             "' && ulimit -s 1024 && '" LUM_CLI_PATH
                             "' run deep.lbd </dev/null >cli.out 2>cli.err";
    int nStatus = std::system(strCommand.c_str());
    ASSERT_TRUE(WIFEXITED(nStatus)) << dir.Read("cli.err");
    EXPECT_EQ(WEXITSTATUS(nStatus), 1);
    EXPECT_NE(dir.Read("cli.err").find(": Die Schachtelungstiefe von "), std::string::npos)
        << dir.Read("cli.err");
}

TEST(Limit, OpenCallsReachTheirLimitAndNoMore)
{
    // Calls are jumps: no run nests, and no If stays open, so only the calls count.
    // Main's call of P, one per level and the last one into Q: depth + 2 open calls.
    const std::string strSource = "Declare Sub P(n%)\nDeclare Sub Q(n%)\n"
                                  "Sub Main\n  P depth%\n  r% = 1\nEnd Sub\n"
                                  "Sub P(n%)\n  CallEx Mid$(\"QP\", Sgn(n%), 1), n% - 1\nEnd Sub\n"
                                  "Sub Q(n%)\nEnd Sub\n";
    EXPECT_EQ(RunAtDepth(strSource, CLumBasic::MAX_CALL_DEPTH - 2), "1");
    EXPECT_EQ(RunAtDepth(strSource, CLumBasic::MAX_CALL_DEPTH - 1),
              "Mehr als 100000 Prozeduraufrufe sind gleichzeitig offen (Rekursion ohne Ende?).");
}

// The nesting limit of expressions, where functions run whole and statements that only
// compute meet it: each argument of a call and a built-in's argument is an expression of
// its own. The run fails at the same statement, with the same trail and store, the fast
// way and the plain way.
TEST(Limit, TheNestingOfExpressionsFailsAtTheSameStatementEitherWay)
{
    struct Case
    {
        const char* m_pszSource;
        const char* m_pszLine;  // of the trail
        const char* m_pszStore; // a line of the store
    } const aCases[] = {
        // Warmed up, then run whole: three expressions for each level of F.
        {"Sub Main\n x = F(1)\n x = F(1)\n x = F(1)\n x = F(1700)\nEnd Sub\n"
         "Function F(d%)\n If d% > 0 Then\n  F = F(F(F(d% - 1) * 0) * 0) + 1\n Else\n  F = 0\n End If\n"
         "End Function\n",
         "Der Fehler trat in Zeile 9 der Quelldatei auf.", "L:@F@d%=34"},
        // Abs's argument is the expression one past the limit, in the line before the calls.
        {"Sub Main\n x = F(0)\nEnd Sub\nFunction F(d%)\n y = Abs(d%)\n F = F(F(F(d% + 1)))\nEnd Function\n",
         "Der Fehler trat in Zeile 5 der Quelldatei auf.", "D:y=1665.000000"},
    };
    for (const Case& c : aCases)
    {
        std::vector<uint8_t> aImage;
        ASSERT_EQ(CompileText(c.m_pszSource, aImage), "");
        std::string aOutcome[2];
        OnLargeStack([&] {
            for (bool fStream : {false, true})
                aOutcome[fStream] = RunOutcome(aImage, fStream);
        });
        EXPECT_EQ(aOutcome[0], aOutcome[1]) << c.m_pszSource;
        for (const char* pszWanted :
             {"Der Ausdruck ist tiefer als 5000 Ebenen verschachtelt.", c.m_pszLine, c.m_pszStore})
            EXPECT_NE(aOutcome[0].find(pszWanted), std::string::npos) << pszWanted << "\n" << aOutcome[0];
    }
}
