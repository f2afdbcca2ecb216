// The memory bound of a fuzzed run. While a run is armed, the replaced operator new
// counts the bytes it holds and throws std::bad_alloc once the cap would be passed,
// as a host that runs out of memory would. Only binaries that link
// LumMemoryCapNew.cpp count; elsewhere arming changes nothing.
#pragma once

#include <cstddef>

namespace lumfuzz
{
struct SMemoryCap
{
    // What a run may hold at once: a program that doubles a string in a loop ends
    // here with a clean failure instead of taking the machine.
    static constexpr long long CAP = 64LL << 20;
    // Granted once after the first refusal, so that the failure can still build its
    // trail while the run unwinds, as it can when one large request fails for real.
    static constexpr long long SLACK = 16LL << 20;

    bool m_fArmed = false;
    bool m_fTripped = false;
    // Blocks freed during the run that were taken before it may drive this below 0.
    long long m_nLive = 0;
    long long m_nLimit = CAP;
    unsigned long m_nRefusals = 0;
};

inline thread_local SMemoryCap g_memoryCap;

// Counts the allocations of the current thread while it lives. libFuzzer's own
// allocations, outside the inputs' runs, never count.
class CCappedScope
{
public:
    CCappedScope()
    {
        g_memoryCap = SMemoryCap();
        g_memoryCap.m_fArmed = true;
    }
    ~CCappedScope() { g_memoryCap.m_fArmed = false; }
    CCappedScope(const CCappedScope&) = delete;
    CCappedScope& operator=(const CCappedScope&) = delete;
};
} // namespace lumfuzz
