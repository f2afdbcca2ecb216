// A host that runs one image on several threads at once, each run with a store and an
// interpreter of its own, made and destroyed while the other threads run. Built with
// LUM_SANITIZE=thread, any data race between the runs fails the test.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumBasicExtModul.h>
#include <lumbasic/LumCompile.h>
#include <lumbasic/LumMessageBox.h>

#include "core/LumFreeList.h"
#include "res/LumMessages.h"

#include <atomic>
#include <thread>

using namespace lumtest;

namespace
{
// Note s$ keeps s$; Twice(n%) gives 2 * n%. Created by name from the registry in each
// run, while the other threads look it up too.
class CParallelModul : public CLumBasicExtModul
{
    LUM_DECLARE_DYNCREATE(CParallelModul)

public:
    std::string m_strNoted;

protected:
    int DispatchToken(unsigned short wToken) override
    {
        if (wToken != 0x2183)
            return 1;
        m_strNoted += std::unique_ptr<CLumsVarValue>(GetArg(CLumBasic::AT_STRING, 1))->GetText();
        return 0;
    }
    CLumsVarValue* ExtFunction(unsigned short wToken) override
    {
        if (wToken != 0x2184)
            return nullptr;
        return new CLumsVarValue(2L *
                                 std::unique_ptr<CLumsVarValue>(GetArg(CLumBasic::AT_LONG, 1))->GetLong());
    }
};
LUM_IMPLEMENT_DYNCREATE(CParallelModul, CLumBasicExtModul)
CLumBasicExtMeta s_cParallelMeta(*LUM_RUNTIME_CLASS(CParallelModul));

// An interpreter in debug mode: without a window its debugger stops nowhere, but its
// run hands every line to it and must leave the process's master switch alone.
class CDebugModeBasic : public CLumBasic
{
public:
    explicit CDebugModeBasic(CLumVariables* pVariables) : CLumBasic(pVariables, nullptr) { SetDebugMode(1); }
};

const char* const LIBRARY = "Function Tri%(n%)\n"
                            "    If n% < 1 Then Tri% = 0 Else Tri% = n% + Tri%(n% - 1)\n"
                            "End Function\n";

// mode% 0 succeeds, 1 divides by zero, 2 runs into the statement limit, 3 into the
// memory limit. The label reads the null values of all three types. Cube is a
// function the runs without the module register.
const char* const PROGRAM =
    "Declare Function Tri%(n%)\n"
    "Sub Main\n"
    "    Dim squares%(100)\n"
    "    Import dir$ + \"lib.lbc\"\n"
    "    For i% = 1 To n%\n"
    "        sum% = sum% + Tri%(i%)\n"
    "        squares%(i%) = i% * i%\n"
    "        text$ = text$ + Chr$(64 + i%)\n"
    "    Next i%\n"
    "    label$ = \"n\" + n% + \" \" + unset + \" \" + unset% + \" \" + squares%(99) + unset$\n"
    "    If modules% Then\n"
    "        Note label$\n"
    "        doubled% = Twice(sum%)\n"
    "    Else\n"
    "        cubed% = Cube(n%)\n"
    "    End If\n"
    "    If mode% = 1 Then share = sum% / (n% - n%)\n"
    "    While mode% = 2\n"
    "        spin% = spin% + 1\n"
    "    Wend\n"
    "    big$ = \"x\"\n"
    "    While mode% = 3\n"
    "        big$ = big$ + big$\n"
    "    Wend\n"
    "    ShowMessage \"Lauf\", label$, 0\n"
    "End Sub\n";

constexpr int THREADS = 4;
constexpr int RUNS = 32;
constexpr unsigned long STATEMENT_LIMIT = 100000;
constexpr unsigned long MEMORY_LIMIT = 1 << 16;

struct SRun
{
    int m_nThread;
    int m_nRun;
    int Mode() const { return m_nRun % 4; }
    long N() const { return 5 + (m_nRun + m_nThread) % 10; }
    bool Modules() const { return m_nThread % 2 == 1; }
    bool FromFile() const { return (m_nRun / 4) % 2 == 1; }
    bool Debugged() const { return m_nRun % 3 == 1; }
};

// What one run left, checked against what it must have left; gives the first
// difference, empty when there is none.
std::string Check(const SRun& run, CLumVariables& vars, const std::vector<std::string>& aTrail,
                  const CParallelModul* pModul)
{
    static const std::string FAILURE[] = {
        "", "Division durch Null.", LumFormatForTest(LoadMessage(LUM_MSG_STATEMENT_LIMIT), STATEMENT_LIMIT),
        LumFormatForTest(LoadMessage(LUM_MSG_MEMORY_LIMIT), MEMORY_LIMIT)};
    long nSum = 0;
    std::string strText;
    for (long i = 1; i <= run.N(); ++i)
        nSum += i * (i + 1) / 2, strText += static_cast<char>(64 + i);
    std::string strLabel = "n" + std::to_string(run.N()) + " 0.000000 0 0";
    long aLast[CLumVariables::MAX_INDICES] = {run.N()};
    auto text = [&vars](const char* pszName, const long* pIndices = nullptr) {
        return std::string(vars.GetValue(pszName, pIndices)->GetText());
    };
    const std::pair<std::string, std::string> aChecks[] = {
        {"failure", aTrail.empty() ? "" : aTrail[0]},
        {"sum%", text("sum%")},
        {"text$", text("text$")},
        {"squares%", text("squares%", aLast)},
        {"label$", text("label$")},
        {"doubled%", text("doubled%")},
        {"cubed%", text("cubed%")},
        {"noted", pModul != nullptr ? pModul->m_strNoted : ""},
        {"unset", text("unset") + text("unset%") + "|" + text("unset$") + "|"},
    };
    const std::string aExpected[] = {
        FAILURE[run.Mode()],
        std::to_string(nSum),
        strText,
        std::to_string(run.N() * run.N()),
        strLabel,
        run.Modules() ? std::to_string(2 * nSum) : "0",
        run.Modules() ? "0" : std::to_string(run.N() * run.N() * run.N()),
        run.Modules() ? strLabel : "",
        "0.0000000||",
    };
    for (size_t n = 0; n < std::size(aChecks); ++n)
        if (aChecks[n].second != aExpected[n])
            return "thread " + std::to_string(run.m_nThread) + " run " + std::to_string(run.m_nRun) + ": " +
                   aChecks[n].first + " is '" + aChecks[n].second + "', not '" + aExpected[n] + "'";
    return "";
}

void RegisterCube(CLumBasic& basic)
{
    basic.RegisterFunction("Cube", 1, [](CLumHostArgs& args) {
        long n = args.GetLong(1);
        return CLumsVarValue(n * n * n);
    });
}

// PROGRAM with the module's names and Cube.
std::vector<uint8_t> CompiledProgram()
{
    SLumCompileSettings settings;
    settings.m_strExtensions = "statement Note 0x2183\nfunction Twice 0x2184\n";
    CLumBasic compiler;
    RegisterCube(compiler);
    return LumCompile(PROGRAM, compiler, settings);
}

std::string RunOnce(const SRun& run, const std::vector<uint8_t>& aImage, const std::string& strImage,
                    const CImageDir& dir)
{
    CLumVariables vars;
    vars.SetValuesFromString(("S:dir$=" + dir.Dir() + "/\nL:n%=" + std::to_string(run.N()) +
                              "\nL:mode%=" + std::to_string(run.Mode()) +
                              "\nL:modules%=" + std::to_string(run.Modules()) + "\n")
                                 .c_str());
    std::unique_ptr<CLumBasic> pBasic(run.Debugged() ? new CDebugModeBasic(&vars)
                                                     : new CLumBasic(&vars, nullptr));
    CLumBasic& basic = *pBasic;
    CParallelModul* pModul = nullptr;
    if (run.Modules())
    {
        pModul = dynamic_cast<CParallelModul*>(CLumBasicExtMeta::CreateExtModule("CParallelModul"));
        basic.LoadExtModul(pModul);
    }
    else
        RegisterCube(basic);
    if (run.Mode() == 2)
        basic.SetStatementLimit(STATEMENT_LIMIT);
    if (run.Mode() == 3)
        basic.SetMemoryLimit(MEMORY_LIMIT);
    std::vector<std::string> aTrail;
    try
    {
        if (run.FromFile())
            basic.Do(strImage.c_str());
        else
            basic.DoMemory(aImage.data(), aImage.size());
    }
    catch (const CLumsException& e)
    {
        aTrail = e.GetTrail();
    }
    return Check(run, vars, aTrail, pModul);
}
} // namespace

