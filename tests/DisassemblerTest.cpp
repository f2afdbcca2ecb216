// The disassembler on whole, truncated and damaged images (random bytes are the fuzz
// target's; the examples' round trip is checked where they compile without warnings).
#include "tests/LumCompilerTestSupport.h"

#include <filesystem>

using namespace lumtest;

namespace
{
std::vector<uint8_t> Compiled(const char* pszSource)
{
    std::vector<uint8_t> aImage;
    EXPECT_EQ(CompileText(pszSource, aImage), "");
    return aImage;
}

const char* const s_pszProgram = "Sub Main\n"
                                 "  Dim a(3)\n"
                                 "  a(1) = Len(\"x\" + Str$(2, \"99\")) * F(2)\n"
                                 "  If a(1) > 2 Then x = 1 Else x = 2\n"
                                 "  For i% = 1 To 3 : While x < 5 : x = x + 1 : Wend : Next\n"
                                 "End Sub\n"
                                 "Function F(n)\n"
                                 "  F = n * 2\n"
                                 "End Function\n";
} // namespace

TEST(Disassembler, EveryCutOfAnImageStopsWithAReason)
{
    std::vector<uint8_t> aImage = Compiled(s_pszProgram);
    std::string strWhole;
    ASSERT_TRUE(CLumDisassembler().Run(aImage.data(), aImage.size(), strWhole)) << strWhole;
    for (size_t nCut = 1; nCut < aImage.size(); ++nCut)
    {
        // A copy of exactly the cut length, so that a read beyond it shows under ASan.
        std::vector<uint8_t> aCut(aImage.begin(), aImage.begin() + static_cast<long>(nCut));
        std::string strListing;
        bool fComplete = CLumDisassembler().Run(aCut.data(), aCut.size(), strListing);
        bool fSaysWhy = strListing.find("error") != std::string::npos;
        EXPECT_TRUE(!fComplete || !fSaysWhy) << nCut;
        // A cut between two statements is a shorter image, not a damaged one, unless a
        // jump now leads beyond its end.
        if (!fComplete)
        {
            EXPECT_TRUE(fSaysWhy) << strListing;
        }
    }
}

TEST(Disassembler, DamageIsReportedWhereItStands)
{
    std::vector<uint8_t> aImage = Compiled("Sub Main\n  x = 1\nEnd Sub\n");
    struct Case
    {
        std::vector<uint8_t> m_aImage;
        const char* m_pszReport;
    };
    std::vector<uint8_t> aUnknown = aImage;
    aUnknown.insert(aUnknown.begin() + 0x0a, {0x81, 0x05});
    std::vector<uint8_t> aBadSkip = {0x81, 0x0D, 0x00, 0x10, 0x00, 0x00};
    std::vector<uint8_t> aDeep;
    for (int i = 0; i < 2000; ++i)
        aDeep.insert(aDeep.end(), {0x7A, 0x02, 0x02, 0x00, 0x82, 0x09});
    aDeep.insert(aDeep.begin(), {0x83, 0x01, 0x82, 0xFE, 0x02, 0x00, 0x78, 0x00, 0x82, 0xFF});
    const Case aCases[] = {
        {aUnknown, "error at 0x000a: token 0x0581 is no statement, so the walk cannot go on"},
        {aBadSkip, "error at 0x0006: a skip leads outside the image"},
        {std::vector<uint8_t>(aImage.begin(), aImage.begin() + 5),
         "error at 0x0004: the image ends inside the source name"},
        {aDeep, "the expression tree is nested too deeply"},
    };
    for (const Case& c : aCases)
    {
        std::string strListing;
        EXPECT_FALSE(CLumDisassembler().Run(c.m_aImage.data(), c.m_aImage.size(), strListing));
        EXPECT_NE(strListing.find(c.m_pszReport), std::string::npos) << strListing;
    }
}
