// One node of an expression tree, held over the bytes of the image: it copies nothing
// of the image. What evaluation needs again and again (a constant's value, a name's
// length) is worked out once, when the node is read.
#pragma once

#include <lumbasic/LumBasicFile.h>
#include <lumbasic/LumObject.h>
#include <lumbasic/LumTokens.h>
#include <lumbasic/LumVariables.h>
#include <lumbasic/LumsVarValue.h>

class CLumTermNode : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumTermNode)

public:
    CLumTermNode() = default;

    // Takes the 4-byte head and the data in place; the position moves behind them.
    int Read(CLumBasicFile* pFile);

    unsigned short GetKindWord() const { return static_cast<unsigned short>(m_pHead[0] | (m_pHead[1] << 8)); }
    unsigned short GetKind() const { return static_cast<unsigned short>(GetKindWord() & LBN_KIND_MASK); }
    unsigned short GetDataLength() const
    {
        return static_cast<unsigned short>(m_pHead[2] | (m_pHead[3] << 8));
    }
    const unsigned char* GetData() const { return m_pData; }
    bool IsNameWanted() const { return (GetKindWord() & LBN_NAMEWANTED) != 0; }
    // The 16-bit word at `nOffset` of the data, 0 where the data is too short.
    unsigned short GetDataWord(unsigned nOffset) const
    {
        if (nOffset + 2 > GetDataLength())
            return 0;
        return static_cast<unsigned short>(m_pData[nOffset] | (m_pData[nOffset + 1] << 8));
    }
    // A constant's value.
    const CLumsVarValue& GetConstant() const { return m_cConstant; }
    // A variable's or array's name length: up to the zero or to the first index.
    unsigned GetNameLength() const { return m_nNameLength; }

    // Where a read of this variable node found its name last.
    CLumNameCache& GetNameCache() { return m_cNameCache; }

    static void* operator new(size_t n);
    static void operator delete(void* p, size_t n) noexcept;

    CLumTermNode* m_pLeft = nullptr;
    CLumTermNode* m_pRight = nullptr;
    const unsigned char* m_pHead = nullptr;
    const unsigned char* m_pData = nullptr;

private:
    void Prepare();

    CLumsVarValue m_cConstant;
    unsigned m_nNameLength = 0;
    CLumNameCache m_cNameCache;
};
