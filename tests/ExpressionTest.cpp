// Expression trees evaluated through assignments: trees the compiler does not write,
// and the failures of evaluation.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

using namespace lumtest;

namespace
{
// Runs Main with `x$`, `x%` or `x` assigned `tree`.
std::string Evaluate(const char* pszTarget, const CLumTree& tree)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    std::vector<std::string> trail =
        RunImage(basic, MainProgram([&](CLumImageWriter& w) { AssignName(w, pszTarget, tree); }));
    if (!trail.empty())
        return "failure: " + trail[0];
    return vars.GetValue(pszTarget, nullptr)->GetText();
}

} // namespace

// Operators, constants, variables and elements as a compiler writes them are in
// tests/programs/expressions.lbd; here, trees only other writers produce.
TEST(Expression, ConstantsAndUnknownsGiveValuesWithoutFailure)
{
    EXPECT_EQ(Evaluate("x", CLumTree::DoubleConst("  -2.5xyz")), "-2.500000");
    // An operator token or constant type outside the tables gives an empty value.
    EXPECT_EQ(Evaluate("x%", Op(0x0D82, L(1), L(2))), "0");
    EXPECT_EQ(Evaluate("x%", CLumTree::Raw(LBN_CONSTANT, {0x00, 0x09, 0x01})), "0");
}

TEST(Expression, AFlaggedNodeNamesItsFirstSixIndices)
{
    std::vector<CLumTree> seven;
    for (int i = 1; i <= 6; ++i)
        seven.push_back(L(i));
    seven.push_back(Op(LBT_DIV, L(1), L(0))); // never evaluated
    EXPECT_EQ(Evaluate("x$", CLumTree::Array("m", seven, true)), "m:1:2:3:4:5:6");
}

TEST(Expression, EvaluationFailures)
{
    EXPECT_EQ(Evaluate("x", CLumTree::Array("a", {S("1")})),
              "failure: Im 0.Parameter wird ein numerischer Typ erwartet. Dort steht jedoch die Zeichenkette "
              "\"1\".");
    EXPECT_EQ(Evaluate("x", CLumTree::Raw(0x087A, {})),
              "failure: Der Typ (87a) des Auswertungsknotens ist unbekannt.");
    EXPECT_EQ(Evaluate("x", CLumTree::Function(0x4284, {})),
              "failure: Das Token 4284 ist kein gültiges Funktionstoken.");
    EXPECT_EQ(Evaluate("x", Op(LBT_MINUS, S("a"), L(1))),
              "failure: Der Operator - ist für Zeichenketten nicht definiert.");
}
