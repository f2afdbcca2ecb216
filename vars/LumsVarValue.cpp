#include <lumbasic/LumsVarValue.h>

#include <lumbasic/LumVariables.h>

#include "core/LumFrame.h"
#include "core/LumFreeList.h"
#include "vars/LumTextGrowth.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <locale.h>
#include <new>

LUM_IMPLEMENT_RUNTIME(CLumsVarValue, CLumObject, nullptr)

namespace
{
locale_t CLocale()
{
    static locale_t s_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return s_locale;
}

bool IsLongLike(const CLumsVarValue& v)
{
    return v.GetType() == CLumsVarValue::VT_LONG || v.GetType() == CLumsVarValue::VT_EMPTY;
}

[[noreturn]] void RaiseStringOperator(const char* pszOperator)
{
    LumRaise(LUM_MSG_STRING_OPERATOR, pszOperator);
}

// The text forms of the null numbers, as LumFormatLong and LumFormatDouble give 0.
const char* const NULL_LONG_TEXT = "0";
const char* const NULL_DOUBLE_TEXT = "0.000000";

int32_t WrapLong(int64_t n)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(n)));
}
} // namespace

// Out of line: inlined with a literal, GCC 12 warns of an overlap it imagines.
CLumsVarValue::CLumsVarValue(const char* psz) : m_nLong(0), m_nTextAndType(VT_STRING)
{
    Text().assign(psz ? psz : "");
}

int64_t& LumValueBytes() noexcept
{
    static thread_local int64_t s_nBytes = 0;
    return s_nBytes;
}

void* CLumsVarValue::operator new(size_t n)
{
    void* p = CLumFreeList<sizeof(CLumsVarValue)>::Alloc(n);
    LumValueBytes() += static_cast<int64_t>(n);
    return p;
}

void CLumsVarValue::operator delete(void* p, size_t n) noexcept
{
    LumValueBytes() -= static_cast<int64_t>(n);
    CLumFreeList<sizeof(CLumsVarValue)>::Free(p, n);
}

namespace
{
// The string objects of values come and go with the values: a free list of their own.
using CTextList = CLumFreeList<sizeof(LumText)>;

// Text buffers of up to eight steps (128 bytes), the texts made and dropped at nearly
// every step of a run, come from lists of their size in steps.
constexpr size_t TEXT_STEP = 16;

template <size_t STEPS> void* AllocSteps()
{
    return CLumFreeList<STEPS * TEXT_STEP>::Alloc(STEPS * TEXT_STEP);
}

template <size_t STEPS> void FreeSteps(void* p) noexcept
{
    CLumFreeList<STEPS * TEXT_STEP>::Free(p, STEPS * TEXT_STEP);
}

// The lists by a buffer's size in steps, less one.
void* (*const s_apAlloc[])() = {AllocSteps<1>, AllocSteps<2>, AllocSteps<3>, AllocSteps<4>,
                                AllocSteps<5>, AllocSteps<6>, AllocSteps<7>, AllocSteps<8>};
void (*const s_apFree[])(void*) noexcept = {FreeSteps<1>, FreeSteps<2>, FreeSteps<3>, FreeSteps<4>,
                                            FreeSteps<5>, FreeSteps<6>, FreeSteps<7>, FreeSteps<8>};

size_t TextSteps(size_t nBytes)
{
    return nBytes == 0 ? 1 : (nBytes + TEXT_STEP - 1) / TEXT_STEP;
}
} // namespace

void* LumTextAlloc(size_t nBytes)
{
    size_t nSteps = TextSteps(nBytes);
    return nSteps <= std::size(s_apAlloc) ? s_apAlloc[nSteps - 1]() : ::operator new(nBytes);
}

void LumTextFree(void* p, size_t nBytes) noexcept
{
    size_t nSteps = TextSteps(nBytes);
    if (nSteps <= std::size(s_apFree))
        s_apFree[nSteps - 1](p);
    else
        ::operator delete(p);
}

// Apart from its callers: the readers of a value's number would otherwise save
// registers for it at every call.
__attribute__((noinline)) LumText* CLumsVarValue::NewText()
{
    static_assert(sizeof(CLumsVarValue) == 3 * sizeof(void*));
    void* p = CTextList::Alloc(sizeof(LumText));
    // The pointer shares a word with the type: it must come back whole.
    if ((reinterpret_cast<uintptr_t>(p) << TEXT_SHIFT >> TEXT_SHIFT) != reinterpret_cast<uintptr_t>(p))
    {
        CTextList::Free(p, sizeof(LumText));
        throw std::bad_alloc();
    }
    LumText* pText = new (p) LumText();
    LumValueBytes() += static_cast<int64_t>(sizeof(LumText));
    return pText;
}

void CLumsVarValue::FreeText(LumText* pStr) noexcept
{
    pStr->~LumText();
    LumValueBytes() -= static_cast<int64_t>(sizeof(LumText));
    CTextList::Free(pStr, sizeof(LumText));
}

