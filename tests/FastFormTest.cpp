// What the fast form of a program could get wrong and the stream gets right: a class
// that replaces a handler, a variable whose type changes between passes, a damaged
// statement behind statements that ran. Programs of the compiler run both ways in
// CompilerProgramTest; these are the forms it does not write.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"
#include "tests/LumProgramBuilder.h"

#include <lumbasic/LumCompile.h>

#include <algorithm>
#include <functional>

using namespace lumtest;

namespace
{
// Counts the statements its Assign handler gets.
class CCountingBasic : public CLumBasic
{
public:
    explicit CCountingBasic(CLumVariables* pVariables) : CLumBasic(pVariables, nullptr) {}
    int m_nAssigns = 0;

protected:
    int Assign() override
    {
        ++m_nAssigns;
        return CLumBasic::Assign();
    }
};

// For i% = 1 To 50: s = s + i%: Next
std::vector<uint8_t> SumLoop()
{
    return MainImage([](CTestProgram& p) {
        p.For("i%", L(1), L(50));
        p.Assign("s", Op(LBT_PLUS, V("s"), V("i%")));
        p.Next();
    });
}

// The trail and the store after a run of `strSource`, fast or plain, whose host
// function `pszName` changes the store with `fnSpoil` wherever the program calls it.
std::string SpoiledOutcome(const std::string& strSource, bool fPlain, const char* pszName,
                           const std::function<void(CLumVariables&)>& fnSpoil)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.SetFastPaths(!fPlain);
    basic.RegisterFunction(pszName, 1, [&](CLumHostArgs&) {
        fnSpoil(vars);
        return CLumsVarValue(0L);
    });
    std::string strOutcome;
    for (const std::string& str : RunImage(basic, LumCompile(strSource, basic, SLumCompileSettings())))
        strOutcome += str + "\n";
    vars.MakeString(&strOutcome);
    return strOutcome;
}
// The trail, the statements counted and the store after a run of `aImage`, fast or
// plain, under a statement limit (0 for none).
std::string LimitedOutcome(const std::vector<uint8_t>& aImage, bool fPlain, unsigned long nLimit)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.SetFastPaths(!fPlain);
    basic.SetStatementLimit(nLimit);
    std::string strOutcome;
    for (const std::string& str : RunImage(basic, aImage))
        strOutcome += str + "\n";
    strOutcome += "statements " + std::to_string(basic.GetStatementCount()) + "\n";
    vars.MakeString(&strOutcome);
    return strOutcome;
}
// A program compiled and run fast and plain under a statement limit: both ways give the
// same outcome, which shows `pszSeen`.
void ExpectLimitedAlike(const std::string& strSource, unsigned long nLimit, const char* pszSeen,
                        const char* pszName)
{
    std::vector<uint8_t> aImage;
    std::string strDiagnostics = CompileText(strSource, aImage);
    ASSERT_EQ(strDiagnostics.find("error"), std::string::npos) << pszName << strDiagnostics;
    std::string strFast = LimitedOutcome(aImage, false, nLimit);
    EXPECT_EQ(strFast, LimitedOutcome(aImage, true, nLimit)) << pszName;
    EXPECT_NE(strFast.find(pszSeen), std::string::npos) << pszName << "\n" << strFast;
}
} // namespace

TEST(FastForm, AReplacedHandlerIsCalledForEveryStatementOfALoop)
{
    CLumVariables vars;
    CCountingBasic basic(&vars);
    EXPECT_EQ(RunImage(basic, SumLoop()), std::vector<std::string>{});
    EXPECT_EQ(basic.m_nAssigns, 50);
    EXPECT_EQ(RunOutcome(SumLoop(), false), RunOutcome(SumLoop(), true));
}

// P reads the global w as a number in passes 1 and 2; then a Dim makes w a local
// string, which the compiler never writes for a name without '$', and the sum meets it.
TEST(FastForm, AVariableThatTurnsIntoAStringBetweenPassesFailsAsOnTheStream)
{
    std::vector<uint8_t> aImage = MainImage(
        [](CTestProgram& p) {
            p.Declare("P");
            p.Assign("w", L(2));
            p.Call("P");
        },
        [](CTestProgram& p) {
            p.Sub("P");
            p.For("i%", L(1), L(4));
            p.Assign("t", Op(LBT_PLUS, V("t"), V("w")));
            p.If(Op(LBT_EQ, V("i%"), L(2)));
            CLumImageWriter& w = p.Writer();
            w.Token(LBT_DIM);
            w.CountedText("w");
            w.Token(LBT_AS);
            w.Token(LBT_TYPE_STRING);
            w.Separator();
            p.EndIf();
            p.Next();
            p.End();
        });
    std::string strFast = RunOutcome(aImage, false);
    EXPECT_EQ(strFast, RunOutcome(aImage, true));
    EXPECT_NE(strFast.find("D:t=4.000000"), std::string::npos) << strFast;
}

