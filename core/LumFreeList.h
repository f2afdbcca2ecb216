// A per-thread free list for small objects of one size that are made and freed at
// every step of an evaluation (values, tree nodes). Classes route their operator
// new and delete through it; a derived class of another size falls back to the
// general allocator.
#pragma once

#include <cstddef>
#include <new>

template <size_t SIZE> class CLumFreeList
{
public:
    static void* Alloc(size_t n)
    {
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
        if (n != SIZE)
        {
            ::operator delete(p);
            return;
        }
        *static_cast<void**>(p) = t_pHead;
        t_pHead = p;
    }

private:
    // Frees what the list still holds when its thread ends. It lives apart from the
    // head, so that the fast path reads a plain pointer with no initialisation check.
    struct Reaper
    {
        ~Reaper()
        {
            while (t_pHead != nullptr)
            {
                void* pNext = *static_cast<void**>(t_pHead);
                ::operator delete(t_pHead);
                t_pHead = pNext;
            }
        }
    };

    static void* AllocSlow(size_t n)
    {
        static thread_local Reaper s_cReaper;
        (void)&s_cReaper;
        return ::operator new(n);
    }

    static thread_local void* t_pHead;
};

template <size_t SIZE> thread_local void* CLumFreeList<SIZE>::t_pHead = nullptr;