TEST(ParallelHost, InterpretersWithStoresOfTheirOwnRunOneImageAtOnce)
{
    CImageDir dir;
    dir.Save("lib.lbc", LumCompile(LIBRARY));
    const std::vector<uint8_t> aImage = CompiledProgram();
    const std::string strImage = dir.Save("main.lbc", aImage);

    std::atomic<int> nBoxes{0};
    LumMessageBoxFunction fnBefore =
        LumSetMessageBox([&nBoxes](const char*, const char*, long) { return ++nBoxes, 1; });
    std::vector<std::string> aFailures(THREADS);
    std::vector<std::thread> aThreads;
    for (int t = 0; t < THREADS; ++t)
        aThreads.emplace_back([&, t] {
            for (int r = 0; r < RUNS && aFailures[t].empty(); ++r)
                aFailures[t] = RunOnce(SRun{t, r}, aImage, strImage, dir);
        });
    for (std::thread& thread : aThreads)
        thread.join();
    LumSetMessageBox(std::move(fnBefore));

    EXPECT_EQ(aFailures, std::vector<std::string>(THREADS));
    EXPECT_EQ(nBoxes, THREADS * RUNS / 4);
    EXPECT_EQ(CLumBasicDebugger::m_fDebug, 0);
}

// A host that starts a thread for each run: what an ended thread's runs freed serves
// the threads after it, so the memory the values take does not grow with the runs.
TEST(ParallelHost, AThreadForEachRunReusesWhatEndedThreadsFreed)
{
    CImageDir dir;
    dir.Save("lib.lbc", LumCompile(LIBRARY));
    const std::vector<uint8_t> aImage = CompiledProgram();
    auto RunOnThread = [&](int nRun) {
        std::string strFailure;
        std::thread([&] { strFailure = RunOnce(SRun{0, 8 * nRun}, aImage, "", dir); }).join();
        return strFailure;
    };
    ASSERT_EQ(RunOnThread(0), "");
    size_t nBlocks = CLumFreeList<sizeof(CLumsVarValue)>::GetBlockCount();
    for (int i = 1; i < 40; ++i)
        ASSERT_EQ(RunOnThread(i), "");
    EXPECT_EQ(CLumFreeList<sizeof(CLumsVarValue)>::GetBlockCount(), nBlocks);
}

