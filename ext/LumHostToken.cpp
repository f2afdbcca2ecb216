// The token of a host's name in program images.
#include <lumbasic/LumHostArgs.h>

#include <cstdint>

namespace
{
// ASCII only, whatever locale the host has set: the token must be the same everywhere.
bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
} // namespace

// FNV-1a over the name in lower case, spread over the 250 low bytes outside the
// interpreter's classes and the 256 high bytes, without the token 0. Images hold the
// result: it must never change.
unsigned short LumHostToken(std::string_view name)
{
    if (name.empty() || !IsLetter(name[0]))
        return 0;
    uint32_t nHash = 2166136261u;
    for (size_t i = 0; i < name.size(); ++i)
    {
        char c = name[i];
        bool fLast = i + 1 == name.size();
        if (!IsLetter(c) && !(c >= '0' && c <= '9') && c != '_' && !(fLast && (c == '$' || c == '%')))
            return 0;
        unsigned char cLower = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        nHash = (nHash ^ cLower) * 16777619u;
    }
    const uint32_t LOW_BYTES = 250, COUNT = LOW_BYTES * 256 - 1;
    uint32_t n = 1 + nHash % COUNT;
    uint32_t nLow = n % LOW_BYTES, nHigh = n / LOW_BYTES;
    if (nLow >= 0x80)
        nLow += 6;
    return static_cast<unsigned short>(nHigh << 8 | nLow);
}
