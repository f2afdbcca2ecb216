// Built-in functions: rounding, the template formatter, and cutting and searching
// in a text of 1,000 bytes. Each image assigns the call in a loop of 1,000 passes.
#include <lumbasic/LumBasic.h>

#include "tests/LumProgramBuilder.h"

#include <benchmark/benchmark.h>

#include <string>

namespace
{
const int CALLS = 1000;

// Sub Main assigns the call on every pass of a loop, as a program would.
std::vector<uint8_t> RepeatedAssign(const char* pszName, const CLumTree& value)
{
    return lumtest::MainImage([&](lumtest::CTestProgram& p) {
        p.For("i%", lumtest::L(1), lumtest::L(CALLS));
        p.Assign(pszName, value);
        p.Next();
    });
}

// Runs the image over a store that holds x = 1234.565 and a 1,000-byte s$ whose
// only "Nadel" stands at its end.
void RunCalls(benchmark::State& state, const char* pszName, const CLumTree& value)
{
    std::vector<uint8_t> image = RepeatedAssign(pszName, value);
    CLumVariables cVariables;
    cVariables.SetValue("x", new CLumsVarValue(1234.565));
    cVariables.SetValue("s$", new CLumsVarValue((std::string(995, 'a') + "Nadel").c_str()));
    CLumBasic cBasic(&cVariables, nullptr);
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * CALLS);
}

void BM_Round(benchmark::State& state)
{
    RunCalls(state, "r",
             CLumTree::Function(LBT_ROUND,
                                {CLumTree::Variable("x"), CLumTree::LongConst(2), CLumTree::LongConst(2)}));
}
BENCHMARK(BM_Round);

void BM_StrWithTemplate(benchmark::State& state)
{
    RunCalls(state, "t$",
             CLumTree::Function(LBT_STR, {CLumTree::Variable("x"), CLumTree::StringConst("ZZZ.ZZ9,99")}));
}
BENCHMARK(BM_StrWithTemplate);

void BM_Mid1000(benchmark::State& state)
{
    RunCalls(state, "t$",
             CLumTree::Function(
                 LBT_MID, {CLumTree::Variable("s$"), CLumTree::LongConst(400), CLumTree::LongConst(100)}));
}
BENCHMARK(BM_Mid1000);

void BM_InStr1000(benchmark::State& state)
{
    RunCalls(state, "n%",
             CLumTree::Function(LBT_INSTR, {CLumTree::Variable("s$"), CLumTree::StringConst("Nadel")}));
}
BENCHMARK(BM_InStr1000);
} // namespace
