// Extension modules: the registry of module classes, the base class's refusals, the
// chain of an interpreter (order, claims, hooks, failures, unload, imports) and the
// command line's --module.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <lumbasic/LumBasicExtModul.h>

#include "res/LumMessages.h"

#include <optional>
#include <thread>

using namespace lumtest;

namespace
{
constexpr unsigned short TOKEN_BEEP = 0x2083;
constexpr unsigned short TOKEN_FAIL = 0x2183;
constexpr unsigned short TOKEN_TWICE = 0x2084;
const char* const TABLE = "statement Beep 0x2083\nstatement Fail 0x2183\nfunction Twice 0x2084\n";

std::string Hex(unsigned short w)
{
    char sz[8];
    snprintf(sz, sizeof sz, "%x", w);
    return sz;
}

// Logs what reaches it as "NAME:event"; a claiming module takes Beep, Fail and Twice.
class CTestModul : public CLumBasicExtModul
{
    LUM_DECLARE_DYNCREATE(CTestModul)

public:
    CTestModul() = default;
    CTestModul(std::vector<std::string>* pLog, std::string strName, bool fClaims = false, int nHook = 1)
        : m_pLog(pLog), m_strName(std::move(strName)), m_fClaims(fClaims), m_nHook(nHook)
    {
    }
    ~CTestModul() override { Log(GetBasisModul() != nullptr ? "~attached" : "~detached"); }
    CLumBasic* Defined() const { return GetDefinedBasisModul(); }

protected:
    int PreRunLoop() override { return Log("pre"), m_nHook; }
    int PostRunLoop() override { return Log("post"), m_nHook; }
    int DispatchToken(unsigned short wToken) override
    {
        std::string strEntry = Hex(wToken);
        if (m_fClaims && wToken == TOKEN_FAIL)
            SetParm("colour", "red");
        if (!m_fClaims || wToken != TOKEN_BEEP)
            return Log(strEntry), 1;
        for (int n = 1; HasArg(); ++n)
            strEntry +=
                " " + std::string(std::unique_ptr<CLumsVarValue>(GetArg(CLumBasic::AT_ANY, n))->GetText());
        return Log(strEntry), 0;
    }
    CLumsVarValue* ExtFunction(unsigned short wToken) override
    {
        Log("f" + Hex(wToken));
        if (!m_fClaims || wToken != TOKEN_TWICE)
            return nullptr;
        std::unique_ptr<CLumsVarValue> pArg(GetArg(CLumBasic::AT_LONG, 1));
        return new CLumsVarValue(2L * pArg->GetLong());
    }

private:
    void Log(const std::string& str) const
    {
        if (m_pLog != nullptr)
            m_pLog->push_back(m_strName + ":" + str);
    }
    std::vector<std::string>* m_pLog = nullptr;
    std::string m_strName;
    bool m_fClaims = false;
    int m_nHook = 1;
};
LUM_IMPLEMENT_DYNCREATE(CTestModul, CLumBasicExtModul)

// Two classes under one name text, and a creatable class that is no module.
class CTwinOld : public CLumBasicExtModul
{
};
class CTwinNew : public CLumBasicExtModul
{
};
class CNotAModul : public CLumObject
{
};
const CLumRuntimeClass s_cTwinOld = {"CTwin", 0xFFFF, LUM_RUNTIME_CLASS(CLumBasicExtModul), [] {
                                         return static_cast<CLumObject*>(new CTwinOld);
                                     }};
const CLumRuntimeClass s_cTwinNew = {"CTwin", 0xFFFF, LUM_RUNTIME_CLASS(CLumBasicExtModul), [] {
                                         return static_cast<CLumObject*>(new CTwinNew);
                                     }};
const CLumRuntimeClass s_cNotAModul = {"CNotAModul", 0xFFFF, LUM_RUNTIME_CLASS(CLumObject), [] {
                                           return new CLumObject;
                                       }};
CLumBasicExtMeta s_cTestMeta(*LUM_RUNTIME_CLASS(CTestModul));
CLumBasicExtMeta s_cTwinOldMeta(s_cTwinOld);
CLumBasicExtMeta s_cTwinNewMeta(s_cTwinNew);
CLumBasicExtMeta s_cNotAModulMeta(s_cNotAModul);

// Gives tests the chain's protected walkers and a way to damage the list.
class CProbeBasic : public CLumBasic
{
public:
    using CLumBasic::PostRunLoopEM;
    using CLumBasic::PreRunLoopEM;
    void InsertHole(size_t nAt) { m_pExtModuls->insert(m_pExtModuls->begin() + nAt, nullptr); }
};

std::vector<uint8_t> Compiled(const std::string& strSource)
{
    CLumExtensionTable table;
    CLumDiagnostics diagnostics;
    table.Parse(TABLE, diagnostics);
    SLumCompileOptions options;
    options.m_pExtensions = &table;
    options.m_fLineMarkers = false;
    std::vector<uint8_t> aImage;
    EXPECT_EQ(CompileText(strSource, aImage, options), "") << strSource;
    return aImage;
}

using Trail = std::vector<std::string>;
} // namespace

