#include "core/LumDepthGuard.h"

#include "core/LumFrame.h"
#include "core/LumSanitizers.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <pthread.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#ifdef __GLIBC__
// Where the main thread's stack pointer stood when the process began.
extern "C" void* __libc_stack_end;
#endif

namespace
{
// Room kept free below the deepest checked frame. Between two checks an expression
// may still recurse through a tree of CLumExpression::MAX_TREE_DEPTH levels, which
// takes about half a megabyte in a plain build and four times that under
// AddressSanitizer, whose frames are much larger.
#ifdef LUM_ASAN
const uintptr_t STACK_MARGIN = 2048 * 1024;
#else
const uintptr_t STACK_MARGIN = 768 * 1024;
#endif

#ifdef __GLIBC__
// The largest stack limit taken as it stands for the main thread. The kernel places
// other mappings at least this far below the end of its stack; under a larger limit one
// may stand in the stack's way, which only the list of mappings shows.
const uintptr_t MAX_TRUSTED_STACK = 128 * 1024 * 1024;

// The end of the mapping that holds the main thread's first stack pointer. The kernel
// puts the program's file name (AT_EXECFN) last in it, so the end is the page boundary
// above the name: mincore shows every page from that pointer up to there mapped, and
// none above. 0 where that cannot be shown (a tool that lays the stack out otherwise,
// an environment of more than 64 pages).
uintptr_t FindStackEnd(uintptr_t nStart, uintptr_t nPage)
{
    const char* pszExecFn = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    if (pszExecFn == nullptr)
        return 0;
    uintptr_t nEnd = (reinterpret_cast<uintptr_t>(pszExecFn) + strlen(pszExecFn) + nPage) & ~(nPage - 1);
    uintptr_t nFirst = nStart & ~(nPage - 1);
    unsigned char achPages[64];
    if (nEnd <= nFirst || (nEnd - nFirst) / nPage > sizeof achPages ||
        mincore(reinterpret_cast<void*>(nFirst), nEnd - nFirst, achPages) != 0)
        return 0;
    if (mincore(reinterpret_cast<void*>(nEnd), nPage, achPages) == 0 || errno != ENOMEM)
        return 0;
    return nEnd;
}

// The main thread's stack as pthread_getattr_np finds it, without reading
// /proc/self/maps as it does for that thread (some 50 µs, several per cent of a start
// of `lumbasic run`): the kernel lets the stack grow down from the end of its mapping
// as far as the stack limit. False for another thread, a limit too large to trust, an
// end not found, a frame outside the range found.
bool FindMainStack(uintptr_t nHere, uintptr_t& nLow, uintptr_t& nSize)
{
    if (getpid() != gettid())
        return false;
    rlimit limit;
    if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
        limit.rlim_cur > MAX_TRUSTED_STACK)
        return false;
    uintptr_t nPage = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    uintptr_t nStart = reinterpret_cast<uintptr_t>(__libc_stack_end);
    uintptr_t nEnd = FindStackEnd(nStart, nPage);
    if (nEnd == 0 || nHere >= nStart)
        return false;
    // As pthread_getattr_np: whole pages down from the end, counted from the page above
    // where the process began.
    nLow = nEnd - (limit.rlim_cur & ~(nPage - 1));
    if (nLow >= nHere)
        return false;
    nSize = (nStart & ~(nPage - 1)) + nPage - nLow;
    return true;
}
#else
bool FindMainStack(uintptr_t, uintptr_t&, uintptr_t&)
{
    return false;
}
#endif

uintptr_t FindStackLimit()
{
    uintptr_t nLow = 0;
    uintptr_t nSize = 0;
    if (!FindMainStack(reinterpret_cast<uintptr_t>(__builtin_frame_address(0)), nLow, nSize))
    {
        pthread_attr_t attr;
        if (pthread_getattr_np(pthread_self(), &attr) != 0)
            return 0;
        void* pLow = nullptr;
        size_t nBytes = 0;
        int n = pthread_attr_getstack(&attr, &pLow, &nBytes);
        pthread_attr_destroy(&attr);
        if (n != 0 || nBytes == 0)
            return 0;
        nLow = reinterpret_cast<uintptr_t>(pLow);
        nSize = nBytes;
    }
    // A thread with a small stack keeps half of it free rather than going unchecked.
    uintptr_t nMargin = nSize / 2 < STACK_MARGIN ? nSize / 2 : STACK_MARGIN;
    return nLow + nMargin;
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

uintptr_t CLumDepthGuard::LookUpStackFloor()
{
    if (s_nStackLimit == UINTPTR_MAX)
        s_nStackLimit = FindStackLimit();
    return s_nStackLimit;
}

void CLumDepthGuard::Fail(Kind eKind, int nLimit)
{
    LumRaise(eKind == RUN ? LUM_MSG_NESTING_TOO_DEEP : LUM_MSG_TREE_TOO_DEEP, nLimit);
}
