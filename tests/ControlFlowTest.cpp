// Branches and loops through images: what the command stack keeps, forms only other
// writers produce, and the messages of bad images.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumProgramBuilder.h"

#include "res/LumMessages.h"

using namespace lumtest;

namespace
{
// Exposes what the command stack holds and records the change notices of debug mode.
class CProbe : public CLumBasic
{
public:
    explicit CProbe(CLumVariables* pVariables, bool fNotices = false) : CLumBasic(pVariables, nullptr)
    {
        if (fNotices)
            SetDebugMode(1);
    }
    int OpenCommands() const { return m_cCmdStack.GetCount(); }
    std::vector<std::string> m_aNotices;

protected:
    void VariableChanged(const char* pszName, const char* pszValue) override
    {
        m_aNotices.push_back(std::string(pszName) + "=" + pszValue);
    }
};

// "L:4", "D:2.500000", "S:abc", or "-" for a missing entry.
std::string Show(const CLumVariables& vars, const char* pszName)
{
    const CLumsVarValue* p = vars.Lookup(pszName);
    if (p == nullptr)
        return "-";
    static const char s_aTypes[] = {'S', 'L', 'D', 'E'};
    return std::string(1, s_aTypes[p->GetType()]) + ":" + p->GetText();
}

CLumTree Plus1(const char* pszName)
{
    return Op(LBT_PLUS, V(pszName), L(1));
}
} // namespace

// Where the values go is tested by tests/programs/flow.lbd; here, that its loops and
// branches leave no records behind.
TEST(ControlFlow, LoopsAndBranchesOfAProgramLeaveNoRecords)
{
    CLumCompiler compiler;
    std::vector<uint8_t> aImage;
    ASSERT_TRUE(compiler.CompileFile(std::string(LUM_SOURCE_DIR) + "/tests/programs/flow.lbd", aImage));
    CLumVariables vars;
    CProbe basic(&vars);
    EXPECT_EQ(RunImage(basic, aImage), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "fourUntil%"), "L:4");
    EXPECT_EQ(basic.OpenCommands(), 0);
}

// Forms the compiler never writes: a long counter with a fractional step, an If whose
// false skip lands on its Else, and a Loop whose kind word is neither While nor Loop.
TEST(ControlFlow, FormsOfOtherWritersRunAsTheirStructureSays)
{
    CLumVariables vars;
    CProbe basic(&vars);
    auto image = MainImage([](CTestProgram& p) {
        p.For("i%", L(1), L(2), D(0.5));
        p.Assign("runs%", Plus1("runs%"));
        p.Next();
        for (int nCondition : {0, 1})
        {
            p.If(L(nCondition));
            p.Assign("taken$", Op(LBT_PLUS, V("taken$"), S("then")));
            p.Else();
            p.Assign("taken$", Op(LBT_PLUS, V("taken$"), S("else")));
            p.EndIf();
        }
        p.Do();
        p.Assign("until%", Plus1("until%"));
        p.Loop(0x0001, Op(LBT_GE, V("until%"), L(3)));
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "runs%"), "L:3");
    EXPECT_EQ(Show(vars, "i%"), "D:2.500000");
    EXPECT_EQ(Show(vars, "taken$"), "S:elsethen");
    EXPECT_EQ(Show(vars, "until%"), "L:3");
    EXPECT_EQ(basic.OpenCommands(), 0);
}

TEST(ControlFlow, NextNotifiesEveryPassButNotTheLastIncrement)
{
    CLumVariables vars;
    CProbe basic(&vars, true);
    auto image = MainImage([](CTestProgram& p) {
        p.For("i%", L(1), L(3));
        p.Next();
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(basic.m_aNotices, (std::vector<std::string>{"i%=1", "i%=2", "i%=3"}));
    EXPECT_EQ(Show(vars, "i%"), "L:4");
}

TEST(ControlFlow, AProcedureLeftFromInsideAnIfLeavesItsRecord)
{
    CLumVariables vars;
    CProbe basic(&vars);
    auto image = MainImage(
        [](CTestProgram& p) {
            p.Declare("Leave");
            p.Call("Leave");
            p.Assign("after%", L(1));
        },
        [](CTestProgram& p) {
            p.Sub("Leave");
            p.If(L(1));
            p.End();
            p.EndIf();
            p.End();
        });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "after%"), "L:1");
    EXPECT_EQ(basic.OpenCommands(), 1);
}

TEST(ControlFlow, ALoopLeftOpenByOneRunIsMetSafelyByTheNext)
{
    // The first run ends inside its For; the record stays and outlives the image.
    CLumVariables vars;
    CProbe basic(&vars);
    auto first = MainImage([](CTestProgram& p) {
        CLumImageWriter& w = p.Writer();
        w.Token(LBT_FOR);
        w.CountedText("i%");
        w.Expression(L(1));
        w.Expression(L(3));
        w.Separator();
    });
    EXPECT_EQ(RunImage(basic, first), std::vector<std::string>());
    EXPECT_EQ(basic.OpenCommands(), 1);
    auto second = MainImage([](CTestProgram& p) {
        p.Writer().Token(LBT_NEXT);
        p.Writer().DWord(0);
    });
    EXPECT_EQ(RunImage(basic, second), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "i%"), "L:2");
}

