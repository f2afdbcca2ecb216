#include "expr/LumExpression.h"

#include "core/LumDepthGuard.h"
#include "core/LumFrame.h"
#include "core/LumFreeList.h"

#include <cstring>
#include <memory>

LUM_IMPLEMENT_RUNTIME(CLumTermNode, CLumObject, nullptr)
LUM_IMPLEMENT_RUNTIME(CLumExpression, CLumObject, nullptr)

namespace
{
const char* const FILE_LABEL = "LUMEXPRESSION";

using ValuePtr = std::unique_ptr<CLumsVarValue>;

// Where the name of an array node ends: the first LBT_INDEX (bytes 0x82 0xFD).
size_t FindIndexMark(const unsigned char* pData, size_t nLength)
{
    for (size_t n = 0; n + 1 < nLength; ++n)
        if (pData[n] == 0x82 && pData[n + 1] == 0xFD)
            return n;
    return nLength;
}

// The text of node data up to its zero byte; a missing zero means a damaged image.
size_t TextLength(const unsigned char* pData, size_t nLength)
{
    const void* pZero = memchr(pData, 0, nLength);
    if (pZero == nullptr)
        LumRaise(LUM_MSG_IMAGE_DAMAGED, -1L);
    return static_cast<size_t>(static_cast<const unsigned char*>(pZero) - pData);
}
} // namespace

void* CLumTermNode::operator new(size_t n)
{
    return CLumFreeList<sizeof(CLumTermNode)>::Alloc(n);
}

void CLumTermNode::operator delete(void* p, size_t n) noexcept
{
    CLumFreeList<sizeof(CLumTermNode)>::Free(p, n);
}

int CLumTermNode::Read(CLumBasicFile* pFile)
{
    return LumFrame(FILE_LABEL, "CLumTermNode::Read()", [&] {
        m_pHead = static_cast<const unsigned char*>(pFile->GetPtr(4));
        m_pData = static_cast<const unsigned char*>(pFile->GetPtr(GetDataLength()));
        return 1;
    });
}

CLumExpression::~CLumExpression()
{
    destroy(m_pRoot);
}

CLumTermNode* CLumExpression::ReadTree()
{
    return ReadTree(0);
}

CLumTermNode* CLumExpression::ReadTree(int nDepth)
{
    return LumFrame(FILE_LABEL, "CLumExpression::ReadTree()", [&] {
        if (nDepth >= MAX_TREE_DEPTH)
            LumRaise(LUM_MSG_TREE_TOO_DEEP, MAX_TREE_DEPTH);
        // A failure in a son frees the sons read so far with the node.
        auto destroyTree = [this](CLumTermNode* p) { destroy(p); };
        std::unique_ptr<CLumTermNode, decltype(destroyTree)> pNode(new CLumTermNode(), destroyTree);
        pNode->Read(m_pFile);
        if (pNode->GetKind() == LBN_OPERATOR)
        {
            pNode->m_pLeft = ReadTree(nDepth + 1);
            pNode->m_pRight = ReadTree(nDepth + 1);
        }
        return pNode.release();
    });
}

void CLumExpression::destroy(CLumTermNode* pNode)
{
    // Iterative along the right spine, so that freeing never recurses deeper than reading did.
    while (pNode != nullptr)
    {
        destroy(pNode->m_pLeft);
        CLumTermNode* pRight = pNode->m_pRight;
        delete pNode;
        pNode = pRight;
    }
}

CLumsVarValue* CLumExpression::Auswerten()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Auswerten()", [&] {
        CLumDepthGuard guard(CLumDepthGuard::EXPRESSION, MAX_NESTING);
        if (m_pRoot != nullptr)
        {
            destroy(m_pRoot);
            m_pRoot = nullptr;
        }
        m_pRoot = ReadTree();
        return Berechne(m_pRoot);
    });
}

