// The compiler's warnings, which never stop a compile: a procedure that reads its
// parameters or locals after calling itself, and with --strict a variable that nothing
// assigns. And a long flat chain of operators, which is no nesting.
#include "tests/LumCompilerTestSupport.h"

#include "expr/LumExpression.h"
#include "res/LumMessages.h"

#include <filesystem>

using namespace lumtest;

namespace
{
// The diagnostics of a source that must compile, and does.
std::string Warnings(const std::string& strSource, const SLumCompileOptions& options = {})
{
    std::vector<uint8_t> aImage;
    std::string strText = CompileText(strSource, aImage, options);
    EXPECT_FALSE(aImage.empty()) << strText;
    return strText;
}

std::string Shared(const char* pszName, const char* pszProc, const char* pszHow = "read")
{
    return std::string("warning: '") + pszName + "' is " + pszHow + " after the recursive call of '" +
           pszProc + "', which may have changed it: all calls of '" + pszProc +
           "' share one set of parameters and locals\n";
}
} // namespace

TEST(CompilerWarning, AReadAfterTheProcedureCalledItselfIsWarnedOf)
{
    const std::string strMain = "Sub Main\n  r = F(3)\nEnd Sub\n";
    const std::pair<std::string, std::string> aCases[] = {
        // A parameter read after the call in the same expression.
        {"Function F(k%)\n  F = F(k% - 1) + k%\nEnd Function\n", "t.lbd:5:19: " + Shared("k%", "F")},
        // Read before the call, or not read at all after it.
        {"Function F(k%)\n  F = F(k% - 1) + 1\nEnd Function\n", ""},
        {"Function F(n)\n  If n <= 1 Then F = 1 Else F = n * F(n - 1)\nEnd Function\n", ""},
        // A Sub that calls itself as a statement.
        {"Sub W(n%)\n  If n% > 0 Then W n% - 1 : total = total + n%\nEnd Sub\nFunction F(k)\n  W k\nEnd "
         "Function\n",
         "t.lbd:5:45: " + Shared("n%", "W")},
        // A local read after the call, unless assigned after it first.
        {"Function F(n)\n  Dim t\n  t = n\n  F = F(n - 1)\n  F = F + t\nEnd Function\n",
         "t.lbd:8:11: " + Shared("t", "F")},
        {"Function F(n)\n  Dim t\n  t = F(n - 1)\n  F = t + 1\nEnd Function\n", ""},
        // The other branch of an If runs instead of the call, not after it.
        {"Function F(n)\n  If n > 0 Then\n    F = F(n - 1)\n  Else\n    F = n\n  End If\nEnd Function\n", ""},
        {"Function F(n)\n  If n > 0 Then F = F(n - 1)\n  F = F + n\nEnd Function\n",
         "t.lbd:6:11: " + Shared("n", "F")},
        // In a loop the next pass comes after the call: Next counts a local counter on,
        // the condition of While reads again; an accumulator assigned behind the call
        // is fresh on the next pass.
        {"Function F(n%)\n  Dim i%, acc\n  For i% = 1 To 2\n    acc = acc + F(0)\n  Next i%\n  F = acc\nEnd "
         "Function\n",
         "t.lbd:8:3: " + Shared("i%", "F", "counted on by Next")},
        {"Function F(n%)\n  While n% > 0\n    F = F(n% - 1)\n  Wend\nEnd Function\n",
         "t.lbd:5:9: " + Shared("n%", "F") + "t.lbd:6:11: " + Shared("n%", "F")},
        // Globals are no one activation's: no warning.
        {"Function F(n)\n  F = F(n - 1) + g\nEnd Function\n", ""},
        // No call of itself.
        {"Function F(n)\n  F = G(n) + n\nEnd Function\nFunction G(n)\n  G = n\nEnd Function\n", ""},
    };
    for (const auto& c : aCases)
        EXPECT_EQ(Warnings(strMain + c.first), c.second) << c.first;
}

