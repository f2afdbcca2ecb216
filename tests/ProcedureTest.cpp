// Declared procedures: calls by name and by computed name, parameters typed by
// their names, locals, scoping and the end of procedures.
#include "tests/LumTestSupport.h"

using namespace lumtest;

namespace
{
// Main declares and calls procedures that `procs` writes behind the terminator.
std::vector<uint8_t> Program(const std::function<void(CLumImageWriter&)>& declare,
                             const std::function<void(CLumImageWriter&)>& main,
                             const std::function<void(CLumImageWriter&)>& procs)
{
    CLumImageWriter w;
    declare(w);
    Head(w, "Main");
    main(w);
    EndProc(w);
    w.Terminator();
    procs(w);
    return w.Finish();
}

void CallByName(CLumImageWriter& w, const char* pszName, const std::vector<CLumTree>& aArgs)
{
    w.Token(LBT_CALL);
    w.CountedText(pszName);
    for (const CLumTree& arg : aArgs)
        w.Expression(arg);
    w.Separator();
}

// Exposes the protected variable access of the interpreter.
class ScopedBasic : public CLumBasic
{
public:
    using CLumBasic::CLumBasic;
    std::vector<std::pair<std::string, std::string>> m_aChanges;
    void VariableChanged(const char* pszName, const char* pszValue) override
    {
        m_aChanges.emplace_back(pszName, pszValue);
    }
    void EnterForTest(const char* pszName) { m_cFunctionStack.Push(pszName); }
    void Set(const char* pszName, long n) { SetVar(pszName, new CLumsVarValue(n)); }
    long Get(const char* pszName) { return GetVar(pszName, nullptr)->GetLong(); }
    void Debug(int f) { SetDebugMode(f); }
};
} // namespace

TEST(Procedure, ParametersTakeTheTypeOfTheirNames)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    CLumImageWriter::Label head;
    auto image = Program(
        [&](CLumImageWriter& w) {
            head = w.NewLabel();
            Declare(w, "P", head);
        },
        [](CLumImageWriter& w) {
            CallByName(w, "P",
                       {CLumTree::DoubleConst("2.75"), CLumTree::LongConst(5), CLumTree::LongConst(-3)});
        },
        [&](CLumImageWriter& w) {
            w.Place(head);
            Head(w, "P", "a%:b$::c");
            AssignName(w, "r$",
                       CLumTree::Operator(LBT_PLUS, CLumTree::Variable("b$"), CLumTree::Variable("a%")));
            AssignName(w, "c2", CLumTree::Variable("c"));
            EndProc(w);
        });
    EXPECT_EQ(RunImage(basic, image), std::vector<std::string>());
    std::string text;
    vars.MakeString(&text);
    EXPECT_EQ(text, "L:@P@a%=2\nS:@P@b$=5\nD:@P@c=-3.000000\nS:r$=52\nD:c2=-3.000000\n");
}

TEST(Procedure, CallExUsesTheComputedNameAndUndeclaredNamesFail)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    CLumImageWriter::Label head;
    auto declare = [&](CLumImageWriter& w) {
        head = w.NewLabel();
        Declare(w, "Twice", head);
    };
    auto procs = [&](CLumImageWriter& w) {
        w.Place(head);
        Head(w, "Twice", "n%");
        AssignName(w, "out%", CLumTree::Operator(LBT_MUL, CLumTree::Variable("n%"), CLumTree::LongConst(2)));
        EndProc(w);
    };
    auto good = Program(
        declare,
        [](CLumImageWriter& w) {
            w.Token(LBT_CALLEX);
            w.Expression(
                CLumTree::Operator(LBT_PLUS, CLumTree::StringConst("Tw"), CLumTree::StringConst("ice")));
            w.Expression(CLumTree::LongConst(21));
            w.Separator();
        },
        procs);
    EXPECT_TRUE(RunImage(basic, good).empty());
    EXPECT_EQ(vars.GetValue("out%", nullptr)->GetLong(), 42);

    auto bad = Program(
        declare, [](CLumImageWriter& w) { CallByName(w, "twice", {}); }, procs);
    std::vector<std::string> trail = RunImage(basic, bad);
    ASSERT_GE(trail.size(), 3u);
    EXPECT_EQ(trail[0],
              "Die Prozedur twice wird aufgerufen, ohne daß diese zuvor mit Declare deklariert wurde.");
    EXPECT_EQ(trail[1], "LUMBASICCALL");
    EXPECT_EQ(trail[2], "CLumBasic::Call()");
}

