#include "expr/LumReadCache.h"

#include "expr/LumTermNode.h"

CLumReadCache::~CLumReadCache()
{
    m_mapTrees.ForEach([](Tree& tree) { Destroy(tree.m_pRoot); });
}

void CLumReadCache::Destroy(CLumTermNode* pNode)
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
