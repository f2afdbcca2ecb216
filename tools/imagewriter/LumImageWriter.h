// Writes program images: tokens, numbers, counted texts, expression trees with all
// node kinds, argument and index streams. Skips and procedure offsets refer to
// labels and are computed when the image is finished, never counted by hand.
#pragma once

#include <lumbasic/LumTokens.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// One expression tree as bytes, built bottom-up.
class CLumTree
{
public:
    static CLumTree LongConst(int32_t n);
    // A double constant keeps the text it is written with.
    static CLumTree DoubleConst(std::string_view text);
    static CLumTree DoubleConst(double d);
    static CLumTree StringConst(std::string_view text);
    static CLumTree Variable(std::string_view name, bool fNameWanted = false);
    static CLumTree Array(std::string_view name, const std::vector<CLumTree>& aIndices,
                          bool fNameWanted = false);
    static CLumTree Operator(unsigned short wToken, const CLumTree& left, const CLumTree& right);
    // A function node; the argument stream is closed with a separator so that the
    // callee's list ends inside the node whatever follows it.
    static CLumTree Function(unsigned short wToken, const std::vector<CLumTree>& aArgs,
                             bool fSeparator = true);
    // A call of a procedure of the program inside an expression.
    static CLumTree UserFunction(std::string_view name, const std::vector<CLumTree>& aArgs);
    // Any kind word with any data, for images that test the reader itself.
    static CLumTree Raw(unsigned short wKindWord, const std::vector<uint8_t>& aData);

    const std::vector<uint8_t>& GetBytes() const { return m_aBytes; }

private:
    static CLumTree Node(unsigned short wKindWord, const std::vector<uint8_t>& aData);
    std::vector<uint8_t> m_aBytes;
};

class CLumImageWriter
{
public:
    using Label = int;

    void Token(unsigned short wToken) { Word(wToken); }
    void Word(unsigned short w);
    void DWord(int32_t n);
    void Bytes(const void* p, size_t n);
    // Length word (text plus its zero), the text, the zero.
    void CountedText(std::string_view text);
    // Length word 0 and no bytes.
    void EmptyCountedText() { Word(0); }

    // LBT_EXPRESSION and the tree.
    void Expression(const CLumTree& tree);
    void Tree(const CLumTree& tree);

    void SourceName(std::string_view path);
    void DebugInfo(int32_t nLine);
    void Separator() { Token(LBT_SEPARATOR); }
    // Token 0: the end of the straight-line path.
    void Terminator() { Word(0); }

    Label NewLabel();
    // Binds the label to the current offset.
    void Place(Label label);
    // A 32-bit skip to `target`, counted from the byte behind the field unless
    // SkipFrom moves its base. Gives the skip's handle.
    int Skip(Label target);
    // The skip counts from the current offset (behind a tree that follows it).
    void SkipFrom(int nSkip);
    // A 32-bit offset of the label from the first byte of the image.
    void ProcOffset(Label target);

    size_t GetOffset() const { return m_aBytes.size(); }
    // The finished image; fails with std::logic_error on a label never placed.
    std::vector<uint8_t> Finish() const;
    // Writes the finished image to a file; false on failure.
    bool Save(const std::string& strPath) const;

private:
    struct Fixup
    {
        size_t m_nField;
        size_t m_nBase;
        Label m_nTarget;
        bool m_fAbsolute;
    };
    std::vector<uint8_t> m_aBytes;
    std::vector<long> m_aLabels;
    std::vector<Fixup> m_aFixups;
};
