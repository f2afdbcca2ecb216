#include "core/LumDepthGuard.h"

#include "core/LumFrame.h"

#include <cstdint>
#include <pthread.h>

namespace
{

#if defined(__SANITIZE_ADDRESS__)
#define LUM_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LUM_ASAN 1
#endif
#endif

// Room kept free below the deepest checked frame. Between two checks an expression
// may still recurse through a tree of CLumExpression::MAX_TREE_DEPTH levels, which
// takes about half a megabyte in a plain build and four times that under
// AddressSanitizer, whose frames are much larger.
#ifdef LUM_ASAN
const uintptr_t STACK_MARGIN = 2048 * 1024;
#else
const uintptr_t STACK_MARGIN = 768 * 1024;
#endif

uintptr_t FindStackLimit()
{
    pthread_attr_t attr;
    if (pthread_getattr_np(pthread_self(), &attr) != 0)
        return 0;
    void* pLow = nullptr;
    size_t nSize = 0;
    int n = pthread_attr_getstack(&attr, &pLow, &nSize);
    pthread_attr_destroy(&attr);
    if (n != 0 || nSize == 0)
        return 0;
    // A thread with a small stack keeps half of it free rather than going unchecked.
    uintptr_t nMargin = nSize / 2 < STACK_MARGIN ? nSize / 2 : STACK_MARGIN;
    return reinterpret_cast<uintptr_t>(pLow) + nMargin;
}
} // namespace

thread_local int CLumDepthGuard::s_anDepth[CLumDepthGuard::KIND_COUNT];
thread_local uintptr_t CLumDepthGuard::s_nStackLimit = UINTPTR_MAX;

void CLumDepthGuard::CheckStack()
{
    if (s_nStackLimit == UINTPTR_MAX)
        s_nStackLimit = FindStackLimit();
    uintptr_t nHere = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    if (s_nStackLimit != 0 && nHere < s_nStackLimit)
        LumRaise(LUM_MSG_NESTING_TOO_DEEP, s_anDepth[RUN]);
}

uintptr_t CLumDepthGuard::GetStackFloor()
{
    if (s_nStackLimit == UINTPTR_MAX)
        s_nStackLimit = FindStackLimit();
    return s_nStackLimit;
}

void CLumDepthGuard::Fail(Kind eKind, int nLimit)
{
    LumRaise(eKind == RUN ? LUM_MSG_NESTING_TOO_DEEP : LUM_MSG_TREE_TOO_DEEP, nLimit);
}
