// The test binary's entry: each process gets a temporary directory of its own, so
// that tests run side by side (ctest -j) never share files in it.
#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumSourceChooser.h>
#include <lumbasic/LumSourceFiles.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace
{
// The debugger's switches and host interfaces are the process's: a test that sets
// them, or runs a program in debug mode, must not leave them to the next one.
class CResetDebugger : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo&) override
    {
        CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = 0;
        CLumBasicDebugWindow::m_fProfile = CLumBasicDebugWindow::m_fProfileExport = 0;
        CLumBasicDebugWindow::m_fProfileSave = 0;
        LumSetDebugWindowFactory(nullptr);
        LumSetSourceChooser(nullptr);
        LumSetSourceFiles(nullptr);
    }
};
} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new CResetDebugger());
    std::string strDir = (std::filesystem::temp_directory_path() / "lumbasic-tests-XXXXXX").string();
    if (mkdtemp(&strDir[0]) == nullptr)
        return 1;
    setenv("TEST_TMPDIR", strDir.c_str(), 1);
    int nResult = RUN_ALL_TESTS();
    std::error_code error;
    std::filesystem::remove_all(strDir, error);
    return nResult;
}
