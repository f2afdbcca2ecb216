// Functions of the program called from inside expressions: a function ended by End
// Sub, and recursion from deep inside an expression tree.
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

} // namespace

TEST(UserFunction, AFunctionEndedByEndSubFailsAfterWhatItDid)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CTestProgram& p) {
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
        [](CTestProgram& p) {
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

// Results, order of evaluation and deep recursion are in tests/programs/functions.lbd,
// the limit of nested runs in LimitTest.
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
        [](CTestProgram& p) {
            p.Declare("Again");
            p.Assign("x", Fn("Again"));
        },
        [&](CTestProgram& p) {
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
