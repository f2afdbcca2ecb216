#include "LumFormatter.h"

#include "LumParser.h"

#include <algorithm>

namespace
{
constexpr int INDENT = 4;

bool IsEnd(const SLumLexToken& token)
{
    return token.m_eKind == ELumLex::EndOfStatement || token.m_eKind == ELumLex::EndOfFile;
}

bool IsName(const SLumLexToken& token)
{
    return token.m_eKind == ELumLex::Word && !CLumParser::IsReserved(token.m_strText);
}

bool IsOperator(const SLumLexToken& token)
{
    return token.m_eKind == ELumLex::Symbol && !token.IsSymbol("(") && !token.IsSymbol(")") &&
           !token.IsSymbol(",");
}
} // namespace

CLumFormatter::CLumFormatter(std::string_view source) : m_source(source)
{
    // The faults of the source are the compiler's to report; the formatter keeps
    // whatever tokens the lexer made of it.
    CLumDiagnostics diagnostics;
    CLumLexer lexer(source, diagnostics);
    m_aTokens = lexer.Run();
    m_aComments = lexer.GetComments();
    if (source.substr(0, 3) == "\xEF\xBB\xBF")
        m_nBom = 3;
}

std::string CLumFormatter::Run()
{
    SplitLines();
    std::string strOut(m_source.substr(0, m_nBom));
    size_t nToken = 0;
    for (size_t i = 0; i < m_aLines.size(); ++i)
        FormatLine(static_cast<int>(i) + 1, nToken, strOut);
    return strOut;
}

// Each line keeps its own break; a last line with text gets the break of the first.
void CLumFormatter::SplitLines()
{
    m_aLines.clear();
    size_t nStart = m_nBom;
    while (nStart <= m_source.size())
    {
        size_t nBreak = m_source.find('\n', nStart);
        if (nBreak == std::string_view::npos)
        {
            std::string_view text = m_source.substr(nStart);
            std::string_view ending = m_aLines.empty() ? std::string_view("\n") : m_aLines.front().m_ending;
            m_aLines.push_back(Line{text, text.empty() ? std::string_view() : ending});
            break;
        }
        bool fCarriage = nBreak > nStart && m_source[nBreak - 1] == '\r';
        m_aLines.push_back(Line{m_source.substr(nStart, nBreak - nStart - (fCarriage ? 1 : 0)),
                                fCarriage ? std::string_view("\r\n") : std::string_view("\n")});
        nStart = nBreak + 1;
    }
}

bool CLumFormatter::StartsStatement(size_t nToken) const
{
    return nToken == 0 || m_aTokens[nToken - 1].m_eKind == ELumLex::EndOfStatement;
}

// Block Ifs end their head at Then; a one-line If has statements behind it.
bool CLumFormatter::IsBlockIf(size_t nToken) const
{
    for (size_t i = nToken + 1; i < m_aTokens.size() && !IsEnd(m_aTokens[i]); ++i)
        if (m_aTokens[i].IsWord("Then"))
            return i + 1 < m_aTokens.size() && IsEnd(m_aTokens[i + 1]);
    return false;
}

// The block depth behind the word that starts a statement.
void CLumFormatter::Statement(size_t nToken)
{
    if (m_fSingleLineIf)
        return;
    const SLumLexToken& token = m_aTokens[nToken];
    const SLumLexToken& next = nToken + 1 < m_aTokens.size() ? m_aTokens[nToken + 1] : token;
    if (token.IsWord("Sub") || token.IsWord("Function") || token.IsWord("For") || token.IsWord("While") ||
        token.IsWord("Do"))
        ++m_nDepth;
    else if ((token.IsWord("End") && (next.IsWord("Sub") || next.IsWord("Function") || next.IsWord("If"))) ||
             token.IsWord("Next") || token.IsWord("Wend") || token.IsWord("Loop"))
        m_nDepth = std::max(0, m_nDepth - 1);
    else if (token.IsWord("If"))
    {
        if (IsBlockIf(nToken))
            ++m_nDepth;
        else
            m_fSingleLineIf = true;
    }
}

// A sign in front of an operand, written close to it: behind an operator, a bracket,
// a comma, a keyword, or the name of a procedure that a statement calls.
bool CLumFormatter::IsUnary(size_t nToken) const
{
    const SLumLexToken& token = m_aTokens[nToken];
    if (!token.IsSymbol("-") && !token.IsSymbol("+"))
        return false;
    if (nToken == 0)
        return true;
    const SLumLexToken& prev = m_aTokens[nToken - 1];
    if (prev.m_eKind == ELumLex::EndOfStatement || prev.IsSymbol("(") || prev.IsSymbol(",") ||
        IsOperator(prev))
        return true;
    if (prev.m_eKind != ELumLex::Word)
        return false;
    if (!IsName(prev))
        return true;
    return StartsStatement(nToken - 1) || (nToken >= 2 && m_aTokens[nToken - 2].IsWord("Call"));
}

std::string CLumFormatter::Spacing(size_t nPrev, size_t nToken) const
{
    const SLumLexToken& prev = m_aTokens[nPrev];
    const SLumLexToken& token = m_aTokens[nToken];
    if (prev.m_eKind == ELumLex::EndOfStatement || token.m_eKind == ELumLex::EndOfStatement)
        return " ";
    if (token.IsSymbol(",") || token.IsSymbol(")") || prev.IsSymbol("(") || IsUnary(nPrev))
        return "";
    if (token.IsSymbol("("))
        return IsName(prev) || prev.IsWord("NameOf") ? "" : " ";
    return " ";
}

