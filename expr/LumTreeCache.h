// Trees already read from an image, by the address where they start. An image never
// changes while it is read, so a tree read once stands for every later reading at
// the same place: a loop no longer reads its expressions anew on every pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class CLumTermNode;

class CLumTreeCache
{
public:
    struct Entry
    {
        const unsigned char* m_pStart;
        CLumTermNode* m_pRoot;
        unsigned char* m_pEnd; // the position behind the tree
    };

    CLumTreeCache() = default;
    ~CLumTreeCache();
    CLumTreeCache(const CLumTreeCache&) = delete;
    CLumTreeCache& operator=(const CLumTreeCache&) = delete;

    const Entry* Find(const unsigned char* pStart) const
    {
        if (m_aSlots.empty())
            return nullptr;
        size_t nMask = m_aSlots.size() - 1;
        for (size_t i = Hash(pStart) & nMask;; i = (i + 1) & nMask)
        {
            const Entry& e = m_aSlots[i];
            if (e.m_pStart == pStart)
                return &e;
            if (e.m_pStart == nullptr)
                return nullptr;
        }
    }
    // Takes the tree over.
    void Add(const unsigned char* pStart, CLumTermNode* pRoot, unsigned char* pEnd);
    // Frees a tree and its sons.
    static void Destroy(CLumTermNode* pNode);

private:
    static size_t Hash(const unsigned char* p)
    {
        uint64_t n = reinterpret_cast<uintptr_t>(p);
        return static_cast<size_t>((n * 0x9E3779B97F4A7C15ull) >> 20);
    }
    void Grow();

    std::vector<Entry> m_aSlots;
    size_t m_nCount = 0;
};