size_t LumFormatLong(char* pszBuffer, long n)
{
    // Indices and counters, the numbers formatted most, are small and positive: two
    // digits at a time from a table.
    static constexpr char s_aPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    if (n >= 0 && n < 100000000)
    {
        uint32_t u = static_cast<uint32_t>(n);
        size_t nDigits = u < 10         ? 1
                         : u < 100      ? 2
                         : u < 1000     ? 3
                         : u < 10000    ? 4
                         : u < 100000   ? 5
                         : u < 1000000  ? 6
                         : u < 10000000 ? 7
                                        : 8;
        pszBuffer[nDigits] = '\0';
        char* p = pszBuffer + nDigits;
        while (u >= 100)
        {
            uint32_t nPair = (u % 100) * 2;
            u /= 100;
            *--p = s_aPairs[nPair + 1];
            *--p = s_aPairs[nPair];
        }
        if (u >= 10)
        {
            *--p = s_aPairs[u * 2 + 1];
            *--p = s_aPairs[u * 2];
        }
        else
            *--p = static_cast<char>('0' + u);
        return nDigits;
    }
    std::to_chars_result r = std::to_chars(pszBuffer, pszBuffer + 23, n);
    *r.ptr = '\0';
    return static_cast<size_t>(r.ptr - pszBuffer);
}

size_t LumFormatDouble(char* pszBuffer, double d)
{
    // The sign of a NaN depends on the order in which a compiler takes the operands,
    // which differs between builds and between evaluating paths: it is not shown.
    if (std::isnan(d))
        d = std::numeric_limits<double>::quiet_NaN();
    std::to_chars_result r = std::to_chars(pszBuffer, pszBuffer + 399, d, std::chars_format::fixed, 6);
    if (r.ec != std::errc())
    {
        strcpy(pszBuffer, "0.000000");
        return 8;
    }
    *r.ptr = '\0';
    return static_cast<size_t>(r.ptr - pszBuffer);
}

double LumAtof(const char* psz) noexcept
{
    return psz ? strtod_l(psz, nullptr, CLocale()) : 0.0;
}

