// A host of the shared library with a global operator new and delete of its own, whose
// blocks malloc and free cannot take: every block that crosses between host and library
// (an image the library makes, a text it appends to the host's string, the message of a
// failure the host catches) must come from and go back to this allocator. A block of
// another allocator aborts the program.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace
{
constexpr std::size_t HEADER = 16;
constexpr unsigned MAGIC = 0x4c756d42;
std::size_t g_nBlocks = 0;
} // namespace

void* operator new(std::size_t nBytes)
{
    auto* p = static_cast<unsigned char*>(std::malloc(nBytes + HEADER));
    if (p == nullptr)
        throw std::bad_alloc();
    std::memcpy(p, &MAGIC, sizeof MAGIC);
    ++g_nBlocks;
    return p + HEADER;
}

void operator delete(void* pBlock) noexcept
{
    if (pBlock == nullptr)
        return;
    unsigned char* p = static_cast<unsigned char*>(pBlock) - HEADER;
    if (std::memcmp(p, &MAGIC, sizeof MAGIC) != 0)
    {
        std::fputs("a block of another allocator came back to the host's\n", stderr);
        std::abort();
    }
    std::memset(p, 0, sizeof MAGIC);
    std::free(p);
}

void operator delete(void* pBlock, std::size_t) noexcept
{
    operator delete(pBlock);
}

int main()
{
    std::size_t nBefore = g_nBlocks;
    std::vector<uint8_t> aImage = LumCompile("Sub Main\n  s$ = \"lum\" + Str$(n% * 2)\nEnd Sub\n");
    CLumVariables vars;
    vars.SetValuesFromString("L:n%=21\n");
    CLumBasic basic(&vars, nullptr);
    basic.DoMemory(aImage.data(), aImage.size());
    std::string strStore = "store:";
    vars.MakeString(&strStore);
    std::string strFailure;
    try
    {
        LumCompile("Sub Main\n  x = (\nEnd Sub\n");
    }
    catch (const CLumsException& e)
    {
        strFailure = LumFailureReport(e, "x.lbd");
    }
    std::printf("%s|%s|%s\n", strStore.c_str(), strFailure.empty() ? "no report" : "report",
                g_nBlocks - nBefore > 10 ? "host blocks" : "few host blocks");
    return 0;
}
