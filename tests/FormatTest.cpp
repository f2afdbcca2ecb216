// The canonical layout of `lumbasic fmt` and the language server, and the proof that
// formatting keeps what a program does.
#include "format/LumFormatCheck.h"
#include "format/LumFormatter.h"
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <filesystem>
#include <fstream>

using namespace lumtest;

TEST(Format, LaysASourceOutCanonicallyAndKeepsEveryLine)
{
    const std::pair<std::string, std::string> aCases[] = {
        // Blocks, keyword case, operators, signs, brackets, commas, a continuation, the
        // column of a trailing comment, a one-line If, a call's negative argument.
        {"declare function rect(w,h)\n"
         "sub Main\n"
         "x=1:y=-2            ' kept here\n"
         "  if x>0 then\n"
         "z = rect( x , y )*-1\n"
         "      elseif x<0   THEN\n"
         " else\n"
         "s$ = str$( x ) + _\n"
         "\"-\"\n"
         " END IF\n"
         "for i%=1 to 3 step 2 : next i%\n"
         "do\n"
         "loop until x<=0\n"
         "If x Then y = 1 Else y = 2 : z = 3\n"
         "Greet -1\n"
         "t$ = NameOf (x)\n"
         "End Sub\n",
         "Declare Function rect(w, h)\n"
         "Sub Main\n"
         "    x = 1 : y = -2      ' kept here\n"
         "    If x > 0 Then\n"
         "        z = rect(x, y) * -1\n"
         "    ElseIf x < 0 Then\n"
         "    Else\n"
         "        s$ = str$(x) + _\n"
         "            \"-\"\n"
         "    End If\n"
         "    For i% = 1 To 3 Step 2 : Next i%\n"
         "    Do\n"
         "    Loop Until x <= 0\n"
         "    If x Then y = 1 Else y = 2 : z = 3\n"
         "    Greet -1\n"
         "    t$ = NameOf(x)\n"
         "End Sub\n"},
        // A byte order mark and CR LF breaks stay; a last line gets its break.
        {"\xEF\xBB\xBFsub main\r\n  x=1\r\nend sub", "\xEF\xBB\xBFSub main\r\n    x = 1\r\nEnd Sub\r\n"},
        // Bytes the lexer made no token of stay where they stand.
        {"sub main\nx=1 \xE2\x82\xAC\nend sub\n", "Sub main\n    x = 1 \xE2\x82\xAC\nEnd Sub\n"},
    };
    for (const auto& c : aCases)
    {
        std::string strFormatted = CLumFormatter(c.first).Run();
        EXPECT_EQ(strFormatted, c.second);
        EXPECT_EQ(CLumFormatter(strFormatted).Run(), strFormatted) << "not idempotent";
        std::string strWhy;
        EXPECT_TRUE(LumSameProgram(c.first, strFormatted, {}, strWhy)) << strWhy;
    }
}

// The examples and the program tests are in the canonical layout: with their
// indentation taken away, formatting gives each back as it was, and its image the
// same apart from line numbers.
TEST(Format, GivesTheTreesProgramsBackFromTheirBareLines)
{
    int nFiles = 0;
    for (const char* pszDir : {"examples", "tests/programs", "tests/golden"})
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(std::string(LUM_SOURCE_DIR) + "/" + pszDir))
        {
            if (entry.path().extension() != ".lbd")
                continue;
            std::string strSource = ReadText(entry.path().string());
            std::string strBare;
            std::istringstream in(strSource);
            for (std::string strLine; std::getline(in, strLine);)
                strBare += strLine.substr(std::min(strLine.size(), strLine.find_first_not_of(" \t"))) + "\n";
            std::string strFormatted = CLumFormatter(strBare).Run();
            EXPECT_EQ(strFormatted, strSource) << entry.path();
            std::string strWhy;
            EXPECT_TRUE(LumSameProgram(strSource, strFormatted, {}, strWhy))
                << entry.path() << ": " << strWhy;
            ++nFiles;
        }
    EXPECT_GT(nFiles, 20);
}

TEST(Format, TheCheckTellsAChangedProgramFromAMovedOne)
{
    const std::string strMain = "Sub Main\n    x = 1\nEnd Sub\n";
    const struct
    {
        std::string m_strChanged;
        bool m_fSame;
    } aCases[] = {
        {"\n\nSub Main\n  x = 1\n\nEnd Sub\n", true},         // lines moved: only markers differ
        {"Sub Main\n    x = 2\nEnd Sub\n", false},            // another value
        {"Sub Main\n    x% = 1\nEnd Sub\n", false},           // another variable
        {"Sub Main\n    x = 1\n    y = x\nEnd Sub\n", false}, // one statement more
        {"Sub Main\n    x = (1\nEnd Sub\n", false},           // an error
    };
    for (const auto& c : aCases)
    {
        std::string strWhy;
        EXPECT_EQ(LumSameProgram(strMain, c.m_strChanged, {}, strWhy), c.m_fSame) << c.m_strChanged;
        EXPECT_EQ(strWhy.empty(), c.m_fSame);
    }
    // Of two faulty sources, the same errors at the same lines count as the same.
    std::string strWhy;
    EXPECT_TRUE(LumSameProgram("Sub Main\n x=(1\nEnd Sub\n", "Sub Main\n    x = (1\nEnd Sub\n", {}, strWhy));
    EXPECT_FALSE(LumSameProgram("Sub Main\n x=(1\nEnd Sub\n", "Sub Main\n\n x=(1\nEnd Sub\n", {}, strWhy));
}

// `lumbasic fmt` as its user meets it: --check names what is not laid out, fmt lays it
// out, an image and a missing file are refused.
TEST(Format, TheCommandChecksAndRewritesFiles)
{
    CImageDir dir;
    std::ofstream(dir.Path("messy.lbd"), std::ios::binary) << "sub main\nx=1\nend sub\n";
    std::ofstream(dir.Path("tidy.lbd"), std::ios::binary) << "Sub Main\n    x = 1\nEnd Sub\n";
    ASSERT_EQ(RunCli(dir, "compile tidy.lbd -o tidy.lbc").m_nStatus, 0);
    const struct
    {
        const char* m_pszArgs;
        int m_nStatus;
        const char* m_pszOut;
        const char* m_pszErr;
    } aCases[] = {
        {"fmt --check tidy.lbd messy.lbd", 1,
         "messy.lbd: not in the canonical layout; 'lumbasic fmt messy.lbd' lays it out\n", ""},
        {"fmt messy.lbd", 0, "", ""},
        {"fmt --check tidy.lbd messy.lbd", 0, "", ""},
        {"fmt tidy.lbc missing.lbd", 1, "",
         "lumbasic: tidy.lbc: a program image, not a source\nlumbasic: missing.lbd: No such file or "
         "directory\n"},
        {"fmt", 2, "", "usage: lumbasic fmt [--check] FILE...\n"},
    };
    for (const auto& c : aCases)
    {
        CliResult o = RunCli(dir, c.m_pszArgs);
        EXPECT_EQ(o.m_nStatus, c.m_nStatus) << c.m_pszArgs;
        EXPECT_EQ(o.m_strOut, c.m_pszOut) << c.m_pszArgs;
        EXPECT_EQ(o.m_strErr, c.m_pszErr) << c.m_pszArgs;
    }
    EXPECT_EQ(ReadText(dir.Path("messy.lbd")), "Sub main\n    x = 1\nEnd Sub\n");
}
