// Compile errors: each names its line and column and says what was expected, and one
// pass reports all of them.
#include "tests/LumCompilerTestSupport.h"

using namespace lumtest;

namespace
{
struct ErrorCase
{
    const char* m_pszSource;
    const char* m_pszErrors;
};

std::string Errors(const char* pszSource)
{
    std::vector<uint8_t> aImage;
    std::string strErrors = CompileText(pszSource, aImage);
    EXPECT_EQ(aImage.empty(), !strErrors.empty());
    return strErrors;
}
} // namespace

TEST(CompilerErrors, SyntaxErrorsNameTheirPositionAndWhatWasExpected)
{
    const ErrorCase aCases[] = {
        {"Sub Main\n  x = (1 + 2\nEnd Sub\n",
         "t.lbd:2:13: error: expected ')' to close the bracket, found the end of the line\n"},
        {"Sub Main\n  If x Then\n  y = 1\nEnd Sub\n",
         "t.lbd:4:1: error: expected 'End If' to close the If opened at line 2, found 'End'\n"},
        {"Sub Main\n  For i = 1 10\n  Next\nEnd Sub\n",
         "t.lbd:2:13: error: expected 'To' behind the first value of For, found number 10\n"},
        {"Sub Main\n  For i = 1 To 2\n  Next j\nEnd Sub\n",
         "t.lbd:3:8: error: 'Next j' does not match 'For i' of line 2\n"},
        {"Sub Main\n  Do\n  Loop\nEnd Sub\n",
         "t.lbd:3:3: error: expected 'While' or 'Until' behind Loop: a loop needs a condition\n"},
        {"Sub Main\n  Wend\nEnd Sub\n", "t.lbd:2:3: error: 'Wend' without 'While'\n"},
        {"Sub Main\n  x = 1\n", "t.lbd:3:1: error: expected 'End Sub' to close the Sub opened at line 1, "
                                "found the end of the file\n"},
        {"Sub Main\n  s$ = \"open\nEnd Sub\n", "t.lbd:2:8: error: missing closing quote of the string\n"},
        {"Sub Main\n  x = 2 ^ 3\nEnd Sub\n",
         "t.lbd:2:9: error: the operator '^' is not part of the language\n"},
        {"Sub Main\n  Exit Sub\nEnd Sub\n", "t.lbd:2:3: error: 'Exit' is not part of the language: leave a "
                                            "loop through its condition, a procedure through "
                                            "its end\n"},
        {"Sub Main\n  End\nEnd Sub\n", "t.lbd:2:3: error: expected 'End Sub', 'End Function' or 'End If'; a "
                                       "program ends at the End of Sub Main\n"},
        {"Sub Main\n  Dim x As Integer\nEnd Sub\n",
         "t.lbd:2:12: error: expected 'Long', 'Double' or 'String' behind As, found 'Integer'\n"},
        {"Sub Main\n  x = 1 _\n    + 2 +\nEnd Sub\n",
         "t.lbd:3:10: error: expected an expression, found the end of the line\n"},
    };
    for (const ErrorCase& c : aCases)
        EXPECT_EQ(Errors(c.m_pszSource), c.m_pszErrors) << c.m_pszSource;
}

