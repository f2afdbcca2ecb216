// A hash map from addresses inside images to what was learnt there. Images never
// change while they are read, so an address stands for the same bytes for as long
// as the cursor that read them lives. Entries are never removed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

template <class T> class CLumAddressMap
{
public:
    T* Find(const void* pKey)
    {
        if (m_aSlots.empty())
            return nullptr;
        size_t nMask = m_aSlots.size() - 1;
        for (size_t i = Hash(pKey) & nMask;; i = (i + 1) & nMask)
        {
            Slot& slot = m_aSlots[i];
            if (slot.m_pKey == pKey)
                return &slot.m_value;
            if (slot.m_pKey == nullptr)
                return nullptr;
        }
    }

    // Adds a key that is not in the map yet.
    T& Insert(const void* pKey, T value)
    {
        if ((m_nCount + 1) * 2 > m_aSlots.size())
            Grow();
        ++m_nCount;
        return Place(pKey, std::move(value));
    }

    template <class F> void ForEach(F f)
    {
        for (Slot& slot : m_aSlots)
            if (slot.m_pKey != nullptr)
                f(slot.m_value);
    }

private:
    struct Slot
    {
        const void* m_pKey = nullptr;
        T m_value{};
    };

    static size_t Hash(const void* p)
    {
        uint64_t n = reinterpret_cast<uintptr_t>(p);
        return static_cast<size_t>((n * 0x9E3779B97F4A7C15ull) >> 20);
    }

    T& Place(const void* pKey, T value)
    {
        size_t nMask = m_aSlots.size() - 1;
        size_t i = Hash(pKey) & nMask;
        while (m_aSlots[i].m_pKey != nullptr)
            i = (i + 1) & nMask;
        m_aSlots[i] = Slot{pKey, std::move(value)};
        return m_aSlots[i].m_value;
    }

    void Grow()
    {
        std::vector<Slot> aOld(m_aSlots.empty() ? 64 : m_aSlots.size() * 2);
        aOld.swap(m_aSlots);
        for (Slot& slot : aOld)
            if (slot.m_pKey != nullptr)
                Place(slot.m_pKey, std::move(slot.m_value));
    }

    std::vector<Slot> m_aSlots;
    size_t m_nCount = 0;
};
