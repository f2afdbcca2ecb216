// The value of every variable, argument and expression result: a string, a
// 32-bit long or a double, typed at run time. A default-constructed value is
// empty, a type of its own that reads as 0, 0.0 and "".
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

// The bytes that values hold on this thread: their records and the text they own. A
// run with a memory budget compares it with what it was when the run began.
LUM_API int64_t& LumValueBytes() noexcept;

// The buffers of value text: small ones from per-thread lists of a few sizes, as texts
// are made and dropped at nearly every step of a run; larger ones from the heap.
LUM_API void* LumTextAlloc(size_t nBytes);
LUM_API void LumTextFree(void* p, size_t nBytes) noexcept;

// The allocator of value text: counts what it hands out in LumValueBytes.
template <class T> struct CLumValueAllocator
{
    using value_type = T;
    CLumValueAllocator() noexcept = default;
    template <class U> CLumValueAllocator(const CLumValueAllocator<U>&) noexcept {}
    T* allocate(size_t n)
    {
        T* p = static_cast<T*>(LumTextAlloc(n * sizeof(T)));
        LumValueBytes() += static_cast<int64_t>(n * sizeof(T));
        return p;
    }
    void deallocate(T* p, size_t n) noexcept
    {
        LumValueBytes() -= static_cast<int64_t>(n * sizeof(T));
        LumTextFree(p, n * sizeof(T));
    }
    template <class U> bool operator==(const CLumValueAllocator<U>&) const noexcept { return true; }
    template <class U> bool operator!=(const CLumValueAllocator<U>&) const noexcept { return false; }
};

// The text of a value.
using LumText = std::basic_string<char, std::char_traits<char>, CLumValueAllocator<char>>;

class LUM_API CLumsVarValue : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumsVarValue)

public:
    enum VarType
    {
        VT_STRING = 0,
        VT_LONG = 1,
        VT_DOUBLE = 2,
        VT_EMPTY = 3,
    };

    CLumsVarValue() noexcept : m_nLong(0), m_nTextAndType(VT_EMPTY) {}
    explicit CLumsVarValue(long n) noexcept : m_nLong(static_cast<int32_t>(n)), m_nTextAndType(VT_LONG) {}
    explicit CLumsVarValue(int n) noexcept : m_nLong(n), m_nTextAndType(VT_LONG) {}
    explicit CLumsVarValue(double d) noexcept : m_dDouble(d), m_nTextAndType(VT_DOUBLE) {}
    explicit CLumsVarValue(const char* psz);
    // Copies skip the text cache of a number: copies happen at every variable read.
    CLumsVarValue(const CLumsVarValue& src)
        : CLumObject(), m_dDouble(src.m_dDouble), m_nTextAndType(static_cast<uintptr_t>(src.GetType()))
    {
        if (src.GetType() == VT_STRING)
            Text() = *src.TextPointer();
    }
    ~CLumsVarValue() override
    {
        if (TextPointer() != nullptr)
            FreeText(TextPointer());
    }

    CLumsVarValue& operator=(const CLumsVarValue& src)
    {
        if (src.GetType() == VT_STRING && &src != this)
            Text() = *src.TextPointer();
        else if (src.GetType() != VT_STRING)
            DropText();
        SetType(src.GetType());
        m_dDouble = src.m_dDouble;
        return *this;
    }
    // A long is 32 bits: a wider number keeps its low 32 bits.
    LUM_INLINE CLumsVarValue& operator=(long n) noexcept
    {
        DropText();
        m_nTextAndType = VT_LONG;
        m_nLong = static_cast<int32_t>(static_cast<uint32_t>(n));
        return *this;
    }
    CLumsVarValue& operator=(int n) noexcept { return *this = static_cast<long>(n); }
    LUM_INLINE CLumsVarValue& operator=(double d) noexcept
    {
        DropText();
        m_nTextAndType = VT_DOUBLE;
        m_dDouble = d;
        return *this;
    }
    CLumsVarValue& operator=(const char* psz)
    {
        Text().assign(psz ? psz : "");
        SetType(VT_STRING);
        return *this;
    }
    CLumsVarValue& operator=(const std::string& str)
    {
        Text().assign(str.data(), str.size());
        SetType(VT_STRING);
        return *this;
    }
    // Exchanges contents; the store uses it to keep a variable's object when it
    // takes a new value, so that pointers to the variable stay valid.
    void Swap(CLumsVarValue& other) noexcept
    {
        std::swap(m_dDouble, other.m_dDouble);
        std::swap(m_nTextAndType, other.m_nTextAndType);
    }
    void SetString(const char* p, size_t n)
    {
        Text().assign(p, n);
        SetType(VT_STRING);
    }

    int GetType() const noexcept { return static_cast<uint8_t>(m_nTextAndType); }
    // The number a long or a double holds, for code that has looked at the type.
    int32_t LongValue() const noexcept { return m_nLong; }
    double DoubleValue() const noexcept { return m_dDouble; }
    bool IsString() const noexcept { return GetType() == VT_STRING; }
    bool IsNumber() const noexcept { return GetType() == VT_LONG || GetType() == VT_DOUBLE; }

    // A double is cut towards zero and saturates; NaN gives 0; a string reads as atol.
    int32_t GetLong() const noexcept;
    // A string reads as atof.
    double GetDouble() const noexcept;
    // The text of a string; a number in its text form ("%ld" or "%f"); empty gives "".
    const char* GetText() const;
    // Length in bytes of GetText().
    size_t GetTextLength() const;

    operator long() const noexcept { return GetLong(); }
    operator double() const noexcept { return GetDouble(); }
    operator const char*() const { return GetText(); }
    // The string content for in-place work; a value that is no string becomes one,
    // holding its text form.
    LumText& GetStringRef();

    // Condition truth: a number when not 0, a string when not empty.
    bool IsTrue() const noexcept;

    // Relations give 1 or 0. A string compared with a number fails.
    int operator==(const CLumsVarValue& r) const;
    int operator!=(const CLumsVarValue& r) const;
    int operator<(const CLumsVarValue& r) const;
    int operator<=(const CLumsVarValue& r) const;
    int operator>(const CLumsVarValue& r) const;
    int operator>=(const CLumsVarValue& r) const;
    int LogicalAnd(const CLumsVarValue& r) const noexcept { return IsTrue() && r.IsTrue(); }
    int LogicalOr(const CLumsVarValue& r) const noexcept { return IsTrue() || r.IsTrue(); }

    CLumsVarValue& operator+=(const CLumsVarValue& r);

    // Arithmetic into `out`, which may be one of the operands.
    static void Add(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out);
    static void Subtract(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out);
    static void Multiply(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out);
    static void Divide(const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out);
    // -1, 0 or 1; `pszOperator` names the operator in the message of a failure.
    static int Compare(const CLumsVarValue& l, const CLumsVarValue& r, const char* pszOperator);

    // Values are made and freed at every node of an evaluation: a per-thread free
    // list keeps that off the general allocator.
    static void* operator new(size_t n);
    static void operator delete(void* p, size_t n) noexcept;

