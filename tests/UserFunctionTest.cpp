// Functions of the program called from inside expressions: results, recursion,
// order of evaluation, a function ended by End Sub, and recursion without end.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

#include "res/LumMessages.h"

using namespace lumtest;

namespace
{
std::string Text(const CLumVariables& vars, const char* pszName)
{
    const CLumsVarValue* p = vars.Lookup(pszName);
    return p ? p->GetText() : "-";
}

// Function Fact(n%): If n% <= 1 Then Fact = 1 Else Fact = n% * Fact(n% - 1)
void WriteFact(CLumProgram& p)
{
    p.Function("Fact", "n%");
    p.If(Op(LBT_LE, V("n%"), L(1)));
    p.Assign("Fact", L(1));
    p.Else();
    p.Assign("Fact", Op(LBT_MUL, V("n%"), Fn("Fact", {Op(LBT_MINUS, V("n%"), L(1))})));
    p.EndIf();
    p.End(LBT_FUNCTION);
}

// Function Sum(n%): sums 1..n% by recursion, `nDepth` calls deep.
void WriteSum(CLumProgram& p)
{
    p.Function("Sum", "n%");
    p.If(Op(LBT_LE, V("n%"), L(0)));
    p.Assign("Sum", L(0));
    p.Else();
    p.Assign("Sum", Op(LBT_PLUS, V("n%"), Fn("Sum", {Op(LBT_MINUS, V("n%"), L(1))})));
    p.EndIf();
    p.End(LBT_FUNCTION);
}

// Function <name>: log$ = log$ + "<name>": calls% += 1: <name> = calls%
void WriteLogger(CLumProgram& p, const char* pszName)
{
    p.Function(pszName);
    p.Assign("log$", Op(LBT_PLUS, V("log$"), S(pszName)));
    p.Assign("calls%", Op(LBT_PLUS, V("calls%"), L(1)));
    p.Assign(pszName, V("calls%"));
    p.End(LBT_FUNCTION);
}
} // namespace

TEST(UserFunction, FunctionsReturnTheirResultsIntoExpressions)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CLumProgram& p) {
            for (const char* pszName : {"Twice", "Answer%", "Greet$", "Fact", "Unset%"})
                p.Declare(pszName);
            p.Assign("twice", Op(LBT_PLUS, Fn("Twice", {L(20)}), L(2)));
            p.Assign("answer%", Fn("Answer%"));
            p.Assign("greet$", Fn("Greet$", {S("Welt")}));
            p.Assign("fact", Fn("Fact", {L(10)}));
            p.Assign("unset%", Fn("Unset%"));
        },
        [](CLumProgram& p) {
            p.Function("Twice", "x");
            p.Assign("Twice", Op(LBT_MUL, V("x"), L(2)));
            p.End(LBT_FUNCTION);
            p.Function("Answer%");
            p.Assign("Answer%", L(42));
            p.End(LBT_FUNCTION);
            p.Function("Greet$", "who$");
            p.Assign("Greet$", Op(LBT_PLUS, S("Hallo "), V("who$")));
            p.End(LBT_FUNCTION);
            WriteFact(p);
            p.Function("Unset%");
            p.End(LBT_FUNCTION);
        });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "twice"), "42.000000");
    EXPECT_EQ(Text(vars, "answer%"), "42");
    EXPECT_EQ(Text(vars, "greet$"), "Hallo Welt");
    EXPECT_EQ(Text(vars, "fact"), "3628800.000000");
    EXPECT_EQ(Text(vars, "unset%"), "0");
}

TEST(UserFunction, CallsInOneExpressionRunLeftToRightAndGiveIndependentValues)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CLumProgram& p) {
            p.Declare("A%");
            p.Declare("B%");
            p.Declare("Pair%");
            p.Assign("log$", S(""));
            p.Assign("calls%", L(0));
            // A%() * 10 + B%(), then a function whose arguments are function calls.
            p.Assign("r%", Op(LBT_PLUS, Op(LBT_MUL, Fn("A%"), L(10)), Fn("B%")));
            p.Assign("again%", Op(LBT_MINUS, Fn("A%"), Fn("A%")));
            p.Assign("pair%", Fn("Pair%", {Fn("B%"), Fn("A%")}));
        },
        [](CLumProgram& p) {
            WriteLogger(p, "A%");
            WriteLogger(p, "B%");
            p.Function("Pair%", "x%:y%");
            p.Assign("Pair%", Op(LBT_PLUS, Op(LBT_MUL, V("x%"), L(100)), V("y%")));
            p.End(LBT_FUNCTION);
        });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "log$"), "A%B%A%A%B%A%");
    EXPECT_EQ(Text(vars, "r%"), "12");
    EXPECT_EQ(Text(vars, "again%"), "-1");
    EXPECT_EQ(Text(vars, "pair%"), "506");
}