TEST(CompilerWarning, StrictWarnsOfVariablesReadButAssignedNowhere)
{
    CLumExtensionTable extensions;
    CLumDiagnostics tableDiagnostics;
    extensions.Parse("statement Input 0x2083\nfunction Fill 0x2084\n", tableDiagnostics);
    ASSERT_FALSE(tableDiagnostics.HasErrors());
    std::set<std::string> setHostNames{"fromHost"};
    SLumCompileOptions strict;
    strict.m_fStrict = true;
    strict.m_pExtensions = &extensions;
    strict.m_pHostNames = &setHostNames;
    const std::string strRead = "'y' is read but assigned nowhere in the program; if the host or an imported "
                                "program sets it, say so with Dim y in Sub Main\n";
    const std::pair<std::string, std::string> aCases[] = {
        {"Sub Main\n  x = y + 1\n  z = y\nEnd Sub\n", "t.lbd:2:7: warning: " + strRead},
        // Assigned anywhere: by an assignment in another procedure, a For, a Dim in
        // Sub Main, a Let with a fixed name, a name handed out, the host.
        {"Sub Main\n  x = y\nEnd Sub\nSub P\n  y = 1\nEnd Sub\n", ""},
        {"Sub Main\n  For y = 1 To 2\n  Next\n  x = y\nEnd Sub\n", ""},
        {"Sub Main\n  Dim y\n  x = y\nEnd Sub\n", ""},
        {"Sub Main\n  Let (\"y\") = 1\n  x = y\nEnd Sub\n", ""},
        {"Sub Main\n  n$ = NameOf(y)\n  x = y\nEnd Sub\n", ""},
        {"Sub Main\n  Input y\n  x = y\nEnd Sub\n", ""},
        {"Sub Main\n  x = Fill(y) + y\nEnd Sub\n", ""},
        {"Sub Main\n  x = fromHost\nEnd Sub\n", ""},
        // A parameter or local of another procedure is not the global.
        {"Sub Main\n  x = y\nEnd Sub\nSub P(y)\n  y = 2\nEnd Sub\n", "t.lbd:2:7: warning: " + strRead},
        {"Sub Main\n  P 1\nEnd Sub\nSub P(a)\n  Dim b\n  x = a + b\nEnd Sub\n", ""},
        // A function's own name is its result; a built-in without arguments no variable.
        {"Sub Main\n  x = F()\nEnd Sub\nFunction F()\n  F = 1\n  F = F + 1\nEnd Function\n", ""},
        {"Sub Main\n  t$ = SysTime$\nEnd Sub\n", ""},
        // A computed target may be any variable.
        {"Sub Main\n  n$ = \"y\"\n  Let (n$) = 1\n  x = y\nEnd Sub\n", ""},
    };
    for (const auto& c : aCases)
    {
        EXPECT_EQ(Warnings(c.first, strict), c.second) << c.first;
        SLumCompileOptions plain;
        plain.m_pExtensions = &extensions;
        EXPECT_EQ(Warnings(c.first, plain), "") << c.first;
    }
}

// Every example and benchmark program compiles without a warning, also with
// --strict, given what their hosts fill, and disassembles without a gap.
TEST(CompilerWarning, TheExamplesCompileWithoutWarnings)
{
    std::string strRoot = LUM_SOURCE_DIR;
    CLumExtensionTable console;
    CLumDiagnostics tableDiagnostics;
    console.Parse(ReadText(strRoot + "/examples/modules/console.ext"), tableDiagnostics);
    ASSERT_FALSE(tableDiagnostics.HasErrors());
    std::set<std::string> setBenchNames{"n%"};
    std::vector<std::filesystem::path> aSources;
    for (const char* pszDir : {"/examples", "/examples/modules", "/bench/compare"})
        for (const auto& entry : std::filesystem::directory_iterator(strRoot + pszDir))
            if (entry.path().extension() == ".lbd")
                aSources.push_back(entry.path());
    EXPECT_GE(aSources.size(), 15u);
    for (const std::filesystem::path& source : aSources)
    {
        SLumCompileOptions options;
        options.m_pExtensions = &console;
        for (bool fStrict : {false, true})
        {
            options.m_fStrict = fStrict;
            options.m_pHostNames = source.parent_path().filename() == "compare" ? &setBenchNames : nullptr;
            CLumCompiler compiler(options);
            std::vector<uint8_t> aImage;
            EXPECT_TRUE(compiler.CompileFile(source.string(), aImage)) << source;
            EXPECT_EQ(compiler.GetDiagnostics().GetWarningCount(), 0u)
                << source << (fStrict ? " --strict\n" : "\n")
                << compiler.GetDiagnostics().Format(source.string());
            // Each disassembles whole, without a gap in its listing.
            std::string strListing;
            EXPECT_TRUE(CLumDisassembler(&console).Run(aImage.data(), aImage.size(), strListing))
                << strListing;
            for (const char* pszGap :
                 {"<no separator>", "<list ends", "bytes more>", "<node kind", "<operator", "<constant"})
                EXPECT_EQ(strListing.find(pszGap), std::string::npos) << source << strListing;
        }
    }
}

