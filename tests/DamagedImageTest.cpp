// Damage that the checks of the image name: reads past the end, data shorter than its
// form, files that are no images, trees too deep. The systematic damage of every image
// is in CorruptionTest.cpp.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

using namespace lumtest;

TEST(DamagedImage, ReadsBeyondTheImageAreReported)
{
    CLumBasic basic;
    // A statement token whose operands are missing: the name's length points past the end.
    std::vector<uint8_t> image = {0x83, 0x03, 0xFF, 0x7F};
    std::vector<std::string> trail = RunImage(basic, image);
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0].rfind("Das Programmabbild ist beschädigt", 0), 0u);
    // Skips that leave the image land nowhere: the next read fails.
    CLumImageWriter w;
    w.Token(LBT_DECLARE);
    w.Word(0);
    w.Word(0);
    w.DWord(-100000);
    w.CountedText("P");
    w.CountedText("");
    Head(w, "Main");
    w.Token(LBT_CALL);
    w.CountedText("P");
    w.Terminator();
    trail = RunImage(basic, w.Finish());
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0].rfind("Das Programmabbild ist beschädigt", 0), 0u);
}

TEST(DamagedImage, DeepTreesFailInsteadOfOverflowingTheStack)
{
    CLumTree tree = CLumTree::LongConst(1);
    for (int i = 0; i < 1500; ++i)
    {
        CLumTree deeper = CLumTree::Operator(LBT_PLUS, CLumTree::LongConst(1), tree);
        tree = deeper;
    }
    CLumBasic basic;
    std::vector<std::string> trail =
        RunImage(basic, MainProgram([&](CLumImageWriter& w) { AssignName(w, "x", tree); }));
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], "Der Ausdruck ist tiefer als 1000 Ebenen verschachtelt.");
}

TEST(DamagedImage, OnlyRegularFilesAreReadAsImages)
{
    for (const char* pszPath : {"/dev/zero", "/tmp"})
    {
        CLumBasic basic;
        try
        {
            basic.Do(pszPath);
            ADD_FAILURE() << pszPath;
        }
        catch (const CLumsException& e)
        {
            EXPECT_EQ(e.GetTrail().at(0), "Die Datei \"" + std::string(pszPath) +
                                              "\" kann nicht gelesen werden: keine gewöhnliche Datei");
        }
    }
}

TEST(DamagedImage, DataShorterThanItsFormIsReportedNotReadPast)
{
    const std::pair<const char*, std::function<void(CLumImageWriter&)>> aCases[] = {
        {"counted text without its zero",
         [](CLumImageWriter& w) {
             w.Token(LBT_ASSIGN);
             w.Token(LBT_NAME);
             w.Word(2);
             w.Bytes("ab", 2);
             w.Expression(CLumTree::LongConst(1));
         }},
        {"long constant of two bytes",
         [](CLumImageWriter& w) {
             AssignName(w, "x", CLumTree::Raw(LBN_CONSTANT, {0x00, 0x02, 0x01, 0x00}));
         }},
        {"double constant without its zero",
         [](CLumImageWriter& w) {
             AssignName(w, "x", CLumTree::Raw(LBN_CONSTANT, {0x00, 0x01, '1', '.', '5'}));
         }},
        {"variable name without its zero",
         [](CLumImageWriter& w) {
             AssignName(w, "x", CLumTree::Raw(LBN_VARIABLE, {'a', 'b'}));
         }},
        {"array node without its index mark",
         [](CLumImageWriter& w) {
             AssignName(w, "x", CLumTree::Raw(LBN_ARRAY, {'a', 0}));
         }},
    };
    for (const auto& c : aCases)
    {
        CLumVariables vars;
        CLumBasic basic(&vars, nullptr);
        std::vector<std::string> trail = RunImage(basic, MainProgram(c.second));
        ASSERT_FALSE(trail.empty()) << c.first;
        EXPECT_EQ(trail[0].rfind("Das Programmabbild ist beschädigt", 0), 0u) << c.first << ": " << trail[0];
        EXPECT_EQ(vars.GetCount(), 0u) << c.first;
    }
}

// Bytes that start with no token of the token classes are no image, a foreign file read
// for one: where they stand is named, not what they hold. An unknown token of a class,
// or one further in, is a module's statement and is named.
TEST(DamagedImage, AForeignFileIsNamedByTheOffsetNotByItsBytes)
{
    std::string strPasswd = "root:x:0:0:root:/root:/bin/bash\n";
    CLumImageWriter w;
    w.SourceName("a");
    w.Word(0x6f72);
    CLumImageWriter module;
    Head(module, "Main");
    module.Token(0x2001);
    const std::pair<std::vector<uint8_t>, std::string> aCases[] = {
        {std::vector<uint8_t>(strPasswd.begin(), strPasswd.end()),
         "Das Programmabbild ist beschädigt oder keines: an Position 0 steht kein bekannter Befehl."},
        {w.Finish(),
         "Das Programmabbild ist beschädigt oder keines: an Position 6 steht kein bekannter Befehl."},
        {{0x81, 0x05, 0, 0}, "Kein Befehl mit dem Token 581 bekannt."},
        {module.Finish(), "Kein Befehl mit dem Token 2001 bekannt."},
    };
    for (const auto& c : aCases)
    {
        CLumBasic basic;
        std::vector<std::string> trail = RunImage(basic, c.first);
        EXPECT_EQ(trail.empty() ? "" : trail[0], c.second);
    }
}
