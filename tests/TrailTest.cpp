// Failures reach the host as one CLumsException whose trail reads from the inside out.
#include "tests/LumTestSupport.h"

#include <cstdio>
#include <map>
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

// Tests elsewhere build their expected texts with LoadMessage, so a text moved to
// another id would pass them: here each classic id has its own text, word for word,
// and no two ids of the whole catalogue share one.
TEST(Trail, EveryCatalogueIdHasItsOwnText)
{
    const std::pair<int, const char*> aClassic[] = {
        {10900, "In der Funktion ist ein unerwarteter Fehler aufgetreten."},
        {57005,
         "Im %d.Parameter wird ein numerischer Typ erwartet. Dort steht jedoch die Zeichenkette \"%s\"."},
        {57006, "Im %d. Parameter wird eine Zeichenkette erwartet. In der Parameterliste steht jedoch ein "
                "numerischer Ausdruck."},
        {57007, "Der %d. Parameter fehlt."},
        {57008, "Beim Verändern des Inhalts der Variablen %s ist ein Fehler aufgetreten."},
        {57009, "Beim Lesen des Inhalts der Variablen %s ist ein Fehler aufgetreten."},
        {57013, "Die Prozedur %s wird aufgerufen, ohne daß diese zuvor mit Declare deklariert wurde."},
        {57014,
         "Bei der Definition der Prozedur %s wurden zuwenig Parameter angegeben. In der Deklaration der "
         "Prozedur wurden mehr Parameter angegeben. Der Deklarationsstring lautete:\r\n\"%s\""},
        {57015, "Die linke Seite einer Zuweisung ist kein Variablenname, sondern eine numerische Konstante."},
        {57016, "Es wird das Token LBT_EXPRESSION erwartet. Statt dessen wurde der Wert %x gelesen."},
        {57017, "Der Stringvariablen %s kann kein numerischer Wert zugewiesen werden."},
        {57018, "Der numerischen Variablen %s kann kein String zugewiesen werden."},
        {57019, "Bei der Zuweisung zur Variablen %s fehlt der Wert."},
        {57020, "Die Dimension der Dim-Anweisung für %s muß numerisch angegeben werden."},
        {57021, "Bei Dim %s fehlt nach dem Schlüsselwort As die Typangabe."},
        {57022, "Nach der If-Anweisung fehlt die Bedingung."},
        {57023, "Zu der Else-Anweisung fehlt die If-Anweisung."},
        {57024, "In der For-Anweisung fehlt der Endwert der Schleife."},
        {57025, "In der For-Anweisung fehlt der Anfangswert der Schleife."},
        {57026, "Falsche Verschachtelung von If und For/While/Do. Verschiedenartige Schleifen oder "
                "If-Bedingungen dürfen nicht verzahnt werden."},
        {57027, "Zu der Next-Anweisung existiert keine For-Anweisung."},
        {57028, "Die Adresse %p ist ungültig."},
        {57029, "Es wurde versucht, Daten aus einem nicht belegten Speicherbereich zu lesen."},
        {57030, "Es wurde versucht, in einem nicht belegten Speicherbereich zu positionieren."},
        {57031, "Der Stapel für zwischengespeicherte Datenpositionen ist leer."},
        {57032,
         "Beim Füllen der Schablone \"%s\"wurde festgestellt, daß der Datentyp des Füllwertes ungültig "
         "ist."},
        {57033, "Für einen numerischen Wert wurde eine Stringschablone angegeben."},
        {57034, "End Sub ist zur Beendigung einer Funktionsdefinition unzulässig. Es muß End Function "
                "verwendet werden."},
        {57035, "Der Typ (%x) des Auswertungsknotens ist unbekannt."},
        {57036, "Der Auswertungsbaum ist inkonsistent. Der Zeiger auf den auszuwertenden Knoten ist NULL."},
        {57037, "Das Token %x ist kein gültiges Funktionstoken."},
        {57038, "Der Fehler trat in Zeile %ld der Quelldatei auf."},
        {57039, "Der Variablenname \"%s\" ist länger als %d Zeichen."},
        {57040, "Der Code befindet sich außerhalb aller Subs und Functions! Wahrscheinlich wurde die \"Sub "
                "Main\"-Anweisung vergessen."},
        {57041, "Nach der While-Anweisung fehlt der Ausdruck."},
        {57042, "Nach der Loop While oder Loop Until-Anweisung fehlt der Ausdruck."},
        {57043, "Kein Befehl mit dem Token %x bekannt."},
        {57044, "Der Fehler trat im importierten Makro \"%s\" auf."},
    };
    for (const auto& c : aClassic)
        EXPECT_EQ(LoadMessage(c.first), c.second) << c.first;
    for (int nId : {0, 57004, 57010, 57011, 57012, 57045})
        EXPECT_EQ(LoadMessage(nId), "") << nId;
    std::map<std::string, int> mapTexts;
    for (int nId = 10000; nId < 60000; ++nId)
    {
        std::string strText = LoadMessage(nId);
        if (!strText.empty() && !mapTexts.emplace(strText, nId).second)
            ADD_FAILURE() << nId << " has the text of " << mapTexts[strText] << ": " << strText;
    }
    EXPECT_GT(mapTexts.size(), std::size(aClassic));
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
