// The public compiler of <lumbasic/LumCompile.h>: source text to an image in memory,
// and every error as one exception that names its line.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>

#include <gtest/gtest.h>

#include <string>

namespace
{
// Runs `aImage` on a new interpreter with `price` in the store; gives `total`.
double RunForTotal(const std::vector<uint8_t>& aImage)
{
    CLumVariables vars;
    vars.SetValuesFromString("D:price=10.000000\n");
    CLumBasic basic(&vars, nullptr);
    basic.DoMemory(aImage.data(), aImage.size());
    return vars.GetValue("total", nullptr)->GetDouble();
}
} // namespace

TEST(CompileApi, ASourceCompilesInMemoryAndRuns)
{
    std::vector<uint8_t> aImage = LumCompile("Sub Main\n    total = price * 3 + 1\nEnd Sub\n");
    ASSERT_FALSE(aImage.empty());
    EXPECT_DOUBLE_EQ(RunForTotal(aImage), 31.0);
    SLumCompileSettings settings;
    settings.m_fLineMarkers = false;
    EXPECT_DOUBLE_EQ(RunForTotal(LumCompile("Sub Main\n  total = -price\nEnd Sub\n", settings)), -10.0);
}

TEST(CompileApi, ABadSourceThrowsItsErrorsWithTheirLines)
{
    SLumCompileSettings settings;
    settings.m_strSourceName = "calc.lbd";
    try
    {
        LumCompile("Sub Main\n    x = 1\n    total = (price * \nEnd Sub\n", settings);
        FAIL() << "no exception";
    }
    catch (const CLumCompileException& e)
    {
        ASSERT_FALSE(e.GetErrors().empty());
        const SLumCompileError& error = e.GetErrors()[0];
        EXPECT_EQ(error.m_strName, "calc.lbd");
        EXPECT_EQ(error.m_nLine, 3);
        EXPECT_GT(error.m_nColumn, 0);
        EXPECT_FALSE(error.m_strMessage.empty());
        ASSERT_EQ(e.GetTrail().size(), e.GetErrors().size());
        EXPECT_EQ(e.GetTrail()[0],
                  "calc.lbd:3:" + std::to_string(error.m_nColumn) + ": error: " + error.m_strMessage);
        EXPECT_EQ(std::string(e.what()).rfind("calc.lbd:3:", 0), 0u) << e.what();
    }
    // Caught as the library's one failure type, unnamed.
    try
    {
        LumCompile("Sub Main\n  End If\nEnd Sub\n");
        FAIL() << "no exception";
    }
    catch (const CLumsException& e)
    {
        EXPECT_EQ(std::string(e.what()).rfind("<source>:2:", 0), 0u) << e.what();
    }
}

TEST(CompileApi, TheHostsStatementsComeFromAnExtensionTable)
{
    const char* pszSource = "Sub Main\n  Print \"x\"\nEnd Sub\n";
    EXPECT_THROW(LumCompile(pszSource), CLumCompileException);
    SLumCompileSettings settings;
    settings.m_strExtensions = "' the console\nstatement Print 0x2083\n";
    EXPECT_FALSE(LumCompile(pszSource, settings).empty());

    settings.m_strExtensions = "statement Print 0x2083\nsomething else\n";
    try
    {
        LumCompile(pszSource, settings);
        FAIL() << "no exception";
    }
    catch (const CLumCompileException& e)
    {
        ASSERT_EQ(e.GetErrors().size(), 1u) << e.what();
        EXPECT_EQ(e.GetErrors()[0].m_strName, "extensions");
        EXPECT_EQ(e.GetErrors()[0].m_nLine, 2);
    }
}
