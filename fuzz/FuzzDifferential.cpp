// The libFuzzer target of lumfuzz::RunBothWays (see LumDifferential.h): the fuzzer's
// bytes pick the shape of a program, which must run alike the fast way and the plain way.
#include "LumDifferential.h"
#include "LumFuzzPaths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return lumfuzz::Verdict(lumfuzz::RunBothWays(pData, nSize));
}
