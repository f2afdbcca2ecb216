// Import of further images: failures with both line numbers, imported procedures
// across runs, and imports without end. Order, results and nested imports within
// one run are in tests/programs/import.lbd and program.lbd.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include "res/LumMessages.h"

#include <algorithm>
#include <filesystem>

using namespace lumtest;

namespace
{
std::vector<uint8_t> Compiled(const std::string& strSource, const SLumCompileOptions& options = {})
{
    std::vector<uint8_t> aImage;
    EXPECT_EQ(CompileText(strSource, aImage, options), "") << strSource;
    return aImage;
}

std::string Importing(const std::string& strPath, const std::string& strBefore = "",
                      const std::string& strAfter = "")
{
    return "Sub Main\n" + strBefore + "    Import \"" + strPath + "\"\n" + strAfter + "End Sub\n";
}

std::string Format(int nId, const std::string& strArgument)
{
    char szText[1024];
    snprintf(szText, sizeof szText, LoadMessage(nId).c_str(), strArgument.c_str());
    return szText;
}

std::string LineMessage(long nLine)
{
    char szText[256];
    snprintf(szText, sizeof szText, LoadMessage(LUM_MSG_LINE).c_str(), nLine);
    return szText;
}
} // namespace

TEST(Import, AFailingMacroReportsItsPathAndBothLines)
{
    CImageDir dir;
    std::string strBad = dir.Save("bad.lbc", Compiled("Sub Main\n"
                                                      "    before% = 5\n"
                                                      "    half = 1 / 0\n"
                                                      "End Sub\n"
                                                      "Function Left%()\n"
                                                      "    Left% = 1\n"
                                                      "End Function\n"));
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    std::vector<std::string> aTrail = RunImage(basic, Compiled(Importing(strBad)));

    auto at = [&](const std::string& str) {
        return std::find(aTrail.begin(), aTrail.end(), str) - aTrail.begin();
    };
    long nMacro = at(Format(LUM_MSG_IMPORTED_MACRO, strBad));
    long nInner = at(LineMessage(3));
    long nOuter = at(LineMessage(2));
    ASSERT_LT(nOuter, static_cast<long>(aTrail.size()));
    EXPECT_EQ(aTrail[0], "Division durch Null.");
    EXPECT_EQ(aTrail[nMacro - 1], "CLumBasic::DoImport()");
    EXPECT_EQ(nInner, nMacro + 1);
    EXPECT_EQ(nOuter, static_cast<long>(aTrail.size()) - 1);
    EXPECT_EQ(vars.Lookup("before%")->GetLong(), 5);

    // The macro's declaration stayed in the table, but its image is gone: a call fails
    // cleanly instead of running freed memory.
    aTrail = RunImage(basic, Compiled("Declare Function Left%()\nSub Main\n    x% = Left%()\nEnd Sub\n"));
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0], Format(LUM_MSG_IMAGE_GONE, "Left%"));
}

TEST(Import, AMissingFileNamesThePathAndNoMacroLine)
{
    CImageDir dir;
    std::string strMissing = dir.Path("missing.lbc");
    CLumBasic basic;
    SLumCompileOptions options;
    options.m_fLineMarkers = false;
    std::vector<std::string> aTrail = RunImage(basic, Compiled(Importing(strMissing), options));
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0].rfind("Die Datei \"" + strMissing + "\" kann nicht gelesen werden", 0), 0u);
    EXPECT_NE(std::find(aTrail.begin(), aTrail.end(), Format(LUM_MSG_IMPORTED_MACRO, strMissing)),
              aTrail.end());
    for (const std::string& str : aTrail)
        EXPECT_EQ(str.find("Zeile"), std::string::npos) << str;
}

TEST(Import, ImportedProceduresStayCallableInLaterRuns)
{
    CImageDir dir;
    std::string strDeep = dir.Save("deep.lbc", Compiled("Function Deep%()\n    Deep% = 99\nEnd Function\n"));
    std::string strOther =
        dir.Save("other.lbc", Compiled("Function Other%()\n    Other% = 7\nEnd Function\n"));
    // middle.lbc imports deep.lbc and succeeds; broken.lbc imports other.lbc and then fails.
    std::string strMiddle =
        dir.Save("middle.lbc",
                 Compiled(Importing(strDeep) + "Function Middle%()\n    Middle% = 1000\nEnd Function\n"));
    std::string strBroken = dir.Save("broken.lbc", Compiled(Importing(strOther, "", "    x = 1 / 0\n")));
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    // An Import without paths, which only other writers produce, does nothing.
    auto first = MainProgram([&](CLumImageWriter& w) {
        w.Token(LBT_IMPORT);
        w.Separator();
        w.Token(LBT_IMPORT);
        w.Expression(CLumTree::StringConst(strMiddle));
        w.Separator();
    });
    EXPECT_EQ(RunImage(basic, first), std::vector<std::string>());
    EXPECT_FALSE(RunImage(basic, Compiled(Importing(strBroken))).empty());
    auto later = Compiled("Declare Function Deep%()\nDeclare Function Other%()\nDeclare Function Middle%()\n"
                          "Sub Main\n    later% = Deep%() + Other%() + Middle%()\nEnd Sub\n");
    EXPECT_EQ(RunImage(basic, later), std::vector<std::string>());
    EXPECT_EQ(vars.Lookup("later%")->GetLong(), 1106);
}

