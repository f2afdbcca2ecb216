// A hash map from byte-string keys to values, for the variable store and the
// procedure table. Lookups take a string_view, so callers can look up a key they
// composed on the stack without allocating. Iteration follows insertion order,
// which stays stable while the map is unchanged. No single entry is ever removed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

template <class T> class CLumStringMap
{
public:
    struct Entry
    {
        std::string m_strKey;
        T m_value;
        uint32_t m_nHash;
    };

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
            int32_t n = m_aSlots[i];
            if (n < 0)
                return nullptr;
            Entry& e = m_aEntries[static_cast<size_t>(n)];
            if (e.m_nHash == nHash && e.m_strKey.size() == key.size() &&
                std::char_traits<char>::compare(e.m_strKey.data(), key.data(), key.size()) == 0)
                return &e.m_value;
        }
    }

    // Inserts a key that is not in the map yet.
    T& Insert(std::string_view key, T value)
    {
        uint32_t nHash = Hash(key);
        if ((m_aEntries.size() + 1) * 2 > m_aSlots.size())
            Grow();
        m_aEntries.push_back(Entry{std::string(key), std::move(value), nHash});
        Place(static_cast<int32_t>(m_aEntries.size() - 1), nHash);
        return m_aEntries.back().m_value;
    }

    size_t GetCount() const noexcept { return m_aEntries.size(); }
    bool IsEmpty() const noexcept { return m_aEntries.empty(); }
    void RemoveAll() noexcept
    {
        m_aEntries.clear();
        m_aSlots.clear();
    }

    typename std::vector<Entry>::iterator begin() { return m_aEntries.begin(); }
    typename std::vector<Entry>::iterator end() { return m_aEntries.end(); }
    typename std::vector<Entry>::const_iterator begin() const { return m_aEntries.begin(); }
    typename std::vector<Entry>::const_iterator end() const { return m_aEntries.end(); }

private:
    void Place(int32_t nEntry, uint32_t nHash)
    {
        size_t nMask = m_aSlots.size() - 1;
        size_t i = nHash & nMask;
        while (m_aSlots[i] >= 0)
            i = (i + 1) & nMask;
        m_aSlots[i] = nEntry;
    }

    void Grow()
    {
        size_t nSize = m_aSlots.empty() ? 32 : m_aSlots.size() * 2;
        m_aSlots.assign(nSize, -1);
        for (size_t n = 0; n < m_aEntries.size(); ++n)
            Place(static_cast<int32_t>(n), m_aEntries[n].m_nHash);
    }

    std::vector<Entry> m_aEntries;
    std::vector<int32_t> m_aSlots;
};
