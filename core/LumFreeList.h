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
        Head& head = t_cHead;
        if (n == SIZE && head.m_p != nullptr)
        {
            void* p = head.m_p;
            head.m_p = *static_cast<void**>(p);
            return p;
        }
        return ::operator new(n);
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
        Head& head = t_cHead;
        *static_cast<void**>(p) = head.m_p;
        head.m_p = p;
    }

private:
    struct Head
    {
        void* m_p = nullptr;
        ~Head()
        {
            while (m_p != nullptr)
            {
                void* pNext = *static_cast<void**>(m_p);
                ::operator delete(m_p);
                m_p = pNext;
            }
        }
    };
    static thread_local Head t_cHead;
};

template <size_t SIZE> thread_local typename CLumFreeList<SIZE>::Head CLumFreeList<SIZE>::t_cHead;
