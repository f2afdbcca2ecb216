// The variable store: a map from a name to an owned value. An array element is an
// entry under the base name followed by ":" and each index; locals and parameters
// are entries under "@procedure@name".
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

    // Stores `pValue` under exactly this key and takes it over. A variable that is
    // there already keeps its object, which takes the new content; `pValue` is freed.
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
    // Entries in iteration order, for hosts that walk the store.
    const CLumStringMap<CLumsVarValue*>& GetMap() const { return m_map; }

    // The entry under exactly this key, or null; no composing, no null value.
    CLumsVarValue* Lookup(std::string_view key) const
    {
        CLumsVarValue* const* pp = m_map.Find(key);
        return pp ? *pp : nullptr;
    }
    bool Contains(std::string_view key) const { return m_map.Find(key) != nullptr; }
    // What Find(name, indices) gives, found without composing the key where that can
    // be; `cache` remembers where the name's elements are, for the next element.
    CLumsVarValue* FindElement(std::string_view name, const long* pIndices, CLumElementCache& cache) const
    {
        if (!IsSimpleElement(name, pIndices))
            return FindComposed(name, pIndices);
        // The cache is the caller's; the map stays as it is.
        CLumsVarValue* const* pp = const_cast<CLumStringMap<CLumsVarValue*>&>(m_map).FindElement(
            name, static_cast<uint32_t>(pIndices[0]), cache);
        return pp ? *pp : nullptr;
    }
    // The same for one index from 1 to below MAX_ELEMENT_INDEX and a name not empty and
    // at most MAX_KEY - 11 bytes long.
    CLumsVarValue* FindElement(std::string_view name, uint32_t nIndex, CLumElementCache& cache) const
    {
        CLumsVarValue* const* pp =
            const_cast<CLumStringMap<CLumsVarValue*>&>(m_map).FindElement(name, nIndex, cache);
        return pp ? *pp : nullptr;
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
    void TakeBackNewestElement() noexcept { delete m_map.TakeBackNewestElement(); }

    // One index that the key holds in full: the map finds the element by name and number.
    static bool IsSimpleElement(std::string_view name, const long* pIndices)
    {
        return pIndices[0] > 0 &&
               pIndices[0] < static_cast<long>(CLumStringMap<CLumsVarValue*>::MAX_ELEMENT_INDEX) &&
               (MAX_INDICES == 1 || pIndices[1] == 0) && !name.empty() && name.size() + 11 <= MAX_KEY;
    }

    CLumsVarValue* FindComposed(std::string_view name, const long* pIndices) const;

    CLumStringMap<CLumsVarValue*> m_map;
    uint64_t m_nGeneration = NextGeneration();
    size_t m_nScopedElements = 0;

    // A key was added; `fElement`: an element's, given by the element's name alone.
    void Inserted(std::string_view key, bool fElement = false);

    static CLumsVarValue m_cDoubleNull;
    static CLumsVarValue m_cLongNull;
    static CLumsVarValue m_cStringNull;
};
