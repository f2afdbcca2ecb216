// Numeric built-ins, run as images: the rounding table to the last bit, results
// with their types, and the failures of their arguments.
#include "tests/LumFunctionTestSupport.h"

#include <limits>

using namespace lumfn;

namespace
{
struct RoundCase
{
    const char* m_pszX;
    int m_nDigits;
    int m_nMode;
    double m_dExpected;
};

// clang-format off
const RoundCase ROUND_TABLE[] = {
    // Each mode on -1.231 and on a negative number within the tolerance of a step,
    // where a mode that goes the wrong way for negatives gives another result.
    {"1.231", 2, 0, 1.23},     {"-1.231", 2, 0, -1.24},   {"-1.2300001", 2, 0, -1.23},
    {"1.231", 2, 1, 1.24},     {"-1.231", 2, 1, -1.23},   {"-1.2299999", 2, 1, -1.23},
    {"1.231", 2, 2, 1.23},     {"-1.231", 2, 2, -1.23},   {"-1.005", 2, 2, -1.01},  {"-2.5", 0, 2, -3.0},
    {"1.231", 2, 3, 1.23},     {"-1.231", 2, 3, -1.23},   {"-1.999999", 2, 3, -2.0},
    {"1.231", 2, 4, 1.24},     {"-1.231", 2, 4, -1.24},   {"-1.2300001", 2, 4, -1.23},
    {"1.005", 2, 2, 1.01},     {"2.345", 2, 2, 2.35},     {"1.0049", 2, 2, 1.0},
    {"2.5", 0, 2, 3.0},        {"1234.5", -2, 2, 1200.0},
    {"1499.0", -3, 2, 1000.0}, {"1499.95", -3, 2, 2000.0},
    // Up, on values that are whole or exact already: the tolerance keeps them.
    {"2.0", 0, 1, 2.0},        {"-3.0", 0, 1, -3.0},      {"1.23", 2, 1, 1.23},     {"1.2300001", 2, 1, 1.23},
    {"1.99", 2, 3, 1.99},      {"1.999999", 2, 3, 2.0},   {"1.2300001", 2, 4, 1.23},
    {"100.0", 2, 7, 0.0},      {"100.0", 2, -1, 0.0},
    // Beyond -2 digits the tolerance stays 0.1 in units of x.
    {"149999.95", -5, 2, 200000.0}, {"149999.85", -5, 2, 100000.0},
};
// clang-format on

TEST(NumFunction, RoundMatchesTheTableToTheLastBit)
{
    for (const RoundCase& c : ROUND_TABLE)
        EXPECT_EQ(DoubleOf(Fn(LBT_ROUND, {D(c.m_pszX), L(c.m_nDigits), L(c.m_nMode)})), c.m_dExpected)
            << "Round(" << c.m_pszX << ", " << c.m_nDigits << ", " << c.m_nMode << ")";
}

TEST(NumFunction, RoundDefaultsToTwoDigitsAwayFromZero)
{
    EXPECT_EQ(DoubleOf(Fn(LBT_ROUND, {D("1.231")})), 1.24);
    EXPECT_EQ(DoubleOf(Fn(LBT_ROUND, {D("-1.231"), L(1)})), -1.3);
    // Digits and mode may come as doubles; a long comes back as a double.
    EXPECT_EQ(DoubleOf(Fn(LBT_ROUND, {D("2.345"), D("2.9"), D("2.0")})), 2.35);
    EXPECT_EQ(TextOf(Fn(LBT_ROUND, {L(7)})), "7.000000");
    // Digit counts at the ends of a long run without a fault.
    for (int32_t nDigits : {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()})
        DoubleOf(Fn(LBT_ROUND, {D("12.5"), L(nDigits), L(2)}));
}

TEST(NumFunction, ResultsKeepOrSetTheirType)
{
    // The text form shows the type: "%ld" for a long, "%f" for a double.
    const std::pair<CLumTree, const char*> cases[] = {
        {Fn(LBT_ABS, {L(-5)}), "5"},
        {Fn(LBT_ABS, {D("-2.5")}), "2.500000"},
        {Fn(LBT_ABS, {L(std::numeric_limits<int32_t>::min())}), "-2147483648"},
        {Fn(LBT_SGN, {L(-7)}), "-1"},
        {Fn(LBT_SGN, {L(0)}), "0"},
        {Fn(LBT_SGN, {D("3.5")}), "1.000000"},
        {Fn(LBT_SGN, {D("0.0")}), "0.000000"},
        {Fn(LBT_ASC, {S("")}), "0"},
        {Fn(LBT_ASC, {S("\xC4rger")}), "-60"},
        {Fn(LBT_LEN, {S("Grüße")}), "7"},
        {Fn(LBT_VAL, {S("12abc")}), "12.000000"},
        {Fn(LBT_VAL, {S(" \t-3.5e2x")}), "-350.000000"},
        {Fn(LBT_VAL, {S("abc")}), "0.000000"},
        {Fn(LBT_FIX, {D("-2.5")}), "-2.000000"},
        {Fn(LBT_FRAC, {D("-2.5")}), "-0.500000"},
        {Fn(LBT_FRAC, {D("2.5")}), "0.500000"},
        {Fn(LBT_FIX, {L(7)}), "7"},
        {Fn(LBT_FRAC, {L(7)}), "7"},
        {Fn(LBT_INSTR, {S("abc"), S("abc")}), "0"},
        {Fn(LBT_INSTR, {S("aXbX"), S("X")}), "1"},
        {Fn(LBT_INSTR, {S("ab"), S("abc")}), "-1"},
        {Fn(LBT_INSTR, {S("abc"), S("")}), "0"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(TextOf(c.first), c.second);
}

TEST(NumFunction, ArgumentFailuresCarryTheirTrail)
{
    const std::tuple<CLumTree, std::string, const char*> cases[] = {
        {Fn(LBT_ABS, {S("x")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 1, "x"), "CLumExpression::Abs()"},
        {Fn(LBT_ROUND, {D("1.5"), L(2), S("m")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 3, "m"),
         "CLumExpression::Round()"},
        {Fn(LBT_INSTR, {S("a"), L(5)}), Msg(LUM_MSG_ARG_NOT_STRING, 2), "CLumExpression::InStr()"},
        {Fn(LBT_LEN, {}), Msg(LUM_MSG_ARG_MISSING, 1), "CLumExpression::Len()"},
    };
    for (const auto& [tree, strMessage, pszMethod] : cases)
        EXPECT_EQ(TrailHead(tree, 5), (std::vector<std::string>{strMessage, "LUMBASIC", "CLumBasic::GetArg()",
                                                                "LUMBASICNUMFUNCTION", pszMethod}));
}
} // namespace
