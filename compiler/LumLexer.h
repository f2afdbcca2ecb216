// Splits a source into tokens. Comments and line continuations vanish here; the end
// of a line and ":" both end a statement and come out as one kind of token. Each
// token keeps where its bytes stand, and the comments are kept aside, so that tools
// (the formatter, the language server) see the source through the compiler's eyes.
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
    // Behind the token's last byte.
    SLumPos m_posEnd;
    // The token's bytes in the source, quotes and type character included; an end of
    // statement is its ":" or an empty span at the line break.
    size_t m_nOffset = 0;
    size_t m_nLength = 0;
    // The statement ended at a line break rather than at a ":".
    bool m_fNewLine = false;

    bool Is(ELumLex eKind, std::string_view text) const;
    // Case-insensitive comparison with a keyword.
    bool IsWord(std::string_view keyword) const;
    bool IsSymbol(std::string_view symbol) const { return Is(ELumLex::Symbol, symbol); }
};

// A comment, from its "'" or Rem to the end of its line (a carriage return left out).
struct SLumComment
{
    SLumPos m_pos;
    size_t m_nOffset = 0;
    size_t m_nLength = 0;
};

bool LumEqualsNoCase(std::string_view a, std::string_view b);

class CLumLexer
{
public:
    CLumLexer(std::string_view source, CLumDiagnostics& diagnostics);
    std::vector<SLumLexToken> Run();
    // The comments Run passed over, in source order.
    const std::vector<SLumComment>& GetComments() const { return m_aComments; }

private:
    char Peek(size_t n = 0) const { return m_nPos + n < m_source.size() ? m_source[m_nPos + n] : '\0'; }
    bool AtEnd() const { return m_nPos >= m_source.size(); }
    SLumPos Here() const { return SLumPos{m_nLine, static_cast<int>(m_nPos - m_nLineStart) + 1}; }
    void NewLine();
    void SkipToEndOfLine();
    void SkipComment(size_t nStart);
    void Comment(size_t nStart, size_t nEnd);
    void Finish(SLumLexToken& token, size_t nStart);
    bool SkipContinuation();
    void EndStatement(bool fNewLine);
    void LexWord();
    void LexNumber();
    void LexString();
    void LexSymbol();

    std::string_view m_source;
    CLumDiagnostics& m_diagnostics;
    std::vector<SLumLexToken> m_aTokens;
    std::vector<SLumComment> m_aComments;
    size_t m_nPos = 0;
    size_t m_nLineStart = 0;
    int m_nLine = 1;
};
