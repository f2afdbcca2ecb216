#include <lumbasic/LumVariables.h>

#include "core/LumFrame.h"
#include "core/LumSanitizers.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <stdexcept>

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
    Clear();
}

void CLumVariables::CountRecords(int64_t nRecords) noexcept
{
    LumValueBytes() += nRecords * static_cast<int64_t>(sizeof(CLumsVarValue));
}

void CLumVariables::Clear() noexcept
{
    CountRecords(-static_cast<int64_t>(m_map.GetCount() - m_nNoValues));
    m_nNoValues = 0;
    m_map.Reset();
    m_nGeneration = NextGeneration();
    m_nScopedElements = 0;
}

CLumVariables& CLumVariables::operator=(const CLumVariables& src)
{
    if (this == &src)
        return *this;
    for (const auto& entry : src.GetMap())
    {
        CLumsVarValue* pValue = new CLumsVarValue();
        if (entry.m_value != nullptr)
            *pValue = *entry.m_value;
        SetValue(entry.m_strKey.c_str(), pValue);
    }
    return *this;
}

void CLumVariables::Revive(CLumsVarValue& value) noexcept
{
    value = CLumsVarValue();
    --m_nNoValues;
    CountRecords(1);
    m_nGeneration = NextGeneration();
}

void CLumVariables::SetValue(const char* pszName, CLumsVarValue* pValue)
{
    std::unique_ptr<CLumsVarValue> pOwned(pValue);
    std::string_view key(pszName);
    CLumsVarValue* pStored = m_map.Find(key);
    if (pStored != nullptr && pStored == pValue)
    {
        // The object that is stored there already.
        pOwned.release();
        return;
    }
    if (pStored == nullptr)
    {
        pStored = &m_map.Insert(key, CLumsVarValue());
        CountRecords(1);
        Inserted(key);
    }
    else if (pStored->HasNoValue())
    {
        if (pValue == nullptr)
            return;
        Revive(*pStored);
    }
    if (pValue == nullptr)
    {
        pStored->SetNoValue();
        ++m_nNoValues;
        CountRecords(-1);
        m_nGeneration = NextGeneration();
        return;
    }
    pStored->Swap(*pValue);
}

CLumsVarValue* CLumVariables::Obtain(std::string_view key)
{
    CLumsVarValue* pStored = m_map.Find(key);
    if (pStored == nullptr)
    {
        pStored = &m_map.Insert(key, CLumsVarValue());
        CountRecords(1);
        Inserted(key);
    }
    else if (pStored->HasNoValue())
        Revive(*pStored);
    return pStored;
}

void CLumVariables::TakeBackNewestElement() noexcept
{
    m_map.TakeBackNewestElement([this](const CLumsVarValue& value) noexcept {
        if (value.HasNoValue())
            --m_nNoValues;
        else
            CountRecords(-1);
    });
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
    if (pIndices == nullptr || pIndices[0] == 0)
        return Lookup(std::string_view(pszName, strnlen(pszName, MAX_KEY))); // cut as MakeName cuts
    char key[MAX_KEY + 1];
    return Lookup(std::string_view(key, MakeName(key, pszName, pIndices)));
}

CLumsVarValue* CLumVariables::FindComposed(std::string_view name, const long* pIndices) const
{
    char key[MAX_KEY + 1];
    return Lookup(std::string_view(key, MakeName(key, name, pIndices)));
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
    CLumsVarValue& value = m_map.ObtainElement(name, nIndex, fInserted, cache);
    if (fInserted)
    {
        CountRecords(1);
        // Only a scoped name is news to the name caches.
        if (name[0] == '@')
            Inserted(name, true);
    }
    else if (value.HasNoValue())
        Revive(value);
    return &value;
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
        for (const auto& entry : GetMap())
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
