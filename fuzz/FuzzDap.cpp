// The libFuzzer target of lumfuzz::ServeDap (see LumFuzzPaths.h).
#include "LumFuzzPaths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return lumfuzz::Verdict(lumfuzz::ServeDap(pData, nSize));
}
