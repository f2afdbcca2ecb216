// Scope ids of procedure names, one table per thread, as interpreters are.
#include <lumbasic/LumBasicStack.h>

#include <unordered_map>

namespace
{
// Names a table holds before it forgets them all: a host that runs many programs
// with many procedure names must not grow it without end.
const size_t MAX_NAMES = 4096;

thread_local std::unordered_map<std::string, uint64_t> t_mapScopes;
thread_local uint64_t t_nEpoch = 0;
thread_local uint64_t t_nLastId = 0;
} // namespace

uint64_t LumScopeOf(const char* pszName)
{
    auto it = t_mapScopes.find(pszName);
    if (it != t_mapScopes.end())
        return it->second;
    if (t_mapScopes.size() >= MAX_NAMES)
    {
        t_mapScopes.clear();
        ++t_nEpoch;
    }
    return t_mapScopes.emplace(pszName, ++t_nLastId).first->second;
}

uint64_t LumScopeEpoch()
{
    return t_nEpoch;
}
