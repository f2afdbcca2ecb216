// Programs as files: each tests/programs/NAME.lbd that holds "' expect:" lines is
// compiled and run, and the store must hold exactly those lines afterwards.
//   ' expect: L:n%=3             a line of the store's text form
//   ' expect trail: TEXT         the run fails, and its trail holds TEXT
//   ' import: lib.lbd            lib.lbd is compiled first to DIR/lib.lbc, where
//                                DIR is the value of dir$, set before the run
#include "tests/LumCompilerTestSupport.h"

#include <filesystem>
#include <fstream>

using namespace lumtest;

namespace
{
const std::string s_strProgramDir = std::string(LUM_SOURCE_DIR) + "/tests/programs/";

struct Expectations
{
    std::vector<std::string> m_aStore;
    std::vector<std::string> m_aTrail;
    std::vector<std::string> m_aImports;
};

Expectations ReadExpectations(const std::string& strSource)
{
    Expectations expect;
    std::istringstream in(strSource);
    const std::pair<const char*, std::vector<std::string> Expectations::*> aKeys[] = {
        {"' expect: ", &Expectations::m_aStore},
        {"' expect trail: ", &Expectations::m_aTrail},
        {"' import: ", &Expectations::m_aImports},
    };
    for (std::string strLine; std::getline(in, strLine);)
    {
        size_t nStart = strLine.find_first_not_of(" \t");
        for (const auto& key : aKeys)
            if (nStart != std::string::npos && strLine.compare(nStart, strlen(key.first), key.first) == 0)
                (expect.*key.second).push_back(strLine.substr(nStart + strlen(key.first)));
    }
    std::sort(expect.m_aStore.begin(), expect.m_aStore.end());
    return expect;
}

std::vector<std::string> ProgramNames()
{
    std::vector<std::string> aNames;
    for (const auto& entry : std::filesystem::directory_iterator(s_strProgramDir))
        if (entry.path().extension() == ".lbd" &&
            ReadText(entry.path().string()).find("' expect") != std::string::npos)
            aNames.push_back(entry.path().stem().string());
    std::sort(aNames.begin(), aNames.end());
    return aNames;
}

class CompilerProgram : public testing::TestWithParam<std::string>
{
};
} // namespace

TEST_P(CompilerProgram, LeavesTheExpectedStore)
{
    std::string strPath = s_strProgramDir + GetParam() + ".lbd";
    Expectations expect = ReadExpectations(ReadText(strPath));
    std::string strDir = testing::TempDir();
    for (const std::string& strImport : expect.m_aImports)
    {
        CLumCompiler compiler;
        std::vector<uint8_t> aLibrary;
        ASSERT_TRUE(compiler.CompileFile(s_strProgramDir + strImport, aLibrary))
            << compiler.GetDiagnostics().Format(strImport);
        std::ofstream(strDir + LumImagePathFor(strImport), std::ios::binary)
            .write(reinterpret_cast<const char*>(aLibrary.data()),
                   static_cast<std::streamsize>(aLibrary.size()));
    }
    CLumCompiler compiler;
    std::vector<uint8_t> aImage;
    ASSERT_TRUE(compiler.CompileFile(strPath, aImage))
        << compiler.GetDiagnostics().Format(GetParam() + ".lbd");

    CLumVariables vars;
    if (!expect.m_aImports.empty())
        vars.SetValuesFromString(("S:dir$=" + strDir + "\n").c_str());
    CLumBasic basic(&vars, nullptr);
    std::vector<std::string> aTrail = RunImage(basic, aImage);
    for (const std::string& strWanted : expect.m_aTrail)
        EXPECT_NE(std::find(aTrail.begin(), aTrail.end(), strWanted), aTrail.end()) << strWanted;
    if (expect.m_aTrail.empty())
    {
        EXPECT_TRUE(aTrail.empty()) << testing::PrintToString(aTrail);
    }
    std::vector<std::string> aStore = StoreLines(vars);
    aStore.erase(std::remove(aStore.begin(), aStore.end(), "S:dir$=" + strDir), aStore.end());
    EXPECT_EQ(aStore, expect.m_aStore);
}

INSTANTIATE_TEST_SUITE_P(Files, CompilerProgram, testing::ValuesIn(ProgramNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });
