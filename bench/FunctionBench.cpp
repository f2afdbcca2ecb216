// Built-in functions: rounding, the template formatter, and cutting and searching
// in a text of 1,000 bytes. Each image assigns the call 100 times in a Sub Main.
#include <lumbasic/LumBasic.h>

#include "tools/imagewriter/LumImageWriter.h"

#include <benchmark/benchmark.h>

#include <string>

namespace
{
const int CALLS = 100;

std::vector<uint8_t> RepeatedAssign(const char* pszName, const CLumTree& value)
{
    CLumImageWriter w;
    w.Token(LBT_SUB);
    w.CountedText("Main");
    w.EmptyCountedText();
    for (int i = 0; i < CALLS; ++i)
    {
        w.Token(LBT_ASSIGN);
        w.Token(LBT_NAME);
        w.CountedText(pszName);
        w.Expression(value);
        w.Separator();
    }
    w.Token(LBT_END);
    w.Token(LBT_SUB);
    w.Terminator();
    return w.Finish();
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
