// Statements and functions a host registers by name: dispatch and arguments, refusals,
// tokens across interpreters, failing callbacks on the fast and the plain way, imports,
// the command line's console, and the short report of a failure.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <lumbasic/LumCompile.h>

#include "res/LumMessages.h"

#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>

using namespace lumtest;

namespace
{
using Trail = std::vector<std::string>;

// Rate(a, b) gives a * b; Count(n) counts its calls and gives n, failing for n < 0;
// Log a, ... logs its arguments; Ask q, v stores 42, or "Ada" into a string variable;
// Fail kind throws a CLumsException ("lums") or a standard exception.
struct SHost
{
    std::vector<std::string> m_aLog;
    int m_nCounted = 0;

    void RegisterWith(CLumBasic& basic)
    {
        basic.RegisterFunction(
            "Rate", 2, [](CLumHostArgs& a) { return CLumsVarValue(a.GetNumber(1) * a.GetNumber(2)); });
        basic.RegisterFunction("Count", 1, [this](CLumHostArgs& a) {
            ++m_nCounted;
            if (a.GetLong(1) < 0)
                throw CLumsException("Negativ");
            return a.GetValue(1);
        });
        basic.RegisterStatement("Log", LUM_ANY_ARGS, [this](CLumHostArgs& a) {
            std::string strLine = a.GetName();
            for (int n = 1; n <= a.GetCount(); ++n)
                strLine += std::string(" ") + a.GetValue(n).GetText();
            m_aLog.push_back(strLine);
        });
        basic.RegisterStatement("Ask", 2, [](CLumHostArgs& a) {
            bool fText = a.GetVariableName(2) != nullptr && strchr(a.GetVariableName(2), '$') != nullptr;
            a.SetVariable(2, fText ? CLumsVarValue("Ada") : CLumsVarValue(42L));
        });
        basic.RegisterStatement("Fail", 1, [](CLumHostArgs& a) {
            if (a.GetText(1) == "lums")
                throw CLumsException("Kaputt");
            throw std::runtime_error("kaputt");
        });
    }
};

std::vector<uint8_t> Compile(const CLumBasic& basic, const std::string& strBody,
                             const std::string& strBefore = "")
{
    SLumCompileSettings settings;
    settings.m_strSourceName = "prog.lbd";
    return LumCompile(strBefore + "Sub Main\n" + strBody + "End Sub\n", basic, settings);
}

} // namespace

TEST(HostNames, CallsGetTheirArgumentsWriteVariablesBackAndFailAsBuiltinsDo)
{
    const struct
    {
        const char* m_pszBody;
        Trail m_aStore;         // without a failure
        std::string m_strError; // the trail's first entry
    } aCases[] = {
        {"  x = Rate(2, 3.5)\n  Log \"a\", x, 7\n  Log\n", {"D:x=7.000000"}, ""},
        {"  Ask \"?\", n%\n  Ask \"?\", s$\n  Ask \"?\", d\n", {"D:d=42.000000", "L:n%=42", "S:s$=Ada"}, ""},
        {"  x = Rate(\"a\", 1)\n", {}, Message(LUM_MSG_ARG_NOT_NUMBER, 1, "a")},
        {"  Ask \"?\", 1 + 2\n", {}, Message(LUM_MSG_HOST_NO_VARIABLE, 2, "Ask")},
        {"  Fail 1\n", {}, Message(LUM_MSG_ARG_NOT_STRING, 1)},
    };
    for (const auto& c : aCases)
    {
        CLumVariables vars;
        CLumBasic basic(&vars, nullptr);
        SHost host;
        host.RegisterWith(basic);
        Trail trail = RunImage(basic, Compile(basic, c.m_pszBody));
        EXPECT_EQ(trail.empty() ? "" : trail[0], c.m_strError) << c.m_pszBody;
        if (c.m_strError.empty())
        {
            EXPECT_EQ(StoreLines(vars), c.m_aStore) << c.m_pszBody;
        }
        if (std::string(c.m_pszBody).find("Log") != std::string::npos)
        {
            EXPECT_EQ(host.m_aLog, (Trail{"Log a 7.000000 7", "Log"}));
        }
    }

    // The compiler checks the counts; an image made where Rate took any number meets
    // the interpreter's check.
    CLumBasic basic;
    SHost host;
    host.RegisterWith(basic);
    EXPECT_NE(TrailOf([&] { Compile(basic, "  x = Rate(1)\n"); })[0].find("'Rate' takes 2 arguments, not 1"),
              std::string::npos);
    CLumBasic loose;
    for (const char* pszName : {"Rate", "Count"})
        loose.RegisterFunction(pszName, LUM_ANY_ARGS, [](CLumHostArgs&) { return CLumsVarValue(); });
    EXPECT_EQ(RunImage(basic, Compile(loose, "  x = Rate(1)\n"))[0], Message(LUM_MSG_ARG_MISSING, 2));
    EXPECT_EQ(RunImage(basic, Compile(loose, "  x = Rate(1, 2, Count(3))\n"))[0],
              Message(LUM_MSG_HOST_TOO_MANY_ARGS, "Rate", 2));
    EXPECT_EQ(host.m_nCounted, 0); // the argument too many was not evaluated
}

