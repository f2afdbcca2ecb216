// Splits a source into tokens. Comments and line continuations vanish here; the end
// of a line and ":" both end a statement and come out as one kind of token.
#pragma once

#include "LumDiagnostics.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class ELumLex
{
    Word,   // a keyword or a name, with its type character
    Long,   // an integer literal that fits in 32 bits
    Double, // any other number; the text is kept as written
    String, // the bytes between the quotes, "" made one quote
    Symbol, // ( ) , = < > <= >= <> + - * /
    EndOfStatement,
    EndOfFile,
};

struct SLumLexToken
{
    ELumLex m_eKind = ELumLex::EndOfFile;
    std::string m_strText;
    int32_t m_nLong = 0;
    SLumPos m_pos;
    // The statement ended at a line break rather than at a ":".
    bool m_fNewLine = false;

    bool Is(ELumLex eKind, std::string_view text) const;
    // Case-insensitive comparison with a keyword.
    bool IsWord(std::string_view keyword) const;
    bool IsSymbol(std::string_view symbol) const { return Is(ELumLex::Symbol, symbol); }
};

bool LumEqualsNoCase(std::string_view a, std::string_view b);

class CLumLexer
{
public:
    CLumLexer(std::string_view source, CLumDiagnostics& diagnostics);
    std::vector<SLumLexToken> Run();

private:
    char Peek(size_t n = 0) const { return m_nPos + n < m_source.size() ? m_source[m_nPos + n] : '\0'; }
    bool AtEnd() const { return m_nPos >= m_source.size(); }
    SLumPos Here() const { return SLumPos{m_nLine, static_cast<int>(m_nPos - m_nLineStart) + 1}; }
    void NewLine();
    void SkipToEndOfLine();
    bool SkipContinuation();
    void EndStatement(bool fNewLine);
    void LexWord();
    void LexNumber();
    void LexString();
    void LexSymbol();

    std::string_view m_source;
    CLumDiagnostics& m_diagnostics;
    std::vector<SLumLexToken> m_aTokens;
    size_t m_nPos = 0;
    size_t m_nLineStart = 0;
    int m_nLine = 1;
};
