#include "LumDisassembler.h"
#include "LumAst.h"
#include "LumBuiltinTable.h"

#include <lumbasic/LumTokens.h>

#include <cstdio>
#include <cstring>

namespace
{
// Every tree the compiler writes, arguments and indices counted as levels; a damaged
// image must not exhaust the stack.
constexpr int MAX_TREE_DEPTH = LUM_MAX_TREE_LEVELS;

std::string Hex(size_t n, int nDigits = 4)
{
    char buffer[32];
    snprintf(buffer, sizeof buffer, "0x%0*zx", nDigits, n);
    return buffer;
}

std::string TokenText(unsigned short wToken)
{
    const char* pszName = LumTokenName(wToken);
    return pszName != nullptr ? pszName : Hex(wToken);
}

std::string Quote(const uint8_t* p, size_t n)
{
    std::string str = "\"";
    for (size_t i = 0; i < n; ++i)
    {
        if (p[i] == '"')
            str += "\"\"";
        else if (p[i] < 0x20)
        {
            char buffer[8];
            snprintf(buffer, sizeof buffer, "\\x%02x", p[i]);
            str += buffer;
        }
        else
            str += static_cast<char>(p[i]);
    }
    return str + "\"";
}

} // namespace

// A read position over [m_nBegin, m_nEnd) of the image; every read is checked.
struct CLumDisassembler::Cursor
{
    const uint8_t* m_pImage;
    size_t m_nBegin;
    size_t m_nEnd;
    size_t m_nPos;

    [[noreturn]] void Fail(const std::string& strWhy) const { throw Fault{m_nPos, strWhy}; }
    bool AtEnd() const { return m_nPos >= m_nEnd; }
    size_t Left() const { return m_nEnd - m_nPos; }
    void Need(size_t n, const char* pszWhat) const
    {
        if (Left() < n)
            Fail(std::string("the image ends inside ") + pszWhat);
    }
    unsigned short Word(const char* pszWhat = "a token")
    {
        Need(2, pszWhat);
        unsigned short w = static_cast<unsigned short>(m_pImage[m_nPos] | (m_pImage[m_nPos + 1] << 8));
        m_nPos += 2;
        return w;
    }
    bool PeekWord(unsigned short& w) const
    {
        if (Left() < 2)
            return false;
        w = static_cast<unsigned short>(m_pImage[m_nPos] | (m_pImage[m_nPos + 1] << 8));
        return true;
    }
    int32_t DWord(const char* pszWhat)
    {
        Need(4, pszWhat);
        uint32_t u = 0;
        for (int i = 0; i < 4; ++i)
            u |= static_cast<uint32_t>(m_pImage[m_nPos + static_cast<size_t>(i)]) << (8 * i);
        m_nPos += 4;
        return static_cast<int32_t>(u);
    }
    // A counted text, shown quoted; its last byte must be the zero it counts.
    std::string Text(const char* pszWhat)
    {
        size_t nLength = Word(pszWhat);
        Need(nLength, pszWhat);
        const uint8_t* p = m_pImage + m_nPos;
        if (nLength > 0 && p[nLength - 1] != 0)
            Fail(std::string(pszWhat) + " does not end with a zero byte");
        m_nPos += nLength;
        return Quote(p, nLength > 0 ? strnlen(reinterpret_cast<const char*>(p), nLength) : 0);
    }
};

bool CLumDisassembler::Run(const uint8_t* pImage, size_t nSize, std::string& strListing)
{
    m_nSize = nSize;
    m_setStatements.clear();
    m_setTargets.clear();
    Cursor cursor{pImage, 0, nSize, 0};
    bool fComplete = true;
    while (!cursor.AtEnd())
    {
        size_t nStart = cursor.m_nPos;
        std::string strLine;
        try
        {
            Statement(cursor, strLine);
            m_setStatements.insert(nStart);
            strListing += Hex(nStart) + "  " + strLine + "\n";
        }
        catch (const Fault& fault)
        {
            if (!strLine.empty())
                strListing += Hex(nStart) + "  " + strLine + "\n";
            strListing +=
                "error at " + Hex(fault.m_nOffset) + ": " + fault.m_strWhy + "; the listing stops here\n";
            return false;
        }
    }
    for (const auto& target : m_setTargets)
        if (m_setStatements.count(target.first) == 0 && target.first != nSize)
        {
            strListing += "error: the jump at " + Hex(target.second) + " leads to " + Hex(target.first) +
                          ", where no statement starts\n";
            fComplete = false;
        }
    return fComplete;
}

