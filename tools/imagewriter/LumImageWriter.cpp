#include "LumImageWriter.h"

#include <cstdio>
#include <stdexcept>

namespace
{
void PutWord(std::vector<uint8_t>& a, unsigned short w)
{
    a.push_back(static_cast<uint8_t>(w & 0xFF));
    a.push_back(static_cast<uint8_t>(w >> 8));
}

void PutDWord(std::vector<uint8_t>& a, int32_t n)
{
    uint32_t u = static_cast<uint32_t>(n);
    for (int i = 0; i < 4; ++i)
        a.push_back(static_cast<uint8_t>(u >> (8 * i)));
}

void PutText(std::vector<uint8_t>& a, std::string_view text)
{
    a.insert(a.end(), text.begin(), text.end());
    a.push_back(0);
}
} // namespace

CLumTree CLumTree::Node(unsigned short wKindWord, const std::vector<uint8_t>& aData)
{
    if (aData.size() > 0xFFFF)
        throw std::length_error("expression node data longer than 65535 bytes");
    CLumTree tree;
    PutWord(tree.m_aBytes, wKindWord);
    PutWord(tree.m_aBytes, static_cast<unsigned short>(aData.size()));
    tree.m_aBytes.insert(tree.m_aBytes.end(), aData.begin(), aData.end());
    return tree;
}

CLumTree CLumTree::LongConst(int32_t n)
{
    std::vector<uint8_t> a;
    PutWord(a, LBN_CONST_LONG);
    PutDWord(a, n);
    return Node(LBN_CONSTANT, a);
}

CLumTree CLumTree::DoubleConst(std::string_view text)
{
    std::vector<uint8_t> a;
    PutWord(a, LBN_CONST_DOUBLE);
    PutText(a, text);
    return Node(LBN_CONSTANT, a);
}

CLumTree CLumTree::DoubleConst(double d)
{
    char buffer[64];
    snprintf(buffer, sizeof buffer, "%.17g", d);
    return DoubleConst(std::string_view(buffer));
}

CLumTree CLumTree::StringConst(std::string_view text)
{
    std::vector<uint8_t> a;
    PutWord(a, LBN_CONST_STRING);
    PutText(a, text);
    return Node(LBN_CONSTANT, a);
}

CLumTree CLumTree::Variable(std::string_view name, bool fNameWanted)
{
    std::vector<uint8_t> a;
    PutText(a, name);
    return Node(static_cast<unsigned short>(LBN_VARIABLE | (fNameWanted ? LBN_NAMEWANTED : 0)), a);
}

CLumTree CLumTree::Array(std::string_view name, const std::vector<CLumTree>& aIndices, bool fNameWanted)
{
    if (aIndices.empty())
        throw std::invalid_argument("an array node needs at least one index");
    std::vector<uint8_t> a(name.begin(), name.end());
    for (const CLumTree& index : aIndices)
    {
        PutWord(a, LBT_INDEX);
        PutWord(a, LBT_EXPRESSION);
        a.insert(a.end(), index.m_aBytes.begin(), index.m_aBytes.end());
    }
    return Node(static_cast<unsigned short>(LBN_ARRAY | (fNameWanted ? LBN_NAMEWANTED : 0)), a);
}

CLumTree CLumTree::Operator(unsigned short wToken, const CLumTree& left, const CLumTree& right)
{
    std::vector<uint8_t> a;
    PutWord(a, wToken);
    CLumTree tree = Node(LBN_OPERATOR, a);
    tree.m_aBytes.insert(tree.m_aBytes.end(), left.m_aBytes.begin(), left.m_aBytes.end());
    tree.m_aBytes.insert(tree.m_aBytes.end(), right.m_aBytes.begin(), right.m_aBytes.end());
    return tree;
}

CLumTree CLumTree::Function(unsigned short wToken, const std::vector<CLumTree>& aArgs, bool fSeparator)
{
    std::vector<uint8_t> a;
    PutWord(a, wToken);
    for (const CLumTree& arg : aArgs)
    {
        PutWord(a, LBT_EXPRESSION);
        a.insert(a.end(), arg.m_aBytes.begin(), arg.m_aBytes.end());
    }
    if (fSeparator)
        PutWord(a, LBT_SEPARATOR);
    return Node(LBN_FUNCTION, a);
}

