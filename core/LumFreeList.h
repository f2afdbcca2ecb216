// A per-thread free list for small objects of one size that are made and freed at
// every step of a run (values, their strings, tree nodes, stack records). Classes
// route their operator new and delete through it; a derived class of another size
// falls back to the general allocator.
//
// Objects come a block at a time, so that an object costs its own size and nothing
// more: a store of many values holds no allocator headers. A new block is handed out
// from its front, object by object, not threaded onto the list whole: threading
// 64 KiB wrote every page of it, and the page faults of the blocks made by the first
// run were a tenth of the command line's start. Blocks are kept for the life of the
// process, as an object may be freed on another thread than the one that made it,
// into that thread's list. A thread that ends hands its list and the rest of its
// block to a pool that threads take from before they make a block, so that a host
// that starts a thread for each run does not grow with the number of runs.
//
// Once 8 MiB of blocks are made, a block is 2 MiB, aligned to its size and offered to
// the kernel's huge pages (madvise): a store of a million elements otherwise spends a
// quarter of its run in the page faults of its values' memory, one for each 4 KiB. A
// huge page is resident whole once touched, so smaller stores keep the small blocks.
#pragma once

#include <lumbasic/LumLargeBlock.h>

#include "core/LumSanitizers.h"

#include <cstddef>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