TEST(ExtMeta, CreatesOnlyModulesOfRegisteredNamesAndTheNewestOfTwins)
{
    for (const char* pszName : {"CNope", "ctestmodul", "CLumBasicExtModul", "CNotAModul", ""})
    {
        EXPECT_EQ(CLumBasicExtMeta::CreateExtModule(pszName), nullptr) << pszName;
        EXPECT_EQ(CLumBasicExtModul::CreateInstance(pszName), nullptr) << pszName;
    }
    EXPECT_EQ(CLumBasicExtModul::CreateInstance(nullptr), nullptr);
    std::unique_ptr<CLumBasicExtModul> pTwin(CLumBasicExtModul::CreateInstance("CTwin"));
    EXPECT_NE(dynamic_cast<CTwinNew*>(pTwin.get()), nullptr);
    std::unique_ptr<CLumBasicExtModul> pTest(CLumBasicExtMeta::CreateExtModule("CTestModul"));
    ASSERT_NE(pTest, nullptr);
    EXPECT_STREQ(pTest->GetRuntimeClass()->m_lpszClassName, "CTestModul");
    EXPECT_EQ(pTest->GetBasisModul(), nullptr);
}

TEST(ExtMeta, RegistersAndLooksUpFromSeveralThreadsAtOnce)
{
    constexpr int THREADS = 4, RECORDS = 50;
    // Records must outlive every lookup, so they live as long as the process.
    static std::string s_aNames[THREADS][RECORDS];
    static CLumRuntimeClass s_aClasses[THREADS][RECORDS];
    static std::optional<CLumBasicExtMeta> s_aMeta[THREADS][RECORDS];
    std::vector<std::thread> aThreads;
    std::vector<int> aFound(THREADS, 0);
    for (int t = 0; t < THREADS; ++t)
        aThreads.emplace_back([t, &aFound] {
            for (int r = 0; r < RECORDS; ++r)
            {
                s_aNames[t][r] = "CThread" + std::to_string(t) + "_" + std::to_string(r);
                s_aClasses[t][r] = *LUM_RUNTIME_CLASS(CTestModul);
                s_aClasses[t][r].m_lpszClassName = s_aNames[t][r].c_str();
                s_aMeta[t][r].emplace(s_aClasses[t][r]);
                std::unique_ptr<CLumBasicExtModul> pModul(
                    CLumBasicExtMeta::CreateExtModule(s_aNames[t][r].c_str()));
                aFound[t] += pModul != nullptr;
                delete CLumBasicExtMeta::CreateExtModule("CTestModul");
            }
        });
    for (std::thread& thread : aThreads)
        thread.join();
    EXPECT_EQ(aFound, std::vector<int>(THREADS, RECORDS));
    size_t nThreadClasses = 0;
    for (const CLumRuntimeClass* pClass : CLumBasicExtMeta::GetRegisteredClasses())
        nThreadClasses += strncmp(pClass->m_lpszClassName, "CThread", 7) == 0;
    EXPECT_EQ(nThreadClasses, size_t(THREADS * RECORDS));
}

TEST(ExtModul, TheBaseClassRefusesEverySettingAndNamesTheClassThatLacksAnInterpreter)
{
    const char* const FRAME[] = {"LUMBASICEXTMODUL", "CLumBasicExtModul::SetParm"};
    const struct
    {
        const char* m_pszName;
        const char* m_pszValue;
        std::string m_strDetail;
    } aCases[] = {
        {"colour", "red", "Der Parameter <colour> konnte nicht mit dem Wert <red> versorgt werden!"},
        {nullptr, "red", "Als Parametername darf kein NULL-Zeiger uebergeben werden!"},
        {nullptr, nullptr, "Als Parametername darf kein NULL-Zeiger uebergeben werden!"},
        {"colour", nullptr, "Als Parameterwert darf kein NULL-Zeiger uebergeben werden!"},
    };
    CLumBasicExtModul base;
    for (const auto& c : aCases)
        EXPECT_EQ(TrailOf([&] { base.SetParm(c.m_pszName, c.m_pszValue); }),
                  (Trail{LoadMessage(LUM_MSG_UNEXPECTED), FRAME[0], FRAME[1], c.m_strDetail}));
    EXPECT_EQ(base.GetParm("colour"), nullptr);
    EXPECT_EQ(base.GetParm(nullptr), nullptr);

    CTestModul modul;
    EXPECT_EQ(TrailOf([&] { modul.Defined(); }),
              (Trail{"Dem Extentionmodul \"CTestModul\" wurde kein Basismodul mitgeteilt!",
                     "LUMBASICEXTMODUL", "CLumBasicExtModul::GetDefinedBasisModul"}));
    CLumBasic basic;
    modul.SetBasisModul(&basic);
    EXPECT_EQ(modul.Defined(), &basic);
    modul.SetBasisModul(nullptr);
}

