// Branches and loops through whole images: where the flow goes, what the counter
// holds afterwards, what the command stack keeps, and the messages of bad images.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

#include "res/LumMessages.h"

#include <optional>

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

TEST(ControlFlow, ForLoopsRunTheBodyAndLeaveTheCounterOneStepPast)
{
    struct Case
    {
        const char* m_pszCounter;
        CLumTree m_start, m_end;
        std::optional<CLumTree> m_step;
        const char* m_pszRuns;
        const char* m_pszCounterAfter;
    };
    const Case aCases[] = {
        {"i%", L(1), L(3), std::nullopt, "L:3", "L:4"},    {"i%", L(5), L(1), std::nullopt, "L:1", "L:6"},
        {"i%", L(3), L(1), L(-1), "L:3", "L:0"},           {"i%", L(1), L(2), D(0.5), "L:3", "D:2.500000"},
        {"x", D(1), L(0), D(-0.25), "L:5", "D:-0.250000"}, {"i%", L(5), L(1), L(0), "L:1", "L:5"},
        {"i%", L(-2), L(2), L(2), "L:3", "L:4"},
    };
    for (const Case& c : aCases)
    {
        SCOPED_TRACE(std::string(c.m_pszCounter) + " ends " + c.m_pszCounterAfter);
        CLumVariables vars;
        CProbe basic(&vars);
        auto image = MainImage([&](CLumProgram& p) {
            p.Assign("runs%", L(0));
            if (c.m_step)
                p.For(c.m_pszCounter, c.m_start, c.m_end, *c.m_step);
            else
                p.For(c.m_pszCounter, c.m_start, c.m_end);
            p.Assign("runs%", Plus1("runs%"));
            p.Next();
        });
        EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
        EXPECT_EQ(Show(vars, "runs%"), c.m_pszRuns);
        EXPECT_EQ(Show(vars, c.m_pszCounter), c.m_pszCounterAfter);
        EXPECT_EQ(basic.OpenCommands(), 0);
    }
}

TEST(ControlFlow, ForReadsTheCounterEachPassButTheEndOnlyOnce)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto image = MainImage([](CLumProgram& p) {
        p.Assign("n%", L(3));
        p.Assign("runs%", L(0));
        p.For("i%", L(1), V("n%"));
        p.Assign("n%", L(1));
        p.Assign("runs%", Plus1("runs%"));
        p.Next();
        p.Assign("jumps%", L(0));
        p.For("j%", L(1), L(10));
        p.Assign("j%", Op(LBT_PLUS, V("j%"), L(4)));
        p.Assign("jumps%", Plus1("jumps%"));
        p.Next();
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "runs%"), "L:3");
    EXPECT_EQ(Show(vars, "jumps%"), "L:2");
    EXPECT_EQ(Show(vars, "j%"), "L:11");
}

TEST(ControlFlow, NextNotifiesEveryPassButNotTheLastIncrement)
{
    CLumVariables vars;
    CProbe basic(&vars, true);
    auto image = MainImage([](CLumProgram& p) {
        p.For("i%", L(1), L(3));
        p.Next();
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(basic.m_aNotices, (std::vector<std::string>{"i%=1", "i%=2", "i%=3"}));
    EXPECT_EQ(Show(vars, "i%"), "L:4");
}

TEST(ControlFlow, IfTakesTheRightBranchWhereverTheFalseSkipLands)
{
    enum ElseKind
    {
        NONE,
        ON_TOKEN,
        BEHIND
    };
    struct Case
    {
        int m_nCondition;
        ElseKind m_eElse;
        const char* m_pszTaken;
    };
    const Case aCases[] = {
        {1, NONE, "S:then"},     {0, NONE, "S:"},       {1, ON_TOKEN, "S:then"},
        {0, ON_TOKEN, "S:else"}, {1, BEHIND, "S:then"}, {0, BEHIND, "S:else"},
    };
    for (const Case& c : aCases)
    {
        SCOPED_TRACE(std::to_string(c.m_nCondition) + " else " + std::to_string(c.m_eElse));
        CLumVariables vars;
        CProbe basic(&vars);
        auto image = MainImage([&](CLumProgram& p) {
            p.Assign("taken$", S(""));
            p.If(L(c.m_nCondition));
            p.Assign("taken$", Op(LBT_PLUS, V("taken$"), S("then")));
            if (c.m_eElse != NONE)
            {
                p.Else(c.m_eElse == BEHIND);
                p.Assign("taken$", Op(LBT_PLUS, V("taken$"), S("else")));
            }
            p.EndIf();
        });
        EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
        EXPECT_EQ(Show(vars, "taken$"), c.m_pszTaken);
        EXPECT_EQ(basic.OpenCommands(), 0);
    }
}

TEST(ControlFlow, NestedBranchesAndLoopsInterleave)
{
    // For i% = 1 To 6: If i% > 3: While w% < i%: w% += 1: Wend: Else: Do: d% += 1:
    // Loop Until d% >= i%: EndIf: Next
    CLumVariables vars;
    CProbe basic(&vars);
    auto image = MainImage([](CLumProgram& p) {
        p.Assign("w%", L(0));
        p.Assign("d%", L(0));
        p.Assign("odd%", L(0));
        p.For("i%", L(1), L(6));
        p.If(Op(LBT_GT, V("i%"), L(3)));
        p.While(Op(LBT_LT, V("w%"), V("i%")));
        p.Assign("w%", Plus1("w%"));
        p.Wend();
        p.Else();
        p.Do();
        p.Assign("d%", Plus1("d%"));
        p.Loop(LBT_LOOP, Op(LBT_GE, V("d%"), V("i%")));
        p.If(Op(LBT_EQ, V("i%"), L(2)));
        p.Else();
        p.Assign("odd%", Plus1("odd%"));
        p.EndIf();
        p.EndIf();
        p.Next();
    });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "w%"), "L:6");
    EXPECT_EQ(Show(vars, "d%"), "L:3");
    EXPECT_EQ(Show(vars, "odd%"), "L:2");
    EXPECT_EQ(basic.OpenCommands(), 0);
}

