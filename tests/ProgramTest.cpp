// A whole program run by the command-line host: procedures and functions of its own
// and of imported libraries, every kind of loop and branch, arrays, a message box.
// The images go to a temporary directory and import each other by relative paths.
#include "tests/LumImageDir.h"
#include "tests/LumProgramBuilder.h"

#include <lumbasic/LumMessageBox.h>

#include <filesystem>
#include <sstream>

using namespace lumtest;

namespace
{
CLumTree Add(const CLumTree& l, const CLumTree& r)
{
    return Op(LBT_PLUS, l, r);
}
CLumTree Sub(const CLumTree& l, const CLumTree& r)
{
    return Op(LBT_MINUS, l, r);
}
CLumTree Mul(const CLumTree& l, const CLumTree& r)
{
    return Op(LBT_MUL, l, r);
}
CLumTree Inc(const char* pszName)
{
    return Add(V(pszName), L(1));
}

// lib/strings.lbc: declarations only.
//   Function Repeat$(s$, n%): Dim k%: For k% = 1 To n%: Repeat$ = Repeat$ + s$: Next
//   Sub Append(s$): log$ = log$ + s$ + ";"
std::vector<uint8_t> StringsLibrary()
{
    CLumProgram p("strings.lbd");
    p.Declare("Repeat$");
    p.Declare("Append");
    p.Terminator();
    p.Function("Repeat$", "s$:n%");
    p.Assign("Repeat$", S(""));
    p.DimLocal("k%");
    p.For("k%", L(1), V("n%"));
    p.Assign("Repeat$", Add(V("Repeat$"), V("s$")));
    p.Next();
    p.End(LBT_FUNCTION);
    p.Sub("Append", "s$");
    p.Assign("log$", Add(Add(V("log$"), V("s$")), S(";")));
    p.End();
    return p.Finish();
}

// Function Gcd%(a%, b%): While a% <> b%: If a% > b% Then a% = a% - b% Else b% = b% - a%
void WriteGcd(CLumProgram& p)
{
    p.Function("Gcd%", "a%:b%");
    p.While(Op(LBT_NE, V("a%"), V("b%")));
    p.If(Op(LBT_GT, V("a%"), V("b%")));
    p.Assign("a%", Sub(V("a%"), V("b%")));
    p.Else();
    p.Assign("b%", Sub(V("b%"), V("a%")));
    p.EndIf();
    p.Wend();
    p.Assign("Gcd%", V("a%"));
    p.End(LBT_FUNCTION);
}

// Function IsPrime%(n%): trial division, the remainder by a long quotient.
void WriteIsPrime(CLumProgram& p)
{
    p.Function("IsPrime%", "n%");
    p.Assign("IsPrime%", Op(LBT_GE, V("n%"), L(2)));
    p.Assign("d%", L(2));
    p.While(Op(LBT_AND, Op(LBT_LE, Mul(V("d%"), V("d%")), V("n%")), V("IsPrime%")));
    p.Assign("q%", Op(LBT_DIV, V("n%"), V("d%")));
    p.If(Op(LBT_EQ, Mul(V("q%"), V("d%")), V("n%")));
    p.Assign("IsPrime%", L(0));
    p.EndIf();
    p.Assign("d%", Inc("d%"));
    p.Wend();
    p.End(LBT_FUNCTION);
}

// Function Fact(n%): recursive.
void WriteFact(CLumProgram& p)
{
    p.Function("Fact", "n%");
    p.If(Op(LBT_LE, V("n%"), L(1)));
    p.Assign("Fact", L(1));
    p.Else(true);
    p.Assign("Fact", Mul(V("n%"), Fn("Fact", {Sub(V("n%"), L(1))})));
    p.EndIf();
    p.End(LBT_FUNCTION);
}

// Sub BubbleSort(count%): sorts the global array arr%(1 .. count%).
void WriteBubbleSort(CLumProgram& p)
{
    p.Sub("BubbleSort", "count%");
    p.For("i%", L(1), Sub(V("count%"), L(1)));
    p.For("j%", L(1), Sub(V("count%"), V("i%")));
    p.If(Op(LBT_GT, Elem("arr%", {V("j%")}), Elem("arr%", {Inc("j%")})));
    p.Assign("t%", Elem("arr%", {V("j%")}));
    p.AssignElement("arr%", {V("j%")}, Elem("arr%", {Inc("j%")}));
    p.AssignElement("arr%", {Inc("j%")}, V("t%"));
    p.Assign("swaps%", Inc("swaps%"));
    p.EndIf();
    p.Next();
    p.Next();
    p.End();
}

// lib/math.lbc: imports the strings library in its Main, then offers its functions.
std::vector<uint8_t> MathLibrary()
{
    CLumProgram p("math.lbd");
    p.Sub("Main");
    for (const char* pszName : {"Gcd%", "IsPrime%", "Fact", "BubbleSort"})
        p.Declare(pszName);
    p.Import({"lib/strings.lbc"});
    p.Assign("mathLoaded%", L(1));
    p.End();
    p.Terminator();
    WriteGcd(p);
    WriteIsPrime(p);
    WriteFact(p);
    WriteBubbleSort(p);
    return p.Finish();
}

// Primes below 50 by a function of the library, counted and summed.
void WritePrimes(CLumProgram& p)
{
    p.Assign("primes%", L(0));
    p.Assign("primeSum%", L(0));
    p.For("i%", L(2), L(50));
    p.If(Fn("IsPrime%", {V("i%")}));
    p.Assign("primes%", Inc("primes%"));
    p.Assign("primeSum%", Add(V("primeSum%"), V("i%")));
    p.EndIf();
    p.Next();
}

// Squares into an array by a Sub of the program, summed by a While loop.
void WriteSquares(CLumProgram& p)
{
    p.Call("FillSquares", {L(10)});
    p.Assign("total%", L(0));
    p.Assign("j%", L(1));
    p.While(Op(LBT_LE, V("j%"), L(10)));
    p.Assign("total%", Add(V("total%"), Elem("sq%", {V("j%")})));
    p.Assign("j%", Inc("j%"));
    p.Wend();
}

// Fibonacci by Do ... Loop Until, powers of two by Do ... Loop While.
void WriteDoLoops(CLumProgram& p)
{
    p.Assign("a%", L(0));
    p.Assign("b%", L(1));
    p.Assign("n%", L(0));
    p.Do();
    p.Assign("t%", Add(V("a%"), V("b%")));
    p.Assign("a%", V("b%"));
    p.Assign("b%", V("t%"));
    p.Assign("n%", Inc("n%"));
    p.Loop(LBT_LOOP, Op(LBT_GE, V("n%"), L(20)));
    p.Assign("pow%", L(1));
    p.Do();
    p.Assign("pow%", Mul(V("pow%"), L(2)));
    p.Loop(LBT_WHILE, Op(LBT_LT, V("pow%"), L(1000)));
}

// Eight numbers sorted by the library, then joined with commas.
void WriteSort(CLumProgram& p)
{
    const int aValues[] = {5, 3, 8, 1, 9, 2, 7, 4};
    for (int i = 0; i < 8; ++i)
        p.AssignElement("arr%", {L(i + 1)}, L(aValues[i]));
    p.Assign("swaps%", L(0));
    p.Call("BubbleSort", {L(8)});
    p.Assign("joined$", S(""));
    p.For("k%", L(1), L(8));
    p.If(Op(LBT_GT, V("k%"), L(1)));
    p.Assign("joined$", Add(V("joined$"), S(",")));
    p.EndIf();
    p.Assign("joined$", Add(V("joined$"), Elem("arr%", {V("k%")})));
    p.Next();
}

// FizzBuzz counts over 1 .. 15 with an If chain in Else branches, and a table of
// products over 40 by nested For loops.
void WriteCounting(CLumProgram& p)
{
    for (const char* pszName : {"fizz%", "buzz%", "fizzbuzz%", "plain%", "big%"})
        p.Assign(pszName, L(0));
    p.For("k%", L(1), L(15));
    p.Assign("q%", Op(LBT_DIV, V("k%"), L(3)));
    p.Assign("by3%", Op(LBT_EQ, Mul(V("q%"), L(3)), V("k%")));
    p.Assign("q%", Op(LBT_DIV, V("k%"), L(5)));
    p.Assign("by5%", Op(LBT_EQ, Mul(V("q%"), L(5)), V("k%")));
    p.If(Op(LBT_AND, V("by3%"), V("by5%")));
    p.Assign("fizzbuzz%", Inc("fizzbuzz%"));
    p.Else();
    p.If(V("by3%"));
    p.Assign("fizz%", Inc("fizz%"));
    p.Else(true);
    p.If(V("by5%"));
    p.Assign("buzz%", Inc("buzz%"));
    p.Else();
    p.Assign("plain%", Inc("plain%"));
    p.EndIf();
    p.EndIf();
    p.EndIf();
    p.Next();
    p.For("r%", L(1), L(9));
    p.For("c%", L(1), L(9));
    p.If(Op(LBT_GT, Mul(V("r%"), V("c%")), L(40)));
    p.Assign("big%", Inc("big%"));
    p.EndIf();
    p.Next();
    p.Next();
}

// Steps downwards and in fractions, strings from the strings library, a message box.
void WriteMisc(CLumProgram& p)
{
    p.Assign("down$", S(""));
    p.For("k%", L(5), L(1), L(-1));
    p.Assign("down$", Add(V("down$"), V("k%")));
    p.Next();
    p.Assign("acc", L(0));
    p.For("x", L(0), L(1), D(0.25));
    p.Assign("acc", Add(V("acc"), V("x")));
    p.Next();
    p.Assign("stars$", Add(Fn("Repeat$", {S("*"), L(3)}), Fn("Repeat$", {S("ab"), L(2)})));
    p.Assign("log$", S(""));
    p.Call("Append", {S("x")});
    p.Call("Append", {Fn("Repeat$", {S("y"), Fn("Gcd%", {L(4), L(6)})})});
    p.Assign("answer%", CLumTree::Function(LBT_SHOWMESSAGE,
                                           {S("Frage"), S("Fertig?"), L(LUM_MB_YESNO | LUM_MB_DEFBUTTON2)}));
}

std::vector<uint8_t> MainProgram()
{
    CLumProgram p("main.lbd");
    p.Line(1);
    p.Sub("Main");
    p.Declare("FillSquares");
    p.Line(3);
    p.Import({"lib/math.lbc"});
    WritePrimes(p);
    WriteSquares(p);
    p.Assign("fact", Fn("Fact", {L(12)}));
    p.Assign("gcd%", Fn("Gcd%", {L(1071), L(462)}));
    WriteDoLoops(p);
    WriteSort(p);
    WriteCounting(p);
    WriteMisc(p);
    p.Line(99);
    p.End();
    p.Terminator();
    // Sub FillSquares(n%): For k% = 1 To n%: sq%(k%) = k% * k%: Next
    p.Sub("FillSquares", "n%");
    p.For("k%", L(1), V("n%"));
    p.AssignElement("sq%", {V("k%")}, Mul(V("k%"), V("k%")));
    p.Next();
    p.End();
    return p.Finish();
}
} // namespace

