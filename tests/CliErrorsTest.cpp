// What the command-line host says when its input is wrong: files it cannot open, a
// program file told apart by its content, bad lines of --vars, --strict.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumImageDir.h"

#include <filesystem>
#include <fstream>

using namespace lumtest;

namespace
{
std::string Write(const CImageDir& dir, const std::string& strName, const std::string& strText)
{
    std::ofstream(dir.Path(strName), std::ios::binary) << strText;
    return strName;
}

const char* const PROGRAM = "Sub Main\n  n% = n% + 1\n  text$ = \">\" + text$\nEnd Sub\n";
} // namespace

TEST(CliErrors, AFileThatCannotBeOpenedNamesTheReason)
{
    CImageDir dir;
    std::filesystem::create_directory(dir.Path("folder.lbd"));
    Write(dir, "prog.lbd", PROGRAM);
    const std::pair<const char*, const char*> aCases[] = {
        {"run missing.lbd", "lumbasic: missing.lbd: No such file or directory\n"},
        {"run missing.lbc", "lumbasic: missing.lbc: No such file or directory\n"},
        {"run folder.lbd", "lumbasic: folder.lbd: Is a directory\n"},
        {"run .", "lumbasic: .: Is a directory\n"},
        {"debug folder.lbd", "lumbasic: folder.lbd: Is a directory\n"},
        {"compile folder.lbd", "lumbasic: folder.lbd: Is a directory\n"},
        {"compile missing.lbd", "lumbasic: missing.lbd: No such file or directory\n"},
        {"dis missing.lbc", "lumbasic: missing.lbc: No such file or directory\n"},
        {"run --vars missing.vars prog.lbd", "lumbasic: missing.vars: No such file or directory\n"},
        {"run --vars folder.lbd prog.lbd", "lumbasic: folder.lbd: Is a directory\n"},
        {"run --extensions missing.ext prog.lbd", "lumbasic: missing.ext: No such file or directory\n"},
        {"compile prog.lbd -o folder.lbd", "lumbasic: folder.lbd: Is a directory\n"},
    };
    for (const auto& c : aCases)
    {
        CliResult o = RunCli(dir, c.first);
        EXPECT_EQ(o.m_nStatus, 1) << c.first;
        EXPECT_EQ(o.m_strErr, c.second) << c.first;
        EXPECT_EQ(o.m_strOut, "") << c.first;
    }
}

TEST(CliErrors, SourceOrImageGoesByTheContentNotTheName)
{
    CImageDir dir;
    Write(dir, "prog.txt", PROGRAM);
    Write(dir, "PROG.LBD", PROGRAM);
    Write(dir, "bom.bas", "\xEF\xBB\xBF" + std::string(PROGRAM));
    ASSERT_EQ(RunCli(dir, "compile prog.txt -o image.lbd").m_nStatus, 0);
    ASSERT_EQ(RunCli(dir, "compile PROG.LBD -o image.lbc").m_nStatus, 0);
    for (const char* pszFile : {"prog.txt", "PROG.LBD", "bom.bas", "image.lbd", "image.lbc"})
    {
        CliResult o = RunCli(dir, std::string("run --dump ") + pszFile);
        EXPECT_EQ(o.m_nStatus, 0) << pszFile << "\n" << o.m_strErr;
        EXPECT_EQ(o.m_strOut, "L:n%=1\nS:text$=>\n") << pszFile;
        CliResult listed = RunCli(dir, std::string("dis ") + pszFile);
        EXPECT_EQ(listed.m_nStatus, 0) << pszFile;
        EXPECT_NE(listed.m_strOut.find("LBT_ASSIGN       \"n%\" = (n% + 1)"), std::string::npos) << pszFile;
    }
    CliResult compiled = RunCli(dir, "compile image.lbd -o again.lbc");
    EXPECT_EQ(compiled.m_nStatus, 1);
    EXPECT_EQ(compiled.m_strErr,
              "lumbasic: image.lbd: a program image, not a source; 'lumbasic dis' lists it\n");
    // A source with errors is a source whatever its name.
    Write(dir, "broken.lbc", "Sub Main\n  x = \nEnd Sub\n");
    CliResult broken = RunCli(dir, "run broken.lbc");
    EXPECT_EQ(broken.m_nStatus, 1);
    EXPECT_EQ(broken.m_strErr, "broken.lbc:2:7: error: expected an expression, found the end of the line\n");
}