void CLumDisassembler::Statement(Cursor& cursor, std::string& strLine)
{
    unsigned short wToken = cursor.Word();
    if (wToken == 0)
    {
        strLine = "0                (end of the run)";
        return;
    }
    std::string strName = TokenText(wToken);
    const CLumExtensionTable::Entry* pExtension =
        m_pExtensions != nullptr ? m_pExtensions->FindToken(wToken) : nullptr;
    if (pExtension != nullptr)
        strName = pExtension->m_strName;
    strLine = strName;
    strLine.resize(std::max<size_t>(strLine.size() + 1, 17), ' ');
    if (pExtension != nullptr && !pExtension->m_fFunction)
        strLine += ArgumentList(cursor);
    else
        Operands(wToken, cursor, strLine);
    while (!strLine.empty() && strLine.back() == ' ')
        strLine.pop_back();
}

void CLumDisassembler::Skip(Cursor& cursor, size_t nBase, int32_t nSkip, std::string& strLine)
{
    long long nTarget = static_cast<long long>(nBase) + nSkip;
    if (nTarget < 0 || static_cast<unsigned long long>(nTarget) > m_nSize)
    {
        strLine += "-> " + std::to_string(nSkip) + " (outside the image)";
        cursor.Fail("a skip leads outside the image");
    }
    m_setTargets.insert({static_cast<size_t>(nTarget), cursor.m_nPos});
    strLine += "-> " + Hex(static_cast<size_t>(nTarget));
}

void CLumDisassembler::Operands(unsigned short wToken, Cursor& cursor, std::string& strLine)
{
    switch (wToken)
    {
    case LBT_SOURCENAME:
        strLine += cursor.Text("the source name");
        return;
    case LBT_DEBUGINFO:
        strLine += "line " + std::to_string(cursor.DWord("a line number"));
        return;
    case LBT_IF:
    case LBT_WHILE:
    case LBT_LOOP:
    case LBT_ELSE:
    case LBT_NEXT:
    case LBT_WEND:
        Jump(wToken, cursor, strLine);
        return;
    case LBT_ENDIF:
    case LBT_DO:
    case LBT_SEPARATOR:
        return;
    case LBT_FOR:
        strLine += cursor.Text("the counter's name") + " = ";
        strLine += ArgumentList(cursor);
        return;
    case LBT_DECLARE:
        Declaration(cursor, strLine);
        return;
    case LBT_SUB:
    case LBT_FUNCTION:
        strLine += cursor.Text("the procedure's name");
        strLine += " (" + cursor.Text("the parameters") + ")";
        return;
    case LBT_END:
        strLine += TokenText(cursor.Word("the kind of End"));
        return;
    case LBT_CALL:
    {
        strLine += cursor.Text("the procedure's name");
        std::string strArgs = ArgumentList(cursor);
        strLine += strArgs.empty() ? "" : ", " + strArgs;
        return;
    }
    case LBT_CALLEX:
    case LBT_IMPORT:
    case LBT_SHOWMESSAGE:
        strLine += ArgumentList(cursor);
        return;
    case LBT_ASSIGN:
    case LBT_EQ:
        Assignment(cursor, strLine);
        return;
    case LBT_DIM:
        Dim(cursor, strLine);
        return;
    default:
        cursor.m_nPos -= 2;
        cursor.Fail("token " + TokenText(wToken) + " is no statement, so the walk cannot go on");
    }
}