TEST(ExtChain, ModulesSeeEveryStatementInLoadOrderAndTheFirstClaimEndsTheWalk)
{
    std::vector<std::string> log;
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    for (auto [pszName, fClaims] : {std::pair{"A", false}, {"B", true}, {"C", true}})
        EXPECT_EQ(basic.LoadExtModul(new CTestModul(&log, pszName, fClaims)), 1);
    EXPECT_EQ(RunImage(basic, Compiled("Sub Main\n  x% = Twice(21)\n  Beep x%, \"a\"\nEnd Sub\n")), Trail{});
    EXPECT_EQ(StoreLines(vars), Trail{"L:x%=42"});
    EXPECT_EQ(log, (Trail{"A:pre", "B:pre", "C:pre", "A:a81", "B:a81", "C:a81", "A:183", "B:183", "C:183",
                          "A:f2084", "B:f2084", "A:2083", "B:2083 42 a", "A:483", "B:483", "C:483", "A:post",
                          "B:post", "C:post"}));
}

TEST(ExtChain, HooksAllRunAndAHoleInTheListFailsOnlyBeforeTheEnd)
{
    std::vector<std::string> log;
    CProbeBasic basic;
    basic.LoadExtModul(new CTestModul(&log, "A", false, 0));
    basic.LoadExtModul(new CTestModul(&log, "B", false, 1));
    EXPECT_EQ(basic.PreRunLoopEM(), 0);
    EXPECT_EQ(basic.PostRunLoopEM(), 0);
    EXPECT_EQ(log, (Trail{"A:pre", "B:pre", "A:post", "B:post"}));

    basic.InsertHole(2);
    EXPECT_EQ(basic.PostRunLoopEM(), 0);
    basic.InsertHole(1);
    EXPECT_EQ(TrailOf([&] { basic.PreRunLoopEM(); }),
              (Trail{Message(LUM_MSG_EXT_LIST_BROKEN, "CLumBasic::PreRunLoopEM"), "LUMBASICEXTMODULCLASS",
                     "CLumBasic::PreRunLoopEM"}));
}

TEST(ExtChain, AFailureInAModuleCarriesTheChainsLabelsSkipsThePostHooksAndLeavesTheChainForTheNextRun)
{
    std::vector<std::string> log;
    CLumBasic basic;
    basic.LoadExtModul(new CTestModul(&log, "A", true));
    Trail trail = RunImage(basic, Compiled("Sub Main\n  Fail\nEnd Sub\n"));
    EXPECT_EQ(trail, (Trail{LoadMessage(LUM_MSG_UNEXPECTED), "LUMBASICEXTMODUL", "CLumBasicExtModul::SetParm",
                            Message(LUM_MSG_EXT_PARM_REFUSED, "colour", "red"), "LUMBASICEXTMODULCLASS",
                            "CLumBasic::DispatchTokenEM", "LUMBASIC", "CLumBasic::DispatchToken()",
                            "LUMBASIC", "CLumBasic::RunLoop()", "LUMBASIC", "CLumBasic::Do()"}));
    EXPECT_EQ(log, (Trail{"A:pre", "A:a81"}));
    log.clear();
    EXPECT_EQ(RunImage(basic, Compiled("Sub Main\n  Beep\nEnd Sub\n")), Trail{});
    EXPECT_EQ(log, (Trail{"A:pre", "A:a81", "A:2083", "A:483", "A:post"}));
}

