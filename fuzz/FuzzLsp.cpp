// The libFuzzer target of lumfuzz::ServeLsp (see LumFuzzPaths.h).
#include "LumFuzzPaths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return lumfuzz::Verdict(lumfuzz::ServeLsp(pData, nSize));
}
