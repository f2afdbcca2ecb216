// A per-thread free list for small objects of one size that are made and freed at
// every step of a run (values, their strings, tree nodes, stack records). Classes
// route their operator new and delete through it; a derived class of another size
// falls back to the general allocator.
//
// The list is filled a block of objects at a time, so that an object costs its own
// size and nothing more: a store of many values holds no allocator headers. Blocks
// are kept for the life of the process, as an object may be freed on another thread
// than the one that made it, into that thread's list.
#pragma once

#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define LUM_FREE_LIST_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LUM_FREE_LIST_OFF 1
#endif
#endif

template <size_t SIZE> class CLumFreeList
{
public:
    static void* Alloc(size_t n)
    {
#ifdef LUM_FREE_LIST_OFF
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
        return AllocSlow(n);
    }

    static void Free(void* p, size_t n) noexcept
    {
        if (p == nullptr)
            return;
#ifdef LUM_FREE_LIST_OFF
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

    static void* AllocSlow(size_t n)
    {
        if (n != SIZE)
            return ::operator new(n);
        char* pBlock = static_cast<char*>(::operator new(BLOCK_OBJECTS* SIZE));
        {
            static std::mutex s_cLock;
            // Reachable for as long as the process runs: the blocks are never freed.
            static std::vector<void*>* s_paBlocks = new std::vector<void*>();
            std::lock_guard<std::mutex> lock(s_cLock);
            s_paBlocks->push_back(pBlock);
        }
        for (size_t i = BLOCK_OBJECTS; i-- > 1;)
            Free(pBlock + i * SIZE, SIZE);
        return pBlock;
    }

    static thread_local void* t_pHead;
};

template <size_t SIZE> thread_local void* CLumFreeList<SIZE>::t_pHead = nullptr;