TEST(ExtChain, UnloadDetachesAllThenDeletesInLoadOrderAndFindsNothingAfterwards)
{
    std::vector<std::string> log;
    {
        CLumBasic basic;
        EXPECT_EQ(TrailOf([&] { basic.LoadExtModul(nullptr); }),
                  (Trail{Message(LUM_MSG_NULL_ARGUMENT, "CLumBasic::LoadExtModul",
                                 "CLumBasicExtModul *pExtModul", "NULL"),
                         "LUMBASICEXTMODULCLASS", "CLumBasic::LoadExtModul"}));
        CTestModul* pFirst = new CTestModul(&log, "A");
        basic.LoadExtModul(pFirst);
        basic.LoadExtModul(new CTestModul(&log, "B"));
        EXPECT_EQ(basic.LoadExtModulesFromIni("modules.ini"), 1);
        EXPECT_EQ(basic.GetExtModul("CTestModul"), pFirst);
        EXPECT_EQ(pFirst->GetBasisModul(), &basic);
        EXPECT_EQ(basic.UnLoadAllExtModuls(), 1);
        EXPECT_EQ(log, (Trail{"A:~detached", "B:~detached"}));
        EXPECT_EQ(basic.UnLoadAllExtModuls(), 1);
        EXPECT_EQ(TrailOf([&] { basic.GetExtModul("CTestModul"); }),
                  (Trail{"Das Erweiterungsmodul CTestModul wurde nicht gefunden!", "LUMBASICEXTMODULCLASS",
                         "CLumBasic::GetExtModul"}));
        basic.LoadExtModul(new CTestModul(&log, "C"));
    }
    EXPECT_EQ(log.back(), "C:~detached");
}

TEST(ExtChain, AnImportedProgramRunsWithoutTheImportersModules)
{
    CImageDir dir;
    std::string strLibrary = dir.Save("beeps.lbc", Compiled("Sub Main\n  Beep\nEnd Sub\n"));
    std::vector<std::string> log;
    CLumBasic basic;
    basic.LoadExtModul(new CTestModul(&log, "A", true));
    Trail trail = RunImage(basic, Compiled("Sub Main\n  Import \"" + strLibrary + "\"\nEnd Sub\n"));
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], Message(LUM_MSG_UNKNOWN_TOKEN, unsigned{TOKEN_BEEP}));
    EXPECT_NE(std::find(trail.begin(), trail.end(), Message(LUM_MSG_IMPORTED_MACRO, strLibrary.c_str())),
              trail.end());
    EXPECT_EQ(log, (Trail{"A:pre", "A:a81", "A:1181"}));
}

TEST(ModuleCli, TheConsoleModuleRunsAProgramAndEachLoadFailureStopsBeforeTheRun)
{
    CImageDir dir;
    const std::string strModule = LUM_CONSOLE_MODULE;
    const std::string strProgram =
        " --extensions " LUM_SOURCE_DIR "/examples/modules/console.ext " LUM_SOURCE_DIR
        "/examples/modules/hello.lbd";
    CliResult ok = RunCli(dir, "run --module " + strModule + strProgram);
    EXPECT_EQ(ok.m_nStatus, 0) << ok.m_strErr;
    EXPECT_EQ(ok.m_strOut, "Hello, world\n1 + ... + 5 = 15\n");
    CliResult set =
        RunCli(dir, "run --module " + strModule + ":CConsoleModul --set 'separator=; '" + strProgram);
    EXPECT_EQ(set.m_strOut, "Hello,; world\n1 + ... + 5 =; 15\n");

    const struct
    {
        std::string m_strModule;
        const char* m_pszError;
    } aFailures[] = {
        {"missing.so", "lumbasic: cannot load the module library missing.so: "},
        {strModule + ":CConsoleModul,CNope", "lumbasic: no module class CNope is registered ("},
        {LUM_LIBRARY, "registers no module class\n"},
        {strModule + " --set colour=red", "Der Parameter <colour> konnte nicht mit dem Wert <red>"},
    };
    for (const auto& failure : aFailures)
    {
        CliResult o = RunCli(dir, "run --module " + failure.m_strModule + strProgram);
        EXPECT_EQ(o.m_nStatus, 1) << failure.m_strModule;
        EXPECT_EQ(o.m_strOut, "") << failure.m_strModule;
        EXPECT_NE(o.m_strErr.find(failure.m_pszError), std::string::npos) << o.m_strErr;
    }
    for (const char* pszArgs :
         {"run --set a=b x.lbd", "run --module lib.so: x.lbd", "run --module lib.so --set =b x.lbd"})
        EXPECT_EQ(RunCli(dir, pszArgs).m_nStatus, 2) << pszArgs;
}

TEST(ExtChain, AModuleStatementInALoopLeavesEveryStatementToTheModules)
{
    std::vector<std::string> log;
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.LoadExtModul(new CTestModul(&log, "A", true));
    EXPECT_EQ(
        RunImage(basic,
                 Compiled("Sub Main\n For i% = 1 To 3\n  s% = s% + i%\n  Beep s%\n Next i%\nEnd Sub\n")),
        Trail{});
    EXPECT_EQ(StoreLines(vars), (Trail{"L:i%=4", "L:s%=6"}));
    // Sub, For, and each pass's assignment, Beep and Next, none of them left out.
    EXPECT_EQ(log, (Trail{"A:pre", "A:a81", "A:481", "A:183", "A:2083 1", "A:781", "A:183", "A:2083 3",
                          "A:781", "A:183", "A:2083 6", "A:781", "A:483", "A:post"}));
}