CLumTree CLumTree::UserFunction(std::string_view name, const std::vector<CLumTree>& aArgs)
{
    std::vector<uint8_t> a;
    PutWord(a, LBT_USERFUNCTION);
    PutWord(a, static_cast<unsigned short>(name.size() + 1));
    PutText(a, name);
    for (const CLumTree& arg : aArgs)
    {
        PutWord(a, LBT_EXPRESSION);
        a.insert(a.end(), arg.m_aBytes.begin(), arg.m_aBytes.end());
    }
    PutWord(a, LBT_SEPARATOR);
    return Node(LBN_FUNCTION, a);
}

CLumTree CLumTree::Raw(unsigned short wKindWord, const std::vector<uint8_t>& aData)
{
    return Node(wKindWord, aData);
}

void CLumImageWriter::Word(unsigned short w)
{
    PutWord(m_aBytes, w);
}

void CLumImageWriter::DWord(int32_t n)
{
    PutDWord(m_aBytes, n);
}

void CLumImageWriter::Bytes(const void* p, size_t n)
{
    const uint8_t* pb = static_cast<const uint8_t*>(p);
    m_aBytes.insert(m_aBytes.end(), pb, pb + n);
}

void CLumImageWriter::CountedText(std::string_view text)
{
    if (text.size() + 1 > 0xFFFF)
        throw std::length_error("counted text longer than 65534 bytes");
    Word(static_cast<unsigned short>(text.size() + 1));
    PutText(m_aBytes, text);
}

void CLumImageWriter::Expression(const CLumTree& tree)
{
    Token(LBT_EXPRESSION);
    Tree(tree);
}

void CLumImageWriter::Tree(const CLumTree& tree)
{
    Bytes(tree.GetBytes().data(), tree.GetBytes().size());
}

void CLumImageWriter::SourceName(std::string_view path)
{
    Token(LBT_SOURCENAME);
    CountedText(path);
}

void CLumImageWriter::DebugInfo(int32_t nLine)
{
    Token(LBT_DEBUGINFO);
    DWord(nLine);
}

CLumImageWriter::Label CLumImageWriter::NewLabel()
{
    m_aLabels.push_back(-1);
    return static_cast<Label>(m_aLabels.size() - 1);
}

void CLumImageWriter::Place(Label label)
{
    m_aLabels.at(static_cast<size_t>(label)) = static_cast<long>(m_aBytes.size());
}

int CLumImageWriter::Skip(Label target)
{
    size_t nField = m_aBytes.size();
    DWord(0);
    m_aFixups.push_back(Fixup{nField, m_aBytes.size(), target, false});
    return static_cast<int>(m_aFixups.size() - 1);
}

void CLumImageWriter::SkipFrom(int nSkip)
{
    m_aFixups.at(static_cast<size_t>(nSkip)).m_nBase = m_aBytes.size();
}

void CLumImageWriter::ProcOffset(Label target)
{
    size_t nField = m_aBytes.size();
    DWord(0);
    m_aFixups.push_back(Fixup{nField, 0, target, true});
}

std::vector<uint8_t> CLumImageWriter::Finish() const
{
    std::vector<uint8_t> aImage = m_aBytes;
    for (const Fixup& fixup : m_aFixups)
    {
        long nTarget = m_aLabels.at(static_cast<size_t>(fixup.m_nTarget));
        if (nTarget < 0)
            throw std::logic_error("image label used but never placed");
        int32_t nValue =
            static_cast<int32_t>(fixup.m_fAbsolute ? nTarget : nTarget - static_cast<long>(fixup.m_nBase));
        uint32_t u = static_cast<uint32_t>(nValue);
        for (int i = 0; i < 4; ++i)
            aImage[fixup.m_nField + static_cast<size_t>(i)] = static_cast<uint8_t>(u >> (8 * i));
    }
    return aImage;
}

bool CLumImageWriter::Save(const std::string& strPath) const
{
    std::vector<uint8_t> aImage = Finish();
    FILE* pFile = fopen(strPath.c_str(), "wb");
    if (pFile == nullptr)
        return false;
    bool fOk = fwrite(aImage.data(), 1, aImage.size(), pFile) == aImage.size();
    return fclose(pFile) == 0 && fOk;
}