// A loop runs its passes, then the image ends inside the statement behind it.
TEST(FastForm, AnImageCutBehindALoopFailsAsOnTheStream)
{
    std::vector<uint8_t> aImage = MainImage([](CTestProgram& p) {
        p.For("i%", L(1), L(3));
        p.Assign("s", Op(LBT_PLUS, V("s"), V("i%")));
        p.Next();
        p.Assign("after", Op(LBT_MUL, V("s"), L(2)));
    });
    const std::string strName = "after";
    auto it = std::search(aImage.begin(), aImage.end(), strName.begin(), strName.end());
    ASSERT_NE(it, aImage.end());
    aImage.erase(it + static_cast<long>(strName.size()) + 4, aImage.end());
    std::string strFast = RunOutcome(aImage, false);
    EXPECT_EQ(strFast, RunOutcome(aImage, true));
    EXPECT_NE(strFast.find("D:s=6.000000"), std::string::npos) << strFast;
    EXPECT_EQ(strFast.find("D:after"), std::string::npos) << strFast;
    EXPECT_NE(strFast.find("CLumBasic::Do()"), std::string::npos) << strFast;
}

// B%'s declaration damaged to lead into the middle of C's body: C's End then ends A%'s
// call, and A%'s own End Main's. Each assignment that called a function stores where
// the handler stores (the target named before the call), and Main's next statement,
// outside every procedure now, fails as it does on the stream.
TEST(FastForm, FunctionsThatUnbalanceTheProceduresLeaveTheStoreAsOnTheStream)
{
    std::vector<uint8_t> aImage;
    ASSERT_EQ(
        CompileText("Declare Function A%(n%)\nDeclare Function B%(n%)\nSub Main\n x% = A%(1)\n y% = 5\n"
                    "End Sub\nFunction A%(n%)\n A% = B%(n%)\nEnd Function\n"
                    "Function B%(n%)\n B% = 7\nEnd Function\nFunction C(k%)\n s = 0\n C = 3\nEnd Function\n",
                    aImage),
        "");
    std::string strListing = Listing(aImage);
    auto OffsetOf = [&](const std::string& strText) {
        size_t n = strListing.find(strText);
        EXPECT_NE(n, std::string::npos) << strText;
        return std::stoul(strListing.substr(strListing.rfind("0x", n), 6), nullptr, 16);
    };
    uint32_t nHead = static_cast<uint32_t>(OffsetOf("LBT_FUNCTION     \"B%\""));
    uint32_t nMiddle = static_cast<uint32_t>(OffsetOf("LBT_ASSIGN       \"C\" = 3"));
    const uint8_t aHead[4] = {uint8_t(nHead), uint8_t(nHead >> 8), uint8_t(nHead >> 16),
                              uint8_t(nHead >> 24)};
    auto it = std::search(aImage.begin(), aImage.end(), std::begin(aHead), std::end(aHead));
    ASSERT_NE(it, aImage.end());
    for (int i = 0; i < 4; ++i)
        it[i] = static_cast<uint8_t>(nMiddle >> (8 * i));
    std::string strFast = RunOutcome(aImage, false);
    EXPECT_EQ(strFast, RunOutcome(aImage, true));
    EXPECT_NE(strFast.find("außerhalb aller Subs"), std::string::npos) << strFast;
    EXPECT_NE(strFast.find("L:@A%@A%=0"), std::string::npos) << strFast;
}

