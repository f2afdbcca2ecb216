// The test binary's entry: each process gets a temporary directory of its own, so
// that tests run side by side (ctest -j) never share files in it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::string strDir = (std::filesystem::temp_directory_path() / "lumbasic-tests-XXXXXX").string();
    if (mkdtemp(&strDir[0]) == nullptr)
        return 1;
    setenv("TEST_TMPDIR", strDir.c_str(), 1);
    int nResult = RUN_ALL_TESTS();
    std::error_code error;
    std::filesystem::remove_all(strDir, error);
    return nResult;
}
