// Every image the tests and the examples compile to, damaged systematically: each
// truncation, each byte inverted, each 16-bit word set to 0x0000, 0xFFFF and every
// token. Every run must end normally or with a CLumsException that passed the frame
// of Do; the sanitizer build runs it too, and a statement limit ends programs that the
// damage made endless.
#include "tests/LumCompilerTestSupport.h"
#include "tests/LumProgramBuilder.h"

#include <lumbasic/LumMessageBox.h>

#include <filesystem>

using namespace lumtest;

namespace
{
struct Image
{
    std::string m_strName;
    std::vector<uint8_t> m_aBytes;
};

// A source with the extension table beside it, if it has one (NAME.ext). The image
// records the source by its name in the tree, so that its bytes, and with them the
// places the damage goes to, are the same in every checkout.
void AddCompiled(std::vector<Image>& aImages, const std::filesystem::path& source, const std::string& strName)
{
    SLumCompileOptions options;
    CLumExtensionTable table;
    std::filesystem::path tablePath = source;
    tablePath.replace_extension(".ext");
    if (std::filesystem::exists(tablePath))
    {
        CLumDiagnostics diagnostics;
        table.Parse(ReadText(tablePath.string()), diagnostics);
        options.m_pExtensions = &table;
    }
    CLumCompiler compiler(options);
    Image image{source.filename().string(), {}};
    if (compiler.Compile(ReadText(source.string()), strName, image.m_aBytes))
        aImages.push_back(image);
}

// A program in forms that only hand-written images have.
std::vector<uint8_t> HandWritten()
{
    CLumImageWriter w;
    w.SourceName("/tmp/sample.lbd");
    CLumImageWriter::Label head = w.NewLabel();
    Declare(w, "P", head);
    Head(w, "Main");
    w.DebugInfo(2);
    AssignName(w, "a$", Op(LBT_PLUS, S("x"), L(3)));
    w.Token(LBT_CALL);
    w.CountedText("P");
    w.Expression(CLumTree::Array("v%", {L(2), V("n%")}));
    w.Expression(CLumTree::DoubleConst("2.5"));
    w.Separator();
    w.Token(LBT_EQ);
    w.Expression(CLumTree::Array("r", {L(1)}, true));
    w.Expression(Op(LBT_DIV, V("q"), L(4)));
    EndProc(w);
    w.Terminator();
    w.Place(head);
    Head(w, "P", "i%:d");
    w.Token(LBT_DIM);
    w.CountedText("loc$");
    w.Token(LBT_AS);
    w.Token(LBT_TYPE_STRING);
    AssignName(w, "t", Op(LBT_MUL, V("d"), V("i%")));
    EndProc(w);
    return w.Finish();
}

const std::vector<Image>& Images()
{
    static const std::vector<Image> s_aImages = [] {
        std::vector<Image> aImages{{"hand-written", HandWritten()}};
        const std::string strRoot = LUM_SOURCE_DIR;
        for (const char* pszDir : {"tests/programs/", "tests/golden/", "examples/", "examples/modules/"})
            for (const auto& entry : std::filesystem::directory_iterator(strRoot + "/" + pszDir))
                if (entry.path().extension() == ".lbd")
                    AddCompiled(aImages, entry.path(), pszDir + entry.path().filename().string());
        return aImages;
    }();
    return s_aImages;
}

// How a run ended: its trail, empty for success, and the store it left; or what went
// wrong beyond a CLumsException through the frame of Do.
std::string Outcome(CLumBasic& basic, CLumVariables& vars, const std::vector<uint8_t>& aImage)
{
    basic.SetStatementLimit(300);
    std::string strOutcome;
    try
    {
        basic.DoMemory(aImage.data(), aImage.size());
    }
    catch (const CLumsException& e)
    {
        const std::vector<std::string>& aTrail = e.GetTrail();
        if (std::find(aTrail.begin(), aTrail.end(), "CLumBasic::Do()") == aTrail.end())
            return "a trail without the frame of Do: " + std::string(e.what());
        strOutcome = e.what();
    }
    catch (...)
    {
        return "an exception other than CLumsException";
    }
    std::string strStore;
    vars.MakeString(&strStore);
    return strOutcome + "\n--- store\n" + strStore;
}

// What went wrong, or "" when the run ended normally or with a CLumsException through
// the frame of Do, alike with the fast form and from the stream.
std::string RunsSafely(const std::vector<uint8_t>& aImage)
{
    CLumVariables vars, varsStream;
    CLumBasic basic(&vars, nullptr);
    CStreamBasic stream(&varsStream);
    std::string strFast = Outcome(basic, vars, aImage);
    std::string strStream = Outcome(stream, varsStream, aImage);
    if (strFast != strStream)
        return "the fast form ended\n" + strFast + "\nthe stream ended\n" + strStream;
    return strFast.rfind("a trail without", 0) == 0 || strFast.rfind("an exception other", 0) == 0 ? strFast
                                                                                                   : "";
}

// Every position of a small image; on a large one, `nMost` positions spread over it
// (a quarter of them under the sanitizers, which run each program some twenty times slower).
std::vector<size_t> Positions(size_t nSize, size_t nMost)
{
    if (LUM_SANITIZED)
        nMost = (nMost + 3) / 4;
    std::vector<size_t> aPositions;
    size_t nStep = nSize <= nMost ? 1 : (nSize + nMost - 1) / nMost;
    for (size_t n = 0; n < nSize; n += nStep)
        aPositions.push_back(n);
    return aPositions;
}

std::vector<unsigned short> WordValues()
{
    std::vector<unsigned short> aValues = {0x0000,       0xFFFF,       LBN_OPERATOR, LBN_CONSTANT,
                                           LBN_VARIABLE, LBN_FUNCTION, LBN_ARRAY};
#define LUM_TOKEN_VALUE(name, value) aValues.push_back(value);
    LUM_TOKENS(LUM_TOKEN_VALUE)
#undef LUM_TOKEN_VALUE
    return aValues;
}

class Corruption : public testing::Test
{
protected:
    void SetUp() override
    {
        m_fnBox = LumSetMessageBox(
            [](const char*, const char*, long nStyle) { return LumMessageBoxDefault(nStyle); });
    }
    void TearDown() override { LumSetMessageBox(std::move(m_fnBox)); }

