// The variable store: a map from a name to an owned value. An array element is an
// entry under the base name followed by ":" and each index; locals and parameters
// are entries under "@procedure@name".
//
// The store holds each value in its own memory, beside its key or in its array's page,
// not as an object of its own: an element then costs its value's 24 bytes and little
// more. A variable keeps its object, at the same address, for as long as the store
// is not cleared; what a host hands to SetValue is taken over and freed.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>
#include <lumbasic/LumStringMap.h>
#include <lumbasic/LumsVarValue.h>

#include <cstdint>
#include <string>
#include <string_view>

class CLumVariables;

// Where a name was found last: in which store, at which generation of it and in which
// scope. While all three are the same the name still resolves to that variable.
struct LUM_API CLumNameCache
{
    const CLumVariables* m_pStore = nullptr;
    uint64_t m_nGeneration = 0;
    uint64_t m_nScope = 0;
    CLumsVarValue* m_pValue = nullptr;
};

class LUM_API CLumVariables : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumVariables)

public:
    // Longest composed key, without its terminator.
    static constexpr size_t MAX_KEY = 255;
    // Most indices an index list can hold; a 0 ends it earlier.
    static constexpr int MAX_INDICES = 6;

    CLumVariables();
    CLumVariables(const CLumVariables& src);
    ~CLumVariables() override;
    // Merges: deep copies of the source's entries replace or join the target's.
    CLumVariables& operator=(const CLumVariables& src);

    // Stores the content of `pValue` under exactly this key and frees it; a variable
    // keeps its object, which takes the new content. Null leaves the key in the store
    // with no value: GetValue then gives a null value and Find null, until a store
    // into it.
    void SetValue(const char* pszName, CLumsVarValue* pValue);
    // Arrays have no storage of their own: this does nothing and takes no ownership.
    void SetDimension(const char* pszName, CLumsVarValue* pDimension);
    // The stored value, or a shared null value by the name's last character. The
    // pointer stays the store's. The null values are shared by every store on every
    // thread and are never changed: a caller must not change one either.
    CLumsVarValue* GetValue(const char* pszName, const long* pIndices) const;
    int IsDefined(const char* pszName, const long* pIndices) const;
    // The entry for the composed key, or null when there is none.
    CLumsVarValue* Find(const char* pszName, const long* pIndices) const;

    // Appends the text form, a line per variable.
    virtual void MakeString(std::string* pstr) const;
    // Merges the lines of a text form into the store.
    virtual void SetValuesFromString(const char* pszText);

    // Empties the store, which is then as a new one to every reader, name cache and
    // element cache: a generation of its own and no key. Its first blocks of memory
    // stay, so that a host that fills a store for each of many runs allocates little.
    void Clear() noexcept;

    size_t GetCount() const { return m_map.GetCount(); }
    // Changes whenever a scoped key ("@...") is added or a variable's object is
    // replaced or removed: a name that resolved to a variable resolves to the same
    // one while the generation is the same. A name that resolved to nothing must be
    // looked up again, as any new key may be its. No two stores share a generation.
    uint64_t GetGeneration() const { return m_nGeneration; }
    // An entry as a walk of the store gives it: the key, and the value, null where the
    // key holds none.
    struct Entry
    {
        CLumKey m_strKey;
        CLumsVarValue* m_value;
    };
    // The entries in iteration order, for hosts that walk the store; valid while the
    // store is unchanged.
    class Entries
    {
    public:
        using MapIterator = CLumStringMap<CLumsVarValue>::const_iterator;
        class Iterator
        {
        public:
            explicit Iterator(MapIterator it) : m_it(it) {}
            // May allocate the bytes of an element's key, and so throw std::bad_alloc.
            Entry operator*() const
            {
                auto entry = *m_it;
                return Entry{entry.m_strKey, Present(const_cast<CLumsVarValue*>(&entry.m_value))};
            }
            Iterator& operator++()
            {
                ++m_it;
                return *this;
            }
            bool operator!=(const Iterator& r) const { return m_it != r.m_it; }
            bool operator==(const Iterator& r) const { return m_it == r.m_it; }

        private:
            MapIterator m_it;
        };
        explicit Entries(const CLumStringMap<CLumsVarValue>& map) : m_map(map) {}
        Iterator begin() const { return Iterator(m_map.begin()); }
        Iterator end() const { return Iterator(m_map.end()); }

    private:
        const CLumStringMap<CLumsVarValue>& m_map;
    };
    Entries GetMap() const { return Entries(m_map); }

    // The entry under exactly this key, or null; no composing, no null value.
    CLumsVarValue* Lookup(std::string_view key) const
    {
        return Present(const_cast<CLumsVarValue*>(m_map.Find(key)));
    }
    bool Contains(std::string_view key) const { return m_map.Find(key) != nullptr; }
    // What Find(name, indices) gives, found without composing the key where that can
    // be; `cache` remembers where the name's elements are, for the next element.
    CLumsVarValue* FindElement(std::string_view name, const long* pIndices, CLumElementCache& cache) const
    {
        if (!IsSimpleElement(name, pIndices))
            return FindComposed(name, pIndices);
        return FindElement(name, static_cast<uint32_t>(pIndices[0]), cache);
    }
    // The same for one index from 1 to below MAX_ELEMENT_INDEX and a name not empty and
    // at most MAX_KEY - 11 bytes long.
    CLumsVarValue* FindElement(std::string_view name, uint32_t nIndex, CLumElementCache& cache) const
    {
        // The cache is the caller's; the map stays as it is.
        return Present(const_cast<CLumStringMap<CLumsVarValue>&>(m_map).FindElement(name, nIndex, cache));
    }
    // The element under the key that name and indices compose, made empty where there
    // is none, as Obtain would make it.
    CLumsVarValue* ObtainElement(std::string_view name, const long* pIndices, CLumElementCache& cache);
    // The same for one index from 1 to below MAX_ELEMENT_INDEX and a name not empty and
    // at most MAX_KEY - 11 bytes long.
    CLumsVarValue* ObtainElement(std::string_view name, uint32_t nIndex, CLumElementCache& cache);
    // The variable under exactly this key, made empty where there is none (as
    // SetValue would make it): one lookup where Lookup and SetValue take two.
    CLumsVarValue* Obtain(std::string_view key);
    // Whether a scoped key ever named an element ("@procedure@name:index"): while
    // none did, an element has no local and is looked up by its global key alone.
    bool HasScopedElements() const { return m_nScopedElements != 0; }
    // The shared null value for a name by its last character.
    static CLumsVarValue* GetNullValue(std::string_view name);
    // Whether a value is one of the shared null values, which stand for no variable.
    static bool IsNullValue(const CLumsVarValue* pValue)
    {
        return pValue == &m_cDoubleNull || pValue == &m_cLongNull || pValue == &m_cStringNull;
    }
    // Composes name and index list into `pszBuffer` (MAX_KEY + 1 bytes); gives the length.
    static size_t MakeName(char* pszBuffer, std::string_view name, const long* pIndices) noexcept;

    // A number no store or table had before.
    static uint64_t NextGeneration();

