// Composes the key of a local, "@procedure@name", on the stack: variable access
// inside procedures does this on every read and write, so it must not allocate.
#pragma once

#include <cstring>
#include <string>
#include <string_view>

class CLumScopedKey
{
public:
    CLumScopedKey(std::string_view procedure, std::string_view name)
    {
        size_t n = procedure.size() + name.size() + 2;
        char* p = m_szShort;
        if (n >= sizeof m_szShort)
        {
            m_strLong.resize(n);
            p = &m_strLong[0];
        }
        p[0] = '@';
        memcpy(p + 1, procedure.data(), procedure.size());
        p[1 + procedure.size()] = '@';
        memcpy(p + 2 + procedure.size(), name.data(), name.size());
        p[n] = '\0';
        m_psz = p;
        m_nLength = n;
    }
    CLumScopedKey(const CLumScopedKey&) = delete;
    CLumScopedKey& operator=(const CLumScopedKey&) = delete;

    const char* c_str() const { return m_psz; }
    std::string_view view() const { return std::string_view(m_psz, m_nLength); }

private:
    char m_szShort[128];
    std::string m_strLong;
    const char* m_psz;
    size_t m_nLength;
};
