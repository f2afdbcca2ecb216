// The rules of the value type: arithmetic, comparison, conversion, the empty value.
#include <lumbasic/LumsVarValue.h>
#include <lumbasic/LumsException.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace
{
CLumsVarValue L(long n)
{
    return CLumsVarValue(n);
}
CLumsVarValue D(double d)
{
    return CLumsVarValue(d);
}
CLumsVarValue S(const char* psz)
{
    return CLumsVarValue(psz);
}

// The first trail entry of what `f` throws, or "" when it does not throw.
template <class F> std::string FailureOf(F f)
{
    try
    {
        f();
    }
    catch (const CLumsException& e)
    {
        return e.GetTrail().empty() ? "<empty trail>" : e.GetTrail().front();
    }
    return "";
}

struct ArithmeticCase
{
    const char* m_pszName;
    CLumsVarValue m_left, m_right;
    char m_cOperator;
    int m_nType;
    const char* m_pszText;
};
} // namespace

TEST(Value, ArithmeticFollowsTheTypeRules)
{
    const ArithmeticCase cases[] = {
        {"long plus long stays long", L(2), L(3), '+', CLumsVarValue::VT_LONG, "5"},
        {"long overflow wraps", L(2147483647), L(1), '+', CLumsVarValue::VT_LONG, "-2147483648"},
        {"long product wraps", L(65536), L(65536), '*', CLumsVarValue::VT_LONG, "0"},
        {"long minus long", L(2), L(5), '-', CLumsVarValue::VT_LONG, "-3"},
        {"long with double gives double", L(2), D(0.5), '+', CLumsVarValue::VT_DOUBLE, "2.500000"},
        {"division always gives double", L(7), L(2), '/', CLumsVarValue::VT_DOUBLE, "3.500000"},
        {"string plus string", S("ab"), S("cd"), '+', CLumsVarValue::VT_STRING, "abcd"},
        {"long enters its text", S("n="), L(42), '+', CLumsVarValue::VT_STRING, "n=42"},
        {"double enters its text", D(1.5), S(" EUR"), '+', CLumsVarValue::VT_STRING, "1.500000 EUR"},
        {"empty is the long 0", CLumsVarValue(), L(4), '*', CLumsVarValue::VT_LONG, "0"},
        {"empty enters as empty text", S("x"), CLumsVarValue(), '+', CLumsVarValue::VT_STRING, "x"},
    };
    for (const ArithmeticCase& c : cases)
    {
        CLumsVarValue r;
        switch (c.m_cOperator)
        {
        case '+':
            r = c.m_left + c.m_right;
            break;
        case '-':
            r = c.m_left - c.m_right;
            break;
        case '*':
            r = c.m_left * c.m_right;
            break;
        default:
            r = c.m_left / c.m_right;
            break;
        }
        EXPECT_EQ(r.GetType(), c.m_nType) << c.m_pszName;
        EXPECT_STREQ(r.GetText(), c.m_pszText) << c.m_pszName;
    }
}

TEST(Value, ForbiddenOperationsFailInGerman)
{
    EXPECT_EQ(FailureOf([] { L(1) / L(0); }), "Division durch Null.");
    EXPECT_EQ(FailureOf([] { D(1.5) / D(0.0); }), "Division durch Null.");
    EXPECT_EQ(FailureOf([] { S("a") - L(1); }), "Der Operator - ist für Zeichenketten nicht definiert.");
    EXPECT_EQ(FailureOf([] { L(1) * S("a"); }), "Der Operator * ist für Zeichenketten nicht definiert.");
    EXPECT_EQ(FailureOf([] { (void)(S("1") == L(1)); }),
              "Eine Zeichenkette und eine Zahl können mit dem Operator = nicht verglichen werden.");
}

TEST(Value, ComparisonsAndLogic)
{
    EXPECT_TRUE(S("Abc") < S("abc")); // byte-wise, case-sensitive
    EXPECT_TRUE(S("ab") < S("abc"));
    EXPECT_TRUE(S("\xC3\xA4") > S("z")); // bytes compare unsigned
    EXPECT_TRUE(L(2) == D(2.0));
    EXPECT_TRUE(L(-1) < L(1));
    EXPECT_TRUE(D(0.1) + D(0.2) != D(0.3));
    double dNan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(D(dNan) == D(dNan));
    EXPECT_TRUE(D(dNan) != D(1.0));
    EXPECT_EQ(S("x").LogicalAnd(L(2)), 1);
    EXPECT_EQ(S("").LogicalOr(D(0.0)), 0);
    EXPECT_EQ(CLumsVarValue().LogicalOr(L(0)), 0);
}

TEST(Value, ConversionsCutSaturateAndReadText)
{
    EXPECT_EQ(D(2.9).GetLong(), 2);
    EXPECT_EQ(D(-2.9).GetLong(), -2);
    EXPECT_EQ(D(1e20).GetLong(), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(D(-1e20).GetLong(), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(D(std::nan("")).GetLong(), 0);
    EXPECT_EQ(S("  42abc").GetLong(), 42);
    EXPECT_EQ(S("abc").GetLong(), 0);
    EXPECT_DOUBLE_EQ(S("1.25e2x").GetDouble(), 125.0);
    EXPECT_STREQ(L(-7).GetText(), "-7");
    // Every digit count of the short way, its edges, and the long way beyond it.
    for (long n :
         {0L, 9L, 10L, 99L, 100L, 1009L, 90817L, 123456L, 7000001L, 99999999L, 100000000L, 2147483647L})
        EXPECT_EQ(L(n).GetText(), std::to_string(n));
    EXPECT_STREQ(D(1.0 / 3).GetText(), "0.333333");
    // A NaN's sign depends on the path that computed it: its text never shows it.
    EXPECT_STREQ(D(-std::nan("")).GetText(), "nan");
    EXPECT_STREQ(D(-std::numeric_limits<double>::infinity()).GetText(), "-inf");
    CLumsVarValue empty;
    EXPECT_EQ(empty.GetType(), CLumsVarValue::VT_EMPTY);
    EXPECT_STREQ(empty.GetText(), "");
    EXPECT_FALSE(empty.IsTrue());
}

TEST(Value, PlusAssignFollowsPlus)
{
    CLumsVarValue counter(1L);
    counter += D(0.5);
    EXPECT_EQ(counter.GetType(), CLumsVarValue::VT_DOUBLE);
    EXPECT_DOUBLE_EQ(counter.GetDouble(), 1.5);
    CLumsVarValue text("a");
    text += L(1);
    EXPECT_STREQ(text.GetText(), "a1");
}

// A value that held a long text and becomes a number holds no text any more, however
// it becomes one: a memory budget counts what the store holds.
TEST(Value, BecomingANumberLetsTheTextGo)
{
    const std::string strLong(4000, 'x');
    struct Case
    {
        const char* m_pszName;
        void (*m_fnAssign)(CLumsVarValue&);
    };
    const Case aCases[] = {
        {"a long",
         [](CLumsVarValue& v) {
             v = 7L;
         }},
        {"a double",
         [](CLumsVarValue& v) {
             v = 2.5;
         }},
        {"a number value",
         [](CLumsVarValue& v) {
             v = L(3);
         }},
    };
    for (const Case& c : aCases)
    {
        CLumsVarValue value(strLong.c_str());
        int64_t nWithText = LumValueBytes();
        c.m_fnAssign(value);
        EXPECT_LE(LumValueBytes(), nWithText - static_cast<int64_t>(strLong.size())) << c.m_pszName;
        EXPECT_NE(std::string(value.GetText()), strLong) << c.m_pszName;
    }
}