// The statements with a skip; a condition, where there is one, stands before it in
// the listing, as in the source.
void CLumDisassembler::Jump(unsigned short wToken, Cursor& cursor, std::string& strLine)
{
    if (wToken == LBT_ELSE || wToken == LBT_NEXT || wToken == LBT_WEND)
    {
        int32_t nSkip = cursor.DWord("a skip");
        Skip(cursor, cursor.m_nPos, nSkip, strLine);
        return;
    }
    if (wToken == LBT_LOOP)
        strLine += cursor.Word("the kind of Loop") == LBT_WHILE ? "While " : "Until ";
    int32_t nSkip = cursor.DWord("a skip");
    if (cursor.Word("an expression") != LBT_EXPRESSION)
        cursor.Fail("expected LBT_EXPRESSION and the condition");
    std::string strCondition = Tree(cursor, 0);
    strLine += strCondition + "  ";
    Skip(cursor, cursor.m_nPos, nSkip, strLine);
}

void CLumDisassembler::Declaration(Cursor& cursor, std::string& strLine)
{
    unsigned short w1 = cursor.Word("the first word of Declare");
    unsigned short w2 = cursor.Word("the second word of Declare");
    int32_t nOffset = cursor.DWord("a procedure offset");
    strLine += TokenText(w1) + ", " + std::to_string(w2) + ", proc ";
    Skip(cursor, 0, nOffset, strLine);
    strLine += ", " + cursor.Text("the procedure's name");
    strLine += ", " + cursor.Text("the declaration");
}

void CLumDisassembler::Assignment(Cursor& cursor, std::string& strLine)
{
    unsigned short wTarget = cursor.Word("the target of an assignment");
    if (wTarget == LBT_NAME)
        strLine += cursor.Text("the target's name");
    else if (wTarget == LBT_EXPRESSION)
        strLine += "[" + Tree(cursor, 0) + "]";
    else
        cursor.Fail("expected LBT_NAME or LBT_EXPRESSION as the target, found " + TokenText(wTarget));
    if (cursor.Word("the value of an assignment") != LBT_EXPRESSION)
        cursor.Fail("expected LBT_EXPRESSION and the value");
    strLine += " = " + Tree(cursor, 0);
}

void CLumDisassembler::Dim(Cursor& cursor, std::string& strLine)
{
    strLine += cursor.Text("the name of Dim");
    unsigned short wNext = 0;
    if (!cursor.PeekWord(wNext))
        return;
    if (wNext == LBT_EXPRESSION)
    {
        cursor.Word();
        strLine += " (" + Tree(cursor, 0) + ")";
    }
    else if (wNext == LBT_AS)
    {
        cursor.Word();
        strLine += " As " + TokenText(cursor.Word("the type of Dim"));
    }
}

// Arguments: each LBT_EXPRESSION and a tree, up to the first other token.
std::string CLumDisassembler::ArgumentList(Cursor& cursor)
{
    std::string str;
    unsigned short w = 0;
    while (cursor.PeekWord(w) && w == LBT_EXPRESSION)
    {
        cursor.Word();
        str += (str.empty() ? "" : ", ") + Tree(cursor, 0);
    }
    return str;
}

std::string CLumDisassembler::Tree(Cursor& cursor, int nDepth)
{
    if (nDepth > MAX_TREE_DEPTH)
        cursor.Fail("the expression tree is nested too deeply");
    unsigned short wKindWord = cursor.Word("the head of a tree node");
    size_t nLength = cursor.Word("the head of a tree node");
    cursor.Need(nLength, "the data of a tree node");
    size_t nData = cursor.m_nPos;
    cursor.m_nPos += nLength;
    std::string strNode = Node(cursor, wKindWord, nData, nLength, nDepth);
    if ((wKindWord & LBN_KIND_MASK) != LBN_OPERATOR)
        return strNode;
    std::string strLeft = Tree(cursor, nDepth + 1);
    std::string strRight = Tree(cursor, nDepth + 1);
    return "(" + strLeft + " " + strNode + " " + strRight + ")";
}

