// Expression trees evaluated through assignments: operators, variables, arrays,
// constants and the failures of evaluation.
#include "tests/LumTestSupport.h"

using namespace lumtest;

namespace
{
// Runs Main with `x$`, `x%` or `x` assigned `tree` over a store prepared with `pszVars`.
std::string Evaluate(const char* pszTarget, const CLumTree& tree, const char* pszVars = "")
{
    CLumVariables vars;
    vars.SetValuesFromString(pszVars);
    CLumBasic basic(&vars, nullptr);
    std::vector<std::string> trail =
        RunImage(basic, MainProgram([&](CLumImageWriter& w) { AssignName(w, pszTarget, tree); }));
    if (!trail.empty())
        return "failure: " + trail[0];
    return vars.GetValue(pszTarget, nullptr)->GetText();
}

CLumTree Op(unsigned short wToken, const CLumTree& l, const CLumTree& r)
{
    return CLumTree::Operator(wToken, l, r);
}
CLumTree Long(int32_t n)
{
    return CLumTree::LongConst(n);
}
CLumTree Str(const char* psz)
{
    return CLumTree::StringConst(psz);
}
} // namespace

TEST(Expression, EveryOperator)
{
    struct Case
    {
        unsigned short m_wToken;
        CLumTree m_left, m_right;
        const char* m_pszResult;
    };
    const Case cases[] = {
        {LBT_AND, Long(2), Str("x"), "1"},   {LBT_AND, Long(2), Str(""), "0"},
        {LBT_OR, Long(0), Str(""), "0"},     {LBT_OR, Long(0), CLumTree::DoubleConst("0.5"), "1"},
        {LBT_EQ, Str("a"), Str("a"), "1"},   {LBT_NE, Long(1), CLumTree::DoubleConst("1.0"), "0"},
        {LBT_GT, Long(3), Long(2), "1"},     {LBT_LT, Str("B"), Str("a"), "1"},
        {LBT_GE, Long(2), Long(2), "1"},     {LBT_LE, Long(3), Long(2), "0"},
        {LBT_PLUS, Long(40), Long(2), "42"}, {LBT_MINUS, Long(40), Long(42), "-2"},
        {LBT_MUL, Long(6), Long(7), "42"},   {LBT_DIV, Long(7), Long(2), "3"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Evaluate("x%", Op(c.m_wToken, c.m_left, c.m_right)), c.m_pszResult)
            << LumTokenName(c.m_wToken);
    EXPECT_EQ(Evaluate("x", Op(LBT_DIV, Long(7), Long(2))), "3.500000");
    EXPECT_EQ(Evaluate("x$", Op(LBT_PLUS, Str("n="), Long(5))), "n=5");
}

TEST(Expression, ConstantsAndUnknownsGiveValuesWithoutFailure)
{
    EXPECT_EQ(Evaluate("x", CLumTree::DoubleConst("1e3")), "1000.000000");
    EXPECT_EQ(Evaluate("x", CLumTree::DoubleConst("  -2.5xyz")), "-2.500000");
    EXPECT_EQ(Evaluate("x$", Str("\xC3\xA4 \"q\"")), "\xC3\xA4 \"q\"");
    // An operator token or constant type outside the tables gives an empty value.
    EXPECT_EQ(Evaluate("x%", Op(0x0D82, Long(1), Long(2))), "0");
    EXPECT_EQ(Evaluate("x%", CLumTree::Raw(LBN_CONSTANT, {0x00, 0x09, 0x01})), "0");
}

TEST(Expression, VariablesAndElementsResolve)
{
    const char* pszVars = "L:n%=4\nS:s$=abc\nD:a:2:3=1.5\nL:b%:7=70\n";
    EXPECT_EQ(Evaluate("x%", Op(LBT_PLUS, CLumTree::Variable("n%"), Long(1)), pszVars), "5");
    EXPECT_EQ(Evaluate("x", CLumTree::Array("a", {Long(2), Long(3)}), pszVars), "1.500000");
    EXPECT_EQ(
        Evaluate("x%", CLumTree::Array("b%", {Op(LBT_PLUS, CLumTree::Variable("n%"), Long(3))}), pszVars),
        "70");
    EXPECT_EQ(Evaluate("x$", CLumTree::Variable("missing$"), pszVars), "");
    // A flagged node gives the name, with its evaluated indices.
    EXPECT_EQ(Evaluate("x$", CLumTree::Variable("n%", true), pszVars), "n%");
    EXPECT_EQ(Evaluate("x$", CLumTree::Array("b%", {Long(2), Long(3)}, true)), "b%:2:3");
    EXPECT_EQ(Evaluate("x$", CLumTree::Array("b%", {Long(0), Long(3)}, true)), "b%");
    std::vector<CLumTree> seven;
    for (int i = 1; i <= 6; ++i)
        seven.push_back(Long(i));
    seven.push_back(Op(LBT_DIV, Long(1), Long(0))); // never evaluated
    EXPECT_EQ(Evaluate("x$", CLumTree::Array("m", seven, true)), "m:1:2:3:4:5:6");
}

TEST(Expression, EvaluationFailures)
{
    EXPECT_EQ(Evaluate("x", CLumTree::Array("a", {Str("1")})),
              "failure: Im 0.Parameter wird ein numerischer Typ erwartet. Dort steht jedoch die Zeichenkette "
              "\"1\".");
    EXPECT_EQ(Evaluate("x", CLumTree::Raw(0x087A, {})),
              "failure: Der Typ (87a) des Auswertungsknotens ist unbekannt.");
    EXPECT_EQ(Evaluate("x", CLumTree::Function(0x4284, {})),
              "failure: Das Token 4284 ist kein gültiges Funktionstoken.");
    EXPECT_EQ(Evaluate("x", Op(LBT_MINUS, Str("a"), Long(1))),
              "failure: Der Operator - ist für Zeichenketten nicht definiert.");
}