TEST(HostNames, ANameOfTheLanguageOrOneRegisteredOrOneWithATakenTokenIsRefused)
{
    // Two names with one token, found by trying.
    std::map<unsigned short, std::string> mapSeen;
    std::string strFirst, strSecond;
    for (int n = 0; strSecond.empty(); ++n)
    {
        std::string strName = "N" + std::to_string(n);
        auto [it, fNew] = mapSeen.emplace(LumHostToken(strName), strName);
        if (!fNew)
            strFirst = it->second, strSecond = strName;
    }
    CLumBasic basic;
    SHost host;
    host.RegisterWith(basic);
    basic.RegisterStatement(strFirst.c_str(), 0, [](CLumHostArgs&) {});
    const char* const METHOD = "CLumBasic::RegisterStatement";
    const struct
    {
        const char* m_pszName;
        int m_nArgs;
        std::string m_strError;
    } aCases[] = {
        {"If", 0, Message(LUM_MSG_HOST_LANGUAGE_WORD, "If")},
        {"left", 0, Message(LUM_MSG_HOST_LANGUAGE_WORD, "left")},
        {"ShowMessage", 0, Message(LUM_MSG_HOST_LANGUAGE_WORD, "ShowMessage")},
        {"RATE", 0, Message(LUM_MSG_HOST_REGISTERED, "RATE")},
        {"1x", 0, Message(LUM_MSG_HOST_NO_NAME, "1x")},
        {"x$y", 0, Message(LUM_MSG_HOST_NO_NAME, "x$y")},
        {nullptr, 0, Message(LUM_MSG_NULL_ARGUMENT, METHOD, "const char *pszName", "NULL")},
        {"Beep", -2, Message(LUM_MSG_NULL_ARGUMENT, METHOD, "int nArgs", "-2")},
        {strSecond.c_str(), 0,
         Message(LUM_MSG_HOST_SAME_TOKEN, strSecond.c_str(), unsigned{LumHostToken(strSecond)},
                 strFirst.c_str())},
    };
    for (const auto& c : aCases)
        EXPECT_EQ(TrailOf([&] { basic.RegisterStatement(c.m_pszName, c.m_nArgs, [](CLumHostArgs&) {}); }),
                  (Trail{c.m_strError, "LUMBASICHOSTNAMES", METHOD}));
    EXPECT_EQ(TrailOf([&] { basic.RegisterFunction("Beep", 0, nullptr); })[0],
              Message(LUM_MSG_NULL_ARGUMENT, "CLumBasic::RegisterFunction", "LumHostFunction", "NULL"));
    EXPECT_EQ(basic.GetHostNames().size(), 6u);
}