// Functions that run whole once warmed up take their Else and leave their loops as the
// stream does. The If's false way leads onto the Else, which then goes on into its
// branch: a form only other writers make, and the one way an Else is passed untaken.
TEST(FastForm, FunctionsRunWholeTakeElseAndLoopsAsTheStreamDoes)
{
    std::vector<uint8_t> aImage = MainImage(
        [](CTestProgram& p) {
            for (const char* pszName : {"Pick%", "UpWhile%", "UpUntil%"})
                p.Declare(pszName);
            p.For("i%", L(1), L(10));
            p.Assign("e%", Op(LBT_PLUS, V("e%"), Fn("Pick%", {V("i%")})));
            p.Assign("w%", Op(LBT_PLUS, V("w%"), Fn("UpWhile%", {V("i%")})));
            p.Assign("u%", Op(LBT_PLUS, V("u%"), Fn("UpUntil%", {V("i%")})));
            p.Next();
        },
        [](CTestProgram& p) {
            p.Function("Pick%", "n%");
            p.If(Op(LBT_OR, Op(LBT_LT, V("n%"), L(4)), Op(LBT_GT, V("n%"), L(6))));
            p.Assign("Pick%", V("n%"));
            p.Else();
            p.Assign("Pick%", Op(LBT_MUL, V("n%"), L(100)));
            p.EndIf();
            p.End(LBT_FUNCTION);
            for (unsigned short wKind : {LBT_WHILE, LBT_LOOP}) // Loop While, Loop Until
            {
                const char* pszName = wKind == LBT_WHILE ? "UpWhile%" : "UpUntil%";
                p.Function(pszName, "n%");
                p.Assign("k%", L(0));
                p.Assign("s%", L(0));
                p.Do();
                p.Assign("k%", Op(LBT_PLUS, V("k%"), L(1)));
                p.Assign("s%", Op(LBT_PLUS, V("s%"), V("k%")));
                p.Loop(wKind, Op(wKind == LBT_WHILE ? LBT_LT : LBT_GE, V("k%"), V("n%")));
                p.Assign(pszName, V("s%"));
                p.End(LBT_FUNCTION);
            }
        });
    std::string strFast = RunOutcome(aImage, false);
    EXPECT_EQ(strFast, RunOutcome(aImage, true));
    for (const char* pszLine : {"L:e%=1540\n", "L:w%=220\n", "L:u%=220\n"})
        EXPECT_NE(strFast.find(pszLine), std::string::npos) << pszLine << strFast;
}

// Where something can look at a recursion the fast form would run whole, it sees what
// the regular way leaves: a host callback reading a local at each level (all calls of
// a procedure share its locals), a failure four calls deep, an import inside a
// function, the store after each. Each program warms its calls up first, so that the
// later ones would run whole.
TEST(FastForm, FunctionsRunWholeShowTheRegularWaysStoreWhereverSomethingLooks)
{
    CImageDir dir;
    std::string strLibrary =
        dir.Save("lib.lbc", LumCompile("Function Half(x)\n  Half = x / 2\nEnd Function\n"));
    const std::string strSum = "Function Sum(n%, z%)\n"
                               "  If n% = 0 Then\n"
                               "    Sum = 12 / z%\n"
                               "  Else\n"
                               "    Sum = Peek(\"@Sum@n%\") + Sum(n% - 1, z%)\n"
                               "  End If\n"
                               "End Function\n";
    const struct
    {
        const char* m_pszName;
        std::string m_strSource;
        const char* m_pszSeen; // a line the store or the log must show
    } aCases[] = {
        {"a callback reads the local at every level",
         "Sub Main\n  For i% = 1 To 3\n    s = s + Sum(3, 1)\n  Next i%\nEnd Sub\n" + strSum,
         "@Sum@n%=2 @Sum@n%=1 @Sum@n%=3"},
        {"a failure four calls deep",
         "Sub Main\n  For i% = 1 To 4\n    s = s + Sum(3, 3 - i%)\n  Next i%\nEnd Sub\n" +
             strSum.substr(0, strSum.find("Peek")) + "n% + Sum(n% - 1, z%)\n  End If\nEnd Function\n",
         "Division durch Null"},
        {"an import inside a function",
         "Declare Function Half(x)\nSub Main\n  For i% = 1 To 3\n    s = s + Get(i%)\n  Next i%\nEnd Sub\n"
         "Function Get(n%)\n  Import \"" +
             strLibrary + "\"\n  Get = Half(n%) + Peek(\"@Get@n%\")\nEnd Function\n",
         "D:s=9.000000"},
    };
    for (const auto& c : aCases)
    {
        std::string aOutcomes[2];
        for (bool fPlain : {false, true})
        {
            CLumVariables vars;
            CLumBasic basic(&vars, nullptr);
            basic.SetFastPaths(!fPlain);
            std::string& strOutcome = aOutcomes[fPlain];
            basic.RegisterFunction("Peek", 1, [&](CLumHostArgs& a) {
                CLumsVarValue* pValue = vars.Find(a.GetText(1).c_str(), nullptr);
                strOutcome += a.GetText(1) + "=" + (pValue != nullptr ? pValue->GetText() : "?") + " ";
                return pValue != nullptr ? *pValue : CLumsVarValue(0L);
            });
            SLumCompileSettings settings;
            settings.m_strSourceName = "prog.lbd";
            std::vector<uint8_t> aImage = LumCompile(c.m_strSource, basic, settings);
            for (const std::string& str : RunImage(basic, aImage))
                strOutcome += "\n" + str;
            strOutcome += "\n";
            vars.MakeString(&strOutcome);
        }
        EXPECT_EQ(aOutcomes[0], aOutcomes[1]) << c.m_pszName;
        EXPECT_NE(aOutcomes[0].find(c.m_pszSeen), std::string::npos) << c.m_pszName << "\n" << aOutcomes[0];
    }
}

