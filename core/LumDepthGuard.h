// Guards against recursion that would exhaust the machine's stack: nested runs
// (user functions, imports) and nested expressions. Each guard counts its kind per
// thread and also checks that enough of the thread's stack is left, so that even a
// host thread with a small stack gets a clean failure instead of a crash.
#pragma once

#include <cstddef>
#include <cstdint>

class CLumDepthGuard
{
public:
    enum Kind
    {
        RUN,
        EXPRESSION,
        KIND_COUNT
    };

    // Inline: every expression and every call of a function takes a guard.
    CLumDepthGuard(Kind eKind, int nLimit) : m_eKind(eKind)
    {
        int& nDepth = s_anDepth[eKind];
        if (nDepth >= nLimit)
            Fail(eKind, nLimit);
        if (reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) < s_nStackLimit)
            CheckStack();
        ++nDepth;
    }
    ~CLumDepthGuard() { --s_anDepth[m_eKind]; }
    CLumDepthGuard(const CLumDepthGuard&) = delete;
    CLumDepthGuard& operator=(const CLumDepthGuard&) = delete;

    // Fails when less than a safe margin of the thread's stack is left.
    static void CheckStack();
    // The lowest frame address that leaves that margin (0 where the stack is unknown),
    // for recursion that gives up instead of failing.
    static uintptr_t GetStackFloor()
    {
        uintptr_t nLimit = s_nStackLimit;
        return nLimit != UINTPTR_MAX ? nLimit : LookUpStackFloor();
    }
    static int GetDepth(Kind eKind) { return s_anDepth[eKind]; }

    // Counts `nLevels` more of a kind while it lives, unchecked: for a caller that went
    // through those levels without guards and made sure the limit allows them, so that
    // what it calls sees the depth it would see behind the guards.
    class CLift
    {
    public:
        CLift(Kind eKind, int nLevels) : m_eKind(eKind), m_nLevels(nLevels) { s_anDepth[eKind] += nLevels; }
        ~CLift() { s_anDepth[m_eKind] -= m_nLevels; }
        CLift(const CLift&) = delete;
        CLift& operator=(const CLift&) = delete;

    private:
        Kind m_eKind;
        int m_nLevels;
    };
    // The depths of all kinds at once, with one look at this thread's counts.
    static const int* GetDepths() { return s_anDepth; }

private:
    [[noreturn]] static void Fail(Kind eKind, int nLimit);
    static uintptr_t LookUpStackFloor();

    Kind m_eKind;
    static thread_local int s_anDepth[KIND_COUNT];
    // Lowest usable stack address of this thread; the largest address until it was
    // looked up, 0 when it is unknown.
    static thread_local uintptr_t s_nStackLimit;
};