TEST(HostNames, TokensFollowFromTheNamesSoAnImageRunsWhereverItsNamesAreRegistered)
{
    CLumBasic first;
    SHost host;
    host.RegisterWith(first);
    std::vector<uint8_t> aImage = Compile(first, "  x = Rate(2, 3)\n  Log x\n  y = Count(1)\n");
    // Another interpreter: the names in another order, behind one of its own.
    CLumVariables vars;
    CLumBasic second(&vars, nullptr);
    std::string strLogged;
    second.RegisterStatement("Extra", 0, [](CLumHostArgs&) {});
    second.RegisterFunction("Count", 1, [](CLumHostArgs& a) { return a.GetValue(1); });
    second.RegisterStatement("Log", 1, [&](CLumHostArgs& a) { strLogged = a.GetValue(1).GetText(); });
    second.RegisterFunction("Rate", 2,
                            [](CLumHostArgs& a) { return CLumsVarValue(a.GetNumber(1) * a.GetNumber(2)); });
    EXPECT_EQ(RunImage(second, aImage), Trail{});
    EXPECT_EQ(StoreLines(vars), (Trail{"D:x=6.000000", "D:y=1.000000"}));
    EXPECT_EQ(strLogged, "6.000000");
    EXPECT_EQ(LumHostToken("rate"), LumHostToken("RATE"));
    EXPECT_EQ(LumHostToken("Rate"), 0x8a58); // images hold it: it never changes

    CLumBasic partial;
    partial.RegisterFunction("Rate", 2, [](CLumHostArgs&) { return CLumsVarValue(1L); });
    Trail trail = RunImage(partial, aImage);
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], Message(LUM_MSG_UNKNOWN_TOKEN, unsigned{LumHostToken("Log")}));
    EXPECT_EQ(trail.back(), Message(LUM_MSG_LINE, 3L));
    EXPECT_EQ(RunImage(partial, Compile(first, "  y = Count(1)\n"))[0],
              Message(LUM_MSG_BAD_FUNCTION_TOKEN, unsigned{LumHostToken("Count")}));
}

// A recursive function that calls the host at every level runs the fast form and the
// plain way alike: the same store, the same calls, and a failure with the same trail.
TEST(HostNames, CallbacksInRecursionAndImportsRunAndFailAsAModulesDoOnBothWays)
{
    CImageDir dir;
    CLumBasic compiler;
    SHost names;
    names.RegisterWith(compiler);
    SLumCompileSettings settings;
    settings.m_strSourceName = "lib.lbd";
    std::string strLibrary = dir.Save(
        "lib.lbc", LumCompile("Function Twice(x)\n  Twice = Rate(x, 2)\nEnd Function\n", compiler, settings));
    const std::string strBefore = "Declare Function Twice(x)\n"
                                  "Function Sum(n%)\n"
                                  "  If n% <= 0 Then\n"
                                  "    Sum = Count(n%)\n"
                                  "  Else\n"
                                  "    Sum = n% + Sum(n% - 1) + Count(0)\n"
                                  "  End If\n"
                                  "End Function\n";
    const std::string strImport = "  Import \"" + strLibrary + "\"\n  t = Twice(4)\n";
    Trail aLums(Trail{"Kaputt", "LUMHOSTMODUL", "CLumHostModul::DispatchToken", "LUMBASICEXTMODULCLASS",
                      "CLumBasic::DispatchTokenEM", "LUMBASIC", "CLumBasic::DispatchToken()", "LUMBASIC",
                      "CLumBasic::RunLoop()", "LUMBASIC", "CLumBasic::Do()", Message(LUM_MSG_LINE, 11L)});
    // Any other exception: the catalogue's message, and its what() behind the labels.
    Trail aStd = aLums;
    aStd[0] = LoadMessage(LUM_MSG_UNEXPECTED);
    aStd.insert(aStd.begin() + 3, Message(LUM_MSG_FOREIGN_EXCEPTION, "kaputt"));
    const struct
    {
        std::string m_strBody;
        Trail m_aTrail; // of a failure inside an expression, its first and last entries
    } aCases[] = {
        {strImport + "  For i% = 1 To 3\n    s = s + Sum(i% * 10)\n  Next i%\n  Log s, t\n", {}},
        {"  s = Sum(3)\n  Fail \"lums\"\n", aLums},
        {"  s = Sum(3)\n  Fail \"std\"\n", aStd},
        {"  s = Sum(3) + Sum(-2)\n", {"Negativ", Message(LUM_MSG_LINE, 4L)}},
    };
    for (const auto& c : aCases)
    {
        std::vector<uint8_t> aImage = Compile(compiler, c.m_strBody, strBefore);
        std::string aOutcomes[2];
        for (bool fPlain : {false, true})
        {
            CLumVariables vars;
            CLumBasic basic(&vars, nullptr);
            basic.SetFastPaths(!fPlain);
            SHost host;
            host.RegisterWith(basic);
            Trail trail = RunImage(basic, aImage);
            for (const std::string& str : trail)
                aOutcomes[fPlain] += str + "\n";
            if (c.m_aTrail.size() == 2 && trail.size() > 2)
                trail = {trail.front(), trail.back()};
            EXPECT_EQ(trail, c.m_aTrail) << c.m_strBody;
            aOutcomes[fPlain] += std::to_string(host.m_nCounted) + " calls, log:";
            for (const std::string& str : host.m_aLog)
                aOutcomes[fPlain] += " " + str;
            vars.MakeString(&aOutcomes[fPlain]);
        }
        EXPECT_EQ(aOutcomes[0], aOutcomes[1]) << c.m_strBody;
        if (c.m_aTrail.empty())
        {
            EXPECT_EQ(aOutcomes[0].rfind("63 calls, log: Log 730.000000 8.000000", 0), 0u) << aOutcomes[0];
        }
    }
}

