// Writes images statement by statement, for the forms the compiler does not write
// and for the benchmarks: structured blocks get their skips from labels,
// procedures their offsets from Declare.
#pragma once

#include "tools/imagewriter/LumImageWriter.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumtest
{
class CTestProgram
{
public:
    using Tree = CLumTree;

    CLumImageWriter& Writer() { return m_w; }

    void Assign(const char* pszName, const Tree& value)
    {
        m_w.Token(LBT_ASSIGN);
        m_w.Token(LBT_NAME);
        m_w.CountedText(pszName);
        m_w.Expression(value);
        m_w.Separator();
    }
    void If(const Tree& condition)
    {
        m_w.Token(LBT_IF);
        int nSkip = m_w.Skip(Open(LBT_IF).m_nFalse);
        m_w.Expression(condition);
        m_w.SkipFrom(nSkip);
        m_w.Separator();
    }
    // The false skip of If lands on the Else, where the compiler lets it land behind.
    void Else()
    {
        Block& block = Top(LBT_IF);
        m_w.Place(block.m_nFalse);
        m_w.Token(LBT_ELSE);
        m_w.Skip(block.m_nEnd);
        m_w.Separator();
        block.m_fElse = true;
    }
    void EndIf()
    {
        Block block = Close(LBT_IF);
        m_w.Place(block.m_nEnd);
        if (!block.m_fElse)
            m_w.Place(block.m_nFalse);
        m_w.Token(LBT_ENDIF);
        m_w.Separator();
    }

    void For(const char* pszCounter, const Tree& start, const Tree& end)
    {
        ForHead(pszCounter, start, end);
        Body();
    }
    void For(const char* pszCounter, const Tree& start, const Tree& end, const Tree& step)
    {
        ForHead(pszCounter, start, end);
        m_w.Expression(step);
        Body();
    }
    void Next()
    {
        Block block = Close(LBT_FOR);
        m_w.Token(LBT_NEXT);
        m_w.Skip(block.m_nBody);
        m_w.Separator();
    }

    void Do()
    {
        Open(LBT_DO);
        m_w.Token(LBT_DO);
        m_w.Separator();
        m_w.Place(m_aBlocks.back().m_nBody);
    }
    // Loop While with LBT_WHILE, Loop Until with any other kind word.
    void Loop(unsigned short wKind, const Tree& condition)
    {
        Block block = Close(LBT_DO);
        m_w.Token(LBT_LOOP);
        m_w.Word(wKind);
        int nSkip = m_w.Skip(block.m_nBody);
        m_w.Expression(condition);
        m_w.SkipFrom(nSkip);
        m_w.Separator();
    }

    void Declare(const std::string& strName)
    {
        m_w.Token(LBT_DECLARE);
        m_w.Word(0);
        m_w.Word(0);
        m_w.ProcOffset(HeadLabel(strName));
        m_w.CountedText(strName);
        m_w.CountedText("Declare " + strName);
        m_w.Separator();
    }
    // A procedure head; its Declare may stand before or after it.
    void Sub(const std::string& strName, const char* pszParams = "", unsigned short wToken = LBT_SUB)
    {
        m_w.Place(HeadLabel(strName));
        m_w.Token(wToken);
        m_w.CountedText(strName);
        m_w.CountedText(pszParams);
    }
    void Function(const std::string& strName, const char* pszParams = "")
    {
        Sub(strName, pszParams, LBT_FUNCTION);
    }
    void End(unsigned short wKind = LBT_SUB)
    {
        m_w.Token(LBT_END);
        m_w.Token(wKind);
        m_w.Separator();
    }
    void Call(const char* pszName, const std::vector<Tree>& aArgs = {})
    {
        m_w.Token(LBT_CALL);
        m_w.CountedText(pszName);
        for (const Tree& arg : aArgs)
            m_w.Expression(arg);
        m_w.Separator();
    }
    void Terminator() { m_w.Terminator(); }

    std::vector<uint8_t> Finish() const
    {
        if (!m_aBlocks.empty())
            throw std::logic_error("program has an open block");
        return m_w.Finish();
    }

private:
    struct Block
    {
        unsigned short m_wKind;
        CLumImageWriter::Label m_nBody;
        CLumImageWriter::Label m_nFalse;
        CLumImageWriter::Label m_nEnd;
        bool m_fElse;
    };

    Block& Open(unsigned short wKind)
    {
        m_aBlocks.push_back(Block{wKind, m_w.NewLabel(), m_w.NewLabel(), m_w.NewLabel(), false});
        return m_aBlocks.back();
    }
    Block& Top(unsigned short wKind)
    {
        if (m_aBlocks.empty() || m_aBlocks.back().m_wKind != wKind)
            throw std::logic_error("program blocks are not nested properly");
        return m_aBlocks.back();
    }
    Block Close(unsigned short wKind)
    {
        Block block = Top(wKind);
        m_aBlocks.pop_back();
        return block;
    }
    void ForHead(const char* pszCounter, const Tree& start, const Tree& end)
    {
        m_w.Token(LBT_FOR);
        m_w.CountedText(pszCounter);
        m_w.Expression(start);
        m_w.Expression(end);
    }
    void Body()
    {
        m_w.Separator();
        m_w.Place(Open(LBT_FOR).m_nBody);
    }
    CLumImageWriter::Label HeadLabel(const std::string& strName)
    {
        auto it = m_mapHeads.find(strName);
        if (it == m_mapHeads.end())
            it = m_mapHeads.emplace(strName, m_w.NewLabel()).first;
        return it->second;
    }

    CLumImageWriter m_w;
    std::vector<Block> m_aBlocks;
    std::map<std::string, CLumImageWriter::Label> m_mapHeads;
};

// Sub Main with the body that `body` writes, then the terminator; procedures that
// `procedures` writes follow behind it, out of the straight-line path.
inline std::vector<uint8_t> MainImage(const std::function<void(CTestProgram&)>& body,
                                      const std::function<void(CTestProgram&)>& procedures = nullptr)
{
    CTestProgram p;
    p.Sub("Main");
    body(p);
    p.End();
    p.Terminator();
    if (procedures)
        procedures(p);
    return p.Finish();
}

// Main calls P, whose body `body` writes: for statements that only run inside a
// called procedure.
inline std::vector<uint8_t> MainCallingP(const std::function<void(CLumImageWriter&)>& body)
{
    CTestProgram p;
    p.Declare("P");
    p.Sub("Main");
    p.Call("P");
    p.End();
    p.Terminator();
    p.Sub("P");
    body(p.Writer());
    p.End();
    return p.Finish();
}

// Short names for trees.
inline CLumTree L(int32_t n)
{
    return CLumTree::LongConst(n);
}
inline CLumTree D(double d)
{
    return CLumTree::DoubleConst(d);
}
inline CLumTree S(const char* psz)
{
    return CLumTree::StringConst(psz);
}
inline CLumTree V(const char* pszName)
{
    return CLumTree::Variable(pszName);
}
inline CLumTree Op(unsigned short wToken, const CLumTree& left, const CLumTree& right)
{
    return CLumTree::Operator(wToken, left, right);
}
inline CLumTree Fn(const char* pszName, const std::vector<CLumTree>& aArgs = {})
{
    return CLumTree::UserFunction(pszName, aArgs);
}
} // namespace lumtest