TEST(Import, ImportsWithoutEndFailCleanly)
{
    CImageDir dir;
    std::string strSelf = dir.Path("self.lbc");
    dir.Save("self.lbc", Compiled(Importing(strSelf, "    depth% = depth% + 1\n")));
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    try
    {
        basic.Do(strSelf.c_str());
        FAIL() << "an endless import ended";
    }
    catch (const CLumsException& e)
    {
        EXPECT_EQ(e.GetTrail()[0].rfind("Die Schachtelungstiefe von ", 0), 0u) << e.GetTrail()[0];
    }
    EXPECT_GT(vars.Lookup("depth%")->GetLong(), 100);
}

namespace
{
// The call sites of the failure of `aMain`, each as procedure@file:line; empty when it
// ran to its end.
std::vector<std::string> Sites(const std::vector<uint8_t>& aMain, bool fStream, unsigned long nLimit = 0)
{
    CLumVariables vars;
    std::unique_ptr<CLumBasic> pBasic(fStream ? new CStreamBasic(&vars) : new CLumBasic(&vars, nullptr));
    pBasic->SetStatementLimit(nLimit);
    std::vector<std::string> aSites;
    try
    {
        pBasic->DoMemory(aMain.data(), aMain.size());
    }
    catch (const CLumsException& e)
    {
        for (const SLumCallSite& site : e.GetCallSites())
            aSites.push_back(site.m_strProcedure + "@" +
                             std::filesystem::path(site.m_strSource).filename().string() + ":" +
                             std::to_string(site.m_nLine));
    }
    return aSites;
}
} // namespace

// The procedures running at a failure, innermost first, each at its line and with the
// source of the image it came from: across a Sub call, a function call, an imported
// procedure, and in both forms of the run. A run stopped at any statement names lines
// of each procedure's own source, also where a procedure of the library failed before
// its first line (it stands at its declaration) and where an earlier call of it had
// returned from the same line number.
TEST(Import, AFailureNamesEveryRunningProcedureWithItsSourceAndLine)
{
    CImageDir dir;
    std::vector<uint8_t> aLibrary;
    CLumCompiler compiler;
    ASSERT_TRUE(compiler.Compile("Function Ratio(a, b)\n    Ratio = a / b\nEnd Function\n"
                                 "Function Nop(a)\n    Nop = a\nEnd Function\n",
                                 dir.Path("lib.lbd"), aLibrary));
    std::string strLibrary = dir.Save("lib.lbc", aLibrary);
    std::vector<uint8_t> aMain = Compiled("Declare Function Ratio(a, b)\n"
                                          "Declare Function Nop(a)\n"
                                          "Sub Main\n"
                                          "    Import \"" +
                                          strLibrary +
                                          "\"\n"
                                          "    x = 0\n"
                                          "    x = 1\n"
                                          "    y = Nop(Nop(1))\n"
                                          "    Call Show(1)\n"
                                          "End Sub\n"
                                          "Sub Show(v)\n"
                                          "    y = Ratio(v, 0)\n"
                                          "End Sub\n");
    for (bool fStream : {false, true})
    {
        EXPECT_EQ(Sites(aMain, fStream),
                  (std::vector<std::string>{"Ratio@lib.lbd:2", "Show@t.lbd:11", "Main@t.lbd:8"}))
            << fStream;
        for (unsigned long nLimit = 1; nLimit < 40; ++nLimit)
            for (const std::string& strSite : Sites(aMain, fStream, nLimit))
            {
                long nLine = std::stol(strSite.substr(strSite.rfind(':') + 1));
                bool fLibrary = strSite.find("@lib.lbd:") != std::string::npos;
                EXPECT_TRUE(nLine >= 0 && nLine <= (fLibrary ? 6 : 12))
                    << strSite << " with a limit of " << nLimit;
                if (strSite.rfind("Nop@", 0) == 0)
                {
                    EXPECT_GE(nLine, 4) << strSite << " with a limit of " << nLimit;
                }
            }
    }
}
