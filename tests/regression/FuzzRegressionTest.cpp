// Every input the fuzz targets found at fault, kept in regression/<target>/, runs
// through the path of its target and must be handled: succeed or fail with a
// CLumsException, memory capped as in the fuzzer.
#include "LumDifferential.h"
#include "LumFuzzPaths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <vector>

namespace
{
using Path = std::string (*)(const uint8_t*, size_t);

const std::map<std::string, Path> PATHS = {
    {"image", lumfuzz::RunImage},
    {"disassembler", lumfuzz::Disassemble},
    {"compiler", lumfuzz::CompileAndRun},
    {"store", lumfuzz::StoreRoundTrip},
    {"profile", lumfuzz::ReadProfile},
    {"template", lumfuzz::FillTemplate},
    {"differential", lumfuzz::RunBothWays},
    {"lsp", lumfuzz::ServeLsp},
    {"dap", lumfuzz::ServeDap},
};

std::vector<uint8_t> ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}
} // namespace

TEST(FuzzRegression, EveryReproducerIsHandled)
{
    int nRun = 0;
    for (const auto& dir : std::filesystem::directory_iterator(LUM_REGRESSION_DIR))
    {
        if (!dir.is_directory())
            continue;
        auto it = PATHS.find(dir.path().filename().string());
        ASSERT_NE(it, PATHS.end()) << "no fuzz target named " << dir.path();
        for (const auto& file : std::filesystem::directory_iterator(dir.path()))
        {
            std::vector<uint8_t> aBytes = ReadBytes(file.path());
            EXPECT_EQ(it->second(aBytes.data(), aBytes.size()), "") << file.path();
            ++nRun;
        }
    }
    EXPECT_GT(nRun, 0);
}
