#include "expr/LumExpression.h"

#include "core/LumDepthGuard.h"
#include "core/LumFrame.h"
#include "core/LumFreeList.h"
#include "expr/LumReadCache.h"

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
        Prepare();
        return 1;
    });
}

void CLumTermNode::Prepare()
{
    size_t nLength = GetDataLength();
    switch (GetKind())
    {
    case LBN_CONSTANT:
        switch (GetDataWord(0))
        {
        case LBN_CONST_DOUBLE:
            TextLength(m_pData + 2, nLength - 2);
            m_cConstant = LumAtof(reinterpret_cast<const char*>(m_pData + 2));
            break;
        case LBN_CONST_LONG:
            if (nLength < 6)
                LumRaise(LUM_MSG_IMAGE_DAMAGED, -1L);
            m_cConstant = static_cast<long>(static_cast<int32_t>(
                static_cast<uint32_t>(m_pData[2]) | (static_cast<uint32_t>(m_pData[3]) << 8) |
                (static_cast<uint32_t>(m_pData[4]) << 16) | (static_cast<uint32_t>(m_pData[5]) << 24)));
            break;
        case LBN_CONST_STRING:
            m_cConstant.SetString(reinterpret_cast<const char*>(m_pData + 2),
                                  TextLength(m_pData + 2, nLength - 2));
            break;
        default:
            // A constant type outside the table gives an empty value.
            break;
        }
        break;
    case LBN_VARIABLE:
        m_nNameLength = static_cast<unsigned>(TextLength(m_pData, nLength));
        break;
    case LBN_ARRAY:
        m_nNameLength = static_cast<unsigned>(FindIndexMark(m_pData, nLength));
        if (m_nNameLength >= nLength)
            LumRaise(LUM_MSG_IMAGE_DAMAGED, -1L);
        break;
    default:
        break;
    }
}

CLumExpression::~CLumExpression()
{
    if (m_fOwnRoot)
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
        auto destroyTree = [this](CLumTermNode* p) {
            destroy(p);
        };
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
    CLumReadCache::Destroy(pNode);
}

CLumsVarValue* CLumExpression::Auswerten()
{
    return LumFrame(FILE_LABEL, "CLumExpression::Auswerten()", [&] {
        CLumDepthGuard guard(CLumDepthGuard::EXPRESSION, MAX_NESTING);
        if (m_fOwnRoot)
            destroy(m_pRoot);
        m_pRoot = nullptr;
        m_fOwnRoot = false;
        // A tree read before at this place is taken from the cursor's cache; the
        // position moves behind it as if it had been read again.
        unsigned char* pStart = m_pFile->GetPosition();
        CLumReadCache& cache = m_pFile->GetReadCache();
        if (const CLumReadCache::Tree* pTree = cache.FindTree(pStart))
        {
            m_pRoot = pTree->m_pRoot;
            m_pFile->SetPosition(pTree->m_pEnd);
        }
        else
        {
            m_pRoot = ReadTree();
            cache.AddTree(pStart, m_pRoot, m_pFile->GetPosition());
        }
        ValuePtr pValue(new CLumsVarValue());
        Eval(m_pRoot, *pValue);
        return pValue.release();
    });
}

CLumsVarValue* CLumExpression::Berechne(CLumTermNode* pNode)
{
    ValuePtr pValue(new CLumsVarValue());
    Eval(pNode, *pValue);
    return pValue.release();
}

void CLumExpression::Eval(CLumTermNode* pNode, CLumsVarValue& out)
{
    LumFrame(FILE_LABEL, "CLumExpression::Berechne()", [&] {
        if (pNode == nullptr)
            LumRaise(LUM_MSG_NULL_NODE);
        switch (pNode->GetKind())
        {
        case LBN_OPERATOR:
            EvalOperator(pNode->GetDataWord(0), pNode, out);
            break;
        case LBN_CONSTANT:
            out = pNode->GetConstant();
            break;
        case LBN_VARIABLE:
        case LBN_ARRAY:
            Variable(pNode, out);
            break;
        case LBN_FUNCTION:
        {
            ValuePtr pResult(Function(pNode));
            out.Swap(*pResult); // the result is ours: no copy of its text
            break;
        }
        default:
            LumRaise(LUM_MSG_BAD_NODE_KIND, static_cast<unsigned>(pNode->GetKind()));
        }
    });
}

