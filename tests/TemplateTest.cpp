// Template filling: the worked examples to the byte, results that would not fit,
// the two failures, and the same results under a host locale with a decimal comma.
#include "tests/LumFunctionTestSupport.h"

#include <cstdlib>

#include "expr/LumExpression.h"

using namespace lumfn;

namespace
{
struct NumberCase
{
    const char* m_pszTemplate;
    CLumTree m_value;
    const char* m_pszExpected;
};

// clang-format off
const NumberCase NUMBER_TABLE[] = {
    {"999.999,99", D("1234.5"), "1.234,50"},   {"ZZZ.ZZ9,99", D("1234.5"), "001.234,50"},
    {"ZZZ.ZZ9,99", D("12.5"), "012,50"},       {"999,99", L(12), "12,00"},
    {"99,99", D("1.999"), "1,99"},             {"9.999", L(-123), "-123"},
    {"999.999", L(-1234567), "234.567"},       {"NNNN", L(42), "0042"},
    {"99", L(12345), "45"},                    {"99 kg", L(5), "5 kg"},
    {"9,99", D("-0.5"), "0,50"},               {"99,99", D("-0.5"), "-0,50"},
    {"99,99 EUR", D("12.345678"), "56,78 EUR"}, {"ABC99", L(5), "5"},
    {"99", D("1.9"), "1"},                     {"9,99", D("0.05"), "0,05"},
    {"9,999,99", D("1234.5"), "1,234,50"},     {"s9", L(5), "5"},
};
// clang-format on

std::string StrWithTemplate(const CLumTree& value, const std::string& strTemplate)
{
    return TextOf(Fn(LBT_STR, {value, S(strTemplate)}));
}

// String values reach FillTemplate from the class itself, not from a program.
std::string FillString(const std::string& strTemplate, const std::string& strValue, int nSize = 1024)
{
    CLumExpression cExpression(nullptr, nullptr, nullptr);
    CLumsVarValue value(strValue.c_str());
    std::vector<char> buffer(static_cast<size_t>(nSize) + 1, '*');
    int n = cExpression.FillTemplate(buffer.data(), strTemplate.c_str(), &value, nSize);
    EXPECT_EQ(static_cast<size_t>(n), strlen(buffer.data()));
    return std::string(buffer.data());
}

TEST(Template, NumbersMatchTheWorkedExamples)
{
    for (const NumberCase& c : NUMBER_TABLE)
        EXPECT_EQ(StrWithTemplate(c.m_value, c.m_pszTemplate), c.m_pszExpected) << c.m_pszTemplate;
}

TEST(Template, StringsMatchTheWorkedExamples)
{
    const char* const STAMP = "20001231235959";
    // clang-format off
    const char* const cases[][3] = {
        {"tt.mm.jjjj", STAMP, "31.12.2000"}, {"tt. o jjjj", STAMP, "31. Dezember 2000"},
        {"HH:MM:SS", STAMP, "23:59:59"},     {"ttt", STAMP, "31#"},       {"jjjjjmmm", STAMP, "2000#12#"},
        {"cc-cc", "abcd", "ab-cd"},          {"cc-cc", "abc", "ab-c"},    {"cc-cc", "ab", "ab"},
        {"NNNN", "ab", "ab00"},              {"cc", "", ""},              {"Nx", "", "0"},
        {"jjjj.mm.tt", "2000", "2000."},     {"o", "20000001", "#####"},  {"o", "20001301", "#####"},
        {"o", "2000xx01", "#####"},          {"o", "2000 301", "März"},   {"s-s", "abc", "abc-abc"},
        {"c s", "abc", "a bc"},              {"c:jjjj", "X2000", "X:2000"},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(FillString(c[0], c[1]), c[2]) << c[0] << " with " << c[1];
}

TEST(Template, ResultsThatDoNotFitAreCutAtTheTextEnds)
{
    // A number keeps its last 1023 bytes, as an overflowing field loses its high digits.
    EXPECT_EQ(StrWithTemplate(L(42), std::string(2000, 'N')), std::string(1021, '0') + "42");
    EXPECT_EQ(StrWithTemplate(L(7), "9," + std::string(3000, '9')), std::string(1023, '0'));
    EXPECT_EQ(StrWithTemplate(D("1.25"), std::string(5000, 'x') + "99,99"), "1,25");
    // A string keeps its first 1023 bytes; the value itself counts with 1023.
    std::string strLong(1500, 'a');
    strLong[1022] = 'b';
    EXPECT_EQ(FillString("sss", "0123456789"), "012345678901234567890123456789");
    EXPECT_EQ(FillString(std::string(5000, 's'), strLong), strLong.substr(0, 1023));
    // Date placeholders at the end of a long value read nothing beyond it.
    EXPECT_EQ(FillString(std::string(1020, 'c') + "jjjjSSo", strLong), strLong.substr(0, 1023));
    EXPECT_EQ(FillString("cccc", "abcd", 3), "ab");
}

TEST(Template, FailuresCarryTheirTrail)
{
    std::vector<std::string> expected = {Msg(LUM_MSG_TEMPLATE_STRING_FOR_NUMBER), "LUMBASICTEMPLATE",
                                         "CLumExpression::FillTemplate()", "LUMBASICSTRFUNCTION",
                                         "CLumExpression::StrStr()"};
    EXPECT_EQ(TrailHead(Fn(LBT_STR, {L(55), S("s9")}), 5), expected);
    // A constant of unknown type gives the empty value, which no template takes.
    expected[0] = Msg(LUM_MSG_TEMPLATE_BAD_TYPE, "99,99");
    EXPECT_EQ(TrailHead(Fn(LBT_STR, {CLumTree::Raw(LBN_CONSTANT, {0x00, 0x04}), S("99,99")}), 5), expected);
}

TEST(Template, HostLocaleWithDecimalCommaChangesNothing)
{
    CGermanLocale locale;
    // CI installs the locale and must run this; elsewhere a machine may lack it.
    if (!locale.HasDecimalComma() && getenv("CI") == nullptr)
        GTEST_SKIP() << "de_DE.UTF-8 is not installed: localedef -i de_DE -f UTF-8 de_DE.UTF-8";
    ASSERT_TRUE(locale.HasDecimalComma())
        << "de_DE.UTF-8 is needed: localedef -i de_DE -f UTF-8 de_DE.UTF-8 (Debian package locales)";
    for (const NumberCase& c : NUMBER_TABLE)
        EXPECT_EQ(StrWithTemplate(c.m_value, c.m_pszTemplate), c.m_pszExpected) << c.m_pszTemplate;
    EXPECT_EQ(TextOf(Fn(LBT_STR, {D("1.5")})), "1.500000");
    EXPECT_EQ(TextOf(Fn(LBT_VAL, {S("2.75")})), "2.750000");
    EXPECT_EQ(DoubleOf(Fn(LBT_ROUND, {D("1.005"), L(2), L(2)})), 1.01);
    const std::string strDays = " Sunday Monday Tuesday Wednesday Thursday Friday Saturday ";
    EXPECT_NE(strDays.find(" " + TextOf(Fn(LBT_SYSTIME, {S("%A")})) + " "), std::string::npos);
}
} // namespace
