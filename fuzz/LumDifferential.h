// Runs a generated program the fast way and the plain way and compares everything a
// host can observe: how the run ended, the failure's text, trail and call sites, the
// whole store, the message boxes, the statements counted against the limit, and, in a
// second pair of runs with hit counting on, the count of every line of both sources.
// The fast way is also run a second time on one interpreter and a cursor it keeps,
// over the store emptied, as a batch runs its records: that run must be the first over.
// The plain way is the twin that the fast paths are held against: any difference is
// a fault of the fast paths.
#pragma once

#include "LumProgramGenerator.h"

#include <map>
#include <string>

namespace lumfuzz
{
class CLumDifferential
{
public:
    // Makes a scratch folder for the sources, the library's image and the counts.
    CLumDifferential();
    ~CLumDifferential();
    CLumDifferential(const CLumDifferential&) = delete;
    CLumDifferential& operator=(const CLumDifferential&) = delete;

    // The path a generated program imports its library from.
    const std::string& GetLibraryImage() const { return m_strLibraryImage; }
    // Runs the program both ways; gives "" when they agree, else both outcomes and the
    // program. A program that does not compile is a fault of the generator and is
    // reported as well.
    std::string Compare(const SLumGeneratedProgram& program);

    // The program and how its run ended the fast way, for a reader.
    std::string Describe(const SLumGeneratedProgram& program);

    // What the runs so far took: programs, statements of the fast way's first run,
    // and how many of those runs failed.
    unsigned long GetPrograms() const { return m_nPrograms; }
    unsigned long long GetStatements() const { return m_nStatements; }
    unsigned long GetFailures() const { return m_nFailures; }
    // Programs left uncompared because their values grew past the memory budget.
    unsigned long GetOverMemory() const { return m_nOverMemory; }

private:
    struct SRun;
    std::string Outcome(const std::vector<uint8_t>& aImage, const SRun& run);
    bool Compile(const std::string& strSource, const std::string& strName, std::vector<uint8_t>& aImage,
                 std::string& strErrors);
    // Compiles the program: the library's image saved where the program imports it.
    bool CompileProgram(const SLumGeneratedProgram& program, std::vector<uint8_t>& aMain,
                        std::string& strErrors);

    std::string m_strDir;
    // The lines of each source, by its path: a call site must name one of them.
    std::map<std::string, long> m_mapLines;
    std::string m_strLibraryImage;
    unsigned long m_nPrograms = 0;
    unsigned long long m_nStatements = 0;
    unsigned long m_nFailures = 0;
    unsigned long m_nOverMemory = 0;
};

// The bytes as the choices of a generated program, compared both ways in a scratch
// folder of the process.
std::string RunBothWays(const uint8_t* pData, size_t nSize);
} // namespace lumfuzz
