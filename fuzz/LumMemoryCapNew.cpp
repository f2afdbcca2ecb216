// The replaced global allocation functions of capped binaries: every form the
// library and the standard library use, counting by the size malloc really gave.
#include "LumMemoryCap.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace
{
bool Fits(size_t nSize)
{
    lumfuzz::SMemoryCap& cap = lumfuzz::g_memoryCap;
    if (!cap.m_fArmed)
        return true;
    long long nRoom = cap.m_nLimit - cap.m_nLive;
    if (nRoom > 0 && nSize <= static_cast<unsigned long long>(nRoom))
        return true;
    ++cap.m_nRefusals;
    if (!cap.m_fTripped)
    {
        cap.m_fTripped = true;
        cap.m_nLimit += lumfuzz::SMemoryCap::SLACK;
    }
    return false;
}

void* Take(size_t nSize, size_t nAlign)
{
    if (!Fits(nSize))
        return nullptr;
    if (nSize == 0)
        nSize = 1;
    void* p = nullptr;
    if (nAlign <= alignof(std::max_align_t))
        p = malloc(nSize);
    else if (posix_memalign(&p, nAlign, nSize) != 0)
        p = nullptr;
    if (p != nullptr && lumfuzz::g_memoryCap.m_fArmed)
        lumfuzz::g_memoryCap.m_nLive += static_cast<long long>(malloc_usable_size(p));
    return p;
}

void* TakeOrThrow(size_t nSize, size_t nAlign)
{
    void* p = Take(nSize, nAlign);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

void Give(void* p) noexcept
{
    if (p == nullptr)
        return;
    if (lumfuzz::g_memoryCap.m_fArmed)
        lumfuzz::g_memoryCap.m_nLive -= static_cast<long long>(malloc_usable_size(p));
    free(p);
}
} // namespace

void* operator new(size_t n)
{
    return TakeOrThrow(n, 0);
}
void* operator new[](size_t n)
{
    return TakeOrThrow(n, 0);
}
void* operator new(size_t n, const std::nothrow_t&) noexcept
{
    return Take(n, 0);
}
void* operator new[](size_t n, const std::nothrow_t&) noexcept
{
    return Take(n, 0);
}
void* operator new(size_t n, std::align_val_t a)
{
    return TakeOrThrow(n, static_cast<size_t>(a));
}
void* operator new[](size_t n, std::align_val_t a)
{
    return TakeOrThrow(n, static_cast<size_t>(a));
}
void* operator new(size_t n, std::align_val_t a, const std::nothrow_t&) noexcept
{
    return Take(n, static_cast<size_t>(a));
}
void* operator new[](size_t n, std::align_val_t a, const std::nothrow_t&) noexcept
{
    return Take(n, static_cast<size_t>(a));
}

void operator delete(void* p) noexcept
{
    Give(p);
}
void operator delete[](void* p) noexcept
{
    Give(p);
}
void operator delete(void* p, size_t) noexcept
{
    Give(p);
}
void operator delete[](void* p, size_t) noexcept
{
    Give(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept
{
    Give(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept
{
    Give(p);
}
void operator delete(void* p, std::align_val_t) noexcept
{
    Give(p);
}
void operator delete[](void* p, std::align_val_t) noexcept
{
    Give(p);
}
void operator delete(void* p, size_t, std::align_val_t) noexcept
{
    Give(p);
}
void operator delete[](void* p, size_t, std::align_val_t) noexcept
{
    Give(p);
}
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept
{
    Give(p);
}
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept
{
    Give(p);
}
