// The breakpoints of a debug session, per source file: where they stand (a line
// without code moves to the next line with code), and when one stops, logs or is
// passed by: its condition, its hit count and its log message.
#pragma once

#include "LumDapChannel.h"

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class CLumExtensionTable;

struct SLumDapBreakpoint
{
    long m_nLine = 0;
    std::string m_strCondition;
    std::string m_strHitCondition;
    std::string m_strLogMessage;
    long m_nHits = 0;
};

class CLumDapBreakpoints
{
public:
    // The canonical path of a source file, as images name their sources.
    static std::string SourceKey(const std::string& strPath);
    // Replaces the breakpoints of the source that `args` names, with the host
    // statements of `extensions` known, and gives the body of the answer. Any thread.
    json Set(const json& args, const CLumExtensionTable& extensions);
    // The breakpoint on the line of the source, copied with its hit counted; false
    // when there is none. Any thread.
    bool Hit(const std::string& strSource, long nLine, SLumDapBreakpoint& breakpoint);
    // Whether any source has a breakpoint. Any thread, without a lock.
    bool Any() const { return m_fAny.load(std::memory_order_relaxed); }
    // Whether a hit count stops at `nHits`: "N" (the Nth hit and after), ">=N",
    // ">N", "==N", "%N" (every Nth). An empty one always does.
    static bool HitConditionHolds(const std::string& strCondition, long nHits, std::string& strWhy);

private:
    // The lines of a source whose markers stop, read by compiling it; false with the
    // reason when it does not compile.
    static bool CodeLines(const std::string& strPath, const CLumExtensionTable& extensions,
                          std::set<long>& setLines, std::string& strWhy);

    std::mutex m_mutex;
    std::map<std::string, std::map<long, SLumDapBreakpoint>> m_mapSources;
    std::atomic<bool> m_fAny{false};
};