// For loops inside functions the fast form runs whole, against the plain way: steps of
// both kinds and signs, a body that moves the counter, an end that reads the counter's
// start, a loop that runs once though its range is empty, and a loop in a recursion.
TEST(FastForm, ForLoopsInFunctionsRunWholeAsTheyRunPlain)
{
    const struct
    {
        const char* m_pszName;
        const char* m_pszBody; // of Function F(n%), whose result is t
    } aCases[] = {
        {"a double step", "  For x = 1 To n% Step 0.5\n    t = t + x\n  Next x\n"},
        {"a negative step", "  For i% = n% To 1 Step -2\n    t = t + i%\n  Next\n"},
        {"the body moves the counter", "  For i% = 1 To 10\n    i% = i% + n%\n    t = t + i%\n  Next i%\n"},
        {"the end reads the counter", "  For i% = n% To i% + 3\n    t = t + 1\n  Next\n"},
        {"an empty range runs once", "  For i% = 5 To n% - 10\n    t = t + 7\n  Next\n"},
        {"nested with an If",
         "  For i% = 1 To n%\n    For j% = i% To n%\n      If j% > 2 Then\n        t = t + j%\n"
         "      Else\n        t = t - 1\n      End If\n    Next j%\n  Next i%\n"},
        {"in a recursion",
         "  If n% > 0 Then\n    For i% = 1 To 2\n      t = t + F(n% - 1)\n    Next i%\n  End If\n"},
    };
    for (const auto& c : aCases)
    {
        std::string strSource = std::string("Declare Function F(n%)\nSub Main\n  For k% = 1 To 6\n    t = 0\n"
                                            "    s = s + F(k%)\n  Next k%\nEnd Sub\nFunction F(n%)\n") +
                                c.m_pszBody + "  F = t\nEnd Function\n";
        std::vector<uint8_t> aImage;
        std::string strDiagnostics = CompileText(strSource, aImage);
        ASSERT_EQ(strDiagnostics.find("error"), std::string::npos) << c.m_pszName << strDiagnostics;
        std::string strFast = RunOutcome(aImage, false);
        EXPECT_EQ(strFast, RunOutcome(aImage, true)) << c.m_pszName;
        EXPECT_NE(strFast.find("D:s="), std::string::npos) << c.m_pszName << "\n" << strFast;
    }
}

// What a body compiled for closed runs keeps across calls, against the plain way: its
// variables, which it must find again once the host dropped the object of one (before
// the tenth call), and its links, the Else taken first in the twelfth call.
TEST(FastForm, CompiledBodiesFindTheirVariablesAndLinksAfresh)
{
    const struct
    {
        const char* m_pszName;
        const char* m_pszBody; // of Function F(n%)
        const char* m_pszSeen; // a line the store must show
    } aCases[] = {
        {"an object dropped", "  For j% = 1 To 3\n    t = t + j% * w\n  Next j%\n  w = w + 1\n",
         "D:s=5400.000000"},
        {"a link made late", "  If n% < 12 Then\n    t = t + n%\n  Else\n    w = w + 2\n  End If\n",
         "D:s=979.000000"},
    };
    for (const auto& c : aCases)
    {
        std::string strSource = std::string("Declare Function F(n%)\nSub Main\n  w = 1\n  For i% = 1 To 20\n"
                                            "    If i% = 10 Then\n      x = Drop(0)\n    End If\n"
                                            "    s = s + F(i%)\n  Next i%\nEnd Sub\nFunction F(n%)\n") +
                                c.m_pszBody + "  F = t + w\nEnd Function\n";
        auto fnDrop = [](CLumVariables& vars) {
            vars.SetValue("w", nullptr);
        };
        std::string strFast = SpoiledOutcome(strSource, false, "Drop", fnDrop);
        EXPECT_EQ(strFast, SpoiledOutcome(strSource, true, "Drop", fnDrop)) << c.m_pszName;
        EXPECT_NE(strFast.find(c.m_pszSeen), std::string::npos) << c.m_pszName << "\n" << strFast;
    }
}

