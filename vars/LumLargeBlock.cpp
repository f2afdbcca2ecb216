#include <lumbasic/LumLargeBlock.h>

#include <sys/mman.h>

#include <cstdlib>
#include <new>

void* LumLargeBlockAlloc()
{
    void* p = std::aligned_alloc(LUM_LARGE_BLOCK, LUM_LARGE_BLOCK);
    if (p == nullptr)
        throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
    // Advice only: where the kernel has no huge page to give, the block has small ones.
    madvise(p, LUM_LARGE_BLOCK, MADV_HUGEPAGE);
#endif
    return p;
}

void LumLargeBlockFree(void* p) noexcept
{
    std::free(p);
}
