// Import of further images: order, the shared store and table, failures with both
// line numbers, and images imported by imports staying callable.
#include "tests/LumImageDir.h"
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

#include "res/LumMessages.h"

#include <algorithm>

using namespace lumtest;

namespace
{
std::string Text(const CLumVariables& vars, const char* pszName)
{
    const CLumsVarValue* p = vars.Lookup(pszName);
    return p ? p->GetText() : "-";
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

// A macro whose Main appends `pszMark` to log$ and which offers Function <Name>%()
// giving `nValue`.
std::vector<uint8_t> Macro(const char* pszMark, const char* pszFunction, int nValue)
{
    return MainImage(
        [&](CLumProgram& p) {
            p.Declare(pszFunction);
            p.Assign("log$", Op(LBT_PLUS, V("log$"), S(pszMark)));
        },
        [&](CLumProgram& p) {
            p.Function(pszFunction);
            p.Assign(pszFunction, L(nValue));
            p.End(LBT_FUNCTION);
        });
}

// Only declarations, then the terminator, then the procedures.
std::vector<uint8_t> DeclarationsOnly(const char* pszFunction, int nValue)
{
    CLumProgram p;
    p.Declare(pszFunction);
    p.Terminator();
    p.Function(pszFunction);
    p.Assign(pszFunction, L(nValue));
    p.End(LBT_FUNCTION);
    return p.Finish();
}
} // namespace

TEST(Import, PathsRunInOrderOnTheSharedStoreAndTable)
{
    CImageDir dir;
    std::string strA = dir.Save("a.lbc", Macro("a", "FromA%", 1));
    std::string strB = dir.Save("b.lbc", Macro("b", "FromB%", 2));
    std::string strDecl = dir.Save("decl.lbc", DeclarationsOnly("Sq%", 49));
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage([&](CLumProgram& p) {
        p.Assign("log$", S("m"));
        p.Import({});
        p.Import({strA});
        p.Import({strB, strA, strDecl});
        p.Assign("log$", Op(LBT_PLUS, V("log$"), S("z")));
        p.Assign("r%", Op(LBT_PLUS, Op(LBT_PLUS, Fn("FromA%"), Fn("FromB%")), Fn("Sq%")));
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "log$"), "mabaz");
    EXPECT_EQ(Text(vars, "r%"), "52");
    // A second run of the same interpreter still reaches the imported procedures.
    auto again = MainImage([](CLumProgram& p) { p.Assign("again%", Fn("FromA%")); });
    EXPECT_EQ(RunImage(basic, again), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "again%"), "1");
}

TEST(Import, AFailingMacroReportsItsPathAndBothLines)
{
    CImageDir dir;
    CLumProgram macro;
    macro.Line(1);
    macro.Sub("Main");
    macro.Declare("Left%");
    macro.Line(2);
    macro.Assign("before%", L(5));
    macro.Line(3);
    macro.Writer().Token(0x0581);
    macro.End();
    macro.Terminator();
    macro.Function("Left%");
    macro.Assign("Left%", L(1));
    macro.End(LBT_FUNCTION);
    std::string strBad = dir.Save("bad.lbc", macro.Finish());

    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    CLumProgram main;
    main.Line(10);
    main.Sub("Main");
    main.Line(11);
    main.Import({strBad});
    main.End();
    main.Terminator();
    std::vector<std::string> aTrail = RunImage(basic, main.Finish());

    auto at = [&](const std::string& str) {
        return std::find(aTrail.begin(), aTrail.end(), str) - aTrail.begin();
    };
    long nMacro = at(Format(LUM_MSG_IMPORTED_MACRO, strBad));
    long nInner = at(LineMessage(3));
    long nOuter = at(LineMessage(11));
    ASSERT_LT(nOuter, static_cast<long>(aTrail.size()));
    EXPECT_EQ(aTrail[0], "Kein Befehl mit dem Token 581 bekannt.");
    EXPECT_EQ(aTrail[nMacro - 1], "CLumBasic::DoImport()");
    EXPECT_EQ(nInner, nMacro + 1);
    EXPECT_EQ(nOuter, static_cast<long>(aTrail.size()) - 1);
    EXPECT_EQ(Text(vars, "before%"), "5");

    // The macro's declaration stayed in the table, but its image is gone: a call fails
    // cleanly instead of running freed memory.
    auto call = MainImage([](CLumProgram& p) { p.Assign("x%", Fn("Left%")); });
    aTrail = RunImage(basic, call);
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0], Format(LUM_MSG_IMAGE_GONE, "Left%"));
}

TEST(Import, AMissingFileNamesThePathAndNoMacroLine)
{
    CImageDir dir;
    std::string strMissing = dir.Path("missing.lbc");
    CLumBasic basic;
    auto image = MainImage([&](CLumProgram& p) { p.Import({strMissing}); });
    std::vector<std::string> aTrail = RunImage(basic, image);
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0].rfind("Die Datei \"" + strMissing + "\" kann nicht gelesen werden", 0), 0u);
    EXPECT_NE(std::find(aTrail.begin(), aTrail.end(), Format(LUM_MSG_IMPORTED_MACRO, strMissing)),
              aTrail.end());
    for (const std::string& str : aTrail)
        EXPECT_EQ(str.find("Zeile"), std::string::npos) << str;
}

TEST(Import, ProceduresOfNestedImportsStayCallable)
{
    CImageDir dir;
    std::string strDeep = dir.Save("deep.lbc", DeclarationsOnly("Deep%", 99));
    // middle.lbc imports deep.lbc and succeeds; broken.lbc imports it too and then fails.
    std::string strMiddle = dir.Save("middle.lbc", MainImage([&](CLumProgram& p) { p.Import({strDeep}); }));
    std::string strOther = dir.Save("other.lbc", DeclarationsOnly("Other%", 7));
    std::string strBroken = dir.Save("broken.lbc", MainImage([&](CLumProgram& p) {
                                         p.Import({strOther});
                                         p.Writer().Token(0x0581);
                                     }));
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage([&](CLumProgram& p) {
        p.Import({strMiddle});
        p.Assign("deep%", Fn("Deep%"));
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "deep%"), "99");

    auto failing = MainImage([&](CLumProgram& p) { p.Import({strBroken}); });
    EXPECT_FALSE(RunImage(basic, failing).empty());
    auto later =
        MainImage([](CLumProgram& p) { p.Assign("later%", Op(LBT_PLUS, Fn("Deep%"), Fn("Other%"))); });
    EXPECT_EQ(RunImage(basic, later), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "later%"), "106");
}

TEST(Import, ImportsWithoutEndFailCleanly)
{
    CImageDir dir;
    std::string strSelf = dir.Path("self.lbc");
    dir.Save("self.lbc", MainImage([&](CLumProgram& p) {
                 p.Assign("depth%", Op(LBT_PLUS, V("depth%"), L(1)));
                 p.Import({strSelf});
             }));
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