CLumsVarValue* CLumExpression::Berechne(CLumTermNode* pNode)
{
    return LumFrame(FILE_LABEL, "CLumExpression::Berechne()", [&]() -> CLumsVarValue* {
        if (pNode == nullptr)
            LumRaise(LUM_MSG_NULL_NODE);
        switch (pNode->GetKind())
        {
        case LBN_OPERATOR:
            return Operator(pNode->GetDataWord(0), pNode);
        case LBN_CONSTANT:
            return Constant(pNode);
        case LBN_VARIABLE:
        case LBN_ARRAY:
            return Variable(pNode);
        case LBN_FUNCTION:
            return Function(pNode);
        default:
            LumRaise(LUM_MSG_BAD_NODE_KIND, static_cast<unsigned>(pNode->GetKind()));
        }
    });
}

CLumsVarValue* CLumExpression::Constant(const CLumTermNode* pNode)
{
    ValuePtr pValue(new CLumsVarValue());
    const unsigned char* pData = pNode->GetData();
    size_t nLength = pNode->GetDataLength();
    switch (pNode->GetDataWord(0))
    {
    case LBN_CONST_DOUBLE:
        TextLength(pData + 2, nLength - 2);
        *pValue = LumAtof(reinterpret_cast<const char*>(pData + 2));
        break;
    case LBN_CONST_LONG:
        if (nLength < 6)
            LumRaise(LUM_MSG_IMAGE_DAMAGED, -1L);
        *pValue = static_cast<long>(static_cast<int32_t>(
            static_cast<uint32_t>(pData[2]) | (static_cast<uint32_t>(pData[3]) << 8) |
            (static_cast<uint32_t>(pData[4]) << 16) | (static_cast<uint32_t>(pData[5]) << 24)));
        break;
    case LBN_CONST_STRING:
        pValue->SetString(reinterpret_cast<const char*>(pData + 2), TextLength(pData + 2, nLength - 2));
        break;
    default:
        break;
    }
    return pValue.release();
}

CLumsVarValue* CLumExpression::Variable(CLumTermNode* pNode)
{
    ValuePtr pValue(new CLumsVarValue());
    if (m_pVariables == nullptr)
    {
        *pValue = 0L;
        return pValue.release();
    }
    const char* pszData = reinterpret_cast<const char*>(pNode->GetData());
    size_t nLength = pNode->GetDataLength();
    bool fArray = pNode->GetKind() == LBN_ARRAY;
    if (pNode->IsNameWanted())
    {
        size_t nName = fArray ? nLength : TextLength(pNode->GetData(), nLength);
        if (const void* pZero = memchr(pszData, 0, nName))
            nName = static_cast<size_t>(static_cast<const char*>(pZero) - pszData);
        nName = FindIndexMark(pNode->GetData(), nName);
        std::string& str = pValue->GetStringRef();
        str.assign(pszData, nName);
        if (fArray)
        {
            long aIndices[CLumVariables::MAX_INDICES] = {};
            GetIndices(pNode, aIndices);
            for (int i = 0; i < CLumVariables::MAX_INDICES && aIndices[i] != 0; ++i)
            {
                char digits[24];
                str.append(1, ':').append(digits, LumFormatLong(digits, aIndices[i]));
            }
        }
        return pValue.release();
    }
    if (!fArray)
    {
        TextLength(pNode->GetData(), nLength);
        *pValue = *m_pBasic->GetVar(pszData, nullptr);
        return pValue.release();
    }
    long aIndices[CLumVariables::MAX_INDICES] = {};
    int nName = GetIndices(pNode, aIndices);
    char szShort[128];
    std::string strLong;
    char* pszName = szShort;
    if (static_cast<size_t>(nName) >= sizeof szShort)
    {
        strLong.resize(static_cast<size_t>(nName));
        pszName = &strLong[0];
    }
    memcpy(pszName, pszData, static_cast<size_t>(nName));
    pszName[nName] = '\0';
    *pValue = *m_pBasic->GetVar(pszName, aIndices);
    return pValue.release();
}