TEST(ControlFlow, WhileMayRunNeverAndDoRunsAtLeastOnce)
{
    struct Case
    {
        const char* m_pszLoop;
        unsigned short m_wKind; // 0 for While ... Wend
        int m_nLimit;
        const char* m_pszRuns;
    };
    const Case aCases[] = {
        {"While", 0, 0, "L:0"},
        {"While", 0, 4, "L:4"},
        {"Loop While", LBT_WHILE, 0, "L:1"},
        {"Loop While", LBT_WHILE, 4, "L:4"},
        {"Loop Until", LBT_LOOP, 0, "L:1"},
        {"Loop Until", LBT_LOOP, 4, "L:4"},
        // Any kind word but LBT_WHILE means Until.
        {"Loop kind 1", 0x0001, 3, "L:3"},
    };
    for (const Case& c : aCases)
    {
        SCOPED_TRACE(std::string(c.m_pszLoop) + " " + std::to_string(c.m_nLimit));
        CLumVariables vars;
        CLumBasic basic(&vars, nullptr);
        auto image = MainImage([&](CLumProgram& p) {
            p.Assign("runs%", L(0));
            if (c.m_wKind == 0)
            {
                p.While(Op(LBT_LT, V("runs%"), L(c.m_nLimit)));
                p.Assign("runs%", Plus1("runs%"));
                p.Wend();
                return;
            }
            p.Do();
            p.Assign("runs%", Plus1("runs%"));
            if (c.m_wKind == LBT_WHILE)
                p.Loop(c.m_wKind, Op(LBT_LT, V("runs%"), L(c.m_nLimit)));
            else
                p.Loop(c.m_wKind, Op(LBT_GE, V("runs%"), L(c.m_nLimit)));
        });
        EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
        EXPECT_EQ(Show(vars, "runs%"), c.m_pszRuns);
    }
}

