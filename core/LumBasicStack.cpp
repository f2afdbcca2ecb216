#include <lumbasic/LumBasicStack.h>

#include "core/LumFreeList.h"

void* CmdData::operator new(size_t n)
{
    return CLumFreeList<sizeof(CmdData)>::Alloc(n);
}

void CmdData::operator delete(void* p, size_t n) noexcept
{
    CLumFreeList<sizeof(CmdData)>::Free(p, n);
}

void* CallData::operator new(size_t n)
{
    return CLumFreeList<sizeof(CallData)>::Alloc(n);
}

void CallData::operator delete(void* p, size_t n) noexcept
{
    CLumFreeList<sizeof(CallData)>::Free(p, n);
}