// Built-ins of numbers and elements inside functions the fast form runs whole, against
// the plain way: a failure inside an argument, an argument or an element a host
// callback turned into a string, a failure at the bottom of a recursion, and built-ins
// inside each other with Round's digits and modes taken from the parameter. Main calls
// F six times; Spoil() turns `v` and a(2) into strings before the fourth call.
TEST(FastForm, BuiltinsAndElementsFailAsTheyFailPlain)
{
    const struct
    {
        const char* m_pszName;
        const char* m_pszBody; // of Function F(n%)
        const char* m_pszSeen; // a line the trail or the store must show
    } aCases[] = {
        {"a division by zero in an argument", "  F = Round(n% * 1.005, 2, 2) + Abs(10 / (n% - 5))\n",
         "Division durch Null"},
        {"an argument turned into a string", "  F = Fix(n% / 2) + Round(v, 1)\n",
         "ein numerischer Typ erwartet"},
        {"at the bottom of a recursion",
         "  If n% > 0 Then\n    t = F(n% - 1)\n    F = t + Abs(t - n%)\n  Else\n"
         "    F = Round(3 / (k% - 4), 1)\n  End If\n",
         "Division durch Null"},
        {"an element turned into a string, in a loop that writes elements",
         "  For e% = 1 To n%\n    a(e%) = a(e%) + Abs(b%(e%))\n  Next e%\n  F = a(n%)\n",
         "kein String zugewiesen"},
        {"elements written and made",
         "  For e% = 1 To n% + 1\n    b%(e%) = b%(e%) * 2 + e%\n  Next e%\n  F = b%(n%)\n", "L:b%:7="},
        {"elements by an index that turns to a double, a text or zero",
         "  For e% = 0 To n% + 2\n    j% = e% + 5\n    x = e% / 2\n    b%(j%) = b%(j%) + e%\n    a(x) = e%\n"
         "    a(e%) = a(e%) + x\n  Next e%\n  a(v) = 1\n  F = a(n%) + b%(n% + 5)\n",
         "L:b%:5=0\n"},
        {"inside each other",
         "  F = Fix(Frac(n% * 1.37) * 10) + Sgn(2 - n%) + Round(n% * 2.345, n% - 3, n% - 1)\n",
         "D:s=60.030000"},
        // Built-ins of texts are the fast form's own outside runs whole.
        {"texts cut and measured",
         "  F = InStr(w$, Right$(Left$(w$, n%), 1)) + Len(Mid$(w$, n% - 2, n% - 3)) * 10 + "
         "Asc(LTrim$(RTrim$(Right$(w$, n%)))) * 100 + InStr(w$, Chr$(96 + n%)) * 1000 + "
         "Val(Str$(n% * 1.25)) * 10000\n",
         "D:s=334665.000000"},
        {"a text turned into a number", "  F = Len(Right$(w$, n%) + Left$(u$, 2))\n",
         "Zeichenkette erwartet"},
    };
    for (const auto& c : aCases)
    {
        std::string strSource =
            std::string("Declare Function F(n%)\nSub Main\n  v = 0.25\n  w$ = \" abcdefgh \"\n  u$ = w$\n"
                        "  Dim a(6), b%(6)\n  For k% = 1 To 6\n"
                        "    a(k%) = k% * 0.75\n    b%(k%) = 2 - k%\n"
                        "    If k% = 4 Then\n      x = Spoil(0)\n    End If\n"
                        "    s = s + F(k%)\n  Next k%\nEnd Sub\nFunction F(n%)\n") +
            c.m_pszBody + "End Function\n";
        auto fnSpoil = [](CLumVariables& vars) {
            vars.SetValue("v", new CLumsVarValue("x"));
            vars.SetValue("a:2", new CLumsVarValue("x"));
            vars.SetValue("u$", new CLumsVarValue(2L));
        };
        std::string strFast = SpoiledOutcome(strSource, false, "Spoil", fnSpoil);
        EXPECT_EQ(strFast, SpoiledOutcome(strSource, true, "Spoil", fnSpoil)) << c.m_pszName;
        EXPECT_NE(strFast.find(c.m_pszSeen), std::string::npos) << c.m_pszName << "\n" << strFast;
    }
}

