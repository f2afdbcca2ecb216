// A host's file policy: imports out of the root by every road, refused with nothing of
// the file shown, the fast way and the plain way; imports it allows; images served from
// memory; the debugger's sources and profile files; the command line's --sandbox.
#include "tests/LumDebuggerTestSupport.h"

#include "res/LumMessages.h"

#include <filesystem>
#include <map>

using namespace lumtest;

namespace
{
std::vector<uint8_t> Image(const std::string& strSource)
{
    std::vector<uint8_t> aImage;
    EXPECT_EQ(CompileText(strSource, aImage), "") << strSource;
    return aImage;
}

std::string Importing(const std::string& strWhat, const std::string& strAfter = "")
{
    return "Declare Function Half(x)\nSub Main\n    Import " + strWhat + "\n" + strAfter + "End Sub\n";
}

std::string Quoted(const std::string& str)
{
    return "\"" + str + "\"";
}

std::string Refused(const std::string& strName)
{
    return LumFormatForTest(LoadMessage(LUM_MSG_FILE_REFUSED), strName.c_str());
}

const char* const HALF = "Function Half(x)\n    Half = x / 2\nEnd Function\n";

// root/ holds the libraries a program may import; outside/, beside it, an image that
// would store a secret. root/link leads outside.
class FilePolicy : public CDebuggerTest
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory(m_dir.Path("root"));
        std::filesystem::create_directory(m_dir.Path("outside"));
        std::filesystem::create_directory_symlink(m_dir.Path("outside"), m_dir.Path("root/link"));
        m_dir.Save("outside/secret.lbc", Image("Sub Main\n    leaked$ = \"SECRET\"\nEnd Sub\n"));
        m_dir.Save("root/half.lbc", Image(HALF));
        m_dir.Save("root/lib.lbc", Image(Importing(Quoted(Root("half.lbc")))));
        m_dir.Save("root/leaky.lbc", Image(Importing(Quoted(Secret()))));
    }
    std::string Root(const std::string& strName = "") const { return m_dir.Path("root/" + strName); }
    std::string Secret() const { return m_dir.Path("outside/secret.lbc"); }
};
} // namespace

// Out of the root by every road, refused with nothing of the file run or shown, the
// fast way and the plain way; inside it, libraries that import libraries run as they
// do without a policy, also by a ".." that stays inside.
TEST_F(FilePolicy, ImportsLeaveTheRootByNoRoad)
{
    std::string strComputed = "\"" + m_dir.Path("outs") + "\" + \"ide/secret.lbc\"";
    std::string strInside = Quoted(Root("../root/lib.lbc"));
    const struct
    {
        const char* m_pszRoot; // null: no policy
        std::string m_strImport;
        std::string m_strRefused;
    } aCases[] = {
        {"root/", Quoted(Secret()), Secret()},
        {"root/", Quoted(Root("../outside/secret.lbc")), Root("../outside/secret.lbc")},
        {"root/", Quoted(Root("link/secret.lbc")), Root("link/secret.lbc")},
        {"root/", strComputed, Secret()},
        {"root/", Quoted(Root("leaky.lbc")), Secret()},
        {"root/", strInside, ""},
        {"/", strInside, ""},
        {nullptr, strInside, ""},
    };
    for (const auto& c : aCases)
        for (bool fFast : {true, false})
        {
            CLumVariables vars;
            CLumBasic basic(&vars, nullptr);
            if (c.m_pszRoot != nullptr)
                basic.SetFileRoot(*c.m_pszRoot == '/' ? c.m_pszRoot : m_dir.Path(c.m_pszRoot).c_str());
            basic.SetFastPaths(fFast);
            std::vector<std::string> aTrail =
                RunImage(basic, Image(Importing(c.m_strImport, "    h = Half(5)\n")));
            EXPECT_EQ(aTrail.empty() ? "" : aTrail[0], c.m_strRefused.empty() ? "" : Refused(c.m_strRefused))
                << c.m_strImport << fFast;
            for (const std::string& str : aTrail)
                EXPECT_EQ(str.find("SECRET"), std::string::npos) << str;
            EXPECT_EQ(vars.Lookup("leaked$"), nullptr) << c.m_strImport;
            EXPECT_EQ(vars.GetValue("h", nullptr)->GetDouble(), c.m_strRefused.empty() ? 2.5 : 0.0);
        }
    CLumBasic basic;
    EXPECT_THROW(basic.SetFileRoot(Root("half.lbc").c_str()), CLumsException);
}

TEST_F(FilePolicy, AResolverServesImagesFromMemoryAndOpensNoFile)
{
    std::map<std::string, std::vector<uint8_t>> mapImages = {{"half", Image(HALF)},
                                                             {"lib", Image(Importing("\"half\""))}};
    std::vector<std::string> aAsked;
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.SetFileResolver([&](const std::string& strName, std::vector<uint8_t>& aBytes) {
        aAsked.push_back(strName);
        auto it = mapImages.find(strName);
        if (it != mapImages.end())
            aBytes = it->second;
        return it != mapImages.end();
    });
    EXPECT_EQ(RunImage(basic, Image(Importing("\"lib\"", "    h = Half(5)\n"))), std::vector<std::string>());
    EXPECT_EQ(vars.GetValue("h", nullptr)->GetDouble(), 2.5);
    std::vector<std::string> aTrail = RunImage(basic, Image(Importing(Quoted(Root("half.lbc")))));
    EXPECT_EQ(aTrail.empty() ? "" : aTrail[0], Refused(Root("half.lbc")));
    EXPECT_EQ(aAsked, (std::vector<std::string>{"lib", "half", Root("half.lbc")}));
}

