// Assignment and Dim: failures, and forms the compiler does not write.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

using namespace lumtest;

namespace
{
struct FailureCase
{
    const char* m_pszName;
    std::function<void(CLumImageWriter&)> m_body;
    std::string m_strMessage;
};

void Computed(CLumImageWriter& w, const CLumTree& target, const CLumTree& value)
{
    w.Token(LBT_EQ);
    w.Expression(target);
    w.Expression(value);
    w.Separator();
}

std::string Text(const CLumVariables& vars)
{
    std::string str;
    vars.MakeString(&str);
    return str;
}
} // namespace

// The stored types of assignments and the locals of Dim are in
// tests/programs/assignment.lbd; here, what the compiler would refuse.
TEST(Assign, FailuresKeepTheTargetAsItWas)
{
    const FailureCase cases[] = {
        {"number into a string variable",
         [](CLumImageWriter& w) { AssignName(w, "s$", CLumTree::LongConst(1)); },
         "Der Stringvariablen s$ kann kein numerischer Wert zugewiesen werden."},
        {"string into a number variable",
         [](CLumImageWriter& w) { AssignName(w, "x", CLumTree::StringConst("1")); },
         "Der numerischen Variablen x kann kein String zugewiesen werden."},
        {"numeric computed target",
         [](CLumImageWriter& w) { Computed(w, CLumTree::LongConst(3), CLumTree::LongConst(1)); },
         "Die linke Seite einer Zuweisung ist kein Variablenname, sondern eine numerische Konstante."},
        {"target neither name nor expression",
         [](CLumImageWriter& w) {
             w.Token(LBT_ASSIGN);
             w.Token(LBT_DIM);
         },
         "Es wird das Token LBT_EXPRESSION erwartet. Statt dessen wurde der Wert 283 gelesen."},
        {"value missing",
         [](CLumImageWriter& w) {
             w.Token(LBT_ASSIGN);
             w.Token(LBT_NAME);
             w.CountedText("v");
             w.Separator();
         },
         "Bei der Zuweisung zur Variablen v fehlt der Wert."},
        {"string dimension",
         [](CLumImageWriter& w) {
             w.Token(LBT_DIM);
             w.CountedText("a");
             w.Expression(CLumTree::StringConst("10"));
         },
         "Die Dimension der Dim-Anweisung für a muß numerisch angegeben werden."},
    };
    for (const FailureCase& c : cases)
    {
        CLumVariables vars;
        vars.SetValuesFromString("S:s$=old\nD:x=2.000000\n");
        CLumBasic basic(&vars, nullptr);
        std::vector<std::string> trail = RunImage(basic, MainProgram(c.m_body));
        ASSERT_GE(trail.size(), 3u) << c.m_pszName;
        EXPECT_EQ(trail[0], c.m_strMessage) << c.m_pszName;
        EXPECT_EQ(trail[1], "LUMBASICCOMMAND") << c.m_pszName;
        EXPECT_EQ(Text(vars), "S:s$=old\nD:x=2.000000\n") << c.m_pszName;
    }
}

TEST(Dim, AsDecidesTheTypeOfALocalOverItsName)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainCallingP([](CLumImageWriter& w) {
        for (auto [pszName, wType] : {std::pair<const char*, unsigned short>{"a", LBT_TYPE_LONG},
                                      {"b%", LBT_TYPE_DOUBLE},
                                      {"c", LBT_TYPE_STRING}})
        {
            w.Token(LBT_DIM);
            w.CountedText(pszName);
            w.Token(LBT_AS);
            w.Token(wType);
        }
    });
    EXPECT_TRUE(RunImage(basic, image).empty());
    EXPECT_EQ(Text(vars), "L:@P@a=0\nD:@P@b%=0.000000\nS:@P@c=\n");
}

TEST(Dim, MissingTypeAfterAsFails)
{
    CLumBasic basic;
    std::vector<std::string> trail = RunImage(basic, MainCallingP([](CLumImageWriter& w) {
                                                  w.Token(LBT_DIM);
                                                  w.CountedText("v");
                                                  w.Token(LBT_AS);
                                                  w.Token(LBT_SEPARATOR);
                                              }));
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], "Bei Dim v fehlt nach dem Schlüsselwort As die Typangabe.");
}

TEST(Assign, AFullKeyInAProcedureIsStoredAsItStandsOnEveryPass)
{
    CLumVariables vars;
    vars.SetValuesFromString("L:@Q@v%=0\nL:@P@@Q@v%=0\n");
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage(
        [](CTestProgram& p) {
            p.Declare("P");
            p.Call("P");
        },
        [](CTestProgram& p) {
            p.Sub("P");
            p.For("i%", L(1), L(3));
            p.Assign("@Q@v%", V("i%"));
            p.Next();
            p.End();
        });
    EXPECT_TRUE(RunImage(basic, image).empty());
    EXPECT_EQ(vars.GetValue("@Q@v%", nullptr)->GetLong(), 3);
    EXPECT_EQ(vars.GetValue("@P@@Q@v%", nullptr)->GetLong(), 0);
}
