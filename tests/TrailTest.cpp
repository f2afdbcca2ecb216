// Failures reach the host as one CLumsException whose trail reads from the inside out.
#include "tests/LumTestSupport.h"

#include <cstdio>
#include <unistd.h>

using namespace lumtest;

namespace
{
const std::vector<std::string> RUN_FRAMES = {"LUMBASIC", "CLumBasic::DispatchToken()",
                                             "LUMBASIC", "CLumBasic::RunLoop()",
                                             "LUMBASIC", "CLumBasic::Do()"};

std::vector<std::string> Joined(std::vector<std::string> a, const std::vector<std::string>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
} // namespace

TEST(Trail, UnknownTokenNamesItInHexWithEveryFrame)
{
    CLumBasic basic;
    CLumImageWriter w;
    w.Token(0x0581);
    w.Terminator();
    EXPECT_EQ(RunImage(basic, w.Finish()), Joined({"Kein Befehl mit dem Token 581 bekannt."}, RUN_FRAMES));
}

TEST(Trail, LineMarkerAddsTheLineOfTheFailingStatement)
{
    for (long nLine : {1L, 7L})
    {
        CLumBasic basic;
        CLumImageWriter w;
        w.SourceName("/tmp/prog.lbd");
        w.DebugInfo(3);
        w.Separator();
        w.DebugInfo(nLine);
        w.Token(LBT_TYPE_LONG); // a token with no handler
        w.DebugInfo(9);
        w.Terminator();
        EXPECT_EQ(RunImage(basic, w.Finish()),
                  Joined(Joined({"Kein Befehl mit dem Token 185 bekannt."}, RUN_FRAMES),
                         {"Der Fehler trat in Zeile " + std::to_string(nLine) + " der Quelldatei auf."}));
        EXPECT_EQ(basic.GetLineNr(), nLine);
        EXPECT_EQ(basic.GetSource(), "/tmp/prog.lbd");
    }
}

TEST(Trail, DeepFailurePassesEveryEvaluationFrameOnce)
{
    CLumBasic basic;
    auto image = MainProgram([](CLumImageWriter& w) {
        AssignName(
            w, "x",
            CLumTree::Operator(LBT_PLUS, CLumTree::LongConst(1),
                               CLumTree::Operator(LBT_DIV, CLumTree::LongConst(1), CLumTree::LongConst(0))));
    });
    std::vector<std::string> expected = {
        "Division durch Null.",        "LUMEXPRESSION",   "CLumExpression::Operation()", "LUMEXPRESSION",
        "CLumExpression::Operator()",  "LUMEXPRESSION",   "CLumExpression::Berechne()",  "LUMEXPRESSION",
        "CLumExpression::Operator()",  "LUMEXPRESSION",   "CLumExpression::Berechne()",  "LUMEXPRESSION",
        "CLumExpression::Auswerten()", "LUMBASICCOMMAND", "CLumBasic::Assign()"};
    EXPECT_EQ(RunImage(basic, image), Joined(expected, RUN_FRAMES));
}

TEST(Trail, MissingFileFailsInTheConstructorFrame)
{
    CLumBasic basic;
    try
    {
        basic.Do("/nonexistent/dir/prog.lbc");
        FAIL() << "no failure";
    }
    catch (const CLumsException& e)
    {
        const std::vector<std::string>& trail = e.GetTrail();
        ASSERT_EQ(trail.size(), 5u);
        EXPECT_EQ(trail[0].rfind("Die Datei \"/nonexistent/dir/prog.lbc\" kann nicht gelesen werden", 0), 0u);
        EXPECT_EQ(std::vector<std::string>(trail.begin() + 1, trail.end()),
                  (std::vector<std::string>{"LUMBASICFILE", "CLumBasicFile::CLumBasicFile(LPCTSTR)",
                                            "LUMBASIC", "CLumBasic::Do()"}));
        EXPECT_STREQ(e.what(), (trail[0] + "\nLUMBASICFILE\nCLumBasicFile::CLumBasicFile(LPCTSTR)\nLUMBASIC\n"
                                           "CLumBasic::Do()")
                                   .c_str());
    }
}

TEST(Trail, CatalogueTextsAndUnknownIds)
{
    EXPECT_EQ(LoadMessage(57038), "Der Fehler trat in Zeile %ld der Quelldatei auf.");
    EXPECT_EQ(LoadMessage(57040), "Der Code befindet sich außerhalb aller Subs und Functions! Wahrscheinlich "
                                  "wurde die \"Sub Main\"-Anweisung vergessen.");
    EXPECT_EQ(LoadMessage(57014).find("lautete:\r\n\"%s\""), LoadMessage(57014).size() - 14);
    EXPECT_EQ(LoadMessage(57010), "");
    EXPECT_EQ(LoadMessage(0), "");
}

TEST(RunLoop, ImagesWithoutStatementsRunToTheirEnd)
{
    CLumBasic basic;
    EXPECT_TRUE(RunImage(basic, {0, 0}).empty());
    CLumImageWriter w;
    w.SourceName("name.lbd");
    w.Terminator();
    EXPECT_TRUE(RunImage(basic, w.Finish()).empty());
    EXPECT_EQ(basic.GetSource(), "name.lbd");
    EXPECT_EQ(basic.GetLineNr(), 0);

    // A file holding nothing runs too: the reader adds the terminator.
    char szPath[] = "/tmp/lumbasic-emptyXXXXXX";
    int fd = mkstemp(szPath);
    ASSERT_GE(fd, 0);
    close(fd);
    EXPECT_NO_THROW(basic.Do(szPath));
    unlink(szPath);
}

TEST(RunLoop, ConsecutiveRunsShareTheStore)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    auto first = MainProgram([](CLumImageWriter& w) { AssignName(w, "n%", CLumTree::LongConst(20)); });
    auto second = MainProgram([](CLumImageWriter& w) {
        AssignName(w, "n%", CLumTree::Operator(LBT_MUL, CLumTree::Variable("n%"), CLumTree::LongConst(2)));
    });
    EXPECT_TRUE(RunImage(basic, first).empty());
    EXPECT_TRUE(RunImage(basic, second).empty());
    EXPECT_EQ(vars.GetValue("n%", nullptr)->GetLong(), 40);
}

TEST(RunLoop, InitBindsOnceUntilUnInit)
{
    CLumVariables first, second;
    CLumBasic basic(&first, nullptr);
    basic.Init(&second, nullptr);
    EXPECT_EQ(basic.GetVariables(), &first);
    basic.UnInit();
    basic.Init(&second, nullptr);
    EXPECT_EQ(basic.GetVariables(), &second);
}

TEST(Trail, LongTrailsKeepTheirEndsAndCountTheRest)
{
    CLumsException e;
    e.AddString() = "message";
    for (int i = 1; i <= 1000; ++i)
        e.Add(("label " + std::to_string(i)).c_str());
    const std::vector<std::string>& trail = e.GetTrail();
    ASSERT_EQ(trail.size(), CLumsException::MAX_HEAD + 1 + CLumsException::MAX_TAIL);
    EXPECT_EQ(trail.front(), "message");
    EXPECT_EQ(trail[CLumsException::MAX_HEAD - 1], "label 59");
    EXPECT_EQ(trail[CLumsException::MAX_HEAD], "... 881 Einträge ausgelassen ...");
    EXPECT_EQ(trail[CLumsException::MAX_HEAD + 1], "label 941");
    EXPECT_EQ(trail.back(), "label 1000");
}