// A store's elements get their keys' bytes when first listed: threads that list one
// store at once, while none changes it, all see every key, as one thread alone does.
TEST(ParallelHost, ThreadsListOneStoreAtOnce)
{
    CLumVariables vars;
    vars.SetValuesFromString("L:n%=3000\n");
    CLumBasic basic(&vars, nullptr);
    const std::vector<uint8_t> aImage = LumCompile("Sub Main\n"
                                                   "    Dim a(1), t$(1)\n"
                                                   "    For i% = 1 To n%\n"
                                                   "        a(i%) = i%: t$(n% - i% + 1) = Str$(i%)\n"
                                                   "    Next i%\n"
                                                   "End Sub\n");
    basic.DoMemory(aImage.data(), aImage.size());
    const CLumVariables& store = vars;
    std::vector<std::string> aDumps(4);
    std::vector<std::thread> aThreads;
    for (std::string& strDump : aDumps)
        aThreads.emplace_back([&store, &strDump] { store.MakeString(&strDump); });
    for (std::thread& thread : aThreads)
        thread.join();
    std::string strAlone;
    store.MakeString(&strAlone);
    EXPECT_EQ(aDumps, std::vector<std::string>(4, strAlone));
    EXPECT_NE(strAlone.find("D:a:3000=3000.000000\nS:t$:1=3000\n"), std::string::npos)
        << strAlone.substr(0, 200);
}
