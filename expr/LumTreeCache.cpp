#include "expr/LumTreeCache.h"

#include "expr/LumTermNode.h"

CLumTreeCache::~CLumTreeCache()
{
    for (const Entry& e : m_aSlots)
        if (e.m_pStart != nullptr)
            Destroy(e.m_pRoot);
}

void CLumTreeCache::Destroy(CLumTermNode* pNode)
{
    // Iterative along the right spine, so that freeing never recurses deeper than reading did.
    while (pNode != nullptr)
    {
        Destroy(pNode->m_pLeft);
        CLumTermNode* pRight = pNode->m_pRight;
        delete pNode;
        pNode = pRight;
    }
}

void CLumTreeCache::Add(const unsigned char* pStart, CLumTermNode* pRoot, unsigned char* pEnd)
{
    if ((m_nCount + 1) * 2 > m_aSlots.size())
        Grow();
    size_t nMask = m_aSlots.size() - 1;
    size_t i = Hash(pStart) & nMask;
    while (m_aSlots[i].m_pStart != nullptr)
        i = (i + 1) & nMask;
    m_aSlots[i] = Entry{pStart, pRoot, pEnd};
    ++m_nCount;
}

void CLumTreeCache::Grow()
{
    std::vector<Entry> aOld;
    aOld.swap(m_aSlots);
    m_aSlots.assign(aOld.empty() ? 64 : aOld.size() * 2, Entry{nullptr, nullptr, nullptr});
    m_nCount = 0;
    for (const Entry& e : aOld)
        if (e.m_pStart != nullptr)
            Add(e.m_pStart, e.m_pRoot, e.m_pEnd);
}