void CLumExpression::Variable(CLumTermNode* pNode, CLumsVarValue& out)
{
    if (m_pVariables == nullptr)
    {
        out = 0L;
        return;
    }
    const char* pszData = reinterpret_cast<const char*>(pNode->GetData());
    bool fArray = pNode->GetKind() == LBN_ARRAY;
    if (pNode->IsNameWanted())
    {
        size_t nName = pNode->GetNameLength();
        if (const void* pZero = memchr(pszData, 0, nName))
            nName = static_cast<size_t>(static_cast<const char*>(pZero) - pszData);
        nName = FindIndexMark(pNode->GetData(), nName);
        std::string str(pszData, nName);
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
        out = str;
        return;
    }
    if (!fArray)
    {
        out = *FindVariable(pNode, pszData);
        return;
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
    out = *m_pBasic->GetVar(pszName, aIndices);
}

// A plain variable read looks its name up once and then reads the variable it found
// until the store gains a key or the scope changes.
CLumsVarValue* CLumExpression::FindVariable(CLumTermNode* pNode, const char* pszName)
{
    if (CLumsVarValue* pValue = m_pBasic->CachedVar(pNode->GetNameCache(), pszName))
        return pValue;
    return m_pBasic->GetVar(pszName, nullptr);
}

int CLumExpression::GetIndices(CLumTermNode* pNode, long* pIndices)
{
    return LumFrame(FILE_LABEL, "CLumExpression::GetIndices()", [&] {
        size_t nName = pNode->GetNameLength();
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
    ValuePtr pValue(new CLumsVarValue());
    EvalOperator(wToken, pNode, *pValue);
    return pValue.release();
}

void CLumExpression::EvalOperator(unsigned short wToken, CLumTermNode* pNode, CLumsVarValue& out)
{
    LumFrame(FILE_LABEL, "CLumExpression::Operator()", [&] {
        // Both sons always run, left first: their function calls happen in this order.
        Eval(pNode->m_pLeft, out);
        CLumsVarValue right;
        Eval(pNode->m_pRight, right);
        Apply(wToken, out, right, out);
    });
}

CLumsVarValue* CLumExpression::Operation(unsigned short wToken, CLumsVarValue* pLeft, CLumsVarValue* pRight)
{
    ValuePtr pValue(new CLumsVarValue());
    Apply(wToken, *pLeft, *pRight, *pValue);
    return pValue.release();
}

void CLumExpression::Apply(unsigned short wToken, const CLumsVarValue& l, const CLumsVarValue& r,
                           CLumsVarValue& out)
{
    LumFrame(FILE_LABEL, "CLumExpression::Operation()", [&] { LumApplyOperator(wToken, l, r, out); });
}

void LumApplyOperator(unsigned short wToken, const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out)
{
    switch (wToken)
    {
    case LBT_AND:
        out = l.LogicalAnd(r);
        break;
    case LBT_OR:
        out = l.LogicalOr(r);
        break;
    case LBT_EQ:
        out = l == r;
        break;
    case LBT_NE:
        out = l != r;
        break;
    case LBT_GT:
        out = l > r;
        break;
    case LBT_LT:
        out = l < r;
        break;
    case LBT_GE:
        out = l >= r;
        break;
    case LBT_LE:
        out = l <= r;
        break;
    case LBT_PLUS:
        CLumsVarValue::Add(l, r, out);
        break;
    case LBT_MINUS:
        CLumsVarValue::Subtract(l, r, out);
        break;
    case LBT_MUL:
        CLumsVarValue::Multiply(l, r, out);
        break;
    case LBT_DIV:
        CLumsVarValue::Divide(l, r, out);
        break;
    default:
        // An operator outside the table gives an empty value.
        out = CLumsVarValue();
        break;
    }
}
