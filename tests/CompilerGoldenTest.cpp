// Golden listings: each tests/golden/NAME.lbd is compiled and disassembled, and the
// listing must equal NAME.dis. A NAME.ext beside it is the extension table. With
// LUM_UPDATE_GOLDEN=1 in the environment the listings are written instead, for review.
#include "tests/LumCompilerTestSupport.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace lumtest;

namespace
{
const std::string s_strGoldenDir = std::string(LUM_SOURCE_DIR) + "/tests/golden/";

std::vector<std::string> GoldenNames()
{
    std::vector<std::string> aNames;
    for (const auto& entry : std::filesystem::directory_iterator(s_strGoldenDir))
        if (entry.path().extension() == ".lbd")
            aNames.push_back(entry.path().stem().string());
    std::sort(aNames.begin(), aNames.end());
    return aNames;
}

class CompilerGolden : public testing::TestWithParam<std::string>
{
};
} // namespace

TEST_P(CompilerGolden, ListingMatches)
{
    std::string strBase = s_strGoldenDir + GetParam();
    CLumExtensionTable extensions;
    SLumCompileOptions options;
    if (std::filesystem::exists(strBase + ".ext"))
    {
        CLumDiagnostics diagnostics;
        extensions.Parse(ReadText(strBase + ".ext"), diagnostics);
        ASSERT_FALSE(diagnostics.HasErrors()) << diagnostics.Format(strBase + ".ext");
        options.m_pExtensions = &extensions;
    }
    CLumCompiler compiler(options);
    std::vector<uint8_t> aImage;
    // A fixed source name keeps the listings independent of where the tree lies.
    ASSERT_TRUE(compiler.Compile(ReadText(strBase + ".lbd"), "golden/" + GetParam() + ".lbd", aImage))
        << compiler.GetDiagnostics().Format(GetParam() + ".lbd");
    std::string strListing;
    EXPECT_TRUE(CLumDisassembler(&extensions).Run(aImage.data(), aImage.size(), strListing)) << strListing;
    const char* pszUpdate = getenv("LUM_UPDATE_GOLDEN");
    if (pszUpdate != nullptr && std::string(pszUpdate) == "1")
        std::ofstream(strBase + ".dis", std::ios::binary) << strListing;
    EXPECT_EQ(strListing, ReadText(strBase + ".dis"));
}

INSTANTIATE_TEST_SUITE_P(Files, CompilerGolden, testing::ValuesIn(GoldenNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });
