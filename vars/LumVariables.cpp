#include <lumbasic/LumVariables.h>

#include "core/LumFrame.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
#define LUM_LEAKS_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(leak_sanitizer)
#define LUM_LEAKS_CHECKED 1
#endif
#endif
#ifdef LUM_LEAKS_CHECKED
#include <sanitizer/lsan_interface.h>
#endif

LUM_IMPLEMENT_RUNTIME(CLumVariables, CLumObject, nullptr)

namespace
{
const char* const FILE_LABEL = "LUMEXPRESSION";
}

// Made once, before any store: from then on every thread reads them and none writes
// them, not even GetText, which gives their text without its cache.
CLumsVarValue CLumVariables::m_cDoubleNull(0.0);
CLumsVarValue CLumVariables::m_cLongNull(0L);
CLumsVarValue CLumVariables::m_cStringNull("");

#ifdef LUM_LEAKS_CHECKED
namespace
{
// A value keeps its text's pointer shifted, where the leak checker does not see it. The
// null text lives to the end of the process; a fuzzer that checks for leaks between
// its inputs would take it for one.
[[maybe_unused]] const bool s_fNullTextKept =
    (__lsan_ignore_object(static_cast<const char*>(*CLumVariables::GetNullValue("$"))), true);
} // namespace
#endif

CLumVariables::CLumVariables() = default;

CLumVariables::CLumVariables(const CLumVariables& src) : CLumObject()
{
    *this = src;
}

CLumVariables::~CLumVariables()
{
    m_map.ForEachValue([](CLumsVarValue* pValue) noexcept { delete pValue; });
}

void CLumVariables::Clear() noexcept
{
    m_map.ForEachValue([](CLumsVarValue* pValue) noexcept { delete pValue; });
    m_map.Reset();
    m_nGeneration = NextGeneration();
    m_nScopedElements = 0;
}

CLumVariables& CLumVariables::operator=(const CLumVariables& src)
{
    if (this == &src)
        return *this;
    for (const auto& entry : src.m_map)
    {
        CLumsVarValue* pValue = new CLumsVarValue();
        if (entry.m_value != nullptr)
            *pValue = *entry.m_value;
        SetValue(entry.m_strKey.c_str(), pValue);
    }
    return *this;
}

void CLumVariables::SetValue(const char* pszName, CLumsVarValue* pValue)
{
    CLumsVarValue** pp = m_map.Find(pszName);
    if (pp == nullptr)
    {
        std::string_view key(pszName);
        m_map.Insert(key, pValue);
        Inserted(key);
        return;
    }
    if (*pp == pValue)
        return;
    if (*pp == nullptr || pValue == nullptr)
    {
        delete *pp;
        *pp = pValue;
        m_nGeneration = NextGeneration();
        return;
    }
    (*pp)->Swap(*pValue);
    delete pValue;
}

CLumsVarValue* CLumVariables::Obtain(std::string_view key)
{
    CLumsVarValue** pp = m_map.Find(key);
    if (pp == nullptr)
    {
        std::unique_ptr<CLumsVarValue> pValue(new CLumsVarValue());
        m_map.Insert(key, pValue.get());
        Inserted(key);
        return pValue.release();
    }
    if (*pp == nullptr)
    {
        *pp = new CLumsVarValue();
        m_nGeneration = NextGeneration();
    }
    return *pp;
}

void CLumVariables::Inserted(std::string_view key, bool fElement)
{
    // Only a scoped key can hide a variable that a name resolved to before.
    if (key.empty() || key[0] != '@')
        return;
    m_nGeneration = NextGeneration();
    if (fElement || key.find(':') != std::string_view::npos)
        ++m_nScopedElements;
}

uint64_t CLumVariables::NextGeneration()
{
    static std::atomic<uint64_t> s_nGeneration{0};
    return ++s_nGeneration;
}

void CLumVariables::SetDimension(const char*, CLumsVarValue*) {}

size_t CLumVariables::MakeName(char* pszBuffer, std::string_view name, const long* pIndices) noexcept
{
    size_t n = name.size() < MAX_KEY ? name.size() : MAX_KEY;
    memcpy(pszBuffer, name.data(), n);
    if (pIndices != nullptr)
    {
        for (int i = 0; i < MAX_INDICES && pIndices[i] != 0; ++i)
        {
            char digits[24];
            size_t nDigits = LumFormatLong(digits, pIndices[i]);
            // A key that would not fit is cut; it stays a key of its own.
            if (n + 1 + nDigits > MAX_KEY)
                break;
            pszBuffer[n++] = ':';
            memcpy(pszBuffer + n, digits, nDigits);
            n += nDigits;
        }
    }
    pszBuffer[n] = '\0';
    return n;
}

CLumsVarValue* CLumVariables::GetNullValue(std::string_view name)
{
    char c = name.empty() ? '\0' : name.back();
    if (c == '$')
        return &m_cStringNull;
    if (c == '%')
        return &m_cLongNull;
    return &m_cDoubleNull;
}

CLumsVarValue* CLumVariables::Find(const char* pszName, const long* pIndices) const
{
    CLumsVarValue* const* pp;
    if (pIndices == nullptr || pIndices[0] == 0)
        pp = m_map.Find(std::string_view(pszName, strnlen(pszName, MAX_KEY))); // cut as MakeName cuts
    else
    {
        char key[MAX_KEY + 1];
        size_t n = MakeName(key, pszName, pIndices);
        pp = m_map.Find(std::string_view(key, n));
    }
    return pp ? *pp : nullptr;
}

CLumsVarValue* CLumVariables::FindComposed(std::string_view name, const long* pIndices) const
{
    char key[MAX_KEY + 1];
    CLumsVarValue* const* pp = m_map.Find(std::string_view(key, MakeName(key, name, pIndices)));
    return pp ? *pp : nullptr;
}

CLumsVarValue* CLumVariables::ObtainElement(std::string_view name, const long* pIndices,
                                            CLumElementCache& cache)
{
    if (!IsSimpleElement(name, pIndices))
    {
        char key[MAX_KEY + 1];
        return Obtain(std::string_view(key, MakeName(key, name, pIndices)));
    }
    return ObtainElement(name, static_cast<uint32_t>(pIndices[0]), cache);
}

CLumsVarValue* CLumVariables::ObtainElement(std::string_view name, uint32_t nIndex, CLumElementCache& cache)
{
    bool fInserted = false;
    CLumsVarValue*& pValue = m_map.ObtainElement(name, nIndex, fInserted, cache);
    if (pValue == nullptr)
    {
        pValue = new CLumsVarValue();
        // A new key, or a variable's object replaced, as SetValue does it; only a
        // scoped name is news to the name caches.
        if (!fInserted)
            m_nGeneration = NextGeneration();
        else if (name[0] == '@')
            Inserted(name, true);
    }
    return pValue;
}

CLumsVarValue* CLumVariables::GetValue(const char* pszName, const long* pIndices) const
{
    return LumFrame(FILE_LABEL, "CLumVariables::GetValue()", [&] {
        CLumsVarValue* pValue = Find(pszName, pIndices);
        return pValue ? pValue : GetNullValue(pszName);
    });
}

int CLumVariables::IsDefined(const char* pszName, const long* pIndices) const
{
    return LumFrame(FILE_LABEL, "CLumVariables::IsDefined()",
                    [&] { return Find(pszName, pIndices) != nullptr ? 1 : 0; });
}

void CLumVariables::MakeString(std::string* pstr) const
{
    LumFrame(FILE_LABEL, "CLumVariables::MakeString()", [&] {
        char number[400];
        for (const auto& entry : m_map)
        {
            const CLumsVarValue* pValue = entry.m_value;
            if (pValue == nullptr)
                continue;
            const char* pszPrefix;
            size_t nNumber = 0;
            switch (pValue->GetType())
            {
            case CLumsVarValue::VT_STRING:
                pszPrefix = "S:";
                break;
            case CLumsVarValue::VT_LONG:
                pszPrefix = "L:";
                nNumber = LumFormatLong(number, pValue->GetLong());
                break;
            case CLumsVarValue::VT_DOUBLE:
                pszPrefix = "D:";
                nNumber = LumFormatDouble(number, pValue->GetDouble());
                break;
            default:
                continue;
            }
            pstr->append(pszPrefix, 2).append(entry.m_strKey).append(1, '=');
            if (pValue->GetType() == CLumsVarValue::VT_STRING)
                pstr->append(pValue->GetText(), pValue->GetTextLength());
            else
                pstr->append(number, nNumber);
            pstr->append(1, '\n');
        }
    });
}

void CLumVariables::SetValuesFromString(const char* pszText)
{
    LumFrame(FILE_LABEL, "CLumVariables::SetValuesFromString()", [&] {
        const char* p = pszText;
        while (p != nullptr && *p != '\0')
        {
            const char* pszEnd = strchr(p, '\n');
            if (pszEnd == nullptr)
                throw std::runtime_error("line without newline");
            const char* pszSep = static_cast<const char*>(memchr(p, '=', static_cast<size_t>(pszEnd - p)));
            if (pszSep == nullptr || pszSep - p < 2)
                throw std::runtime_error("line without separator");
            CLumsVarValue* pValue = new CLumsVarValue();
            switch (*p)
            {
            case 'D':
                *pValue = LumAtof(pszSep + 1);
                break;
            case 'L':
                *pValue = static_cast<long>(LumAtol(pszSep + 1));
                break;
            case 'S':
                pValue->SetString(pszSep + 1, static_cast<size_t>(pszEnd - pszSep - 1));
                break;
            default:
                break;
            }
            std::string strName(p + 2, static_cast<size_t>(pszSep - p - 2));
            p = pszEnd + 1;
            SetValue(strName.c_str(), pValue);
        }
    });
}