namespace
{
void WriteFor(CLumImageWriter& w, int32_t nEnd = 1)
{
    w.Token(LBT_FOR);
    w.CountedText("i%");
    w.Expression(L(1));
    w.Expression(L(nEnd));
}

// A statement that skips back onto itself at `self`.
std::function<void(CLumImageWriter&)> SkipOntoItself(unsigned short wToken)
{
    return [wToken](CLumImageWriter& w) {
        CLumImageWriter::Label self = w.NewLabel();
        w.Place(self);
        w.Token(wToken);
        int nSkip = w.Skip(self);
        if (wToken == LBT_IF)
        {
            w.Expression(L(0));
            w.SkipFrom(nSkip);
        }
    };
}
} // namespace

// Structures that only a damaged image has, and skips that could only spin.
TEST(ControlFlow, BadStructuresFailWithTheirMessage)
{
    const struct
    {
        const char* m_pszWhat;
        std::function<void(CLumImageWriter&)> m_body;
        int m_nMessage;
        const char* m_pszMethod;
        unsigned m_nArgument;
    } aCases[] = {
        {"If without condition", [](CLumImageWriter& w) { w.Token(LBT_IF), w.DWord(0), w.Separator(); },
         LUM_MSG_IF_NO_CONDITION, "CLumBasic::If()", 0},
        {"Else without If", [](CLumImageWriter& w) { w.Token(LBT_ELSE), w.DWord(0); }, LUM_MSG_ELSE_NO_IF,
         "CLumBasic::Else()", 0},
        {"Else on a For",
         [](CLumImageWriter& w) {
             WriteFor(w);
             w.Token(LBT_ELSE), w.DWord(0);
         },
         LUM_MSG_ELSE_NO_IF, "CLumBasic::Else()", 0},
        {"For without end",
         [](CLumImageWriter& w) {
             w.Token(LBT_FOR), w.CountedText("i%"), w.Expression(L(1));
             w.Separator();
         },
         LUM_MSG_FOR_NO_END, "CLumBasic::For()", 0},
        {"For without start",
         [](CLumImageWriter& w) { w.Token(LBT_FOR), w.CountedText("i%"), w.Separator(); },
         LUM_MSG_FOR_NO_START, "CLumBasic::For()", 0},
        {"Next inside an If inside the For",
         [](CLumImageWriter& w) {
             WriteFor(w);
             w.Token(LBT_IF), w.DWord(0), w.Expression(L(1));
             w.Token(LBT_NEXT), w.DWord(0);
         },
         LUM_MSG_BAD_NESTING, "CLumBasic::Next()", 0},
        {"Next without For", [](CLumImageWriter& w) { w.Token(LBT_NEXT), w.DWord(0); }, LUM_MSG_NEXT_NO_FOR,
         "CLumBasic::Next()", 0},
        {"EndIf took the For record",
         [](CLumImageWriter& w) {
             WriteFor(w);
             w.Token(LBT_ENDIF);
             w.Token(LBT_NEXT), w.DWord(0);
         },
         LUM_MSG_NEXT_NO_FOR, "CLumBasic::Next()", 0},
        {"While without condition", [](CLumImageWriter& w) { w.Token(LBT_WHILE), w.DWord(0), w.Separator(); },
         LUM_MSG_WHILE_NO_EXPRESSION, "CLumBasic::While()", 0},
        {"Loop without condition",
         [](CLumImageWriter& w) { w.Token(LBT_LOOP), w.Word(LBT_WHILE), w.DWord(0), w.Separator(); },
         LUM_MSG_LOOP_NO_EXPRESSION, "CLumBasic::Loop()", 0},
        {"If skipping backward onto itself", SkipOntoItself(LBT_IF), LUM_MSG_BAD_SKIP, "CLumBasic::If()",
         LBT_IF},
        {"Wend onto itself", SkipOntoItself(LBT_WEND), LUM_MSG_BAD_SKIP, "CLumBasic::Wend()", LBT_WEND},
        {"Next back onto its For",
         [](CLumImageWriter& w) {
             CLumImageWriter::Label loop = w.NewLabel();
             w.Place(loop);
             WriteFor(w, 10);
             w.Token(LBT_NEXT);
             w.Skip(loop);
         },
         LUM_MSG_TOO_MANY_OPEN, "CLumBasic::For()", 100000},
    };
    for (const auto& c : aCases)
    {
        SCOPED_TRACE(c.m_pszWhat);
        CLumBasic basic;
        std::vector<std::string> aTrail = RunImage(basic, MainProgram(c.m_body));
        ASSERT_GE(aTrail.size(), 3u);
        EXPECT_EQ(aTrail[0], LumFormatForTest(LoadMessage(c.m_nMessage), c.m_nArgument));
        EXPECT_EQ(aTrail[1], "LUMBASICCOMMAND");
        EXPECT_EQ(aTrail[2], c.m_pszMethod);
    }
}