// The debugger reads the source an image names and, counting, the profile files named
// after it: a source outside, or a profile file that a dot in the root's name puts
// outside, is refused before the window shows anything; a resolver serves the source.
TEST_F(FilePolicy, TheDebuggerOpensSourcesAndProfileFilesOnlyAsThePolicyAllows)
{
    std::filesystem::create_directory(m_dir.Path("tmp.box"));
    std::string strDir = std::filesystem::canonical(m_dir.Dir()).string();
    for (std::string strFolder : {"outside", "tmp.box", "root"})
        Write(strFolder + "/shown.lbd", "Sub Main\n    n% = 1\nEnd Sub\n");
    LumFileResolver fnResolve = [](const std::string&, std::vector<uint8_t>& aBytes) {
        aBytes = {'\'', ' ', 'm', 'e', 'm'};
        return true;
    };
    const struct
    {
        const char* m_pszSource;
        const char* m_pszRoot; // null: the resolver
        bool m_fProfile;
        std::string m_strRefused;
        const char* m_pszOpen;
    } aCases[] = {
        {"outside/shown.lbd", "root", false, strDir + "/outside/shown.lbd", nullptr},
        {"tmp.box/shown.lbd", "tmp.box", true, strDir + "/tmp.Profile", nullptr},
        {"tmp.box/shown.lbd", "tmp.box", false, "", "open Sub Main"},
        {"root/shown.lbd", "root", true, "", "open Sub Main"},
        {"root/shown.lbd", nullptr, false, "", "open ' mem"},
        {"root/shown.lbd", nullptr, true, strDir + "/root/shown.Profile", nullptr},
    };
    CLumBasicDebugger::m_fDebug = 1;
    CLumBasicDebugWindow::m_fProfileSave = 1;
    InstallWindow();
    for (const auto& c : aCases)
    {
        CLumBasicDebugger::m_fProfile = c.m_fProfile;
        m_log.m_aLog.clear();
        m_log.m_aScript = {"run"};
        CLumBasic basic;
        if (c.m_pszRoot != nullptr)
            basic.SetFileRoot(m_dir.Path(c.m_pszRoot).c_str());
        else
            basic.SetFileResolver(fnResolve);
        std::vector<std::string> aTrail = RunImage(basic, Compile(c.m_pszSource));
        EXPECT_EQ(aTrail.empty() ? "" : aTrail[0], c.m_strRefused.empty() ? "" : Refused(c.m_strRefused))
            << c.m_pszSource << c.m_fProfile;
        EXPECT_EQ(m_log.m_aLog.empty() ? "" : m_log.m_aLog.front(), c.m_pszOpen ? c.m_pszOpen : "");
    }
    EXPECT_TRUE(std::filesystem::exists(Root("shown.Profile")));
    EXPECT_FALSE(std::filesystem::exists(m_dir.Path("tmp.Profile")));
}

// run and debug take --sandbox; debug refuses the outside source before it needs a
// terminal.
TEST(FilePolicyCli, SandboxConfinesTheRun)
{
    CImageDir dir;
    std::filesystem::create_directory(dir.Path("box"));
    std::ofstream(dir.Path("box/half.lbd")) << HALF;
    std::ofstream(dir.Path("box/ok.lbd")) << Importing("\"box/half.lbc\"", "    h = Half(5)\n");
    std::ofstream(dir.Path("box/etc.lbd"))
        << "Sub Main\n    p$ = \"/etc/\" + \"passwd\"\n    Import p$\nEnd Sub\n";
    std::ofstream(dir.Path("out.lbd")) << "Sub Main\nEnd Sub\n";
    ASSERT_EQ(RunCli(dir, "compile box/half.lbd").m_nStatus, 0);
    const struct
    {
        const char* m_pszArgs;
        int m_nStatus;
        std::string m_strErr;
    } aCases[] = {
        {"run --sandbox box --profile --dump box/ok.lbd", 0, ""},
        {"run --sandbox box box/etc.lbd", 1, "box/etc.lbd:3: " + Refused("/etc/passwd") + "\n"},
        {"debug --sandbox box out.lbd", 1,
         "out.lbd: " + Refused(std::filesystem::canonical(dir.Path("out.lbd")).string()) + "\n"},
        {"run --sandbox none box/ok.lbd", 1, "lumbasic: none: No such file or directory\n"},
    };
    for (const auto& c : aCases)
    {
        CliResult o = RunCli(dir, c.m_pszArgs);
        EXPECT_EQ(o.m_nStatus, c.m_nStatus) << c.m_pszArgs;
        EXPECT_EQ(o.m_strErr, c.m_strErr) << c.m_pszArgs;
    }
    EXPECT_TRUE(std::filesystem::exists(dir.Path("box/ok_Profile.txt")));
}
