// The paths by which untrusted bytes enter the library, one per fuzz target. Each
// runs one input as its target does and gives what went wrong, or an empty text when
// the input was handled: it succeeded, or it failed with a CLumsException. The
// regression test of the findings runs its reproducers through the same functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lumfuzz
{
// Statements one run of a fuzzed image may take: endless programs end quickly.
constexpr unsigned long STATEMENT_LIMIT = 2000;

// The bytes as an image run from memory on a fresh interpreter whose files are confined
// to an empty folder, memory capped.
std::string RunImage(const uint8_t* pData, size_t nSize);
// The bytes as an image listed by the disassembler.
std::string Disassemble(const uint8_t* pData, size_t nSize);
// The bytes as source text compiled; an image it gives is run as RunImage does.
std::string CompileAndRun(const uint8_t* pData, size_t nSize);
// The bytes as the store's text form: its text form read back must give the same text.
std::string StoreRoundTrip(const uint8_t* pData, size_t nSize);
// The bytes as a ".Profile" file, read, written and read again to the same bytes; then
// as a source text split into lines, which joined must give the text back.
std::string ReadProfile(const uint8_t* pData, size_t nSize);
// The bytes as a value and a template: the first byte picks the value's type, the
// text up to the next zero byte is the value, the rest the template.
std::string FillTemplate(const uint8_t* pData, size_t nSize);
// The bytes as the input of the language server, served to its end: everything the
// server writes must be framed JSON-RPC 2.0.
std::string ServeLsp(const uint8_t* pData, size_t nSize);
// The bytes as the input of the debug adapter, each message served once the run has
// settled: everything the adapter writes must be framed protocol messages.
std::string ServeDap(const uint8_t* pData, size_t nSize);

// Ends the process with `strFault` on standard error when it is not empty, so that
// libFuzzer keeps the input as a crash; gives 0 otherwise.
int Verdict(const std::string& strFault);
} // namespace lumfuzz
