// Hot paths of the interpreter: evaluation, procedure calls, variable access. The
// programs loop, as real ones do, so that each statement runs many times per image.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>

#include "tests/LumProgramBuilder.h"

#include <benchmark/benchmark.h>

using namespace lumtest;

namespace
{
const int PASSES = 1000;

// x = (a + b%) * c - d / 2 over variables of the store, in a loop.
void BM_EvaluateOperatorTree(benchmark::State& state)
{
    CLumTree tree =
        Op(LBT_MINUS, Op(LBT_MUL, Op(LBT_PLUS, V("a"), V("b%")), V("c")), Op(LBT_DIV, V("d"), L(2)));
    std::vector<uint8_t> image = MainImage([&](CTestProgram& p) {
        p.For("i%", L(1), L(PASSES));
        p.Assign("x", tree);
        p.Next();
    });
    CLumVariables cVariables;
    cVariables.SetValuesFromString("D:a=1.5\nL:b%=2\nD:c=3.25\nD:d=8\n");
    CLumBasic cBasic(&cVariables, nullptr);
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * PASSES);
}
BENCHMARK(BM_EvaluateOperatorTree);

// Call P(1, x) where P has two parameters and returns at once, in a loop.
void BM_ProcedureCallTwoParameters(benchmark::State& state)
{
    std::vector<uint8_t> image;
    {
        CTestProgram p;
        p.Declare("P");
        p.Sub("Main");
        p.For("i%", L(1), L(PASSES));
        p.Call("P", {L(1), V("x")});
        p.Next();
        p.End();
        p.Terminator();
        p.Sub("P", "a:b%");
        p.End();
        image = p.Finish();
    }
    CLumBasic cBasic;
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * PASSES);
}
BENCHMARK(BM_ProcedureCallTwoParameters);

// A recursive function, 101 calls deep, called ten times: the calls run whole in the
// fast form once they are warmed up.
void BM_RecursiveFunctionCall(benchmark::State& state)
{
    std::vector<uint8_t> image = LumCompile("Sub Main\n For i% = 1 To 10\n  t% = t% + Depth%(100)\n Next i%\n"
                                            "End Sub\nFunction Depth%(k%)\n If k% > 0 Then\n"
                                            "  Depth% = Depth%(k% - 1) + 1\n Else\n  Depth% = 0\n End If\n"
                                            "End Function\n");
    CLumBasic cBasic;
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * 1010);
}
BENCHMARK(BM_RecursiveFunctionCall);

// An empty loop: what one For/Next pass costs on its own.
void BM_EmptyLoop(benchmark::State& state)
{
    std::vector<uint8_t> image = MainImage([&](CTestProgram& p) {
        p.For("i%", L(1), L(PASSES));
        p.Next();
    });
    CLumBasic cBasic;
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * PASSES);
}
BENCHMARK(BM_EmptyLoop);

// Reading elements of an array of 100,000 entries.
void BM_StoreWithManyElements(benchmark::State& state)
{
    const long nCount = 100000;
    CLumVariables cVariables;
    for (long i = 1; i <= nCount; ++i)
    {
        long aIndices[6] = {i};
        char key[CLumVariables::MAX_KEY + 1];
        CLumVariables::MakeName(key, "a%", aIndices);
        cVariables.SetValue(key, new CLumsVarValue(i));
    }
    long i = 1;
    for (auto _ : state)
    {
        long aIndices[6] = {i};
        benchmark::DoNotOptimize(cVariables.GetValue("a%", aIndices));
        i = (i + 7919) % nCount + 1;
    }
}
BENCHMARK(BM_StoreWithManyElements);
} // namespace