TEST(CliErrors, EveryBadLineOfVarsIsNamedAndNothingRuns)
{
    CImageDir dir;
    Write(dir, "prog.lbd", PROGRAM);
    const std::pair<const char*, const char*> aCases[] = {
        {"X:n%=1", "unknown type 'X'; a line starts with S: (a string), L: (a Long) or D: (a Double)"},
        {"l:n%=1", "unknown type 'l'; a line starts with S: (a string), L: (a Long) or D: (a Double)"},
        {"n%=1", "expected TYPE:NAME=VALUE with TYPE S, L or D, as in L:count%=42"},
        {"L:n%", "expected TYPE:NAME=VALUE with TYPE S, L or D, as in L:count%=42"},
        {"S:=text", "the name in front of '=' is empty"},
        {"L:n% =1", "the name 'n% ' begins or ends with a blank, which would be part of it"},
        {"L:n%=4x", "'4x' is not a whole number, which a Long (L:) needs"},
        {"L:n%=1.5", "'1.5' is not a whole number, which a Long (L:) needs"},
        {"L:n%=", "the value is empty; a Long (L:) needs a whole number, as in L:count%=42"},
        {"L:n%=2147483648", "'2147483648' is outside the range of a Long (L:), -2147483648 to 2147483647"},
        {"D:x=1,5", "'1,5' is not a number; a Double (D:) is written with a point, as in 1234.5"},
        {"D:x=abc", "'abc' is not a number; a Double (D:) is written with a point, as in 1234.5"},
        {"D:x= ", "the value is empty; a Double (D:) needs a number, as in D:price=19.99"},
        {"D:x=1e999", "'1e999' is outside the range of a Double (D:)"},
    };
    for (const auto& c : aCases)
    {
        Write(dir, "bad.vars", std::string("S:ok$=fine\n\n") + c.first + "\n");
        CliResult o = RunCli(dir, "run --dump --vars bad.vars prog.lbd");
        EXPECT_EQ(o.m_nStatus, 1) << c.first;
        EXPECT_EQ(o.m_strErr, std::string("bad.vars:3: error: ") + c.second + "\n") << c.first;
        EXPECT_EQ(o.m_strOut, "") << c.first;
    }
    // All bad lines at once, each with its own number.
    Write(dir, "bad.vars", "L:n%=x\nS:a$=1\nQ:b=2\n");
    EXPECT_EQ(RunCli(dir, "run --vars bad.vars prog.lbd").m_strErr,
              "bad.vars:1: error: 'x' is not a whole number, which a Long (L:) needs\n"
              "bad.vars:3: error: unknown type 'Q'; a line starts with S: (a string), L: (a Long) or D: (a "
              "Double)\n");
}

TEST(CliErrors, GoodVarsMayHaveEmptyLinesCrLfAndBlanksAroundNumbers)
{
    CImageDir dir;
    Write(dir, "prog.lbd", PROGRAM);
    Write(dir, "good.vars", "\r\nL:n%= -41 \r\n  \nS:text$= a=b \nD:x=2.5e1");
    CliResult o = RunCli(dir, "run --dump --vars good.vars prog.lbd");
    EXPECT_EQ(o.m_nStatus, 0) << o.m_strErr;
    EXPECT_EQ(o.m_strErr, "");
    EXPECT_EQ(o.m_strOut, "L:n%=-40\nS:text$=> a=b \nD:x=25.000000\n");
}

TEST(CliErrors, StrictWarnsOfVariablesNothingAssignsUnlessVarsFillsThem)
{
    CImageDir dir;
    Write(dir, "total.lbd", "Sub Main\n  gross = net * 1.19\nEnd Sub\n");
    Write(dir, "net.vars", "D:net=100\n");
    const char* const WARNING =
        "total.lbd:2:11: warning: 'net' is read but assigned nowhere in the program; if "
        "the host or an imported program sets it, say so with Dim net in Sub Main\n";
    CliResult ran = RunCli(dir, "run --strict --dump total.lbd");
    EXPECT_EQ(ran.m_nStatus, 0);
    EXPECT_EQ(ran.m_strErr, WARNING);
    EXPECT_EQ(ran.m_strOut, "D:gross=0.000000\n");
    ran = RunCli(dir, "run --strict --vars net.vars --dump total.lbd");
    EXPECT_EQ(ran.m_strErr, "");
    EXPECT_EQ(ran.m_strOut, "D:net=100.000000\nD:gross=119.000000\n");
    EXPECT_EQ(RunCli(dir, "run --dump total.lbd").m_strErr, "");
    // A warning never stops the compile.
    CliResult compiled = RunCli(dir, "compile --strict total.lbd");
    EXPECT_EQ(compiled.m_nStatus, 0);
    EXPECT_EQ(compiled.m_strErr, WARNING);
    EXPECT_TRUE(std::filesystem::exists(dir.Path("total.lbc")));
}