TEST(CompilerErrors, ConstructsThatWouldRunWronglyAreRefused)
{
    const ErrorCase aCases[] = {
        {"x = 1\nSub Main\nEnd Sub\n", "t.lbd:1:1: error: an assignment outside every procedure would fail "
                                       "when the program runs; put it into Sub "
                                       "Main\n"},
        {"Sub Main\n  Dim n% As Long\nEnd Sub\n", "t.lbd:2:7: error: 'Dim ... As' cannot stand in Sub Main "
                                                  "or outside every procedure; the type comes from the "
                                                  "name, so write 'Dim n%'\n"},
        {"Sub Main\nEnd Sub\nSub P\n  Dim n As Long\nEnd Sub\n",
         "t.lbd:4:7: error: 'n' is a Double by its name; a Long is named 'n%'\n"},
        {"Sub Main\n  Call F(1)\nEnd Sub\nFunction F(x)\n  F = x\nEnd Function\n",
         "t.lbd:2:8: error: 'F' is a Function; use its value, as in x = F(...)\n"},
        {"Sub Main\n  x = S()\nEnd Sub\nSub S\nEnd Sub\n",
         "t.lbd:2:7: error: 'S' is a Sub and gives no value; call it as a statement\n"},
        {"Sub Main\n  P 1, 2\nEnd Sub\nSub P(a)\nEnd Sub\n",
         "t.lbd:2:3: error: 'P' takes 1 argument, not 2\n"},
        {"Sub Main\n  x$ = Mid$(\"a\")\nEnd Sub\n",
         "t.lbd:2:8: error: 'Mid$' takes from 2 to 3 arguments, not 1\n"},
        {"Sub Main\n  n = 1 + \"a\" * 2\nEnd Sub\n",
         "t.lbd:2:11: error: the operator '*' is not defined for strings\n"},
        {"Sub Main\n  s$ = 1\nEnd Sub\n",
         "t.lbd:2:3: error: a number cannot be assigned to the string variable 's$'\n"},
        {"Sub Main\n  x = Len(5)\nEnd Sub\n", "t.lbd:2:11: error: argument 1 of 'Len' must be a string\n"},
        {"Sub Main\n  If \"a\" > 1 Then x = 1\nEnd Sub\n",
         "t.lbd:2:6: error: a string and a number cannot be compared with '>'\n"},
        {"Sub Main\n  a(1) = 2\nEnd Sub\n", "t.lbd:2:3: error: 'a' is not an array; Dim a(...) first\n"},
        {"Sub Main\n  x = b(1)\nEnd Sub\n", "t.lbd:2:7: error: 'b' is neither an array nor a declared "
                                            "procedure: Dim the array, or Declare a procedure of "
                                            "an imported image\n"},
        {"Sub Main\n  greet\nEnd Sub\nSub Greet\nEnd Sub\n",
         "t.lbd:2:3: error: 'greet' is not declared; names are case-sensitive, did you mean 'Greet'?\n"},
        {"Sub Main\n  Main = 1\nEnd Sub\n",
         "t.lbd:2:3: error: 'Main' is the name of this Sub; only a Function has a result to assign\n"},
        {"Declare Sub P(a$)\nSub Main\nEnd Sub\nSub P(a)\nEnd Sub\n",
         "t.lbd:4:5: error: the definition of 'P' does not match its Declare at line 1\n"},
        {"Sub Main\n  For s$ = 1 To 2\n  Next\nEnd Sub\n",
         "t.lbd:2:3: error: the counter of For must be numeric; 's$' holds a string\n"},
        {"Sub Len(x)\nEnd Sub\n",
         "t.lbd:1:5: error: 'Len' is a built-in function and cannot name a procedure\n"},
        {"Sub Main\n  For i% = 1 To 2 Step 0.5\n  Next\nEnd Sub\n",
         "t.lbd:2:24: error: the step of the Long counter 'i%' must be whole\n"},
    };
    for (const ErrorCase& c : aCases)
        EXPECT_EQ(Errors(c.m_pszSource), c.m_pszErrors) << c.m_pszSource;
}

// An unknown name suggests the known one nearest to it that could stand there, if one
// is near enough for its length; with --strict a variable that nothing assigns suggests
// an assigned one of its type.
TEST(CompilerErrors, AnUnknownNameSuggestsTheNearestKnownOne)
{
    CLumExtensionTable extensions;
    CLumDiagnostics tableDiagnostics;
    extensions.Parse("statement Input 0x2083\nfunction Fetch 0x2084\n", tableDiagnostics);
    SLumCompileOptions strict;
    strict.m_fStrict = true;
    strict.m_pExtensions = &extensions;
    auto diagnose = [&](const std::string& strMain) {
        std::vector<uint8_t> aImage;
        return CompileText("Dim total(3)\nFunction Discount(x)\n  Discount = x\nEnd Function\nSub Report(a)\n"
                           "End Sub\nSub Main\n  " +
                               strMain + "\nEnd Sub\n",
                           aImage, strict);
    };
    const std::pair<const char*, const char*> aCases[] = {
        {"net = 1 - Discont(1)", "did you mean 'Discount'?"},
        {"Reprot 1", "did you mean 'Report'?"},
        {"x = Roudn(1.5)", "did you mean 'Round'?"},
        {"s$ = Lef$(\"ab\", 1)", "did you mean 'Left$'?"},
        {"s$ = Lft(\"ab\", 1)", "did you mean 'Left'?"},
        {"ShowMesage \"a\", \"b\", 0", "did you mean 'ShowMessage'?"},
        {"Inptu x", "did you mean 'Input'?"},
        {"x = Fecth(1)", "did you mean 'Fetch'?"},
        {"x = totl(1)", "did you mean 'total'?"},
        {"totl(1) = 2", "did you mean 'total'?"},
        {"n$ = NameOf(totl(1))", "did you mean 'total'?"},
        {"amount = 1\n  net = amout", "did you mean 'amount'?"},
        {"amount = 1\n  net = Amount", "names are case-sensitive, did you mean 'amount'?"},
        {"End Sub\nSub Book(amount)\n  x = amout", "did you mean 'amount'?"},
        // A statement is no function, a function no statement; a name of another type
        // is no candidate; too many edits for the length, a two-letter name none.
        {"Fecth 1", nullptr},
        {"x = Inpt(1)", nullptr},
        {"names$ = \"a\"\n  x = names", nullptr},
        {"x = Dscnt(1)", nullptr},
        {"x = Ab(-1)", nullptr},
    };
    for (const auto& c : aCases)
    {
        std::string strText = diagnose(c.first);
        size_t nMeant = strText.find("did you mean");
        std::string strMeant;
        if (nMeant != std::string::npos)
        {
            size_t nStart = strText.rfind("; ", nMeant) + 2;
            strMeant = strText.substr(nStart, strText.find('?', nMeant) + 1 - nStart);
        }
        EXPECT_NE(strText, "") << c.first;
        EXPECT_EQ(strMeant, c.second ? c.second : "") << strText;
    }
    EXPECT_EQ(diagnose("net = 1 - Discont(1)"),
              "t.lbd:8:13: error: 'Discont' is not declared; did you mean 'Discount'?\n");
    EXPECT_EQ(
        diagnose("amount = 1\n  net = amout"),
        "t.lbd:9:9: warning: 'amout' is read but assigned nowhere in the program; did you mean 'amount'? "
        "If the host or an imported program sets it, say so with Dim amout in Sub Main\n");
}

