// Declared procedures: calls of images the compiler would not write, calls into
// finished images, and the scoping of variables.
#include "tests/LumCompilerTestSupport.h"

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

// Typed parameters, CallEx and a Function reached by it are in
// tests/programs/procedures.lbd; here, calls the compiler would refuse.
TEST(Procedure, UndeclaredNamesFailAndEmptyParameterNamesAreSkipped)
{
    CLumImageWriter::Label head;
    auto program = [&](const char* pszCalled, const std::vector<CLumTree>& aArgs) {
        return Program([&](CLumImageWriter& w) { head = w.NewLabel(), Declare(w, "P", head); },
                       [&](CLumImageWriter& w) { CallByName(w, pszCalled, aArgs); },
                       [&](CLumImageWriter& w) {
                           w.Place(head);
                           Head(w, "P", "a::b");
                           EndProc(w);
                       });
    };
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    EXPECT_EQ(RunImage(basic, program("P", {CLumTree::LongConst(1), CLumTree::LongConst(2)})),
              std::vector<std::string>());
    EXPECT_EQ(vars.GetValue("@P@b", nullptr)->GetDouble(), 2.0);

    std::vector<std::string> trail = RunImage(basic, program("P", {CLumTree::LongConst(1)}));
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], LumFormatForTest(LoadMessage(57014), "P", "a::b"));

    trail = RunImage(basic, program("p", {}));
    ASSERT_GE(trail.size(), 3u);
    EXPECT_EQ(trail[0], "Die Prozedur p wird aufgerufen, ohne daß diese zuvor mit Declare deklariert wurde.");
    EXPECT_EQ(trail[1], "LUMBASICCALL");
    EXPECT_EQ(trail[2], "CLumBasic::Call()");
}

TEST(Procedure, CallIntoAFinishedImageFailsCleanly)
{
    CLumVariables vars;
    CLumFunctions functions;
    CLumBasic basic(&vars, &functions);
    std::vector<uint8_t> library, caller;
    ASSERT_EQ(CompileText("Sub Gone\nEnd Sub\n", library), "");
    ASSERT_EQ(CompileText("Declare Sub Gone\nSub Main\n    Gone\nEnd Sub\n", caller), "");
    EXPECT_TRUE(RunImage(basic, library).empty());
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

// A derived interpreter that resolves names its own way is asked at every read,
// also where a plain one would remember what it found.
TEST(Scoping, AnOverriddenGetVarIsAskedAtEveryRead)
{
    class CountingBasic : public CLumBasic
    {
    public:
        using CLumBasic::CLumBasic;
        mutable int m_nReads = 0;

    protected:
        CLumsVarValue* GetVar(const char* pszName, long* const pIndices) const override
        {
            if (strcmp(pszName, "x") == 0)
                ++m_nReads;
            return CLumBasic::GetVar(pszName, pIndices);
        }
    };
    std::vector<uint8_t> image;
    ASSERT_EQ(CompileText("Sub Main\n  For i% = 1 To 5\n    y = x\n  Next\nEnd Sub\n", image), "");
    CountingBasic basic;
    EXPECT_TRUE(RunImage(basic, image).empty());
    EXPECT_EQ(basic.m_nReads, 5);
}