// The report of a failed run: the message at the failing line of the source the
// failing procedure came from, then the calls that led there, innermost first, each at
// the line of its statement also where a call before it in that statement returned. An
// imported image's procedure, the run of an imported image, a recursion, a program
// without line markers; --trail gives the whole trail instead.
TEST(CliErrors, AFailedRunIsReportedAtItsSourceLineWithItsCalls)
{
    CImageDir dir;
    Write(dir, "ratio.lbd", "Function Ratio(a, b)\n    Ratio = a / b\nEnd Function\n");
    Write(dir, "invoice.lbd",
          "Declare Function Ratio(a, b)\n"
          "Sub Main\n"
          "    Import \"ratio.lbc\"\n"
          "    Call Show(1)\n"
          "End Sub\n"
          "Sub Show(v)\n"
          "    y = Ratio(v, 1) + Ratio(v, 0)\n"
          "End Sub\n");
    Write(dir, "setup.lbd", "Sub Main\n    x = 1\n    y = x / 0\nEnd Sub\n");
    Write(dir, "after.lbd",
          "Sub Main\n    r = G(1) + 1 / 0\nEnd Sub\nFunction G(k)\n    G = k\nEnd Function\n");
    Write(dir, "start.lbd", "Sub Main\n    Import \"setup.lbc\"\nEnd Sub\n");
    Write(dir, "missing.lbd", "Sub Main\n    x = 1\n    Import \"nowhere.lbc\"\nEnd Sub\n");
    Write(dir, "deep.lbd",
          "Declare Function Deep%(k%)\n"
          "Sub Main\n"
          "    x% = Deep%(200)\n"
          "End Sub\n"
          "Function Deep%(k%)\n"
          "    If k% = 0 Then Deep% = 1 / k%\n"
          "    Deep% = Deep%(k% - 1)\n"
          "End Function\n");
    for (const char* pszArgs :
         {"compile ratio.lbd", "compile setup.lbd", "compile invoice.lbd -o invoice.img",
          "compile --no-lines setup.lbd -o bare.lbc"})
        ASSERT_EQ(RunCli(dir, pszArgs).m_nStatus, 0) << pszArgs;
    const std::string strInvoice = "ratio.lbd:2: Division durch Null.\n"
                                   "  in Ratio, called from Show at invoice.lbd:7\n"
                                   "  in Show, called from Main at invoice.lbd:4\n";
    const std::pair<const char*, std::string> aCases[] = {
        {"invoice.lbd", strInvoice},
        {"invoice.img", strInvoice},
        {"setup.lbd", "setup.lbd:3: Division durch Null.\n"},
        {"after.lbd", "after.lbd:2: Division durch Null.\n"},
        {"bare.lbc", "setup.lbd: Division durch Null.\n"},
        {"start.lbd", "setup.lbd:3: Division durch Null.\n"
                      "  in Main of setup.lbd, imported by Main at start.lbd:2\n"},
        {"missing.lbd",
         "missing.lbd:3: Die Datei \"nowhere.lbc\" kann nicht gelesen werden: No such file or directory\n"},
        {"deep.lbd", "deep.lbd:6: Division durch Null.\n"
                     "  in Deep%, called from Deep% at deep.lbd:7 (59 times)\n"
                     "  ... 83 calls left out ...\n"
                     "  in Deep%, called from Deep% at deep.lbd:7 (58 times)\n"
                     "  in Deep%, called from Main at deep.lbd:3\n"},
    };
    for (const auto& c : aCases)
    {
        CliResult o = RunCli(dir, std::string("run ") + c.first);
        EXPECT_EQ(o.m_nStatus, 1) << c.first;
        EXPECT_EQ(o.m_strErr, c.second) << c.first;
    }
    CliResult trail = RunCli(dir, "run --trail invoice.lbd");
    EXPECT_EQ(trail.m_nStatus, 1);
    EXPECT_EQ(trail.m_strErr.substr(0, trail.m_strErr.find('\n')), "Division durch Null.");
    EXPECT_NE(trail.m_strErr.find("\nLUMBASICUSERFUNCTION\nCLumExpression::UserFunction()\n"),
              std::string::npos)
        << trail.m_strErr;
    EXPECT_EQ(trail.m_strErr.find("  in "), std::string::npos) << trail.m_strErr;
}