// Texts in functions the fast form runs whole, against the plain way: a text function
// called from a loop with a text parameter, texts made by the built-ins the fast form
// computes, joined, compared and measured, a recursion of texts, a Sub that writes a
// global text; and runs that give up after text writes (a division by zero, the
// statement limit), which leave the store as the plain way does.
TEST(FastForm, FunctionsRunWholeTakeTextsAsTheyRunPlain)
{
    const struct
    {
        const char* m_pszName;
        const char* m_pszBody; // of Function F$(n%, p$)
        const char* m_pszSeen; // a line the trail or the store must show
        unsigned long m_nLimit;
    } aCases[] = {
        {"a template and a suffix", "  F$ = Str$(Round(n% * 1234.5678, 2, 2), \"999.999,99\") + \" EUR\"\n",
         "7.407,41 EUR|", 0},
        {"a line built in a loop",
         "  l$ = \"\"\n  For i% = 1 To n%\n    l$ = l$ + Left$(p$, i%) + Str$(i%)\n  Next i%\n"
         "  F$ = RTrim$(LTrim$(l$))\n",
         "abc,d6|", 0},
        {"a text parameter measured",
         "  F$ = Str$(InStr(p$, \",\") * 100 + Len(p$) * 10 + Asc(Mid$(p$, n%, 1)))\n", "S:s$=587|588|", 0},
        {"texts compared",
         "  If Left$(p$, n%) = \" ab\" Or Right$(p$, n%) > \"f\" Then\n    F$ = \"yes\"\n  Else\n"
         "    F$ = p$ + Chr$(64 + n%)\n  End If\n",
         "|yes|", 0},
        {"a recursion of texts",
         "  If n% > 1 Then\n    F$ = F$(n% - 1, p$ + \"-\") + Str$(n%)\n  Else\n    F$ = Mid$(p$, 2, 3)\n"
         "  End If\n",
         "bc,11111|", 0},
        {"a Sub writes a global text", "  G Right$(p$, n%)\n  F$ = g$\n", "S:g$= f ef def ,def c,def \n", 0},
        {"slices at and beyond the ends of a text",
         "  x = n% / 2\n  a% = n% - 3\n  b% = 4 - n%\n  c% = 7 - n%\n  F$ = Left$(p$, a%) + \"/\" + "
         "Right$(p$, c%) + \"/\" + Mid$(p$, a%, b%) + \"/\" + Mid$(p$, c%) + \"/\" + Left$(p$, 20) + "
         "Right$(p$, x)\n",
         "| a/f //bc,def / abc,def f | ab/ //abc,def / abc,def ef |", 0},
        {"a division by zero after text writes", "  G \"x\"\n  F$ = p$\n  F$ = F$ + Str$(10 / (n% - 4))\n",
         "Division durch Null", 0},
        {"the statement limit inside a line being built",
         "  l$ = \"\"\n  For i% = 1 To n%\n    l$ = l$ + Left$(p$, i%) + Str$(i%)\n    G \"x\"\n  Next i%\n"
         "  F$ = l$\n",
         "S:g$=xxxxxx\n", 140},
        {"the statement limit at an element a closed run makes",
         "  For i% = 1 To 3\n    e(n% * 10 + i%) = i%\n  Next i%\n  F$ = p$\n", "D:e:41=1.000000\n", 102},
    };
    for (const auto& c : aCases)
    {
        std::string strSource = std::string("Declare Function F$(n%, p$)\nDeclare Sub G(q$)\nSub Main\n"
                                            "  w$ = \" abc,def \"\n  Dim e(3)\n  For k% = 1 To 6\n"
                                            "    r$ = F$(k%, w$)\n    s$ = s$ + r$ + \"|\"\n"
                                            "    t = t + Len(r$)\n  Next k%\nEnd Sub\n"
                                            "Sub G(q$)\n  g$ = g$ + q$\nEnd Sub\nFunction F$(n%, p$)\n") +
                                c.m_pszBody + "End Function\n";
        ExpectLimitedAlike(strSource, c.m_nLimit, c.m_pszSeen, c.m_pszName);
    }
}