int32_t LumAtol(const char* psz) noexcept
{
    if (psz == nullptr)
        return 0;
    long n = strtol_l(psz, nullptr, 10, CLocale());
    if (n > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    if (n < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(n);
}

int32_t LumDoubleToLong(double d) noexcept
{
    if (std::isnan(d))
        return 0;
    if (d >= 2147483647.0)
        return std::numeric_limits<int32_t>::max();
    if (d <= -2147483648.0)
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(d);
}

int32_t CLumsVarValue::GetLong() const noexcept
{
    switch (GetType())
    {
    case VT_LONG:
        return m_nLong;
    case VT_DOUBLE:
        return LumDoubleToLong(m_dDouble);
    case VT_STRING:
        return LumAtol(Text().c_str());
    default:
        return 0;
    }
}

double CLumsVarValue::GetDouble() const noexcept
{
    switch (GetType())
    {
    case VT_LONG:
        return m_nLong;
    case VT_DOUBLE:
        return m_dDouble;
    case VT_STRING:
        return LumAtof(Text().c_str());
    default:
        return 0.0;
    }
}

const char* CLumsVarValue::GetText() const
{
    char buffer[400];
    switch (GetType())
    {
    case VT_STRING:
        return Text().c_str();
    case VT_LONG:
        // The shared null values are read by all threads at once: never written.
        if (CLumVariables::IsNullValue(this))
            return NULL_LONG_TEXT;
        Text().assign(buffer, LumFormatLong(buffer, m_nLong));
        return TextPointer()->c_str();
    case VT_DOUBLE:
        if (CLumVariables::IsNullValue(this))
            return NULL_DOUBLE_TEXT;
        Text().assign(buffer, LumFormatDouble(buffer, m_dDouble));
        return TextPointer()->c_str();
    default:
        if (TextPointer() != nullptr)
            TextPointer()->clear();
        return "";
    }
}

size_t CLumsVarValue::GetTextLength() const
{
    const char* psz = GetText();
    if (GetType() == VT_EMPTY)
        return 0;
    const LumText* pText = TextPointer();
    return pText != nullptr && psz == pText->c_str() ? pText->size() : strlen(psz);
}

void LumAppendTexts(LumText& text, const std::string_view* pParts, size_t nParts)
{
    size_t nLength = text.size();
    for (size_t i = 0; i < nParts; ++i)
        nLength += pParts[i].size();
    size_t nRoom = LumTextRoom(nLength);
    // A fresh text of at least LUM_TEXT_CLASSES_FROM bytes gets exactly the room it
    // reserves, so a text with that room is as if freshly built.
    if (nRoom >= LUM_TEXT_CLASSES_FROM && text.capacity() == nRoom)
    {
        for (size_t i = 0; i < nParts; ++i)
            text.append(pParts[i].data(), pParts[i].size());
        return;
    }
    LumText str;
    str.reserve(nRoom);
    str.append(text);
    for (size_t i = 0; i < nParts; ++i)
        str.append(pParts[i].data(), pParts[i].size());
    text.swap(str);
}

LumText& CLumsVarValue::GetStringRef()
{
    if (GetType() != VT_STRING)
    {
        GetText();
        SetType(VT_STRING);
    }
    return Text();
}

bool CLumsVarValue::IsTrue() const noexcept
{
    switch (GetType())
    {
    case VT_LONG:
        return m_nLong != 0;
    case VT_DOUBLE:
        return m_dDouble != 0.0;
    case VT_STRING:
        return !Text().empty();
    default:
        return false;
    }
}

int CLumsVarValue::Compare(const CLumsVarValue& l, const CLumsVarValue& r, const char* pszOperator)
{
    bool fLeftString = l.GetType() == VT_STRING;
    bool fRightString = r.GetType() == VT_STRING;
    if (fLeftString && fRightString)
    {
        int n = l.Text().compare(r.Text());
        return n < 0 ? -1 : (n > 0 ? 1 : 0);
    }
    if (fLeftString || fRightString)
        LumRaise(LUM_MSG_STRING_COMPARE, pszOperator);
    if (IsLongLike(l) && IsLongLike(r))
    {
        int32_t a = l.GetLong(), b = r.GetLong();
        return a < b ? -1 : (a > b ? 1 : 0);
    }
    double a = l.GetDouble(), b = r.GetDouble();
    if (a < b)
        return -1;
    if (a > b)
        return 1;
    // NaN is neither less nor greater; it counts as unequal to everything.
    return a == b ? 0 : 2;
}

int CLumsVarValue::operator==(const CLumsVarValue& r) const
{
    return Compare(*this, r, "=") == 0;
}
int CLumsVarValue::operator!=(const CLumsVarValue& r) const
{
    return Compare(*this, r, "<>") != 0;
}
int CLumsVarValue::operator<(const CLumsVarValue& r) const
{
    return Compare(*this, r, "<") == -1;
}
int CLumsVarValue::operator<=(const CLumsVarValue& r) const
{
    int n = Compare(*this, r, "<=");
    return n == -1 || n == 0;
}
int CLumsVarValue::operator>(const CLumsVarValue& r) const
{
    return Compare(*this, r, ">") == 1;
}
int CLumsVarValue::operator>=(const CLumsVarValue& r) const
{
    int n = Compare(*this, r, ">=");
    return n == 1 || n == 0;
}

void CLumsVarValue::Add(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out)
{
    if (l.GetType() == VT_STRING || r.GetType() == VT_STRING)
    {
        // Build aside first: `out` may be an operand.
        LumText str;
        const char* pszLeft = l.GetText();
        size_t nLeft = l.GetTextLength();
        const char* pszRight = r.GetText();
        size_t nRight = r.GetTextLength();
        str.reserve(LumTextRoom(nLeft + nRight));
        str.append(pszLeft, nLeft).append(pszRight, nRight);
        out.SetType(VT_STRING);
        out.Text().swap(str);
    }
    else if (IsLongLike(l) && IsLongLike(r))
        out = static_cast<long>(WrapLong(static_cast<int64_t>(l.GetLong()) + r.GetLong()));
    else
        out = l.GetDouble() + r.GetDouble();
}

void CLumsVarValue::Subtract(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out)
{
    if (l.GetType() == VT_STRING || r.GetType() == VT_STRING)
        RaiseStringOperator("-");
    if (IsLongLike(l) && IsLongLike(r))
        out = static_cast<long>(WrapLong(static_cast<int64_t>(l.GetLong()) - r.GetLong()));
    else
        out = l.GetDouble() - r.GetDouble();
}

void CLumsVarValue::Multiply(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out)
{
    if (l.GetType() == VT_STRING || r.GetType() == VT_STRING)
        RaiseStringOperator("*");
    if (IsLongLike(l) && IsLongLike(r))
        out = static_cast<long>(WrapLong(static_cast<int64_t>(l.GetLong()) * r.GetLong()));
    else
        out = l.GetDouble() * r.GetDouble();
}

void CLumsVarValue::Divide(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out)
{
    if (l.GetType() == VT_STRING || r.GetType() == VT_STRING)
        RaiseStringOperator("/");
    double dDivisor = r.GetDouble();
    if (dDivisor == 0.0)
        LumRaise(LUM_MSG_DIVISION_BY_ZERO);
    out = l.GetDouble() / dDivisor;
}

CLumsVarValue& CLumsVarValue::operator+=(const CLumsVarValue& r)
{
    Add(*this, r, *this);
    return *this;
}

CLumsVarValue operator+(const CLumsVarValue& l, const CLumsVarValue& r)
{
    CLumsVarValue v;
    CLumsVarValue::Add(l, r, v);
    return v;
}
CLumsVarValue operator-(const CLumsVarValue& l, const CLumsVarValue& r)
{
    CLumsVarValue v;
    CLumsVarValue::Subtract(l, r, v);
    return v;
}
CLumsVarValue operator*(const CLumsVarValue& l, const CLumsVarValue& r)
{
    CLumsVarValue v;
    CLumsVarValue::Multiply(l, r, v);
    return v;
}
CLumsVarValue operator/(const CLumsVarValue& l, const CLumsVarValue& r)
{
    CLumsVarValue v;
    CLumsVarValue::Divide(l, r, v);
    return v;
}
