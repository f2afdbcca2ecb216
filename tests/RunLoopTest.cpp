// The run loop, dispatch and the failure trail, through whole images.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

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

TEST(RunLoop, AStatementLimitEndsTheRunAtItsBoundaryAndCountsImports)
{
    CImageDir dir;
    std::vector<uint8_t> aLibrary, aMain;
    SLumCompileOptions options;
    options.m_fLineMarkers = false;
    // Sub Main, For, two statements a pass for ten passes and End: 23 statements.
    ASSERT_EQ(CompileText("Sub Main\n For i% = 1 To 10\n  n% = i%\n Next i%\nEnd Sub\n", aLibrary, options),
              "");
    std::string strLibrary = dir.Save("loop.lbc", aLibrary);
    ASSERT_EQ(CompileText("Sub Main\n Import \"" + strLibrary + "\"\nEnd Sub\n", aMain, options), "");
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    basic.SetStatementLimit(23 + 3);
    EXPECT_EQ(RunImage(basic, aMain), std::vector<std::string>());
    basic.SetStatementLimit(23 + 2);
    EXPECT_EQ(RunImage(basic, aMain).at(0),
              "Der Lauf hat die Grenze von 25 Anweisungen erreicht und wurde abgebrochen.");
    EXPECT_EQ(vars.GetValue("n%", nullptr)->GetLong(), 10);
    basic.SetStatementLimit(10);
    EXPECT_EQ(RunImage(basic, aLibrary).size(), 5u); // the message, then the labels of RunLoop and Do
    EXPECT_EQ(vars.GetValue("n%", nullptr)->GetLong(), 4);
}