static_assert(LUM_MAX_TREE_LEVELS == CLumExpression::MAX_TREE_DEPTH,
              "the compiler's bound is the run-time's");

// A chain of n terms is a tree of n levels: 1000 compile and run, one more is named as
// too long, not as nested too deeply. Each operator's chain, on both forms of the run.
TEST(CompilerFlatChain, AThousandTermsRunAndOneMoreIsTooLong)
{
    struct Case
    {
        const char* m_pszTarget;
        const char* m_pszTerm;
        const char* m_pszOperator;
        const char* m_pszResult;
    };
    const Case aCases[] = {
        {"x%", "1", " + ", "L:x%=1000"},   {"x%", "1", " - ", "L:x%=-998"},    {"x%", "1", " * ", "L:x%=1"},
        {"x", "1", " / ", "D:x=1.000000"}, {"t$", "\"ab\"", " + ", "S:t$=ab"}, {"b%", "1", " And ", "L:b%=1"},
        {"b%", "0", " Or ", "L:b%=0"},     {"b%", "1", " = ", "L:b%=1"},
    };
    for (const Case& c : aCases)
        for (int nTerms : {1000, 1001})
        {
            std::string strChain = c.m_pszTerm;
            for (int i = 1; i < nTerms; ++i)
                strChain += std::string(c.m_pszOperator) + c.m_pszTerm;
            std::vector<uint8_t> aImage;
            std::string strErrors = CompileText(
                "Sub Main\n  " + std::string(c.m_pszTarget) + " = " + strChain + "\nEnd Sub\n", aImage);
            if (nTerms == 1001)
            {
                std::string strColumn = std::to_string(std::string(c.m_pszTarget).size() + 6);
                EXPECT_EQ(strErrors,
                          "t.lbd:2:" + strColumn +
                              ": error: expression too long: the interpreter evaluates at most 1000 "
                              "levels of operators in one expression; split it with an intermediate "
                              "variable\n")
                    << c.m_pszOperator;
                continue;
            }
            ASSERT_EQ(strErrors, "") << c.m_pszOperator;
            std::string strListing;
            EXPECT_TRUE(CLumDisassembler().Run(aImage.data(), aImage.size(), strListing)) << c.m_pszOperator;
            std::string strTerms = c.m_pszResult;
            if (c.m_pszTerm[0] == '"')
                for (int i = 1; i < nTerms; ++i)
                    strTerms += "ab";
            for (bool fStream : {false, true})
                EXPECT_EQ(RunOutcome(aImage, fStream), "--- store\n" + strTerms + "\n")
                    << c.m_pszOperator << (fStream ? " stream" : "");
        }
}

// Thousands of terms: the compiler refuses them without recursing, and an image that
// holds such a tree anyway fails cleanly when it runs, never overflowing the stack.
TEST(CompilerFlatChain, FiveThousandTermsFailCleanly)
{
    std::string strChain = "1";
    for (int i = 1; i < 5000; ++i)
        strChain += " + 1";
    std::vector<uint8_t> aImage;
    EXPECT_NE(CompileText("Sub Main\n  x% = " + strChain + "\nEnd Sub\n", aImage).find("expression too long"),
              std::string::npos);

    // The tree in prefix order: 4999 operator nodes, then the 5000 leaves.
    CLumTree one = CLumTree::LongConst(1);
    std::vector<uint8_t> aOperator = CLumTree::Operator(LBT_PLUS, one, one).GetBytes();
    aOperator.resize(aOperator.size() - 2 * one.GetBytes().size());
    std::vector<uint8_t> aImage5000 = MainProgram([&](CLumImageWriter& w) {
        w.Token(LBT_ASSIGN);
        w.Token(LBT_NAME);
        w.CountedText("x%");
        w.Token(LBT_EXPRESSION);
        for (int i = 1; i < 5000; ++i)
            w.Bytes(aOperator.data(), aOperator.size());
        for (int i = 0; i < 5000; ++i)
            w.Bytes(one.GetBytes().data(), one.GetBytes().size());
        w.Separator();
    });
    for (bool fStream : {false, true})
    {
        std::string strOutcome = RunOutcome(aImage5000, fStream);
        EXPECT_EQ(strOutcome.substr(0, strOutcome.find('\n')),
                  LumFormatForTest(LoadMessage(LUM_MSG_TREE_TOO_DEEP), CLumExpression::MAX_TREE_DEPTH))
            << strOutcome;
    }
}