TEST(HostNames, TheShortReportGivesTheLineAndTheCallsInnermostFirstARecursionOnce)
{
    SLumCompileSettings settings;
    settings.m_strSourceName = "prog.lbd";
    std::vector<uint8_t> aImage = LumCompile(
        "Sub Main\n  Show 0\nEnd Sub\nSub Show(d)\n  x = Ratio(3, d)\nEnd Sub\nFunction Ratio(n%, d)\n"
        "  If n% > 1 Then Ratio = Ratio(n% - 1, d) Else Ratio = 1 / d\nEnd Function\n",
        settings);
    CLumBasic basic;
    try
    {
        basic.DoMemory(aImage.data(), aImage.size());
        FAIL() << "no failure";
    }
    catch (const CLumsException& e)
    {
        EXPECT_EQ(LumFailureReport(e, "prog.lbd"), "prog.lbd:8: Division durch Null.\n"
                                                   "  in Ratio, called from Ratio at prog.lbd:8 (2 times)\n"
                                                   "  in Ratio, called from Show at prog.lbd:5\n"
                                                   "  in Show, called from Main at prog.lbd:2\n");
        EXPECT_EQ(LumFailureReport(e).substr(0, 12), "prog.lbd:8: ");
    }
    try
    {
        LumCompile("Sub Main\n  x = (1\nEnd Sub\n", settings);
        ADD_FAILURE() << "no errors";
    }
    catch (const CLumsException& e)
    {
        EXPECT_EQ(LumFailureReport(e, "prog.lbd"), e.GetTrail()[0] + "\n");
    }
}

TEST(HostNames, TheCommandLinesConsolePrintsAndReadsLinesIntoVariables)
{
    CImageDir dir;
    std::ofstream(dir.Path("hallo.lbd")) << "Sub Main\n  Print \"Hallo\"\n  Input \"Name? \", name$\n"
                                            "  Input \"Zahl? \", n%\n  Print name$, n% * 2, 0.5\nEnd Sub\n";
    std::ofstream(dir.Path("in.txt")) << "Ada\n21\n";
    CliResult run = RunCli(dir, "run hallo.lbd", "in.txt");
    EXPECT_EQ(run.m_nStatus, 0) << run.m_strErr;
    EXPECT_EQ(run.m_strOut, "Hallo\nName? Zahl? Ada 42 0.500000\n");

    ASSERT_EQ(RunCli(dir, "compile hallo.lbd").m_nStatus, 0);
    std::ofstream(dir.Path("in.txt")) << "Bo\nzwei\n";
    CliResult image = RunCli(dir, "run hallo.lbc", "in.txt");
    EXPECT_EQ(image.m_nStatus, 1);
    EXPECT_EQ(image.m_strOut, "Hallo\nName? Zahl? ");
    EXPECT_EQ(image.m_strErr, "hallo.lbd:4: " + Message(LUM_MSG_INPUT_NO_NUMBER, "zwei") + "\n");
}