template <size_t SIZE> class CLumFreeList
{
public:
    static void* Alloc(size_t n)
    {
#ifdef LUM_ASAN
        // Under AddressSanitizer every object is its own allocation, so that a use
        // after its end is seen.
        return ::operator new(n);
#endif
        if (n == SIZE && t_pHead != nullptr)
        {
            void* p = t_pHead;
            t_pHead = *static_cast<void**>(p);
            return p;
        }
        // A store that grows takes every object fresh: without a call. Only a thread
        // that went the slow way, and so hands its lists back when it ends, has a block.
        if (n == SIZE && t_pFresh != t_pFreshEnd)
            return TakeFresh();
        return AllocSlow(n);
    }

    static void Free(void* p, size_t n) noexcept
    {
        if (p == nullptr)
            return;
#ifdef LUM_ASAN
        (void)n;
        ::operator delete(p);
        return;
#endif
        if (n != SIZE)
        {
            ::operator delete(p);
            return;
        }
        *static_cast<void**>(p) = t_pHead;
        t_pHead = p;
    }

private:
    static_assert(SIZE >= sizeof(void*), "an object must hold the list's link");
    static constexpr size_t BLOCK_OBJECTS = (65536 / SIZE) > 0 ? 65536 / SIZE : 1;
    static constexpr size_t HUGE_OBJECTS = LUM_LARGE_BLOCK / SIZE;
    static constexpr size_t SMALL_BLOCKS = 4 * LUM_LARGE_BLOCK / (BLOCK_OBJECTS * SIZE);

    // Apart from Alloc, so that taking from the list saves no registers for it.
    __attribute__((noinline)) static void* AllocSlow(size_t n)
    {
        if (n != SIZE)
            return ::operator new(n);
        // The first object this thread takes from here: its list goes to the pool
        // when it ends.
        static thread_local SHandBack t_cHandBack;
        (void)t_cHandBack;
        SPool& pool = Pool();
        {
            std::lock_guard<std::mutex> lock(pool.m_cLock);
            if (pool.m_pHead != nullptr)
            {
                // A block's worth of what ended threads left, or all of it.
                void* pFirst = pool.m_pHead;
                void* pLast = pFirst;
                for (size_t i = 1; i < BLOCK_OBJECTS && *static_cast<void**>(pLast) != nullptr; ++i)
                    pLast = *static_cast<void**>(pLast);
                pool.m_pHead = *static_cast<void**>(pLast);
                *static_cast<void**>(pLast) = t_pHead;
                t_pHead = *static_cast<void**>(pFirst);
                return pFirst;
            }
            if (pool.m_pFresh != nullptr)
            {
                // The untouched rest of the block of a thread that ended.
                SFreshRest* pRest = pool.m_pFresh;
                pool.m_pFresh = pRest->m_pNext;
                t_pFresh = reinterpret_cast<char*>(pRest);
                t_pFreshEnd = pRest->m_pEnd;
                return TakeFresh();
            }
        }
        size_t nBlocks;
        {
            std::lock_guard<std::mutex> lock(pool.m_cLock);
            nBlocks = pool.m_aBlocks.size();
        }
        bool fHuge = SIZE <= 4096 && nBlocks >= SMALL_BLOCKS;
        size_t nObjects = fHuge ? HUGE_OBJECTS : BLOCK_OBJECTS;
        char* pBlock = fHuge ? static_cast<char*>(LumLargeBlockAlloc())
                             : static_cast<char*>(::operator new(BLOCK_OBJECTS* SIZE));
        {
            std::lock_guard<std::mutex> lock(pool.m_cLock);
            pool.m_aBlocks.push_back(pBlock);
        }
        t_pFresh = pBlock + SIZE;
        t_pFreshEnd = pBlock + nObjects * SIZE;
        return pBlock;
    }

    static void* TakeFresh()
    {
        void* p = t_pFresh;
        t_pFresh += SIZE;
        return p;
    }

    // The head of the untouched rest of a block in the pool, written in its first
    // object when objects are large enough to hold it.
    struct SFreshRest
    {
        SFreshRest* m_pNext;
        char* m_pEnd;
    };

    // The blocks made and the objects that ended threads left, for the life of the
    // process: reachable, never freed.
    struct SPool
    {
        std::mutex m_cLock;
        std::vector<void*> m_aBlocks;
        void* m_pHead = nullptr;
        SFreshRest* m_pFresh = nullptr;
    };
    static SPool& Pool()
    {
        static SPool* s_pPool = new SPool();
        return *s_pPool;
    }
    struct SHandBack
    {
        ~SHandBack()
        {
            SPool& pool = Pool();
            if (t_pFresh != t_pFreshEnd)
            {
                if constexpr (SIZE >= sizeof(SFreshRest))
                {
                    SFreshRest* pRest = reinterpret_cast<SFreshRest*>(t_pFresh);
                    pRest->m_pEnd = t_pFreshEnd;
                    std::lock_guard<std::mutex> lock(pool.m_cLock);
                    pRest->m_pNext = pool.m_pFresh;
                    pool.m_pFresh = pRest;
                }
                else
                {
                    for (char* p = t_pFresh; p != t_pFreshEnd; p += SIZE)
                        Free(p, SIZE);
                }
                t_pFresh = t_pFreshEnd = nullptr;
            }
            if (t_pHead == nullptr)
                return;
            void* pLast = t_pHead;
            while (*static_cast<void**>(pLast) != nullptr)
                pLast = *static_cast<void**>(pLast);
            std::lock_guard<std::mutex> lock(pool.m_cLock);
            *static_cast<void**>(pLast) = pool.m_pHead;
            pool.m_pHead = t_pHead;
            t_pHead = nullptr;
        }
    };

public:
    // The blocks made so far, for all threads.
    static size_t GetBlockCount()
    {
        SPool& pool = Pool();
        std::lock_guard<std::mutex> lock(pool.m_cLock);
        return pool.m_aBlocks.size();
    }

private:
    static thread_local void* t_pHead;
    // What is left of this thread's newest block, never handed out yet.
    static thread_local char* t_pFresh;
    static thread_local char* t_pFreshEnd;
};

template <size_t SIZE> thread_local void* CLumFreeList<SIZE>::t_pHead = nullptr;
template <size_t SIZE> thread_local char* CLumFreeList<SIZE>::t_pFresh = nullptr;
template <size_t SIZE> thread_local char* CLumFreeList<SIZE>::t_pFreshEnd = nullptr;
