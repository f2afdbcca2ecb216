// An assignment that appends to its own target, `s$ = s$ + a$ + "x"`, appends to the
// variable's text in place, so that a text built piece by piece takes linear time.
// It leaves what the copying way leaves: the same text, and the same room for it
// (vars/LumTextGrowth.h), so a memory budget counts the same bytes either way.
#include <lumbasic/LumBasic.h>

#include "core/LumDepthGuard.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"
#include "expr/LumReadCache.h"
#include "vars/LumTextGrowth.h"

#include <cstring>
#include <optional>

namespace
{
// The most parts one assignment appends in place; longer chains copy.
constexpr size_t MAX_PARTS = 8;

bool NamesVariable(const CLumTermNode* pNode, const char* pszName, size_t nName)
{
    return pNode->GetKind() == LBN_VARIABLE && !pNode->IsNameWanted() && pNode->GetNameLength() == nName &&
           memcmp(pNode->GetData(), pszName, nName) == 0;
}

// The parts of `name + p1 + p2 ...` in order, where each is a constant or a variable
// read, which can neither fail nor change the store; 0 for any other tree.
size_t AppendedParts(const CLumTermNode* pRoot, const char* pszName, const CLumTermNode** apParts)
{
    size_t nParts = 0;
    const CLumTermNode* pNode = pRoot;
    while (pNode->GetKind() == LBN_OPERATOR)
    {
        const CLumTermNode* pRight = pNode->m_pRight;
        if (pNode->GetDataWord(0) != LBT_PLUS || nParts == MAX_PARTS || pNode->m_pLeft == nullptr ||
            pRight == nullptr)
            return 0;
        bool fConstant = pRight->GetKind() == LBN_CONSTANT;
        if (!fConstant && (pRight->GetKind() != LBN_VARIABLE || pRight->IsNameWanted()))
            return 0;
        apParts[nParts++] = pRight;
        pNode = pNode->m_pLeft;
    }
    if (nParts == 0 || !NamesVariable(pNode, pszName, strlen(pszName)))
        return 0;
    for (size_t i = 0; i < nParts / 2; ++i)
        std::swap(apParts[i], apParts[nParts - 1 - i]);
    return nParts;
}
} // namespace

bool CLumBasic::AppendToSelf(const char* pszName)
{
    if (!HasPlainAccess() || m_pVariables == nullptr || pszName[0] == '@' ||
        CLumDepthGuard::GetDepth(CLumDepthGuard::EXPRESSION) + 1 > CLumExpression::MAX_NESTING)
        return false;
    const CLumReadCache::Tree* pTree = m_pQuelle->GetReadCache().FindTree(m_pQuelle->GetPosition());
    const CLumTermNode* apParts[MAX_PARTS];
    size_t nParts = pTree != nullptr ? AppendedParts(pTree->m_pRoot, pszName, apParts) : 0;
    if (nParts == 0)
        return false;
    // The variable SetVar stores into, the local where its key is there: GetVar reads
    // the same one unless the local's key holds no value yet, which is no case for here.
    std::optional<CLumScopedKey> scoped;
    if (GetDepth() > 1)
        scoped.emplace(m_cFunctionStack.TopString(), pszName);
    CLumsVarValue* pTarget = scoped && m_pVariables->Contains(scoped->view())
                                 ? m_pVariables->Find(scoped->c_str(), nullptr)
                                 : m_pVariables->Find(pszName, nullptr);
    if (pTarget == nullptr || !pTarget->IsString())
        return false;
    // A number's text is made in a copy, as the copying way makes it: the variable or
    // constant keeps no text of it.
    CLumsVarValue aCopies[MAX_PARTS];
    std::string_view aTexts[MAX_PARTS];
    for (size_t i = 0; i < nParts; ++i)
    {
        const CLumTermNode* pPart = apParts[i];
        const CLumsVarValue& value = pPart->GetKind() == LBN_CONSTANT
                                         ? pPart->GetConstant()
                                         : *GetVar(reinterpret_cast<const char*>(pPart->GetData()), nullptr);
        const CLumsVarValue* pText = &value;
        if (!value.IsString() || &value == pTarget)
        {
            aCopies[i] = value;
            pText = &aCopies[i];
        }
        aTexts[i] = std::string_view(pText->GetText(), pText->GetTextLength());
    }
    LumAppendTexts(pTarget->GetStringRef(), aTexts, nParts);
    m_pQuelle->SetPosition(pTree->m_pEnd);
    return true;
}
