#include "core/LumDepthGuard.h"

#include "core/LumFrame.h"

#include <cstdint>
#include <pthread.h>

namespace
{
thread_local int t_anDepth[CLumDepthGuard::KIND_COUNT];
// Lowest usable stack address of this thread, found once; 0 when unknown.
thread_local uintptr_t t_nStackLimit = 1;

// Room kept free below the deepest frame we allow; generous, because sanitizer
// builds have frames several times larger.
const uintptr_t STACK_MARGIN = 512 * 1024;

uintptr_t FindStackLimit()
{
    pthread_attr_t attr;
    if (pthread_getattr_np(pthread_self(), &attr) != 0)
        return 0;
    void* pLow = nullptr;
    size_t nSize = 0;
    int n = pthread_attr_getstack(&attr, &pLow, &nSize);
    pthread_attr_destroy(&attr);
    if (n != 0 || nSize <= STACK_MARGIN)
        return 0;
    return reinterpret_cast<uintptr_t>(pLow) + STACK_MARGIN;
}
} // namespace

void CLumDepthGuard::CheckStack()
{
    if (t_nStackLimit == 1)
        t_nStackLimit = FindStackLimit();
    uintptr_t nHere = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    if (t_nStackLimit != 0 && nHere < t_nStackLimit)
        LumRaise(LUM_MSG_NESTING_TOO_DEEP, t_anDepth[RUN]);
}

CLumDepthGuard::CLumDepthGuard(Kind eKind, int nLimit) : m_eKind(eKind)
{
    if (t_anDepth[eKind] >= nLimit)
        LumRaise(eKind == RUN ? LUM_MSG_NESTING_TOO_DEEP : LUM_MSG_TREE_TOO_DEEP, nLimit);
    CheckStack();
    ++t_anDepth[eKind];
}

CLumDepthGuard::~CLumDepthGuard()
{
    --t_anDepth[m_eKind];
}

int CLumDepthGuard::GetDepth(Kind eKind)
{
    return t_anDepth[eKind];
}