TEST(CompilerErrors, OnePassReportsEveryErrorInOrder)
{
    const char* pszSource = "Sub Main\n"
                            "  x = (1\n"
                            "  y$ = 2\n"
                            "  Foo 1\n"
                            "  z = 3 +\n"
                            "End Sub\n"
                            "Sub Main\n"
                            "End Sub\n";
    EXPECT_EQ(Errors(pszSource),
              "t.lbd:2:9: error: expected ')' to close the bracket, found the end of the line\n"
              "t.lbd:3:3: error: a number cannot be assigned to the string variable 'y$'\n"
              "t.lbd:4:3: error: 'Foo' is not a declared procedure: a procedure of an imported image needs "
              "'Declare "
              "Sub Foo(...)'\n"
              "t.lbd:5:10: error: expected an expression, found the end of the line\n"
              "t.lbd:7:5: error: Sub Main is defined twice; see line 1\n");
}

TEST(CompilerErrors, ExtensionTableFaultsNameTheirLine)
{
    CLumExtensionTable table;
    CLumDiagnostics diagnostics;
    table.Parse("statement Beep 0x2083\n"
                "function Beep 0x2084\n"
                "function If 0x2184\n"
                "function Tax 0x0184\n"
                "procedure Tax 0x2284\n"
                "function Tax\n",
                diagnostics);
    EXPECT_EQ(
        diagnostics.Format("ext.txt"),
        "ext.txt:2:1: error: 'Beep' is named twice\n"
        "ext.txt:3:1: error: 'If' is a word of the language\n"
        "ext.txt:4:1: error: token LBT_LEFT belongs to the interpreter\n"
        "ext.txt:5:1: error: expected 'statement' or 'function' at the start of the line\n"
        "ext.txt:6:1: error: expected a name and a token value from 0x0001 to 0xFFFF, as in 'function Tax "
        "0x2084'\n");
    EXPECT_NE(table.Find("BEEP"), nullptr);
}

TEST(CompilerErrors, DeepNestingIsAnErrorNotACrash)
{
    std::string strIfs;
    for (int i = 0; i < 150; ++i)
        strIfs += "If x Then\n";
    for (int i = 0; i < 150; ++i)
        strIfs += "End If\n";
    const std::pair<std::string, const char*> aCases[] = {
        {"x = " + std::string(300, '(') + "1" + std::string(300, ')'), "expression nested too deeply"},
        {"x = 1" + std::string(3000, '+') + "1", "expression nested too deeply"},
        {"x = Abs(" + std::string(300, '(') + "1" + std::string(300, ')') + ")",
         "expression nested too deeply"},
        {"x = " + std::string(300, '-') + "y", "expression nested too deeply"},
        {strIfs, "blocks nested too deeply"},
    };
    for (const auto& c : aCases)
    {
        std::vector<uint8_t> aImage;
        std::string strErrors = CompileText("Sub Main\n" + c.first + "\nEnd Sub\n", aImage);
        EXPECT_NE(strErrors.find(c.second), std::string::npos) << strErrors.substr(0, 300);
        EXPECT_TRUE(aImage.empty());
    }
}

TEST(CompilerErrors, ANameMayHave255CharactersAndNoMore)
{
    std::string str255(255, 'n'), str256(256, 'n');
    EXPECT_EQ(Errors(("Sub Main\n  " + str255 + " = 1\nEnd Sub\n").c_str()), "");
    EXPECT_EQ(Errors(("Sub Main\n  " + str256 + " = 1\nEnd Sub\n").c_str()),
              "t.lbd:2:3: error: a name is at most 255 characters long\n");
}
