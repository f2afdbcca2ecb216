// Scope ids of procedure names: a table per thread, as interpreters are, over one
// count for the whole process, so that no id ever names two names.
#include <lumbasic/LumBasicStack.h>

#include <atomic>
#include <unordered_map>

namespace
{
// Names a table holds before it forgets them all: a host that runs many programs
// with many procedure names must not grow it without end.
const size_t MAX_NAMES = 4096;

thread_local std::unordered_map<std::string, uint64_t> t_mapScopes;
std::atomic<uint64_t> s_nLastId{0};
} // namespace

uint64_t LumScopeOf(const char* pszName)
{
    auto it = t_mapScopes.find(pszName);
    if (it != t_mapScopes.end())
        return it->second;
    if (t_mapScopes.size() >= MAX_NAMES)
        t_mapScopes.clear();
    return t_mapScopes.emplace(pszName, ++s_nLastId).first->second;
}