std::string CLumFormatter::TokenText(const SLumLexToken& token) const
{
    if (token.m_eKind == ELumLex::Word)
        if (const char* pszKeyword = CLumParser::Keyword(token.m_strText))
            return pszKeyword;
    return std::string(m_source.substr(token.m_nOffset, token.m_nLength));
}

// Columns as a reader counts them: a character of several UTF-8 bytes is one.
size_t CLumFormatter::Width(std::string_view text) const
{
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// The indentation of a line: its statement's block depth, one less for a line that
// closes a block or starts its other part, one more for a continued line.
int CLumFormatter::LineIndent(size_t nFirst, bool fContent) const
{
    if (m_fContinued)
        return m_nStatementIndent + 1;
    if (!fContent || !StartsStatement(nFirst))
        return m_nDepth;
    const SLumLexToken& first = m_aTokens[nFirst];
    const SLumLexToken& next = nFirst + 1 < m_aTokens.size() ? m_aTokens[nFirst + 1] : first;
    bool fCloses =
        (first.IsWord("End") && (next.IsWord("Sub") || next.IsWord("Function") || next.IsWord("If"))) ||
        first.IsWord("Next") || first.IsWord("Wend") || first.IsWord("Loop") || first.IsWord("Else") ||
        first.IsWord("ElseIf");
    return fCloses ? std::max(0, m_nDepth - 1) : m_nDepth;
}

// The tokens of one line, written anew. Bytes between them that the lexer made no
// token of (a stray character of a faulty source) stay as they stand.
std::string CLumFormatter::LineTokens(const Line& line, size_t nFirst, size_t nLast, bool fContinues,
                                      const SLumComment* pComment)
{
    std::string strText;
    size_t nEnd = static_cast<size_t>(line.m_text.data() - m_source.data());
    size_t nPrev = std::string::npos;
    for (size_t i = nFirst; i < nLast; ++i)
    {
        const SLumLexToken& token = m_aTokens[i];
        if (token.m_eKind == ELumLex::EndOfStatement && token.m_fNewLine)
        {
            m_fSingleLineIf = false;
            continue;
        }
        if (StartsStatement(i))
            Statement(i);
        std::string_view gap = m_source.substr(nEnd, token.m_nOffset - nEnd);
        if (gap.find_first_not_of(" \t\r") != std::string_view::npos)
            strText += nPrev == std::string::npos ? gap.substr(gap.find_first_not_of(" \t")) : gap;
        else if (nPrev != std::string::npos)
            strText += Spacing(nPrev, i);
        strText += token.m_eKind == ELumLex::EndOfStatement ? ":" : TokenText(token);
        nEnd = token.m_nOffset + token.m_nLength;
        nPrev = i;
    }
    // What stands behind the last token, up to the comment: a continuation mark, or
    // stray bytes.
    size_t nLimit = pComment != nullptr
                        ? pComment->m_nOffset
                        : static_cast<size_t>(line.m_text.data() - m_source.data()) + line.m_text.size();
    std::string_view rest = m_source.substr(nEnd, nLimit > nEnd ? nLimit - nEnd : 0);
    rest = rest.substr(0, rest.find_last_not_of(" \t\r") + 1);
    if (fContinues && !rest.empty() && rest.back() == '_')
        rest.remove_suffix(1);
    if (!rest.empty() && rest.find_first_not_of(" \t") != std::string_view::npos)
        strText += rest;
    return strText;
}

void CLumFormatter::FormatLine(int nLine, size_t& nToken, std::string& strOut)
{
    const Line& line = m_aLines[static_cast<size_t>(nLine) - 1];
    size_t nFirst = nToken;
    while (nToken < m_aTokens.size() && m_aTokens[nToken].m_eKind != ELumLex::EndOfFile &&
           m_aTokens[nToken].m_pos.m_nLine == nLine)
        ++nToken;
    bool fContent =
        nToken > nFirst && !(nToken == nFirst + 1 && m_aTokens[nFirst].m_eKind == ELumLex::EndOfStatement &&
                             m_aTokens[nFirst].m_nLength == 0);
    while (m_nComment < m_aComments.size() && m_aComments[m_nComment].m_pos.m_nLine < nLine)
        ++m_nComment;
    const SLumComment* pComment =
        m_nComment < m_aComments.size() && m_aComments[m_nComment].m_pos.m_nLine == nLine
            ? &m_aComments[m_nComment]
            : nullptr;

    int nIndent = LineIndent(nFirst, fContent);
    if (!m_fContinued)
        m_nStatementIndent = nIndent;
    m_fContinued = fContent && m_aTokens[nToken - 1].m_eKind != ELumLex::EndOfStatement;
    std::string strText = LineTokens(line, nFirst, nToken, m_fContinued, pComment);
    if (m_fContinued)
        strText += " _";
    if (pComment != nullptr)
    {
        std::string_view comment = m_source.substr(pComment->m_nOffset, pComment->m_nLength);
        if (strText.empty())
            strText = std::string(comment);
        else
        {
            // A comment behind code keeps its column, moved with the line's
            // indentation, as long as the code leaves room.
            size_t nLineStart = static_cast<size_t>(line.m_text.data() - m_source.data());
            size_t nOldIndent = std::min(line.m_text.size(), line.m_text.find_first_not_of(" \t"));
            size_t nColumn = Width(line.m_text.substr(0, pComment->m_nOffset - nLineStart)) - nOldIndent +
                             static_cast<size_t>(nIndent * INDENT);
            size_t nUsed = static_cast<size_t>(nIndent * INDENT) + Width(strText);
            strText += std::string(nColumn > nUsed ? nColumn - nUsed : 1, ' ');
            strText += comment;
        }
    }
    if (!strText.empty())
        strOut += std::string(static_cast<size_t>(nIndent * INDENT), ' ') + strText;
    strOut += line.m_ending;
}
