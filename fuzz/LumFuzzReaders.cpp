// Readers of binary files: the disassembler and the profile counts.
#include "LumFuzzGuard.h"
#include "LumFuzzPaths.h"

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicProfiler.h>

#include "compiler/LumDisassembler.h"
#include "debug/LumArchive.h"

#include <algorithm>
#include <sstream>
#include <utility>
#include <vector>

namespace lumfuzz
{
namespace
{
std::string SaveProfile(CLumBasicProfiler& profiler)
{
    std::ostringstream out;
    CLumArchive ar(out, "fuzz.Profile");
    profiler.Serialize(ar);
    return out.str();
}

std::string LoadProfile(CLumBasicProfiler& profiler, const std::string& strBytes)
{
    std::istringstream in(strBytes);
    CLumArchive ar(in, "fuzz.Profile");
    profiler.Serialize(ar);
    return SaveProfile(profiler);
}

// A saved profile's runs and its entries by line: a load takes the entries in any
// order, and a save writes each chain newest first, so the order may change.
std::vector<std::pair<int32_t, int32_t>> Counts(const std::string& strSaved)
{
    std::istringstream in(strSaved);
    CLumArchive ar(in, "fuzz.Profile");
    std::pair<int32_t, int32_t> runs;
    ar >> runs.first >> runs.second;
    std::vector<std::pair<int32_t, int32_t>> aCounts(static_cast<size_t>(runs.second));
    for (auto& entry : aCounts)
        ar >> entry.first >> entry.second;
    std::sort(aCounts.begin(), aCounts.end());
    aCounts.insert(aCounts.begin(), runs);
    return aCounts;
}

// The window's rows joined by line ends give the text, less one line end at its end.
std::string SplitLines(const char* pszText)
{
    std::string strJoined;
    const char* pszBetween = "";
    for (const std::string& strLine : LumSplitSourceLines(pszText))
    {
        strJoined.append(pszBetween).append(strLine);
        pszBetween = "\r\n";
    }
    std::string strText(pszText);
    if (strText == strJoined || strText == strJoined + "\r\n")
        return "";
    return "the lines of a source do not give its text back";
}
} // namespace

std::string Disassemble(const uint8_t* pData, size_t nSize)
{
    return NoThrow([&] {
        std::string strListing;
        CLumDisassembler().Run(pData, nSize, strListing);
        return std::string();
    });
}

std::string ReadProfile(const uint8_t* pData, size_t nSize)
{
    std::string strBytes(reinterpret_cast<const char*>(pData), nSize);
    std::string strFault = Handled([&] {
        CLumBasicProfiler first;
        std::string strSaved = LoadProfile(first, strBytes);
        CLumBasicProfiler second;
        if (Counts(LoadProfile(second, strSaved)) != Counts(strSaved))
            return std::string("a profile saved and read again saves other counts");
        return std::string();
    });
    if (!strFault.empty())
        return strFault;
    return NoThrow([&] { return SplitLines(strBytes.c_str()); });
}
} // namespace lumfuzz
