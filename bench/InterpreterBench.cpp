// Hot paths of the interpreter: evaluation, procedure calls, variable access.
#include <lumbasic/LumBasic.h>

#include "tools/imagewriter/LumImageWriter.h"

#include <benchmark/benchmark.h>

namespace
{
const int STATEMENTS = 100;

// Sub Main, then `nCount` copies of what `statement` writes, then End Sub.
template <class Statement>
std::vector<uint8_t> MainImage(int nCount, Statement statement, CLumImageWriter& w)
{
    w.Token(LBT_SUB);
    w.CountedText("Main");
    w.EmptyCountedText();
    for (int i = 0; i < nCount; ++i)
        statement(w);
    w.Token(LBT_END);
    w.Token(LBT_SUB);
    w.Terminator();
    return w.Finish();
}

void Assign(CLumImageWriter& w, const char* pszName, const CLumTree& value)
{
    w.Token(LBT_ASSIGN);
    w.Token(LBT_NAME);
    w.CountedText(pszName);
    w.Expression(value);
    w.Separator();
}

// x = (a + b%) * c - d / 2 over variables of the store.
void BM_EvaluateOperatorTree(benchmark::State& state)
{
    CLumTree tree = CLumTree::Operator(
        LBT_MINUS,
        CLumTree::Operator(LBT_MUL, CLumTree::Operator(LBT_PLUS, CLumTree::Variable("a"), CLumTree::Variable("b%")),
                           CLumTree::Variable("c")),
        CLumTree::Operator(LBT_DIV, CLumTree::Variable("d"), CLumTree::LongConst(2)));
    CLumImageWriter w;
    std::vector<uint8_t> image = MainImage(STATEMENTS, [&](CLumImageWriter& iw) { Assign(iw, "x", tree); }, w);
    CLumVariables cVariables;
    cVariables.SetValuesFromString("D:a=1.5\nL:b%=2\nD:c=3.25\nD:d=8\n");
    CLumBasic cBasic(&cVariables, nullptr);
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * STATEMENTS);
}
BENCHMARK(BM_EvaluateOperatorTree);

// Call P(1, x) where P has two parameters and returns at once.
void BM_ProcedureCallTwoParameters(benchmark::State& state)
{
    CLumImageWriter w;
    CLumImageWriter::Label proc = w.NewLabel();
    w.Token(LBT_DECLARE);
    w.Word(0);
    w.Word(0);
    w.ProcOffset(proc);
    w.CountedText("P");
    w.CountedText("Sub P(a, b%)");
    w.Separator();
    CLumImageWriter body;
    std::vector<uint8_t> image;
    w.Token(LBT_SUB);
    w.CountedText("Main");
    w.EmptyCountedText();
    for (int i = 0; i < STATEMENTS; ++i)
    {
        w.Token(LBT_CALL);
        w.CountedText("P");
        w.Expression(CLumTree::LongConst(1));
        w.Expression(CLumTree::Variable("x"));
        w.Separator();
    }
    w.Token(LBT_END);
    w.Token(LBT_SUB);
    w.Terminator();
    w.Place(proc);
    w.Token(LBT_SUB);
    w.CountedText("P");
    w.CountedText("a:b%");
    w.Token(LBT_END);
    w.Token(LBT_SUB);
    image = w.Finish();
    CLumBasic cBasic;
    for (auto _ : state)
        cBasic.DoMemory(image.data(), image.size());
    state.SetItemsProcessed(state.iterations() * STATEMENTS);
}
BENCHMARK(BM_ProcedureCallTwoParameters);

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
        i = i % nCount + 7919 % nCount;
    }
}
BENCHMARK(BM_StoreWithManyElements);
} // namespace
