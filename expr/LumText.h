// The text of a value as the built-in functions see it: bytes up to the first zero.
// A host may store a string with a zero byte inside; the language never sees past it.
#pragma once

#include <lumbasic/LumsVarValue.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

using LumValuePtr = std::unique_ptr<CLumsVarValue>;

// A view of the value's text, valid while the value is alive and unchanged.
inline std::string_view LumTextView(const CLumsVarValue& value)
{
    const char* psz = value.GetText();
    size_t n = value.GetTextLength();
    if (const void* pZero = memchr(psz, 0, n))
        n = static_cast<size_t>(static_cast<const char*>(pZero) - psz);
    return std::string_view(psz, n);
}

// The string content for in-place work, cut at its first zero byte.
inline LumText& LumTextRef(CLumsVarValue& value)
{
    LumText& str = value.GetStringRef();
    size_t nPos = str.find('\0');
    if (nPos != std::string::npos)
        str.resize(nPos);
    return str;
}