TEST(ControlFlow, AProcedureLeftFromInsideAnIfLeavesItsRecord)
{
    CLumVariables vars;
    CProbe basic(&vars);
    auto image = MainImage(
        [](CLumProgram& p) {
            p.Declare("Leave");
            p.Call("Leave");
            p.Assign("after%", L(1));
        },
        [](CLumProgram& p) {
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
    auto first = MainImage([](CLumProgram& p) {
        CLumImageWriter& w = p.Writer();
        w.Token(LBT_FOR);
        w.CountedText("i%");
        w.Expression(L(1));
        w.Expression(L(3));
        w.Separator();
    });
    EXPECT_EQ(RunImage(basic, first), std::vector<std::string>());
    EXPECT_EQ(basic.OpenCommands(), 1);
    auto second = MainImage([](CLumProgram& p) {
        p.Writer().Token(LBT_NEXT);
        p.Writer().DWord(0);
    });
    EXPECT_EQ(RunImage(basic, second), std::vector<std::string>());
    EXPECT_EQ(Show(vars, "i%"), "L:2");
}

namespace
{
struct BadImage
{
    const char* m_pszWhat;
    std::function<void(CLumImageWriter&)> m_body;
    int m_nMessage;
    const char* m_pszMethod;
};

void WriteFor(CLumImageWriter& w, int32_t nEnd = 1)
{
    w.Token(LBT_FOR);
    w.CountedText("i%");
    w.Expression(L(1));
    w.Expression(L(nEnd));
}
} // namespace

TEST(ControlFlow, BadStructuresFailWithTheirMessage)
{
    const BadImage aCases[] = {
        {"If without condition", [](CLumImageWriter& w) { w.Token(LBT_IF), w.DWord(0), w.Separator(); },
         LUM_MSG_IF_NO_CONDITION, "CLumBasic::If()"},
        {"Else without If", [](CLumImageWriter& w) { w.Token(LBT_ELSE), w.DWord(0); }, LUM_MSG_ELSE_NO_IF,
         "CLumBasic::Else()"},
        {"Else on a For",
         [](CLumImageWriter& w) {
             WriteFor(w);
             w.Token(LBT_ELSE), w.DWord(0);
         },
         LUM_MSG_ELSE_NO_IF, "CLumBasic::Else()"},
        {"For without end",
         [](CLumImageWriter& w) {
             w.Token(LBT_FOR), w.CountedText("i%"), w.Expression(L(1));
             w.Separator();
         },
         LUM_MSG_FOR_NO_END, "CLumBasic::For()"},
        {"For without start",
         [](CLumImageWriter& w) { w.Token(LBT_FOR), w.CountedText("i%"), w.Separator(); },
         LUM_MSG_FOR_NO_START, "CLumBasic::For()"},
        {"Next inside an If inside the For",
         [](CLumImageWriter& w) {
             WriteFor(w);
             w.Token(LBT_IF), w.DWord(0), w.Expression(L(1));
             w.Token(LBT_NEXT), w.DWord(0);
         },
         LUM_MSG_BAD_NESTING, "CLumBasic::Next()"},
        {"Next without For", [](CLumImageWriter& w) { w.Token(LBT_NEXT), w.DWord(0); }, LUM_MSG_NEXT_NO_FOR,
         "CLumBasic::Next()"},
        {"EndIf took the For record",
         [](CLumImageWriter& w) {
             WriteFor(w);
             w.Token(LBT_ENDIF);
             w.Token(LBT_NEXT), w.DWord(0);
         },
         LUM_MSG_NEXT_NO_FOR, "CLumBasic::Next()"},
        {"While without condition", [](CLumImageWriter& w) { w.Token(LBT_WHILE), w.DWord(0), w.Separator(); },
         LUM_MSG_WHILE_NO_EXPRESSION, "CLumBasic::While()"},
        {"Loop without condition",
         [](CLumImageWriter& w) { w.Token(LBT_LOOP), w.Word(LBT_WHILE), w.DWord(0), w.Separator(); },
         LUM_MSG_LOOP_NO_EXPRESSION, "CLumBasic::Loop()"},
    };
    for (const BadImage& c : aCases)
    {
        SCOPED_TRACE(c.m_pszWhat);
        CLumBasic basic;
        CLumImageWriter w;
        lumtest::Head(w, "Main");
        c.m_body(w);
        lumtest::EndProc(w);
        w.Terminator();
        std::vector<std::string> aTrail = RunImage(basic, w.Finish());
        ASSERT_GE(aTrail.size(), 3u);
        EXPECT_EQ(aTrail[0], LoadMessage(c.m_nMessage));
        EXPECT_EQ(aTrail[1], "LUMBASICCOMMAND");
        EXPECT_EQ(aTrail[2], c.m_pszMethod);
    }
}

TEST(ControlFlow, SkipsThatCouldOnlySpinAreRefused)
{
    struct Case
    {
        const char* m_pszWhat;
        std::function<void(CLumImageWriter&)> m_body;
        int m_nMessage;
        unsigned m_nArgument;
    };
    const Case aCases[] = {
        {"If skipping backward onto itself",
         [](CLumImageWriter& w) {
             CLumImageWriter::Label self = w.NewLabel();
             w.Place(self);
             w.Token(LBT_IF);
             int nSkip = w.Skip(self);
             w.Expression(L(0));
             w.SkipFrom(nSkip);
         },
         LUM_MSG_BAD_SKIP, LBT_IF},
        {"Wend onto itself",
         [](CLumImageWriter& w) {
             CLumImageWriter::Label self = w.NewLabel();
             w.Place(self);
             w.Token(LBT_WEND);
             w.Skip(self);
         },
         LUM_MSG_BAD_SKIP, LBT_WEND},
        {"Next back onto its For",
         [](CLumImageWriter& w) {
             CLumImageWriter::Label loop = w.NewLabel();
             w.Place(loop);
             WriteFor(w, 10);
             w.Token(LBT_NEXT);
             w.Skip(loop);
         },
         LUM_MSG_TOO_MANY_OPEN, 100000},
    };
    for (const Case& c : aCases)
    {
        SCOPED_TRACE(c.m_pszWhat);
        CLumBasic basic;
        CLumImageWriter w;
        lumtest::Head(w, "Main");
        c.m_body(w);
        lumtest::EndProc(w);
        w.Terminator();
        std::vector<std::string> aTrail = RunImage(basic, w.Finish());
        char szExpected[512];
        snprintf(szExpected, sizeof szExpected, LoadMessage(c.m_nMessage).c_str(), c.m_nArgument);
        ASSERT_FALSE(aTrail.empty());
        EXPECT_EQ(aTrail[0], szExpected);
    }
}