// Loops of Main and of a Sub called the regular way, whose remaining passes the fast
// form runs closed from their Next, against the plain way: trail, store and statements
// counted. Some give up in their middle (a division by zero, an element to be made, a
// host function that spoils the store, the statement limit), where the
// regular way must take over with the store as it stood.
TEST(FastForm, LoopsOfProceduresRunningTheRegularWayRunClosedAsTheyRunPlain)
{
    const struct
    {
        const char* m_pszName;
        const char* m_pszMain; // the body of Main
        const char* m_pszSeen; // a line the trail or the store must show
        unsigned long m_nLimit;
    } aCases[] = {
        {"an empty loop and a loop of numbers",
         "  For k% = 1 To 300\n  Next k%\n  For i% = 1 To k%\n    s = s + i% * 1.5\n  Next i%\n",
         "D:s=68176.500000", 0},
        {"nested loops with Ifs and a While",
         "  For i% = 1 To 30\n    For j% = i% To 30 Step 3\n      If j% > 20 Then\n        t = t + j%\n      "
         "Else\n"
         "        t = t - 1\n      End If\n    Next j%\n    k% = 0\n    While k% < i%\n      k% = k% + 2\n"
         "    Wend\n    s = s + k%\n  Next i%\n",
         "D:t=", 0},
        {"calls of a Sub and a function",
         "  For i% = 1 To 200\n    Add i%, 2\n    s = s + Total(i% - Fix(i% / 7) * 7)\n  Next i%\n",
         "D:acc=40200.000000", 0},
        {"a division by zero on pass 50",
         "  For i% = 1 To 100\n    s = s + 1\n    s = s + 10 / (i% - 50)\n  Next i%\n", "Division durch Null",
         0},
        {"an element made on pass 11",
         "  Dim a(40)\n  For i% = 1 To 10\n    a(i%) = i%\n  Next i%\n  For i% = 1 To 10\n    s = s + 1\n  "
         "Next i%\n"
         "  For i% = 1 To 30\n    a(i%) = a(i%) + s\n  Next i%\n",
         "D:a:30=10.000000", 0},
        {"a loop left on pass 60 through its counter",
         "  For i% = 1 To 100\n    s = s + i%\n    If i% = 60 Then\n      i% = 200\n    End If\n  Next i%\n"
         "  For i% = 1 To 100\n    s = s + i%\n    If i% = 70 Then\n      i% = 300\n    End If\n  Next i%\n",
         "L:i%=301", 0},
        {"the statement limit inside a closed loop",
         "  For i% = 1 To 1000\n    s = s + i%\n    Add i%, 1\n  Next i%\n", "L:i%=", 700},
        {"a loop of a Sub called the regular way", "  Twice 50\n  Twice 60\n", "D:t=", 0},
    };
    for (const auto& c : aCases)
    {
        std::string strSource =
            std::string("Declare Sub Add(x, y)\nDeclare Function Total(k%)\nDeclare Sub Twice(n%)\n"
                        "Sub Main\n") +
            c.m_pszMain +
            "End Sub\nSub Add(x, y)\n  acc = acc + x * y\nEnd Sub\n"
            "Function Total(k%)\n  u = 0\n  For e% = 1 To k%\n    u = u + e%\n  Next e%\n"
            "  Total = u\nEnd Function\n"
            "Sub Twice(n%)\n  For j% = 1 To n%\n    t = t + j% * 2\n  Next j%\nEnd Sub\n";
        ExpectLimitedAlike(strSource, c.m_nLimit, c.m_pszSeen, c.m_pszName);
    }
    // A host function called on pass 30 of a loop in Main spoils the store; the
    // loop's passes before ran closed and must be the regular way's when it looks.
    std::string strSpoiled = "Sub Main\n  For i% = 1 To 60\n    s = s + i%\n    If i% = 30 Then\n"
                             "      x = Spoil(s)\n    End If\n    s = s + 1\n  Next i%\nEnd Sub\n";
    auto fnSpoil = [](CLumVariables& vars) {
        std::string strSeen;
        vars.MakeString(&strSeen);
        vars.SetValuesFromString(("S:seen$=" + strSeen.substr(0, strSeen.find('\n')) + "\nL:s=7\n").c_str());
    };
    std::string strFast = SpoiledOutcome(strSpoiled, false, "Spoil", fnSpoil);
    EXPECT_EQ(strFast, SpoiledOutcome(strSpoiled, true, "Spoil", fnSpoil));
    EXPECT_NE(strFast.find("S:seen$=L:i%=30"), std::string::npos) << strFast;
}

