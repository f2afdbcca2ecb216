// What counting line hits costs. The loops of the interpreter benchmarks, compiled
// with a line marker in front of each statement, run with the debugger off and with
// counting on (no window, so nothing stops); the ratio of the two is the overhead.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumSourceFiles.h>

#include "LumCompiler.h"

#include <benchmark/benchmark.h>

namespace
{
const int PASSES = 1000;

const char* const s_apszLoops[] = {
    "Sub Main\n    For i% = 1 To 1000\n    Next\nEnd Sub\n",
    "Sub Main\n    For i% = 1 To 1000\n        x = (a + b%) * c - d / 2\n    Next\nEnd Sub\n",
    "Sub Main\n    For i% = 1 To 1000\n        P 1, x\n    Next\nEnd Sub\nSub P(a, b%)\nEnd Sub\n",
};
const char* const SOURCE = "/bench/loop.lbd";

// Serves the loop's source, so that its hits count, without touching the disk.
class CMemorySource : public CLumSourceFiles
{
public:
    explicit CMemorySource(const char* pszText) : m_pszText(pszText) {}
    bool Exists(const std::string& strPath) const override { return strPath == SOURCE; }
    std::string AbsolutePath(const std::string& strPath) const override { return strPath; }
    std::string ReadBytes(const std::string&) const override { return m_pszText; }

private:
    const char* m_pszText;
};

// Arguments: the loop (0 empty, 1 operator tree, 2 call), and 1 to count.
void BM_MarkedLoop(benchmark::State& state)
{
    const char* pszSource = s_apszLoops[state.range(0)];
    std::vector<uint8_t> aImage;
    CLumCompiler compiler;
    if (!compiler.Compile(pszSource, SOURCE, aImage))
    {
        state.SkipWithError("the loop does not compile");
        return;
    }
    CMemorySource cFiles(pszSource);
    CLumSourceFiles* pBefore = LumSetSourceFiles(&cFiles);
    CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = static_cast<int>(state.range(1));
    CLumVariables cVariables;
    cVariables.SetValuesFromString("D:a=1.5\nL:b%=2\nD:c=3.25\nD:d=8\n");
    CLumBasic cBasic(&cVariables, nullptr);
    for (auto _ : state)
        cBasic.DoMemory(aImage.data(), aImage.size());
    state.SetItemsProcessed(state.iterations() * PASSES);
    CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = 0;
    LumSetSourceFiles(pBefore);
}
BENCHMARK(BM_MarkedLoop)->ArgsProduct({{0, 1, 2}, {0, 1}});
} // namespace
