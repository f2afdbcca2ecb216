// A hash map from byte-string keys to values, for the variable store and the
// procedure table. Lookups take a string_view, so callers can look up a key they
// composed on the stack without allocating. Iteration follows insertion order,
// which stays stable while the map is unchanged. No single entry is ever removed.
//
// A store may hold hundreds of thousands of array elements, so an entry is small:
// its key's bytes live in blocks of the map's own, and entries live in blocks too,
// which never move, so growing the map copies nothing but its slot table.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

template <class T> class CLumStringMap;

// A key of the map: its bytes, zero-terminated, in the map's own blocks.
class CLumKey
{
    template <class T> friend class CLumStringMap;

public:
    CLumKey() = default;
    CLumKey(const char* psz, uint32_t nLength) : m_psz(psz), m_nLength(nLength) {}

    const char* c_str() const noexcept { return m_psz; }
    const char* data() const noexcept { return m_psz; }
    size_t size() const noexcept { return m_nLength; }
    bool empty() const noexcept { return m_nLength == 0; }
    operator std::string_view() const noexcept { return std::string_view(m_psz, m_nLength); }
    std::string str() const { return std::string(m_psz, m_nLength); }
    friend bool operator==(const CLumKey& a, std::string_view b) noexcept { return std::string_view(a) == b; }

private:
    const char* m_psz = "";
    uint32_t m_nLength = 0;
    // The map's hash of the key, which fits where the key would leave padding.
    uint32_t m_nHash = 0;
};

