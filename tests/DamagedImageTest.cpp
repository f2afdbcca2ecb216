// No image, however damaged, may crash the host: every run ends normally or with a
// CLumsException. The sanitizer build runs these too.
#include "tests/LumProgramBuilder.h"
#include "tests/LumTestSupport.h"

#include <algorithm>
#include <random>

using namespace lumtest;

namespace
{
// Stops runs that a damaged image turned into an endless program of its own.
class BudgetBasic : public CLumBasic
{
public:
    using CLumBasic::CLumBasic;
    int m_nBudget = 20000;

protected:
    int DispatchToken(unsigned short wToken) override
    {
        if (--m_nBudget < 0)
            throw CLumsException();
        return CLumBasic::DispatchToken(wToken);
    }
};

// Runs an image: it must end normally or with a CLumsException that passed the frame
// of Do. Gives what went wrong otherwise.
std::string RunsSafely(const std::vector<uint8_t>& image)
{
    CLumVariables vars;
    BudgetBasic basic(&vars, nullptr);
    try
    {
        basic.DoMemory(image.data(), image.size());
    }
    catch (const CLumsException& e)
    {
        const std::vector<std::string>& trail = e.GetTrail();
        if (std::find(trail.begin(), trail.end(), "CLumBasic::Do()") == trail.end())
            return "trail without the frame of Do: " + std::string(e.what());
    }
    catch (...)
    {
        return "an exception other than CLumsException";
    }
    return "";
}

std::vector<uint8_t> SampleProgram()
{
    CLumImageWriter w;
    w.SourceName("/tmp/sample.lbd");
    CLumImageWriter::Label head = w.NewLabel();
    Declare(w, "P", head);
    Head(w, "Main");
    w.DebugInfo(2);
    AssignName(w, "a$", CLumTree::Operator(LBT_PLUS, CLumTree::StringConst("x"), CLumTree::LongConst(3)));
    w.Token(LBT_CALL);
    w.CountedText("P");
    w.Expression(CLumTree::Array("v%", {CLumTree::LongConst(2), CLumTree::Variable("n%")}));
    w.Expression(CLumTree::DoubleConst("2.5"));
    w.Separator();
    w.Token(LBT_EQ);
    w.Expression(CLumTree::Array("r", {CLumTree::LongConst(1)}, true));
    w.Expression(CLumTree::Operator(LBT_DIV, CLumTree::Variable("q"), CLumTree::LongConst(4)));
    EndProc(w);
    w.Terminator();
    w.Place(head);
    Head(w, "P", "i%:d");
    w.Token(LBT_DIM);
    w.CountedText("loc$");
    w.Token(LBT_AS);
    w.Token(LBT_TYPE_STRING);
    AssignName(w, "t", CLumTree::Operator(LBT_MUL, CLumTree::Variable("d"), CLumTree::Variable("i%")));
    EndProc(w);
    return w.Finish();
}
} // namespace

TEST(DamagedImage, EveryTruncationFailsCleanly)
{
    std::vector<uint8_t> image = SampleProgram();
    ASSERT_TRUE(RunImage(*std::make_unique<CLumBasic>(), image).empty());
    for (size_t n = 0; n < image.size(); ++n)
    {
        std::vector<uint8_t> cut(image.begin(), image.begin() + static_cast<long>(n));
        EXPECT_EQ(RunsSafely(cut), "") << n;
    }
}

TEST(DamagedImage, RandomMutationsFailCleanly)
{
    std::vector<uint8_t> image = SampleProgram();
    std::mt19937 random(20261123);
    for (int nRound = 0; nRound < 3000; ++nRound)
    {
        std::vector<uint8_t> mutated = image;
        int nChanges = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < nChanges; ++i)
            mutated[random() % mutated.size()] = static_cast<uint8_t>(random());
        EXPECT_EQ(RunsSafely(mutated), "") << nRound;
    }
}

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

TEST(DamagedImage, EndlessRecursionOfCallsIsStopped)
{
    CLumBasic basic;
    std::vector<std::string> trail = RunImage(basic, MainCallingP([](CLumImageWriter& w) {
                                                  w.Token(LBT_CALL);
                                                  w.CountedText("P");
                                              }));
    ASSERT_FALSE(trail.empty());
    EXPECT_EQ(trail[0], "Mehr als 100000 Prozeduraufrufe sind gleichzeitig offen (Rekursion ohne Ende?).");
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