// One node's own text; an operator's sons follow it and are read by Tree.
std::string CLumDisassembler::Node(Cursor& cursor, unsigned short wKindWord, size_t nData, size_t nLength,
                                   int nDepth)
{
    Cursor data{cursor.m_pImage, nData, nData + nLength, nData};
    bool fNameWanted = (wKindWord & LBN_NAMEWANTED) != 0;
    const char* pszData = reinterpret_cast<const char*>(cursor.m_pImage + nData);
    switch (wKindWord & LBN_KIND_MASK)
    {
    case LBN_OPERATOR:
    {
        unsigned short wToken = data.Word("an operator node");
        const char* pszSymbol = LumOperatorSymbol(wToken);
        return pszSymbol != nullptr ? pszSymbol : "<operator " + TokenText(wToken) + ">";
    }
    case LBN_CONSTANT:
    {
        unsigned short wType = data.Word("a constant");
        if (wType == LBN_CONST_LONG)
            return std::to_string(data.DWord("a long constant"));
        size_t nText = strnlen(pszData + 2, data.Left());
        if (nText == data.Left())
            data.Fail("a constant's text has no terminating zero");
        if (wType == LBN_CONST_DOUBLE)
            return std::string(pszData + 2, nText) + "#";
        if (wType == LBN_CONST_STRING)
            return Quote(cursor.m_pImage + nData + 2, nText);
        return "<constant of type " + Hex(wType) + ">";
    }
    case LBN_VARIABLE:
    {
        size_t nText = strnlen(pszData, nLength);
        if (nText == nLength)
            data.Fail("a variable's name has no terminating zero");
        std::string strName(pszData, nText);
        return fNameWanted ? "NameOf(" + strName + ")" : strName;
    }
    case LBN_FUNCTION:
        return Function(data, nDepth);
    case LBN_ARRAY:
        return Array(data, fNameWanted, nDepth);
    default:
        return "<node kind " + Hex(wKindWord & LBN_KIND_MASK) + ">";
    }
}

std::string CLumDisassembler::Function(Cursor& data, int nDepth)
{
    unsigned short wToken = data.Word("a function node");
    std::string strName = TokenText(wToken);
    if (wToken == LBT_USERFUNCTION)
        strName += " " + data.Text("the name of a user function");
    else if (const CLumExtensionTable::Entry* pEntry =
                 m_pExtensions != nullptr ? m_pExtensions->FindToken(wToken) : nullptr)
        strName = pEntry->m_strName;
    std::string strArgs;
    unsigned short w = 0;
    while (data.PeekWord(w) && w == LBT_EXPRESSION)
    {
        data.Word();
        strArgs += (strArgs.empty() ? "" : ", ") + Tree(data, nDepth + 1);
    }
    return strName + "(" + strArgs + ")" + StreamEnd(data);
}

// A stream inside a node should end with its separator and nothing behind it.
std::string CLumDisassembler::StreamEnd(Cursor& data)
{
    unsigned short w = 0;
    if (data.PeekWord(w) && w == LBT_SEPARATOR)
        data.Word();
    else
        return data.AtEnd() ? " <no separator>" : " <list ends at " + TokenText(w) + ">";
    return data.AtEnd() ? "" : " <" + std::to_string(data.Left()) + " bytes more>";
}

std::string CLumDisassembler::Array(Cursor& data, bool fNameWanted, int nDepth)
{
    const uint8_t* p = data.m_pImage;
    size_t nName = data.m_nBegin;
    while (nName + 1 < data.m_nEnd && !(p[nName] == 0x82 && p[nName + 1] == 0xFD))
        ++nName;
    if (nName + 1 >= data.m_nEnd)
        data.Fail("an array node has no index");
    std::string strText(reinterpret_cast<const char*>(p + data.m_nBegin), nName - data.m_nBegin);
    data.m_nPos = nName;
    std::string strIndices;
    unsigned short w = 0;
    while (data.PeekWord(w) && w == LBT_INDEX)
    {
        data.Word();
        if (data.Word("an index") != LBT_EXPRESSION)
            data.Fail("expected LBT_EXPRESSION behind LBT_INDEX");
        strIndices += (strIndices.empty() ? "" : ", ") + Tree(data, nDepth + 1);
    }
    std::string strElement = strText + "[" + strIndices + "]";
    if (!data.AtEnd())
        strElement += " <" + std::to_string(data.Left()) + " bytes more>";
    return fNameWanted ? "NameOf(" + strElement + ")" : strElement;
}
