// Programs as files: each tests/programs/NAME.lbd that holds "' expect:" lines is
// compiled and run, and the store must hold exactly those lines afterwards.
//   ' expect: L:n%=3             a line of the store's text form
//   ' expect trail: TEXT         the run fails, and its trail holds TEXT
//   ' import: lib.lbd            lib.lbd is compiled first to DIR/lib.lbc, where
//                                DIR is the value of dir$, set before the run
//   ' answer: 6                  every message box answers 6, not its default
//   ' expect box: CAPTION|TEXT   the boxes shown, in order
#include "tests/LumCompilerTestSupport.h"

#include <lumbasic/LumMessageBox.h>

#include <sys/wait.h>

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
    std::vector<std::string> m_aAnswer;
    std::vector<std::string> m_aBoxes;
};

Expectations ReadExpectations(const std::string& strSource)
{
    Expectations expect;
    std::istringstream in(strSource);
    const std::pair<const char*, std::vector<std::string> Expectations::*> aKeys[] = {
        {"' expect: ", &Expectations::m_aStore},     {"' expect trail: ", &Expectations::m_aTrail},
        {"' import: ", &Expectations::m_aImports},   {"' answer: ", &Expectations::m_aAnswer},
        {"' expect box: ", &Expectations::m_aBoxes},
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

// Compiles the libraries a program imports into `strDir`.
void CompileImports(const Expectations& expect, const std::string& strDir)
{
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
}

// The store's lines without the directory of the imports.
std::vector<std::string> WithoutDir(std::vector<std::string> aStore, const std::string& strDir)
{
    aStore.erase(std::remove(aStore.begin(), aStore.end(), "S:dir$=" + strDir), aStore.end());
    return aStore;
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
    CompileImports(expect, strDir);
    CLumCompiler compiler;
    std::vector<uint8_t> aImage;
    ASSERT_TRUE(compiler.CompileFile(strPath, aImage))
        << compiler.GetDiagnostics().Format(GetParam() + ".lbd");

    // Each program runs twice: on the interpreter as it is, and on one of a derived
    // class, which runs every statement from the stream by its handler. Both must
    // leave the same store, trail and boxes.
    std::vector<std::string> aFirstTrail;
    for (bool fStream : {false, true})
    {
        CLumVariables vars;
        if (!expect.m_aImports.empty())
            vars.SetValuesFromString(("S:dir$=" + strDir + "\n").c_str());
        std::unique_ptr<CLumBasic> pBasic(fStream ? new CStreamBasic(&vars) : new CLumBasic(&vars, nullptr));
        std::vector<std::string> aBoxes;
        LumMessageBoxFunction fnOld =
            LumSetMessageBox([&](const char* pszText, const char* pszCaption, long nStyle) {
                aBoxes.push_back(std::string(pszCaption) + "|" + pszText);
                return expect.m_aAnswer.empty() ? LumMessageBoxDefault(nStyle)
                                                : std::stoi(expect.m_aAnswer[0]);
            });
        std::vector<std::string> aTrail = RunImage(*pBasic, aImage);
        LumSetMessageBox(std::move(fnOld));
        EXPECT_EQ(aBoxes, expect.m_aBoxes) << (fStream ? "from the stream" : "");
        for (const std::string& strWanted : expect.m_aTrail)
            EXPECT_NE(std::find(aTrail.begin(), aTrail.end(), strWanted), aTrail.end()) << strWanted;
        if (expect.m_aTrail.empty())
        {
            EXPECT_TRUE(aTrail.empty()) << testing::PrintToString(aTrail);
        }
        if (fStream)
        {
            EXPECT_EQ(aTrail, aFirstTrail);
        }
        aFirstTrail = aTrail;
        EXPECT_EQ(WithoutDir(StoreLines(vars), strDir), expect.m_aStore)
            << (fStream ? "from the stream" : "");
    }
}

INSTANTIATE_TEST_SUITE_P(Files, CompilerProgram, testing::ValuesIn(ProgramNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });

// The whole program once more under the command-line host, against the same lines.
TEST(CompilerProgramCli, TheWholeProgramLeavesTheExpectedDump)
{
    std::string strPath = s_strProgramDir + "program.lbd";
    Expectations expect = ReadExpectations(ReadText(strPath));
    std::string strDir = testing::TempDir() + "cli-program/";
    std::filesystem::create_directories(strDir);
    CompileImports(expect, strDir);
    std::ofstream(strDir + "vars.txt") << "S:dir$=" << strDir << "\n";
    ASSERT_EQ(expect.m_aAnswer.size(), 1u);
    std::string strCommand = std::string(LUM_CLI_PATH) + " run --dump --answer " + expect.m_aAnswer[0] +
                             " --vars " + strDir + "vars.txt " + strPath + " </dev/null >" + strDir +
                             "out.txt 2>" + strDir + "err.txt";
    int nStatus = system(strCommand.c_str());
    EXPECT_TRUE(WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0) << ReadText(strDir + "err.txt");

    std::vector<std::string> aDump;
    std::istringstream in(ReadText(strDir + "out.txt"));
    for (std::string strLine; std::getline(in, strLine);)
        aDump.push_back(strLine);
    std::sort(aDump.begin(), aDump.end());
    EXPECT_EQ(WithoutDir(aDump, strDir), expect.m_aStore);
    std::string strBoxes;
    for (const std::string& strBox : expect.m_aBoxes)
        strBoxes += strBox.substr(0, strBox.find('|')) + "\n" + strBox.substr(strBox.find('|') + 1) + "\n";
    EXPECT_EQ(ReadText(strDir + "err.txt"), strBoxes);
}
