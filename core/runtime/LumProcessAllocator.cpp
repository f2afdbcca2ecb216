// liblumbasic carries the parts of libstdc++ it uses, hidden (see the top CMakeLists),
// so that a start binds no libstdc++ symbols. Its allocation functions still are the
// process's: a host that replaces the global operator new and delete, and frees a
// string the library made (or the reverse), must meet its own allocator on both sides,
// as it does with a shared libstdc++. The library's own definitions, hidden, hand each
// call to the process's (the host's replacement, or the shared libstdc++'s), found once;
// where the process has none (a host without the C++ runtime, or with it linked in),
// they allocate as libstdc++ does, from malloc.
#include <dlfcn.h>

#include <cstdlib>
#include <new>

namespace
{
struct SProcessAllocator
{
    void* (*m_pNew)(std::size_t) = nullptr;
    void (*m_pDelete)(void*) noexcept = nullptr;

    SProcessAllocator()
    {
        // Both or neither: a block goes back to the allocator it came from.
        void* pNew = dlsym(RTLD_DEFAULT, "_Znwm");
        void* pDelete = dlsym(RTLD_DEFAULT, "_ZdlPv");
        if (pNew == nullptr || pDelete == nullptr)
            return;
        m_pNew = reinterpret_cast<void* (*)(std::size_t)>(pNew);
        m_pDelete = reinterpret_cast<void (*)(void*) noexcept>(pDelete);
        // The object that holds them stays as long as the library may call them, even
        // where nothing else of the process needs it any more.
        Dl_info info;
        if (dladdr(pNew, &info) != 0 && info.dli_fname != nullptr && *info.dli_fname != '\0')
            dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    }
};

// Found at the first allocation, which may come from another object's static
// initialisation.
const SProcessAllocator& ProcessAllocator()
{
    static const SProcessAllocator s_allocator;
    return s_allocator;
}

void* AllocateFromMalloc(std::size_t nBytes)
{
    if (nBytes == 0)
        nBytes = 1;
    for (;;)
    {
        if (void* p = std::malloc(nBytes))
            return p;
        std::new_handler pHandler = std::get_new_handler();
        if (pHandler == nullptr)
            throw std::bad_alloc();
        pHandler();
    }
}
} // namespace

// The other forms (arrays, nothrow) of libstdc++ call these. They stay out of the
// library's exports as libstdc++'s do (--exclude-libs on this archive too): exported,
// they would take the place of the process's own.
void* operator new(std::size_t nBytes)
{
    const SProcessAllocator& allocator = ProcessAllocator();
    return allocator.m_pNew != nullptr ? allocator.m_pNew(nBytes) : AllocateFromMalloc(nBytes);
}

void operator delete(void* p) noexcept
{
    const SProcessAllocator& allocator = ProcessAllocator();
    if (allocator.m_pDelete != nullptr)
        allocator.m_pDelete(p);
    else
        std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    operator delete(p);
}
