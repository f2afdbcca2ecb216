// Guards against recursion that would exhaust the machine's stack: nested runs
// (user functions, imports) and nested expressions. Each guard counts its kind per
// thread and also checks that enough of the thread's stack is left, so that even a
// host thread with a small stack gets a clean failure instead of a crash.
#pragma once

#include <cstddef>

class CLumDepthGuard
{
public:
    enum Kind
    {
        RUN,
        EXPRESSION,
        KIND_COUNT
    };

    CLumDepthGuard(Kind eKind, int nLimit);
    ~CLumDepthGuard();
    CLumDepthGuard(const CLumDepthGuard&) = delete;
    CLumDepthGuard& operator=(const CLumDepthGuard&) = delete;

    // Fails when less than a safe margin of the thread's stack is left.
    static void CheckStack();
    static int GetDepth(Kind eKind);

private:
    Kind m_eKind;
};
