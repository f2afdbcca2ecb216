// The one canonical layout of a source: blocks indented by four spaces, keywords in
// the case the documentation writes them, one space around operators and behind
// commas, none inside brackets. Every line stays the line it was, with its comment,
// so line markers, breakpoints and profile counts keep meaning the same lines.
//
// The formatter reads the source as the compiler's lexer does and writes its tokens
// anew; it changes only the white space between them and the case of keywords.
// LumFormatChecked (LumFormatCheck.h) proves for each source that this changed
// nothing the program does.
#pragma once

#include "LumLexer.h"

#include <string>
#include <string_view>
#include <vector>

class CLumFormatter
{
public:
    explicit CLumFormatter(std::string_view source);
    std::string Run();

private:
    struct Line
    {
        std::string_view m_text;
        // "\n", "\r\n", or empty for a last line without a break.
        std::string_view m_ending;
    };

    void SplitLines();
    void FormatLine(int nLine, size_t& nToken, std::string& strOut);
    int LineIndent(size_t nFirst, bool fContent) const;
    std::string LineTokens(const Line& line, size_t nFirst, size_t nLast, bool fContinues,
                           const SLumComment* pComment);
    void Statement(size_t nToken);
    bool IsBlockIf(size_t nToken) const;
    bool StartsStatement(size_t nToken) const;
    bool IsUnary(size_t nToken) const;
    std::string Spacing(size_t nPrev, size_t nToken) const;
    std::string TokenText(const SLumLexToken& token) const;
    size_t Width(std::string_view text) const;

    std::string_view m_source;
    std::vector<SLumLexToken> m_aTokens;
    std::vector<SLumComment> m_aComments;
    std::vector<Line> m_aLines;
    // The first comment not yet placed.
    size_t m_nComment = 0;
    size_t m_nBom = 0;
    // The block depth at the current token; the depth at the start of the statement
    // that a continued line belongs to.
    int m_nDepth = 0;
    int m_nStatementIndent = 0;
    // Inside a one-line If, Else separates its parts and opens no block.
    bool m_fSingleLineIf = false;
    bool m_fContinued = false;
};
