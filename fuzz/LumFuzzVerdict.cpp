#include "LumFuzzPaths.h"

#include <cstdio>
#include <cstdlib>

namespace lumfuzz
{
int Verdict(const std::string& strFault)
{
    if (strFault.empty())
        return 0;
    fprintf(stderr, "lumfuzz: %s\n", strFault.c_str());
    abort();
}
} // namespace lumfuzz
