// What the fast form of a program could get wrong and the stream gets right: a class
// that replaces a handler, a variable whose type changes between passes, a damaged
// statement behind statements that ran. Programs of the compiler run both ways in
// CompilerProgramTest; these are the forms it does not write.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

#include <algorithm>

using namespace lumtest;

namespace
{
// Counts the statements its Assign handler gets.
class CCountingBasic : public CLumBasic
{
public:
    explicit CCountingBasic(CLumVariables* pVariables) : CLumBasic(pVariables, nullptr) {}
    int m_nAssigns = 0;

protected:
    int Assign() override
    {
        ++m_nAssigns;
        return CLumBasic::Assign();
    }
};

// For i% = 1 To 50: s = s + i%: Next
std::vector<uint8_t> SumLoop()
{
    return MainImage([](CTestProgram& p) {
        p.For("i%", L(1), L(50));
        p.Assign("s", Op(LBT_PLUS, V("s"), V("i%")));
        p.Next();
    });
}
} // namespace

TEST(FastForm, AReplacedHandlerIsCalledForEveryStatementOfALoop)
{
    CLumVariables vars;
    CCountingBasic basic(&vars);
    EXPECT_EQ(RunImage(basic, SumLoop()), std::vector<std::string>{});
    EXPECT_EQ(basic.m_nAssigns, 50);
    EXPECT_EQ(RunOutcome(SumLoop(), false), RunOutcome(SumLoop(), true));
}

// P reads the global w as a number in passes 1 and 2; then a Dim makes w a local
// string, which the compiler never writes for a name without '$', and the sum meets it.
TEST(FastForm, AVariableThatTurnsIntoAStringBetweenPassesFailsAsOnTheStream)
{
    std::vector<uint8_t> aImage = MainImage(
        [](CTestProgram& p) {
            p.Declare("P");
            p.Assign("w", L(2));
            p.Call("P");
        },
        [](CTestProgram& p) {
            p.Sub("P");
            p.For("i%", L(1), L(4));
            p.Assign("t", Op(LBT_PLUS, V("t"), V("w")));
            p.If(Op(LBT_EQ, V("i%"), L(2)));
            CLumImageWriter& w = p.Writer();
            w.Token(LBT_DIM);
            w.CountedText("w");
            w.Token(LBT_AS);
            w.Token(LBT_TYPE_STRING);
            w.Separator();
            p.EndIf();
            p.Next();
            p.End();
        });
    std::string strFast = RunOutcome(aImage, false);
    EXPECT_EQ(strFast, RunOutcome(aImage, true));
    EXPECT_NE(strFast.find("D:t=4.000000"), std::string::npos) << strFast;
}

// A loop runs its passes, then the image ends inside the statement behind it.
TEST(FastForm, AnImageCutBehindALoopFailsAsOnTheStream)
{
    std::vector<uint8_t> aImage = MainImage([](CTestProgram& p) {
        p.For("i%", L(1), L(3));
        p.Assign("s", Op(LBT_PLUS, V("s"), V("i%")));
        p.Next();
        p.Assign("after", Op(LBT_MUL, V("s"), L(2)));
    });
    const std::string strName = "after";
    auto it = std::search(aImage.begin(), aImage.end(), strName.begin(), strName.end());
    ASSERT_NE(it, aImage.end());
    aImage.erase(it + static_cast<long>(strName.size()) + 4, aImage.end());
    std::string strFast = RunOutcome(aImage, false);
    EXPECT_EQ(strFast, RunOutcome(aImage, true));
    EXPECT_NE(strFast.find("D:s=6.000000"), std::string::npos) << strFast;
    EXPECT_EQ(strFast.find("D:after"), std::string::npos) << strFast;
    EXPECT_NE(strFast.find("CLumBasic::Do()"), std::string::npos) << strFast;
}