TEST(UserFunction, AFunctionEndedByEndSubFailsAfterWhatItDid)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CLumProgram& p) {
            p.Declare("Broken");
            // No separator behind the statement: the call's own closes the list, so
            // the nested run goes on with the rest of Main and ends at its End.
            CLumImageWriter& w = p.Writer();
            w.Token(LBT_ASSIGN);
            w.Token(LBT_NAME);
            w.CountedText("y");
            w.Expression(Fn("Broken"));
            p.Assign("rest%", L(1));
        },
        [](CLumProgram& p) {
            p.Function("Broken");
            p.Assign("inside%", L(1));
            p.End(LBT_SUB);
        });
    std::vector<std::string> aTrail = RunImage(basic, image);
    ASSERT_GE(aTrail.size(), 3u);
    EXPECT_EQ(aTrail[0], LoadMessage(LUM_MSG_END_SUB_IN_FUNCTION));
    EXPECT_EQ(aTrail[1], "LUMBASICUSERFUNCTION");
    EXPECT_EQ(aTrail[2], "CLumExpression::UserFunction()");
    EXPECT_EQ(Text(vars, "inside%"), "1");
    EXPECT_EQ(Text(vars, "rest%"), "1");
    EXPECT_EQ(vars.Lookup("y"), nullptr);
}

TEST(UserFunction, RecursionRunsThousandsDeepAndFailsCleanlyWithoutEnd)
{
    // Well within the limit, also in sanitizer builds with their larger frames.
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CLumProgram& p) {
            p.Declare("Sum");
            p.Assign("sum", Fn("Sum", {V("n%")}));
        },
        WriteSum);
    vars.SetValuesFromString("L:n%=1000\n");
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Text(vars, "sum"), "500500.000000");

    // Without end: the limit of nested runs, not the machine's stack, stops it.
    CLumVariables endless;
    CLumBasic cEndless(&endless, nullptr);
    auto loop = MainImage(
        [](CLumProgram& p) {
            p.Declare("Again");
            p.Assign("x", Fn("Again"));
        },
        [](CLumProgram& p) {
            p.Function("Again");
            p.Assign("depth%", Op(LBT_PLUS, V("depth%"), L(1)));
            p.Assign("Again", Fn("Again"));
            p.End(LBT_FUNCTION);
        });
    std::vector<std::string> aTrail = RunImage(cEndless, loop);
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0].rfind("Die Schachtelungstiefe von ", 0), 0u) << aTrail[0];
    EXPECT_GE(endless.Lookup("depth%")->GetLong(), 1000);
}

TEST(UserFunction, RecursionFromTheBottomOfADeepTreeFailsCleanly)
{
    // Each nested run sits under some 900 levels of evaluation that no depth check sees;
    // the stack margin must still hold them at the last run that passes the check.
    CLumTree tree = Op(LBT_PLUS, L(1), Fn("Again"));
    for (int i = 0; i < 900; ++i)
        tree = Op(LBT_PLUS, L(1), tree);
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CLumProgram& p) {
            p.Declare("Again");
            p.Assign("x", Fn("Again"));
        },
        [&](CLumProgram& p) {
            p.Function("Again");
            p.Assign("depth%", Op(LBT_PLUS, V("depth%"), L(1)));
            p.Assign("Again", tree);
            p.End(LBT_FUNCTION);
        });
    std::vector<std::string> aTrail = RunImage(basic, image);
    ASSERT_FALSE(aTrail.empty());
    EXPECT_EQ(aTrail[0].rfind("Die Schachtelungstiefe von ", 0), 0u) << aTrail[0];
    EXPECT_GT(vars.Lookup("depth%")->GetLong(), 1);
}
