// String built-ins, run as images: cut-outs at every boundary, codes, trimming,
// number text, the system time, and the failures of their arguments.
#include "tests/LumFunctionTestSupport.h"

#include <ctime>

using namespace lumfn;

namespace
{
TEST(StrFunction, ResultsAtEveryBoundary)
{
    const std::pair<CLumTree, std::string> cases[] = {
        {Fn(LBT_LEFT, {S("Hallo"), L(2)}), "Ha"},
        {Fn(LBT_LEFT, {S("Hallo"), L(-1)}), ""},
        {Fn(LBT_LEFT, {S("Hallo"), L(99)}), "Hallo"},
        {Fn(LBT_LEFT, {S("Hallo"), D("2.9")}), "Ha"},
        {Fn(LBT_RIGHT, {S("Hallo"), L(2)}), "lo"},
        {Fn(LBT_RIGHT, {S("Hallo"), L(0)}), ""},
        {Fn(LBT_RIGHT, {S("Hallo"), L(99)}), "Hallo"},
        // Mid$ counts from 0, and a count of 0, given or not, means the rest.
        {Fn(LBT_MID, {S("Hallo"), L(1), L(2)}), "al"},
        {Fn(LBT_MID, {S("Hallo"), L(1), L(0)}), "allo"},
        {Fn(LBT_MID, {S("Hallo"), L(1)}), "allo"},
        {Fn(LBT_MID, {S("Hallo"), L(-3), L(2)}), "Ha"},
        {Fn(LBT_MID, {S("Hallo"), L(2), L(-1)}), ""},
        {Fn(LBT_MID, {S("Hallo"), L(99), L(1)}), ""},
        {Fn(LBT_MID, {S("Hallo"), L(4), L(3)}), "o"},
        // Chr$ takes the code modulo 255, with its sign.
        {Fn(LBT_CHR, {L(65)}), "A"},
        {Fn(LBT_CHR, {L(255)}), ""},
        {Fn(LBT_CHR, {L(510)}), ""},
        {Fn(LBT_CHR, {L(256)}), "\x01"},
        {Fn(LBT_CHR, {L(-1)}), "\xFF"},
        {Fn(LBT_LTRIM, {S(" \t\n\v\f\rab c \r")}), "ab c \r"},
        {Fn(LBT_RTRIM, {S(" ab c \t\n\v\f\r")}), " ab c"},
        {Fn(LBT_LTRIM, {S(" \t ")}), ""},
        {Fn(LBT_STR, {D("1.5")}), "1.500000"},
        {Fn(LBT_STR, {L(15)}), "15"},
        {Fn(LBT_STR, {D("1e20")}), "100000000000000000000.000000"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(TextOf(c.first), c.second);
}

TEST(StrFunction, SysTimeFormatsLocalTimeWithinItsBuffer)
{
    time_t now = time(nullptr);
    struct tm tmNow;
    ASSERT_NE(localtime_r(&now, &tmNow), nullptr);
    char szYear[16];
    strftime(szYear, sizeof szYear, "%Y", &tmNow);
    EXPECT_EQ(TextOf(Fn(LBT_SYSTIME, {S("Jahr %Y")})), std::string("Jahr ") + szYear);
    EXPECT_EQ(TextOf(Fn(LBT_SYSTIME, {})), "");
    EXPECT_EQ(TextOf(Fn(LBT_SYSTIME, {S(std::string(127, 'x'))})), std::string(127, 'x'));
    EXPECT_EQ(TextOf(Fn(LBT_SYSTIME, {S(std::string(124, 'x') + "%Y")})), "");
}

TEST(StrFunction, ArgumentFailuresCarryTheirTrail)
{
    const std::tuple<CLumTree, std::string, const char*> cases[] = {
        {Fn(LBT_STR, {S("x"), S("99")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 1, "x"), "CLumExpression::StrStr()"},
        {Fn(LBT_STR, {L(1), L(99)}), Msg(LUM_MSG_ARG_NOT_STRING, 2), "CLumExpression::StrStr()"},
        {Fn(LBT_LEFT, {L(5), L(1)}), Msg(LUM_MSG_ARG_NOT_STRING, 1), "CLumExpression::LeftStr()"},
        {Fn(LBT_MID, {S("a")}), Msg(LUM_MSG_ARG_MISSING, 2), "CLumExpression::MidStr()"},
        {Fn(LBT_MID, {S("a"), L(0), S("z")}), Msg(LUM_MSG_ARG_NOT_NUMBER, 3, "z"),
         "CLumExpression::MidStr()"},
        {Fn(LBT_SYSTIME, {L(1)}), Msg(LUM_MSG_ARG_NOT_STRING, 1), "CLumExpression::GetSysTimeStr()"},
    };
    for (const auto& [tree, strMessage, pszMethod] : cases)
        EXPECT_EQ(TrailHead(tree, 5), (std::vector<std::string>{strMessage, "LUMBASIC", "CLumBasic::GetArg()",
                                                                "LUMBASICSTRFUNCTION", pszMethod}));
}
} // namespace
