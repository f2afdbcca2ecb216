// The libFuzzer target of lumfuzz::RunBothWays (see LumDifferential.h): the fuzzer's
// bytes pick the shape of a program, which must run alike the fast way and the plain way.
#include "LumDifferential.h"
#include "LumFuzzPaths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    return lumfuzz::Verdict(lumfuzz::RunBothWays(pData, nSize));
}

// Each input makes several runs of a program that may build large texts, and the
// sanitizer's allocator would keep every freed block in quarantine and every size class
// it grew: the process would pass the fuzzer's memory limit after some thousand
// inputs. A smaller quarantine and memory given back keep it steady.
extern "C" const char* __asan_default_options()
{
    return "quarantine_size_mb=16:allocator_release_to_os_interval_ms=100";
}
