// The language server on a program of 2,000 lines: each request as the editor sends
// it, through the server's dispatcher, answered in full. A change is the costliest:
// the source is compiled anew and its diagnostics published; the requests behind it
// use that analysis. Formatting compiles twice more, to prove it kept the program.
#include "LumLspServer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace
{
const char* const URI = "file:///tmp/bench.lbd";

// Indented by two spaces a level, so that formatting has every indented line to change.
std::string HalfIndented(const std::string& strText)
{
    std::istringstream in(strText);
    std::string strOut;
    for (std::string strLine; std::getline(in, strLine);)
        strOut += strLine.substr(std::min(strLine.size(), strLine.find_first_not_of(' ')) / 2) + "\n";
    return strOut;
}

// 100 functions of 20 lines each, every one calling the one before, and Sub Main.
std::string Program()
{
    std::string strText = "' A program of 2,000 lines for the language server's benchmarks\n";
    const int FUNCTIONS = 100;
    for (int i = 1; i <= FUNCTIONS; ++i)
    {
        std::string strName = "Step" + std::to_string(i);
        std::string strPrev = i > 1 ? "Step" + std::to_string(i - 1) + "(n% - 1, text$)" : "n%";
        strText += "Function " + strName +
                   "(n%, text$)\n"
                   "    Dim total, part%, label$\n"
                   "    total = 0\n"
                   "    For part% = 1 To n%\n"
                   "        total = total + Round(part% * 1.19, 2, 2)\n"
                   "        If total > 1000 Then\n"
                   "            label$ = Left$(text$, 3) + Str$(total, \"999.999,99\")\n"
                   "        ElseIf total < 0 Then\n"
                   "            label$ = \"negativ\"\n"
                   "        Else\n"
                   "            label$ = LTrim$(text$)\n"
                   "        End If\n"
                   "    Next part%\n"
                   "    While part% > 0\n"
                   "        part% = part% - 1\n"
                   "    Wend\n"
                   "    grand = grand + total\n"
                   "    " +
                   strName + " = total + " + strPrev +
                   "\n"
                   "    count% = count% + Len(label$)\n"
                   "End Function\n";
    }
    strText += "Sub Main\n    grand = 0\n    result = Step" + std::to_string(FUNCTIONS) +
               "(5, \"Rechnung\")\n    text$ = Str$(result)\nEnd Sub\n";
    return HalfIndented(strText);
}

json Message(int nId, const std::string& strMethod, json params)
{
    return json{{"jsonrpc", "2.0"}, {"id", nId}, {"method", strMethod}, {"params", std::move(params)}};
}

json At(int nLine, int nCharacter, json extra = json::object())
{
    extra["textDocument"] = {{"uri", URI}};
    extra["position"] = {{"line", nLine}, {"character", nCharacter}};
    return extra;
}

// A server with the program open, its answers written to a stream that each
// iteration empties.
struct Server
{
    std::istringstream m_in;
    std::ostringstream m_out;
    CLumLspServer m_server{m_in, m_out};

    Server()
    {
        m_server.Dispatch(Message(1, "initialize", {{"capabilities", json::object()}}));
        m_server.Dispatch(json{{"jsonrpc", "2.0"}, {"method", "initialized"}, {"params", json::object()}});
        m_server.Dispatch(
            json{{"jsonrpc", "2.0"},
                 {"method", "textDocument/didOpen"},
                 {"params", {{"textDocument", {{"uri", URI}, {"version", 1}, {"text", Program()}}}}}});
    }

    void Run(benchmark::State& state, const json& message)
    {
        for (auto _ : state)
        {
            m_out.str("");
            m_server.Dispatch(message);
            benchmark::DoNotOptimize(m_out.str().size());
        }
        // A request answered with an error would measure the wrong path.
        if (m_out.str().find("\"error\"") != std::string::npos ||
            m_out.str().find("\"result\":null") != std::string::npos)
            state.SkipWithError(m_out.str().c_str());
    }
};

// Typing a character and taking it back: each change compiles the whole program.
void BM_LspChange(benchmark::State& state)
{
    Server server;
    int nVersion = 1;
    for (auto _ : state)
    {
        bool fInsert = nVersion % 2 == 1;
        json range{{"start", {{"line", 1003}, {"character", 4}}},
                   {"end", {{"line", 1003}, {"character", fInsert ? 4 : 5}}}};
        server.m_out.str("");
        server.m_server.Dispatch(
            json{{"jsonrpc", "2.0"},
                 {"method", "textDocument/didChange"},
                 {"params",
                  {{"textDocument", {{"uri", URI}, {"version", ++nVersion}}},
                   {"contentChanges", {{{"range", range}, {"text", fInsert ? " " : ""}}}}}}});
    }
}

void BM_LspCompletion(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/completion", At(1017, 6)));
}

void BM_LspHover(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/hover", At(1005, 26)));
}

void BM_LspSignatureHelp(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/signatureHelp", At(1005, 44)));
}

void BM_LspDefinition(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/definition", At(1018, 23)));
}

void BM_LspReferences(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/references",
                                At(1017, 6, {{"context", {{"includeDeclaration", true}}}})));
}

void BM_LspRename(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/rename", At(1017, 6, {{"newName", "sum"}})));
}

void BM_LspDocumentSymbols(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/documentSymbol", {{"textDocument", {{"uri", URI}}}}));
}

void BM_LspFoldingRanges(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/foldingRange", {{"textDocument", {{"uri", URI}}}}));
}

void BM_LspFormatting(benchmark::State& state)
{
    Server().Run(state, Message(2, "textDocument/formatting",
                                {{"textDocument", {{"uri", URI}}},
                                 {"options", {{"tabSize", 4}, {"insertSpaces", true}}}}));
}
} // namespace

BENCHMARK(BM_LspChange)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspCompletion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspHover)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspSignatureHelp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspDefinition)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspReferences)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspRename)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspDocumentSymbols)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspFoldingRanges)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LspFormatting)->Unit(benchmark::kMillisecond);