// An endless run ends with status 1 and the line it stood at, the store dumped as it
// was: by --max-steps, by --max-memory, and by Ctrl-C.
TEST(CliErrors, AnEndlessRunEndsByItsLimitsOrByCtrlC)
{
    CImageDir dir;
    // The example of the README.
    std::filesystem::copy_file(LUM_SOURCE_DIR "/examples/endless.lbd", dir.Path("loop.lbd"));
    Write(dir, "grow.lbd",
          "Sub Main\n    s$ = \"x\"\n    Do While 1\n        s$ = s$ + s$\n    Loop\nEnd Sub\n");
    const struct
    {
        const char* m_pszArgs;
        const char* m_pszErr;
        const char* m_pszDumped;
    } aCases[] = {
        {"run --dump --max-steps 100 loop.lbd",
         "loop.lbd:4: Der Lauf hat die Grenze von 100 Anweisungen erreicht und wurde abgebrochen.\n",
         "L:n%="},
        {"run --dump --max-memory 1 grow.lbd",
         "grow.lbd:4: Die Werte des Laufs belegen mehr als 1048576 Bytes; der Lauf wurde abgebrochen.\n",
         "S:s$=xx"},
    };
    for (const auto& c : aCases)
    {
        CliResult o = RunCli(dir, c.m_pszArgs);
        EXPECT_EQ(o.m_nStatus, 1) << c.m_pszArgs;
        EXPECT_EQ(o.m_strErr, c.m_pszErr);
        EXPECT_EQ(o.m_strOut.rfind(c.m_pszDumped, 0), 0u) << c.m_pszArgs;
    }
    for (const char* pszBad : {"--max-steps 0", "--max-steps x", "--max-memory -1"})
        EXPECT_EQ(RunCli(dir, std::string("run ") + pszBad + " loop.lbd").m_nStatus, 2) << pszBad;

    std::string strCommand = "cd '" + dir.Dir() +
                             "' && ('" LUM_CLI_PATH
                             "' run --dump loop.lbd > cli.out 2> cli.err & pid=$!; sleep 0.5; "
                             "kill -INT $pid; wait $pid)";
    int nStatus = std::system(strCommand.c_str());
    EXPECT_EQ(WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1, 1);
    std::string strErr = dir.Read("cli.err");
    EXPECT_EQ(strErr.rfind("loop.lbd:", 0), 0u) << strErr;
    EXPECT_NE(strErr.find(": Der Lauf wurde auf Anforderung abgebrochen.\n"), std::string::npos) << strErr;
    EXPECT_EQ(dir.Read("cli.out").rfind("L:n%=", 0), 0u);
}

// The terminal debugger is a plugin in the library folder: a command line without it
// says so and runs nothing.
TEST(CliErrors, DebugWithoutItsTerminalPluginSaysSoAndRunsNothing)
{
    CImageDir dir;
    Write(dir, "prog.lbd", "Sub Main\n  Print \"ran\"\nEnd Sub\n");
    // The command with its library where its run path looks, and no plugin beside it.
    namespace fs = std::filesystem;
    fs::create_directory(dir.Path("bin"));
    fs::copy_file(LUM_CLI_PATH, dir.Path("bin/lumbasic"));
    fs::path lib = fs::path(dir.Path("bin")) / fs::relative(fs::path(LUM_LIBRARY).parent_path(),
                                                           fs::path(LUM_CLI_PATH).parent_path());
    fs::create_directories(lib);
    fs::create_symlink(LUM_LIBRARY, lib / "liblumbasic.so.0");
    std::string strCommand =
        "cd '" + dir.Dir() + "' && bin/lumbasic debug prog.lbd </dev/null >cli.out 2>cli.err";
    int nStatus = std::system(strCommand.c_str());
    ASSERT_TRUE(WIFEXITED(nStatus));
    EXPECT_EQ(WEXITSTATUS(nStatus), 1);
    std::string strErr = dir.Read("cli.err");
    EXPECT_EQ(strErr.rfind("lumbasic: Das Debugfenster kann nicht geöffnet werden: ", 0), 0u) << strErr;
    EXPECT_NE(strErr.find("liblumbasic-curses.so"), std::string::npos) << strErr;
    EXPECT_EQ(dir.Read("cli.out"), "");
}