TEST(Procedure, TooFewArgumentsNameTheProcedure)
{
    CLumBasic basic;
    CLumImageWriter::Label head;
    auto image = Program(
        [&](CLumImageWriter& w) {
            head = w.NewLabel();
            Declare(w, "P", head);
        },
        [](CLumImageWriter& w) { CallByName(w, "P", {CLumTree::LongConst(1)}); },
        [&](CLumImageWriter& w) {
            w.Place(head);
            Head(w, "P", "a:b");
            EndProc(w);
        });
    std::vector<std::string> trail = RunImage(basic, image);
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], LumFormatForTest(LoadMessage(57014), "P", "a:b"));
}

TEST(Procedure, FunctionEnteredByCallEndsTheRunWithItsRecord)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    CLumImageWriter::Label head;
    auto image = Program(
        [&](CLumImageWriter& w) {
            head = w.NewLabel();
            Declare(w, "F%", head);
        },
        [](CLumImageWriter& w) {
            CallByName(w, "F%", {});
            AssignName(w, "after", CLumTree::LongConst(1));
        },
        [&](CLumImageWriter& w) {
            w.Place(head);
            Head(w, "F%", "", LBT_FUNCTION);
            AssignName(w, "F%", CLumTree::DoubleConst("2.5"));
            EndProc(w, LBT_FUNCTION);
        });
    EXPECT_TRUE(RunImage(basic, image).empty());
    EXPECT_EQ(vars.GetValue("@F%@F%", nullptr)->GetLong(), 2);
    EXPECT_EQ(vars.IsDefined("after", nullptr), 0);
}

TEST(Procedure, CallIntoAFinishedImageFailsCleanly)
{
    CLumVariables vars;
    CLumFunctions functions;
    CLumBasic basic(&vars, &functions);
    CLumImageWriter::Label head;
    auto library = Program(
        [&](CLumImageWriter& w) {
            head = w.NewLabel();
            Declare(w, "Gone", head);
        },
        [](CLumImageWriter&) {},
        [&](CLumImageWriter& w) {
            w.Place(head);
            Head(w, "Gone");
            EndProc(w);
        });
    EXPECT_TRUE(RunImage(basic, library).empty());
    auto caller = MainProgram([](CLumImageWriter& w) { CallByName(w, "Gone", {}); });
    std::vector<std::string> trail = RunImage(basic, caller);
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], "Die Prozedur Gone gehört zu einem Programm, das nicht mehr geladen ist.");
}

TEST(Scoping, DepthDecidesBetweenLocalAndGlobal)
{
    CLumVariables vars;
    ScopedBasic basic(&vars, nullptr);
    vars.SetValue("@P@x", new CLumsVarValue(100L));
    basic.EnterForTest("Main");
    basic.Set("x", 1); // depth 1: plain, even with a scoped key around
    EXPECT_EQ(vars.GetValue("x", nullptr)->GetLong(), 1);
    basic.EnterForTest("P");
    basic.Set("x", 2); // depth 2 with a local: the local changes
    basic.Set("y", 3); // no local: the global is made
    basic.Set("@Q@z", 4);
    EXPECT_EQ(vars.GetValue("@P@x", nullptr)->GetLong(), 2);
    EXPECT_EQ(vars.GetValue("x", nullptr)->GetLong(), 1);
    EXPECT_EQ(vars.GetValue("y", nullptr)->GetLong(), 3);
    EXPECT_EQ(vars.GetValue("@Q@z", nullptr)->GetLong(), 4);
    EXPECT_EQ(basic.Get("x"), 2);
    EXPECT_EQ(basic.Get("y"), 3);
    EXPECT_TRUE(basic.m_aChanges.empty());
    basic.Debug(1);
    basic.Set("x", 5);
    ASSERT_EQ(basic.m_aChanges.size(), 1u);
    EXPECT_EQ(basic.m_aChanges[0], std::make_pair(std::string("@P@x"), std::string("5")));
}

TEST(Scoping, DumpShowsKeysAsStored)
{
    CLumVariables vars;
    vars.SetValuesFromString("S:s$=a\nL:@P@n%=3\nD:d=0.5\n");
    CLumBasic basic(&vars, nullptr);
    std::vector<std::string> lines = {"old"};
    basic.DumpVariables(lines);
    EXPECT_EQ(lines, (std::vector<std::string>{"s$ = \"a\"", "@P@n% = 3", "d = 0.500000"}));
    EXPECT_EQ(basic.DumpVariable("t$"), "t$ = \"\"");
    EXPECT_EQ(basic.DumpVariable("q"), "q = 0.000000");
}
