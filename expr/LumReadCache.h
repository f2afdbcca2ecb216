// What a cursor learnt from the bytes it read, by the address they start at. An
// image never changes while it runs, so what was read once at a place stands for
// every later reading there: a loop reads its expression trees once, and a statement
// finds the variable its name named before while the store and the scope are the same.
#pragma once

#include <lumbasic/LumVariables.h>

#include "core/LumAddressMap.h"

class CLumTermNode;

class CLumReadCache
{
public:
    struct Tree
    {
        CLumTermNode* m_pRoot;
        unsigned char* m_pEnd; // the position behind the tree
    };

    CLumReadCache() = default;
    ~CLumReadCache();
    CLumReadCache(const CLumReadCache&) = delete;
    CLumReadCache& operator=(const CLumReadCache&) = delete;

    const Tree* FindTree(const unsigned char* pStart) { return m_mapTrees.Find(pStart); }
    // Takes the tree over.
    void AddTree(const unsigned char* pStart, CLumTermNode* pRoot, unsigned char* pEnd)
    {
        m_mapTrees.Insert(pStart, Tree{pRoot, pEnd});
    }
    // The name cache of the name that stands at `pszName` in the image.
    CLumNameCache& NameAt(const char* pszName)
    {
        CLumNameCache* pCache = m_mapNames.Find(pszName);
        return pCache ? *pCache : m_mapNames.Insert(pszName, CLumNameCache());
    }
    // Frees a tree and its sons.
    static void Destroy(CLumTermNode* pNode);

private:
    CLumAddressMap<Tree> m_mapTrees;
    CLumAddressMap<CLumNameCache> m_mapNames;
};