private:
    friend class CLumVariables;

    // The state of a store's entry that holds no value: a host stored null under its
    // key. No value of any type has this word.
    static constexpr uintptr_t NO_VALUE = 0xFF;
    bool HasNoValue() const noexcept { return m_nTextAndType == NO_VALUE; }
    void SetNoValue() noexcept
    {
        DropText();
        m_nTextAndType = NO_VALUE;
    }

    // The type is the low byte of a word whose other bits hold the text's pointer, which
    // a user-space address leaves room for: a value is three words, so a store of many
    // values is smaller, and reading the type is still one byte's load.
    static constexpr unsigned TEXT_SHIFT = 8;
    static constexpr uintptr_t TYPE_BITS = 0xFF;

    union
    {
        int32_t m_nLong;
        double m_dDouble;
    };
    // The string content, or for a number the cache of its text form, with the type.
    // The text is made when first needed, so that a number, most values of a store,
    // carries no string.
    mutable uintptr_t m_nTextAndType;

    LumText* TextPointer() const noexcept { return reinterpret_cast<LumText*>(m_nTextAndType >> TEXT_SHIFT); }
    void SetType(int nType) noexcept
    {
        m_nTextAndType = (m_nTextAndType & ~TYPE_BITS) | static_cast<uintptr_t>(nType);
    }
    LumText& Text() const
    {
        if (TextPointer() == nullptr)
            m_nTextAndType |= reinterpret_cast<uintptr_t>(NewText()) << TEXT_SHIFT;
        return *TextPointer();
    }
    // A value that becomes a number lets its text go: the text it held, however
    // long, is stale, and a memory budget must not count it in one way of running a
    // statement and not in the other.
    LUM_INLINE void DropText() noexcept
    {
        if (TextPointer() != nullptr)
        {
            FreeText(TextPointer());
            m_nTextAndType &= TYPE_BITS;
        }
    }
    static LumText* NewText();
    static void FreeText(LumText* pStr) noexcept;
};

LUM_API CLumsVarValue operator+(const CLumsVarValue& l, const CLumsVarValue& r);
LUM_API CLumsVarValue operator-(const CLumsVarValue& l, const CLumsVarValue& r);
LUM_API CLumsVarValue operator*(const CLumsVarValue& l, const CLumsVarValue& r);
LUM_API CLumsVarValue operator/(const CLumsVarValue& l, const CLumsVarValue& r);

// Number text in the "C" locale, whatever locale the host has set.
LUM_API size_t LumFormatLong(char* pszBuffer, long n);     // "%ld"; buffer of 24 bytes
LUM_API size_t LumFormatDouble(char* pszBuffer, double d); // "%f"; buffer of 400 bytes
LUM_API double LumAtof(const char* psz) noexcept;
LUM_API int32_t LumAtol(const char* psz) noexcept;
LUM_API int32_t LumDoubleToLong(double d) noexcept;
