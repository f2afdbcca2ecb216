// Random programs that end: Subs and Functions with parameters and locals, bounded
// recursion, branches and loops whose counters nothing else writes, numbers, texts,
// arrays, built-in functions and an imported library, with failures that happen at
// random depths (a division by zero, a template that does not fit, a recursion past a
// nesting limit, the statement limit).
//
// Every choice is read from a stream of bytes: libFuzzer picks the shape of a program
// by the bytes it hands over, and a fixed seed makes the same program every time. When
// the bytes run out every choice is the first one, which keeps programs short.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lumfuzz
{
class CLumChoices
{
public:
    CLumChoices(const uint8_t* pData, size_t nSize) : m_pData(pData), m_nSize(nSize) {}

    // A number from 0 to nCount - 1; 0 once the bytes are used up.
    unsigned Pick(unsigned nCount);
    // True in about nPercent of a hundred choices; false once the bytes are used up.
    bool Chance(unsigned nPercent) { return Pick(100) < nPercent; }

private:
    const uint8_t* m_pData;
    size_t m_nSize;
};

struct SLumGeneratedProgram
{
    std::string m_strMain;
    // The library's source, empty when the program imports none. The main program
    // imports the library's image from the path given to LumGenerateProgram.
    std::string m_strLibrary;
    // The statements a run may take.
    unsigned long m_nStatementLimit = 0;
    // The bytes its values may take, 0 for the differential's own budget: a program
    // that builds a text until it reaches this one.
    size_t m_nMemoryLimit = 0;
};

// A program whose Import names `strLibraryImage`.
SLumGeneratedProgram LumGenerateProgram(CLumChoices& choices, const std::string& strLibraryImage);
// The choices of program number `nSeed`, the same on every machine: the differential
// test and the long runs of lumdiff make their programs from them.
std::vector<uint8_t> LumSeededChoices(uint64_t nSeed);
} // namespace lumfuzz
