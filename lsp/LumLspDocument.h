// A document the editor has open: its unsaved text, kept in step with every change
// the editor sends, and the translation between the editor's positions (0-based
// lines, characters in the agreed encoding) and the compiler's (1-based lines,
// 1-based byte columns).
#pragma once

#include "LumDiagnostics.h"
#include "LumLspProtocol.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CLumLspDocument
{
public:
    CLumLspDocument(std::string strUri, std::string strText, int64_t nVersion);

    const std::string& GetUri() const { return m_strUri; }
    const std::string& GetText() const { return m_strText; }
    // The file the URI names; empty for a document that is no file.
    const std::string& GetPath() const { return m_strPath; }
    int64_t GetVersion() const { return m_nVersion; }

    // One entry of didChange's contentChanges: with a range, incremental; without,
    // the whole text. Positions beyond the text are taken as its end.
    void Change(const json& change, ELumEncoding eEncoding);
    void SetVersion(int64_t nVersion) { m_nVersion = nVersion; }

    int GetLineCount() const { return static_cast<int>(m_aLineStarts.size()); }
    // A line, 0-based, without its break.
    std::string_view GetLine(int nLine) const;
    // The byte offset of an editor position, and the compiler's position of it.
    size_t Offset(const json& position, ELumEncoding eEncoding) const;
    SLumPos CompilerPos(const json& position, ELumEncoding eEncoding) const;
    // The editor's position and range of compiler positions.
    json Position(SLumPos pos, ELumEncoding eEncoding) const;
    json Range(SLumPos start, SLumPos end, ELumEncoding eEncoding) const;
    // The range of a whole line, 0-based, without its break.
    json LineRange(int nLine, ELumEncoding eEncoding) const;

private:
    void IndexLines();
    // The characters of the first `nBytes` bytes of a line, in the encoding.
    size_t Characters(std::string_view line, size_t nBytes, ELumEncoding eEncoding) const;
    // The byte in a line of the compiler's column: the lexer counts line 1 behind a
    // byte order mark.
    size_t ByteOfColumn(int nLine, int nColumn) const;

    std::string m_strUri;
    std::string m_strPath;
    std::string m_strText;
    int64_t m_nVersion;
    std::vector<size_t> m_aLineStarts;
};
