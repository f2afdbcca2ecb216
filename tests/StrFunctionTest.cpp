// String built-ins, run as images: cut-outs at every boundary, codes, trimming,
// number text, the system time, and the failures of their arguments.
#include "tests/LumFunctionTestSupport.h"

#include <ctime>

using namespace lumfn;

namespace
{
struct TextCase
{
    CLumTree m_tree;
    std::string m_strExpected;
};

void ExpectTexts(const std::vector<TextCase>& cases)
{
    for (const TextCase& c : cases)
        EXPECT_EQ(TextOf(c.m_tree), c.m_strExpected) << "expected \"" << c.m_strExpected << "\"";
}

TEST(StrFunction, LeftAndRightCutAtEveryBoundary)
{
    ExpectTexts({
        {Fn(LBT_LEFT, {S("Hallo"), L(2)}), "Ha"},
        {Fn(LBT_LEFT, {S("Hallo"), L(0)}), ""},
        {Fn(LBT_LEFT, {S("Hallo"), L(-1)}), ""},
        {Fn(LBT_LEFT, {S("Hallo"), L(5)}), "Hallo"},
        {Fn(LBT_LEFT, {S("Hallo"), L(99)}), "Hallo"},
        {Fn(LBT_LEFT, {S("Hallo"), D("2.9")}), "Ha"},
        {Fn(LBT_RIGHT, {S("Hallo"), L(2)}), "lo"},
        {Fn(LBT_RIGHT, {S("Hallo"), L(0)}), ""},
        {Fn(LBT_RIGHT, {S("Hallo"), L(-3)}), ""},
        {Fn(LBT_RIGHT, {S("Hallo"), L(99)}), "Hallo"},
    });
}

TEST(StrFunction, MidCountsFromZeroAndZeroCountMeansTheRest)
{
    ExpectTexts({
        {Fn(LBT_MID, {S("Hallo"), L(1), L(2)}), "al"},
        {Fn(LBT_MID, {S("Hallo"), L(1), L(0)}), "allo"},
        {Fn(LBT_MID, {S("Hallo"), L(1)}), "allo"},
        {Fn(LBT_MID, {S("Hallo"), L(0), L(99)}), "Hallo"},
        {Fn(LBT_MID, {S("Hallo"), L(-3), L(2)}), "Ha"},
        {Fn(LBT_MID, {S("Hallo"), L(2), L(-1)}), ""},
        {Fn(LBT_MID, {S("Hallo"), L(5)}), ""},
        {Fn(LBT_MID, {S("Hallo"), L(99), L(1)}), ""},
        {Fn(LBT_MID, {S("Hallo"), L(4), L(3)}), "o"},
    });
}

TEST(StrFunction, ChrTakesTheCodeModulo255)
{
    ExpectTexts({
        {Fn(LBT_CHR, {L(65)}), "A"},
        {Fn(LBT_CHR, {L(0)}), ""},
        {Fn(LBT_CHR, {L(255)}), ""},
        {Fn(LBT_CHR, {L(510)}), ""},
        {Fn(LBT_CHR, {L(256)}), "\x01"},
        {Fn(LBT_CHR, {L(321)}), "B"},
        {Fn(LBT_CHR, {L(-1)}), "\xFF"},
        {Fn(LBT_CHR, {D("66.7")}), "B"},
    });
}

TEST(StrFunction, TrimRemovesAllSixWhiteSpaceBytes)
{
    ExpectTexts({
        {Fn(LBT_LTRIM, {S(" \t\n\v\f\rab c \r")}), "ab c \r"},
        {Fn(LBT_RTRIM, {S(" ab c \t\n\v\f\r")}), " ab c"},
        {Fn(LBT_LTRIM, {S(" \t ")}), ""},
        {Fn(LBT_RTRIM, {S(" \t ")}), ""},
        {Fn(LBT_RTRIM, {S("")}), ""},
    });
}

TEST(StrFunction, StrWithoutTemplateShowsTheNumberText)
{
    ExpectTexts({
        {Fn(LBT_STR, {D("1.5")}), "1.500000"},
        {Fn(LBT_STR, {L(15)}), "15"},
        {Fn(LBT_STR, {L(-2147483647 - 1)}), "-2147483648"},
        {Fn(LBT_STR, {D("-0.0000004")}), "-0.000000"},
        {Fn(LBT_STR, {D("1e20")}), "100000000000000000000.000000"},
    });
}

TEST(StrFunction, SysTimeFormatsLocalTimeWithinItsBuffer)
{
    time_t now = time(nullptr);
    struct tm tmNow;
    ASSERT_NE(localtime_r(&now, &tmNow), nullptr);
    char szYear[16];
    strftime(szYear, sizeof szYear, "%Y", &tmNow);
    ExpectTexts({
        {Fn(LBT_SYSTIME, {}), ""},
        {Fn(LBT_SYSTIME, {S("")}), ""},
        {Fn(LBT_SYSTIME, {S("Jahr %Y")}), std::string("Jahr ") + szYear},
        {Fn(LBT_SYSTIME, {S(std::string(127, 'x'))}), std::string(127, 'x')},
        {Fn(LBT_SYSTIME, {S(std::string(128, 'x'))}), ""},
        {Fn(LBT_SYSTIME, {S(std::string(124, 'x') + "%Y")}), ""},
    });
}

struct FailureCase
{
    CLumTree m_tree;
    std::string m_strMessage;
    const char* m_pszMethod;
};

TEST(StrFunction, ArgumentFailuresCarryTheirTrail)
{
    const FailureCase cases[] = {
        {Fn(LBT_STR, {S("x"), S("99")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 1, "x"), "CLumExpression::StrStr()"},
        {Fn(LBT_STR, {L(1), L(99)}), Msg(LUM_MSG_ARG_NOT_STRING, 2), "CLumExpression::StrStr()"},
        {Fn(LBT_LEFT, {L(5), L(1)}), Msg(LUM_MSG_ARG_NOT_STRING, 1), "CLumExpression::LeftStr()"},
        {Fn(LBT_RIGHT, {S("a"), S("1")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 2, "1"), "CLumExpression::RightStr()"},
        {Fn(LBT_MID, {S("a")}), Msg(LUM_MSG_ARG_MISSING, 2), "CLumExpression::MidStr()"},
        {Fn(LBT_MID, {S("a"), L(0), S("z")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 3, "z"),
         "CLumExpression::MidStr()"},
        {Fn(LBT_CHR, {}), Msg(LUM_MSG_ARG_MISSING, 1), "CLumExpression::ChrStr()"},
        {Fn(LBT_LTRIM, {L(1)}), Msg(LUM_MSG_ARG_NOT_STRING, 1), "CLumExpression::LTrimStr()"},
        {Fn(LBT_RTRIM, {D("1.0")}), Msg(LUM_MSG_ARG_NOT_STRING, 1), "CLumExpression::RTrimStr()"},
        {Fn(LBT_SYSTIME, {L(1)}), Msg(LUM_MSG_ARG_NOT_STRING, 1), "CLumExpression::GetSysTimeStr()"},
    };
    for (const FailureCase& c : cases)
    {
        std::vector<std::string> expected = {c.m_strMessage, "LUMBASIC", "CLumBasic::GetArg()",
                                             "LUMBASICSTRFUNCTION", c.m_pszMethod};
        EXPECT_EQ(TrailHead(c.m_tree, 5), expected);
    }
}
} // namespace