private:
    friend class CLumFastForm;

    // Takes back the element the last ObtainElement of one index made, the newest key:
    // a closed run that gives up puts the store back as it found it.
    void TakeBackNewestElement() noexcept;

    // One index that the key holds in full: the map finds the element by name and number.
    static bool IsSimpleElement(std::string_view name, const long* pIndices)
    {
        return pIndices[0] > 0 &&
               pIndices[0] < static_cast<long>(CLumStringMap<CLumsVarValue>::MAX_ELEMENT_INDEX) &&
               (MAX_INDICES == 1 || pIndices[1] == 0) && !name.empty() && name.size() + 11 <= MAX_KEY;
    }

    CLumsVarValue* FindComposed(std::string_view name, const long* pIndices) const;

    // The value of an entry the map found, null where there is none or it holds none.
    static CLumsVarValue* Present(CLumsVarValue* pValue) noexcept
    {
        return pValue != nullptr && !pValue->HasNoValue() ? pValue : nullptr;
    }
    // An entry's value, made or dropped: the memory budget counts a value's record as
    // it counted an object of its own.
    static void CountRecords(int64_t nRecords) noexcept;
    // An entry that held no value takes one: to the name caches, a new object.
    void Revive(CLumsVarValue& value) noexcept;

    CLumStringMap<CLumsVarValue> m_map;
    uint64_t m_nGeneration = NextGeneration();
    size_t m_nScopedElements = 0;
    // Entries that hold no value.
    size_t m_nNoValues = 0;

    // A key was added; `fElement`: an element's, given by the element's name alone.
    void Inserted(std::string_view key, bool fElement = false);

    static CLumsVarValue m_cDoubleNull;
    static CLumsVarValue m_cLongNull;
    static CLumsVarValue m_cStringNull;
};