template <class T> class CLumStringMap
{
public:
    struct Entry
    {
        CLumKey m_strKey;
        T m_value;
    };

    CLumStringMap() = default;
    CLumStringMap(const CLumStringMap&) = delete;
    CLumStringMap& operator=(const CLumStringMap&) = delete;

    static uint32_t Hash(std::string_view key) noexcept
    {
        uint32_t h = 2166136261u;
        for (unsigned char c : key)
            h = (h ^ c) * 16777619u;
        return h;
    }

    T* Find(std::string_view key) noexcept { return Find(key, Hash(key)); }
    // A zero-terminated key, measured and hashed in one pass.
    T* Find(const char* pszKey) noexcept
    {
        uint32_t h = 2166136261u;
        const char* p = pszKey;
        for (; *p != '\0'; ++p)
            h = (h ^ static_cast<unsigned char>(*p)) * 16777619u;
        return Find(std::string_view(pszKey, static_cast<size_t>(p - pszKey)), h);
    }
    const T* Find(const char* pszKey) const noexcept
    {
        return const_cast<CLumStringMap*>(this)->Find(pszKey);
    }
    const T* Find(std::string_view key) const noexcept { return const_cast<CLumStringMap*>(this)->Find(key); }

    T* Find(std::string_view key, uint32_t nHash) noexcept
    {
        if (m_aSlots.empty())
            return nullptr;
        size_t nMask = m_aSlots.size() - 1;
        for (size_t i = nHash & nMask;; i = (i + 1) & nMask)
        {
            uint32_t n = m_aSlots[i];
            if (n == EMPTY)
                return nullptr;
            Entry& e = At(n);
            if (e.m_strKey.m_nHash == nHash && e.m_strKey.size() == key.size() &&
                std::char_traits<char>::compare(e.m_strKey.data(), key.data(), key.size()) == 0)
                return &e.m_value;
        }
    }

    // Inserts a key that is not in the map yet.
    T& Insert(std::string_view key, T value)
    {
        uint32_t nHash = Hash(key);
        // At most four slots in five in use: probes stay short, and a store of many
        // elements keeps few empty slots.
        if ((m_nCount + 1) * 5 > m_aSlots.size() * 4)
            Grow();
        if (m_nCount % BLOCK_ENTRIES == 0)
            m_aBlocks.emplace_back(new Entry[BLOCK_ENTRIES]);
        Entry& e = At(static_cast<uint32_t>(m_nCount));
        e.m_strKey = StoreKey(key);
        e.m_strKey.m_nHash = nHash;
        e.m_value = std::move(value);
        Place(static_cast<uint32_t>(m_nCount), nHash);
        ++m_nCount;
        return e.m_value;
    }

    size_t GetCount() const noexcept { return m_nCount; }
    bool IsEmpty() const noexcept { return m_nCount == 0; }
    void RemoveAll() noexcept
    {
        m_aBlocks.clear();
        m_aSlots.clear();
        m_aKeyBlocks.clear();
        m_nCount = 0;
        m_pKeyFree = nullptr;
        m_nKeyFree = 0;
    }

    template <class E, class Map> class Iterator
    {
    public:
        Iterator(Map* pMap, size_t n) : m_pMap(pMap), m_n(n) {}
        E& operator*() const { return m_pMap->At(static_cast<uint32_t>(m_n)); }
        E* operator->() const { return &**this; }
        Iterator& operator++()
        {
            ++m_n;
            return *this;
        }
        bool operator!=(const Iterator& r) const { return m_n != r.m_n; }
        bool operator==(const Iterator& r) const { return m_n == r.m_n; }

    private:
        Map* m_pMap;
        size_t m_n;
    };
    using iterator = Iterator<Entry, CLumStringMap>;
    using const_iterator = Iterator<const Entry, const CLumStringMap>;

    iterator begin() { return iterator(this, 0); }
    iterator end() { return iterator(this, m_nCount); }
    const_iterator begin() const { return const_iterator(this, 0); }
    const_iterator end() const { return const_iterator(this, m_nCount); }

private:
    static constexpr uint32_t EMPTY = ~uint32_t(0);
    static constexpr size_t BLOCK_ENTRIES = 1024;
    static constexpr size_t KEY_BLOCK = 16384;

    Entry& At(uint32_t n) { return m_aBlocks[n / BLOCK_ENTRIES][n % BLOCK_ENTRIES]; }
    const Entry& At(uint32_t n) const { return m_aBlocks[n / BLOCK_ENTRIES][n % BLOCK_ENTRIES]; }

    CLumKey StoreKey(std::string_view key)
    {
        size_t nNeed = key.size() + 1;
        char* p;
        if (nNeed > KEY_BLOCK / 4)
        {
            // A long key gets a block of its own, and the current one stays in use.
            m_aKeyBlocks.emplace_back(new char[nNeed]);
            p = m_aKeyBlocks.back().get();
        }
        else
        {
            if (nNeed > m_nKeyFree)
            {
                m_aKeyBlocks.emplace_back(new char[KEY_BLOCK]);
                m_pKeyFree = m_aKeyBlocks.back().get();
                m_nKeyFree = KEY_BLOCK;
            }
            p = m_pKeyFree;
            m_pKeyFree += nNeed;
            m_nKeyFree -= nNeed;
        }
        if (!key.empty())
            memcpy(p, key.data(), key.size());
        p[key.size()] = '\0';
        return CLumKey(p, static_cast<uint32_t>(key.size()));
    }

    void Place(uint32_t nEntry, uint32_t nHash)
    {
        size_t nMask = m_aSlots.size() - 1;
        size_t i = nHash & nMask;
        while (m_aSlots[i] != EMPTY)
            i = (i + 1) & nMask;
        m_aSlots[i] = nEntry;
    }

    void Grow()
    {
        size_t nSize = m_aSlots.empty() ? 32 : m_aSlots.size() * 2;
        m_aSlots.assign(nSize, EMPTY);
        for (size_t n = 0; n < m_nCount; ++n)
            Place(static_cast<uint32_t>(n), At(static_cast<uint32_t>(n)).m_strKey.m_nHash);
    }

    std::vector<std::unique_ptr<Entry[]>> m_aBlocks;
    std::vector<uint32_t> m_aSlots;
    std::vector<std::unique_ptr<char[]>> m_aKeyBlocks;
    size_t m_nCount = 0;
    char* m_pKeyFree = nullptr;
    size_t m_nKeyFree = 0;
};