    // Runs each damaged form that `damage` makes of each image at the positions.
    template <class Damage> void RunDamaged(size_t nMost, const Damage& damage)
    {
        ASSERT_GT(Images().size(), 20u);
        for (const Image& image : Images())
        {
            ASSERT_EQ(RunsSafely(image.m_aBytes), "") << image.m_strName;
            for (size_t nPosition : Positions(image.m_aBytes.size(), nMost))
                damage(image, nPosition);
        }
    }

    LumMessageBoxFunction m_fnBox;
};
} // namespace

TEST_F(Corruption, EveryTruncation)
{
    RunDamaged(400, [](const Image& image, size_t n) {
        std::vector<uint8_t> aCut(image.m_aBytes.begin(), image.m_aBytes.begin() + static_cast<long>(n));
        EXPECT_EQ(RunsSafely(aCut), "") << image.m_strName << " cut at " << n;
    });
}

TEST_F(Corruption, EveryByteInverted)
{
    RunDamaged(1000, [](const Image& image, size_t n) {
        std::vector<uint8_t> aDamaged = image.m_aBytes;
        aDamaged[n] = static_cast<uint8_t>(~aDamaged[n]);
        EXPECT_EQ(RunsSafely(aDamaged), "") << image.m_strName << " inverted at " << n;
    });
}

TEST_F(Corruption, WordsSetToTokensAndExtremes)
{
    static const std::vector<unsigned short> s_aValues = WordValues();
    RunDamaged(24, [](const Image& image, size_t n) {
        if (n + 1 >= image.m_aBytes.size())
            return;
        for (unsigned short wValue : s_aValues)
        {
            std::vector<uint8_t> aDamaged = image.m_aBytes;
            aDamaged[n] = static_cast<uint8_t>(wValue & 0xFF);
            aDamaged[n + 1] = static_cast<uint8_t>(wValue >> 8);
            EXPECT_EQ(RunsSafely(aDamaged), "") << image.m_strName << " word " << wValue << " at " << n;
        }
    });
}
