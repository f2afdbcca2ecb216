// The run loop, dispatch and the failure trail, through whole images.
#include "tests/LumTestSupport.h"

using namespace lumtest;

TEST(RunLoop, MainProcedureAssignsGlobals)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainProgram([](CLumImageWriter& w) {
        AssignName(w, "x%", CLumTree::Operator(LBT_PLUS, CLumTree::LongConst(40), CLumTree::LongConst(2)));
        AssignName(w, "s$", CLumTree::StringConst("abc"));
    });
    EXPECT_TRUE(RunImage(basic, image).empty());
    std::string text;
    vars.MakeString(&text);
    EXPECT_EQ(text, "L:x%=42\nS:s$=abc\n");
}