int CLumExpression::GetIndices(CLumTermNode* pNode, long* pIndices)
{
    return LumFrame(FILE_LABEL, "CLumExpression::GetIndices()", [&] {
        size_t nName = FindIndexMark(pNode->GetData(), pNode->GetDataLength());
        if (nName >= pNode->GetDataLength())
            LumRaise(LUM_MSG_IMAGE_DAMAGED, -1L);
        m_pFile->SetMemoryMode(pNode->GetData() + nName);
        int nIndex = 0;
        unsigned short wToken = m_pFile->GetToken();
        while (wToken == LBT_INDEX && nIndex < CLumVariables::MAX_INDICES)
        {
            ValuePtr pValue(m_pBasic->GetArg(CLumBasic::AT_NUMBER, nIndex));
            pIndices[nIndex++] = pValue->GetLong();
            wToken = m_pFile->GetToken();
        }
        m_pFile->SetMemoryMode(nullptr);
        return static_cast<int>(nName);
    });
}

CLumsVarValue* CLumExpression::Function(const CLumTermNode* pNode)
{
    if (pNode->GetDataLength() < 2)
        LumRaise(LUM_MSG_IMAGE_DAMAGED, -1L);
    unsigned short wToken = pNode->GetDataWord(0);
    m_pFile->SetMemoryMode(pNode->GetData() + 2);
    CLumsVarValue* pResult = CallBuiltin(wToken);
    if (pResult == nullptr)
    {
        pResult = ExtFunction(wToken);
        if (pResult == nullptr)
            LumRaise(LUM_MSG_BAD_FUNCTION_TOKEN, static_cast<unsigned>(wToken));
    }
    m_pFile->SetMemoryMode(nullptr);
    return pResult;
}

CLumsVarValue* CLumExpression::CallBuiltin(unsigned short wToken)
{
    switch (wToken)
    {
#define LUM_FUNCTION_CASE(token, method)                                                                     \
    case LBT_##token:                                                                                        \
        return method();
        LUM_FUNCTION_HANDLERS(LUM_FUNCTION_CASE)
#undef LUM_FUNCTION_CASE
    default:
        return nullptr;
    }
}

CLumsVarValue* CLumExpression::ExtFunction(unsigned short wToken)
{
    return m_pBasic->ExtFunction(wToken);
}

CLumsVarValue* CLumExpression::Operator(unsigned short wToken, CLumTermNode* pNode)
{
    return LumFrame(FILE_LABEL, "CLumExpression::Operator()", [&] {
        ValuePtr pLeft(Berechne(pNode->m_pLeft));
        ValuePtr pRight(Berechne(pNode->m_pRight));
        return Operation(wToken, pLeft.get(), pRight.get());
    });
}

CLumsVarValue* CLumExpression::Operation(unsigned short wToken, CLumsVarValue* pLeft, CLumsVarValue* pRight)
{
    return LumFrame(FILE_LABEL, "CLumExpression::Operation()", [&] {
        ValuePtr pResult(new CLumsVarValue());
        const CLumsVarValue& l = *pLeft;
        const CLumsVarValue& r = *pRight;
        switch (wToken)
        {
        case LBT_AND:
            *pResult = l.LogicalAnd(r);
            break;
        case LBT_OR:
            *pResult = l.LogicalOr(r);
            break;
        case LBT_EQ:
            *pResult = l == r;
            break;
        case LBT_NE:
            *pResult = l != r;
            break;
        case LBT_GT:
            *pResult = l > r;
            break;
        case LBT_LT:
            *pResult = l < r;
            break;
        case LBT_GE:
            *pResult = l >= r;
            break;
        case LBT_LE:
            *pResult = l <= r;
            break;
        case LBT_PLUS:
            CLumsVarValue::Add(l, r, *pResult);
            break;
        case LBT_MINUS:
            CLumsVarValue::Subtract(l, r, *pResult);
            break;
        case LBT_MUL:
            CLumsVarValue::Multiply(l, r, *pResult);
            break;
        case LBT_DIV:
            CLumsVarValue::Divide(l, r, *pResult);
            break;
        default:
            break;
        }
        return pResult.release();
    });
}
