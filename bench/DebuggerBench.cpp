// What counting line hits and a debugger cost. The loops of the interpreter benchmarks,
// compiled with a line marker in front of each statement, run with the debugger off,
// with counting on (no window, so nothing stops), and debugged with a window and no
// breakpoint: one that follows every line (a terminal window) and one that need not
// (the debug adapter's, while nothing could stop). The ratios to the first are the
// overheads.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugWindow.h>
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

// A window that never stops the run; it follows every line or none.
class CIdleWindow : public CLumBasicDebugWindow
{
public:
    explicit CIdleWindow(bool fFollows) : m_fFollows(fFollows) {}
    void SetTitle(const std::string&) override {}
    void SetSourceText(const char*) override {}
    int EnterModalMode(long) override { return 0; }
    void RefreshDebugWindow() override {}
    void RefreshLine(long) override {}
    void ExportProfile() override {}
    bool FollowsEveryLine() const override { return m_fFollows; }
    // Its answer never turns, as the debug adapter's does not while nothing could stop.
    const std::atomic<uint32_t>* FollowTurns() const override { return &m_nTurns; }

private:
    bool m_fFollows;
    std::atomic<uint32_t> m_nTurns{0};
};

enum EMode
{
    OFF,
    COUNTING,
    WINDOW_FOLLOWS,
    WINDOW_IDLE
};

// Arguments: the loop (0 empty, 1 operator tree, 2 call), and the mode.
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
    EMode eMode = static_cast<EMode>(state.range(1));
    CLumBasicDebugger::m_fDebug = eMode != OFF;
    CLumBasicDebugger::m_fProfile = eMode == COUNTING;
    LumDebugWindowFactory fnBefore = LumSetDebugWindowFactory(
        [eMode](CLumBasicDebugger*, const char*) -> std::unique_ptr<CLumBasicDebugWindow> {
            if (eMode == OFF || eMode == COUNTING)
                return nullptr;
            return std::make_unique<CIdleWindow>(eMode == WINDOW_FOLLOWS);
        });
    CLumVariables cVariables;
    cVariables.SetValuesFromString("D:a=1.5\nL:b%=2\nD:c=3.25\nD:d=8\n");
    CLumBasic cBasic(&cVariables, nullptr);
    for (auto _ : state)
        cBasic.DoMemory(aImage.data(), aImage.size());
    state.SetItemsProcessed(state.iterations() * PASSES);
    CLumBasicDebugger::m_fDebug = CLumBasicDebugger::m_fProfile = 0;
    LumSetDebugWindowFactory(std::move(fnBefore));
    LumSetSourceFiles(pBefore);
}
BENCHMARK(BM_MarkedLoop)->ArgsProduct({{0, 1, 2}, {OFF, COUNTING, WINDOW_FOLLOWS, WINDOW_IDLE}});
} // namespace
