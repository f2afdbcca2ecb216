// The limits of nesting and of open calls, right at their boundary: one step below
// runs, the limit itself fails with its own message.
#include "tests/LumCompilerTestSupport.h"

#include <pthread.h>

using namespace lumtest;

namespace
{
// Runs `strSource` with depth% set, on a thread whose stack is large enough that only
// the counted limits can stop it; gives the trail's first entry, or r% after success.
std::string RunAtDepth(const std::string& strSource, long nDepth)
{
    struct Job
    {
        std::vector<uint8_t> m_aImage;
        long m_nDepth;
        std::string m_strResult;
    } job{{}, nDepth, {}};
    EXPECT_EQ(CompileText(strSource, job.m_aImage), "");
    auto run = [](void* p) -> void* {
        Job& j = *static_cast<Job*>(p);
        CLumVariables vars;
        vars.SetValuesFromString(("L:depth%=" + std::to_string(j.m_nDepth) + "\n").c_str());
        CLumBasic basic(&vars, nullptr);
        std::vector<std::string> aTrail = RunImage(basic, j.m_aImage);
        j.m_strResult = aTrail.empty() ? vars.GetValue("r%", nullptr)->GetText() : aTrail[0];
        return nullptr;
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t(1) << 30);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attr, run, &job), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    return job.m_strResult;
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