TEST(Program, AWholeProgramWithLibrariesLeavesTheExpectedStore)
{
    CImageDir dir;
    std::filesystem::create_directory(dir.Path("lib"));
    dir.Save("lib/strings.lbc", StringsLibrary());
    dir.Save("lib/math.lbc", MathLibrary());
    dir.Save("main.lbc", MainProgram());

    CliResult result = RunCli(dir, "run --answer 6 --dump main.lbc");
    EXPECT_EQ(result.m_nStatus, 0) << result.m_strErr;
    EXPECT_EQ(result.m_strErr, "Frage\nFertig?\n");
    const char* const apszExpected[] = {
        "L:mathLoaded%=1",
        "L:primes%=15",
        "L:primeSum%=328",
        "L:total%=385",
        "L:sq%:10=100",
        "D:fact=479001600.000000",
        "L:gcd%=21",
        "L:a%=6765",
        "L:n%=20",
        "L:pow%=1024",
        "S:joined$=1,2,3,4,5,7,8,9",
        "L:swaps%=14",
        "L:fizzbuzz%=1",
        "L:fizz%=4",
        "L:buzz%=2",
        "L:plain%=8",
        "L:big%=17",
        "L:r%=10",
        "S:down$=54321",
        "L:k%=0",
        "D:acc=2.500000",
        "D:x=1.250000",
        "S:stars$=***abab",
        "S:log$=x;yy;",
        "L:answer%=6",
    };
    std::istringstream in(result.m_strOut);
    std::vector<std::string> aLines;
    for (std::string strLine; std::getline(in, strLine);)
        aLines.push_back(strLine);
    for (const char* pszLine : apszExpected)
        EXPECT_NE(std::find(aLines.begin(), aLines.end(), pszLine), aLines.end()) << pszLine;
}

