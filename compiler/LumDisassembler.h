// A readable listing of a program image: one line per statement and mark, with its
// offset, its token name and its operands, trees as nested expressions and skips as
// the offsets they lead to. The image may be damaged: every read is checked, and
// where the walk cannot go on the listing says where and why.
#pragma once

#include "LumExtensionTable.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

class CLumDisassembler
{
public:
    explicit CLumDisassembler(const CLumExtensionTable* pExtensions = nullptr) : m_pExtensions(pExtensions) {}

    // The listing of the image; false if the walk stopped early or a jump leads to
    // no statement.
    bool Run(const uint8_t* pImage, size_t nSize, std::string& strListing);

private:
    struct Cursor;
    struct Fault
    {
        size_t m_nOffset;
        std::string m_strWhy;
    };

    void Statement(Cursor& cursor, std::string& strLine);
    void Operands(unsigned short wToken, Cursor& cursor, std::string& strLine);
    void Jump(unsigned short wToken, Cursor& cursor, std::string& strLine);
    void Declaration(Cursor& cursor, std::string& strLine);
    void Assignment(Cursor& cursor, std::string& strLine);
    void Dim(Cursor& cursor, std::string& strLine);
    void Skip(Cursor& cursor, size_t nBase, int32_t nSkip, std::string& strLine);
    std::string ArgumentList(Cursor& cursor);
    std::string Tree(Cursor& cursor, int nDepth);
    std::string Node(Cursor& cursor, unsigned short wKindWord, size_t nData, size_t nLength, int nDepth);
    std::string Function(Cursor& data, int nDepth);
    std::string Array(Cursor& data, bool fNameWanted, int nDepth);
    std::string StreamEnd(Cursor& data);

    const CLumExtensionTable* m_pExtensions;
    size_t m_nSize = 0;
    std::set<size_t> m_setStatements;
    // Jump targets and where each jump stands.
    std::set<std::pair<size_t, size_t>> m_setTargets;
};