// The typed ops of compiled bodies (a sum, difference or product of two variables or
// constants, a Next of longs, an operator of two doubles) against the plain way: longs
// that wrap, a counter of no type that turns into a double, a recursion on a double, and
// a variable that Spoil() turns into a text, an empty value or a long before the fourth
// call of F.
TEST(FastForm, TypedOpsComputeAndGiveUpAsThePlainWay)
{
    const struct
    {
        const char* m_pszName;
        const char* m_pszBody; // of Function F(n%)
        const CLumsVarValue m_cSpoiled;
        const char* m_pszSeen; // a line the trail or the store must show
    } aCases[] = {
        {"a long sum that wraps",
         "  u% = 2147483000\n  For i% = 1 To n% * 100\n    u% = u% + i%\n    t = t + u%\n  Next i%\n",
         CLumsVarValue(0.5), "L:u%=-"},
        {"a long product that wraps",
         "  u% = 3\n  For i% = 1 To n% + 20\n    u% = u% * 7\n    t = t - u%\n  Next\n", CLumsVarValue(0.5),
         "D:s="},
        {"a counter of no type turns into a double",
         "  For x = 1 To n% + 2\n    t = t + x\n    If x = 3 Then x = x * 1.5\n  Next x\n",
         CLumsVarValue(0.5), "D:x="},
        {"a long counter to a double end, counting down",
         "  For i% = n% * 2 To 0.5 Step -1\n    t = t - i%\n    t = 2 * t\n  Next\n", CLumsVarValue(0.5),
         "L:i%=0"},
        {"a recursion on a double", "  t = G(n% * 1.5 + v)\n", CLumsVarValue(0.5), "D:s="},
        {"a variable turned into a text", "  For i% = 1 To n%\n    t = t + v\n    t = v * i%\n  Next\n",
         CLumsVarValue("x"), "kein String zugewiesen"},
        {"a variable emptied", "  For i% = 1 To n%\n    t = v - t\n    t = t + i%\n  Next\n", CLumsVarValue(),
         "D:s="},
        {"a variable turned into a long", "  For i% = 1 To n%\n    t = v + t\n    t = t * v\n  Next\n",
         CLumsVarValue(3L), "D:s="},
        {"two doubles, one turned into a long",
         "  For i% = 1 To n%\n    w = i% / 4\n    t = t + v * w\n    t = t - (w - v)\n    t = t * (w + v)\n  "
         "Next\n",
         CLumsVarValue(3L), "D:s="},
        {"conditions on a variable turned into a long",
         "  For i% = 1 To n% + 3\n    If i% >= 3 Then t = t + v\n    If v <> 2 Then t = t - i%\n"
         "    If i% < -1 Then t = 0\n  Next\n",
         CLumsVarValue(2L), "D:s="},
        {"a variable and a constant double, the variable turned into a text",
         "  For i% = 1 To n%\n    t = t + v * 1.5\n    t = t - (v + 0.25)\n  Next\n", CLumsVarValue("x"),
         "Der Operator * ist"},
        {"a variable and a constant double, the variable emptied",
         "  For i% = 1 To n%\n    t = t + v * 1.5\n    t = t - (v - 0.25)\n  Next\n", CLumsVarValue(),
         "D:s="},
        {"a condition on a variable emptied", "  If v = 0 Then\n    t = 7\n  Else\n    t = n%\n  End If\n",
         CLumsVarValue(), "D:s=27.000000"},
    };
    for (const auto& c : aCases)
    {
        std::string strSource =
            std::string("Declare Function F(n%)\nDeclare Function G(x)\nSub Main\n  v = 0.5\n"
                        "  For k% = 1 To 6\n    If k% = 4 Then\n      y = Spoil(0)\n"
                        "    End If\n    t = 0\n    s = s + F(k%)\n  Next k%\nEnd Sub\n"
                        "Function F(n%)\n") +
            c.m_pszBody +
            "  F = t\nEnd Function\nFunction G(x)\n  If x > 1 Then\n    G = G(x - 0.75) + x\n"
            "  Else\n    G = x * 2\n  End If\nEnd Function\n";
        auto fnSpoil = [&](CLumVariables& vars) {
            vars.SetValue("v", new CLumsVarValue(c.m_cSpoiled));
        };
        std::string strFast = SpoiledOutcome(strSource, false, "Spoil", fnSpoil);
        EXPECT_EQ(strFast, SpoiledOutcome(strSource, true, "Spoil", fnSpoil)) << c.m_pszName;
        EXPECT_NE(strFast.find(c.m_pszSeen), std::string::npos) << c.m_pszName << "\n" << strFast;
    }
}