TEST(Program, AFailureDeepInsideALibraryNamesTheMacroAndTheLines)
{
    CImageDir dir;
    std::filesystem::create_directory(dir.Path("lib"));
    CLumProgram lib("broken.lbd");
    lib.Line(7);
    lib.Sub("Main");
    lib.Line(8);
    lib.Assign("half", Op(LBT_DIV, L(1), L(0)));
    lib.End();
    lib.Terminator();
    dir.Save("lib/broken.lbc", lib.Finish());
    CLumProgram main("main.lbd");
    main.Line(1);
    main.Sub("Main");
    main.Line(2);
    main.Import({"lib/broken.lbc"});
    main.End();
    main.Terminator();
    dir.Save("main.lbc", main.Finish());

    CliResult result = RunCli(dir, "run main.lbc");
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_EQ(result.m_strErr.rfind("Division durch Null.\n", 0), 0u) << result.m_strErr;
    size_t nMacro = result.m_strErr.find("Der Fehler trat im importierten Makro \"lib/broken.lbc\" auf.\n");
    size_t nInner = result.m_strErr.find("Der Fehler trat in Zeile 8 der Quelldatei auf.\n");
    size_t nOuter = result.m_strErr.find("Der Fehler trat in Zeile 2 der Quelldatei auf.\n");
    ASSERT_NE(nMacro, std::string::npos);
    EXPECT_LT(nMacro, nInner);
    EXPECT_LT(nInner, nOuter);
    EXPECT_NE(nOuter, std::string::npos);
}
