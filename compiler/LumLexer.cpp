#include "LumLexer.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>

namespace
{
// Names travel into the image and into the store's keys; nobody needs longer ones.
constexpr size_t MAX_NAME = 255;

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}
} // namespace

bool LumEqualsNoCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (tolower(static_cast<unsigned char>(a[i])) != tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

bool SLumLexToken::Is(ELumLex eKind, std::string_view text) const
{
    return m_eKind == eKind && m_strText == text;
}

bool SLumLexToken::IsWord(std::string_view keyword) const
{
    return m_eKind == ELumLex::Word && LumEqualsNoCase(m_strText, keyword);
}

CLumLexer::CLumLexer(std::string_view source, CLumDiagnostics& diagnostics)
    : m_source(source), m_diagnostics(diagnostics)
{
    // The byte order mark some editors write in front of UTF-8 text.
    if (m_source.substr(0, 3) == "\xEF\xBB\xBF")
        m_nPos = m_nLineStart = 3;
}

std::vector<SLumLexToken> CLumLexer::Run()
{
    while (!AtEnd())
    {
        char c = Peek();
        if (c == ' ' || c == '\t' || c == '\r')
            ++m_nPos;
        else if (c == '\n')
        {
            EndStatement(true);
            ++m_nPos;
            NewLine();
        }
        else if (c == ':')
        {
            EndStatement(false);
            ++m_nPos;
        }
        else if (c == '\'')
            SkipComment(m_nPos);
        else if (c == '_' && SkipContinuation())
            continue;
        else if (IsLetter(c))
            LexWord();
        else if (IsDigit(c) || (c == '.' && IsDigit(Peek(1))))
            LexNumber();
        else if (c == '"')
            LexString();
        else
            LexSymbol();
    }
    EndStatement(true);
    SLumLexToken end;
    end.m_eKind = ELumLex::EndOfFile;
    end.m_pos = Here();
    Finish(end, m_nPos);
    m_aTokens.push_back(end);
    return std::move(m_aTokens);
}

void CLumLexer::NewLine()
{
    ++m_nLine;
    m_nLineStart = m_nPos;
}

void CLumLexer::SkipToEndOfLine()
{
    while (!AtEnd() && Peek() != '\n')
        ++m_nPos;
}

void CLumLexer::SkipComment(size_t nStart)
{
    SkipToEndOfLine();
    Comment(nStart, m_nPos);
}

void CLumLexer::Comment(size_t nStart, size_t nEnd)
{
    if (nEnd > nStart && m_source[nEnd - 1] == '\r')
        --nEnd;
    m_aComments.push_back(
        SLumComment{SLumPos{m_nLine, static_cast<int>(nStart - m_nLineStart) + 1}, nStart, nEnd - nStart});
}

void CLumLexer::Finish(SLumLexToken& token, size_t nStart)
{
    token.m_nOffset = nStart;
    token.m_nLength = m_nPos - nStart;
    token.m_posEnd = Here();
}

// A "_" as the last thing on a line joins the next line to this one.
bool CLumLexer::SkipContinuation()
{
    size_t n = 1;
    while (Peek(n) == ' ' || Peek(n) == '\t' || Peek(n) == '\r')
        ++n;
    size_t nComment = 0;
    if (Peek(n) == '\'')
    {
        nComment = n;
        while (m_nPos + n < m_source.size() && Peek(n) != '\n')
            ++n;
    }
    if (Peek(n) != '\n')
        return false;
    if (nComment > 0)
        Comment(m_nPos + nComment, m_nPos + n);
    m_nPos += n + 1;
    NewLine();
    return true;
}

// Empty statements are dropped here, so the parser never sees two ends in a row.
void CLumLexer::EndStatement(bool fNewLine)
{
    if (m_aTokens.empty() || m_aTokens.back().m_eKind == ELumLex::EndOfStatement)
        return;
    SLumLexToken token;
    token.m_eKind = ELumLex::EndOfStatement;
    token.m_pos = Here();
    token.m_fNewLine = fNewLine;
    token.m_nOffset = m_nPos;
    token.m_nLength = fNewLine ? 0 : 1;
    token.m_posEnd = SLumPos{m_nLine, token.m_pos.m_nColumn + static_cast<int>(token.m_nLength)};
    m_aTokens.push_back(token);
}

void CLumLexer::LexWord()
{
    SLumLexToken token;
    token.m_eKind = ELumLex::Word;
    token.m_pos = Here();
    size_t nStart = m_nPos;
    while (IsLetter(Peek()) || IsDigit(Peek()) || Peek() == '_')
        ++m_nPos;
    if (Peek() == '$' || Peek() == '%')
        ++m_nPos;
    token.m_strText = std::string(m_source.substr(nStart, m_nPos - nStart));
    Finish(token, nStart);
    if (token.m_strText.size() > MAX_NAME)
        m_diagnostics.Error(token.m_pos, "name-too-long",
                            "a name is at most " + std::to_string(MAX_NAME) + " characters long");
    bool fStatementStart = m_aTokens.empty() || m_aTokens.back().m_eKind == ELumLex::EndOfStatement;
    if (fStatementStart && token.IsWord("Rem"))
    {
        SkipComment(nStart);
        return;
    }
    m_aTokens.push_back(token);
}

void CLumLexer::LexNumber()
{
    SLumLexToken token;
    token.m_pos = Here();
    size_t nStart = m_nPos;
    bool fInteger = true;
    while (IsDigit(Peek()))
        ++m_nPos;
    if (Peek() == '.')
    {
        fInteger = false;
        ++m_nPos;
        while (IsDigit(Peek()))
            ++m_nPos;
    }
    if ((Peek() == 'e' || Peek() == 'E') &&
        (IsDigit(Peek(1)) || ((Peek(1) == '+' || Peek(1) == '-') && IsDigit(Peek(2)))))
    {
        fInteger = false;
        m_nPos += 2;
        while (IsDigit(Peek()))
            ++m_nPos;
    }
    token.m_strText = std::string(m_source.substr(nStart, m_nPos - nStart));
    Finish(token, nStart);
    token.m_eKind = ELumLex::Double;
    if (fInteger)
    {
        errno = 0;
        long long n = strtoll(token.m_strText.c_str(), nullptr, 10);
        if (errno == 0 && n <= 2147483647LL)
        {
            token.m_eKind = ELumLex::Long;
            token.m_nLong = static_cast<int32_t>(n);
        }
    }
    if (IsLetter(Peek()) || Peek() == '_')
        m_diagnostics.Error(Here(), "syntax",
                            "expected an operator or the end of the statement behind the number");
    m_aTokens.push_back(token);
}

void CLumLexer::LexString()
{
    SLumLexToken token;
    token.m_eKind = ELumLex::String;
    token.m_pos = Here();
    size_t nStart = m_nPos;
    ++m_nPos;
    for (;;)
    {
        if (AtEnd() || Peek() == '\n')
        {
            m_diagnostics.Error(token.m_pos, "unclosed-string", "missing closing quote of the string");
            break;
        }
        char c = Peek();
        ++m_nPos;
        if (c == '"')
        {
            if (Peek() != '"')
                break;
            ++m_nPos;
        }
        else if (c == '\0')
        {
            // The image keeps texts zero-terminated, so a zero byte would cut the text.
            m_diagnostics.Error(Here(), "zero-byte", "a string cannot hold a zero byte");
            continue;
        }
        token.m_strText += c;
    }
    Finish(token, nStart);
    m_aTokens.push_back(token);
}

void CLumLexer::LexSymbol()
{
    SLumLexToken token;
    token.m_eKind = ELumLex::Symbol;
    token.m_pos = Here();
    char c = Peek();
    char c2 = Peek(1);
    if ((c == '<' && (c2 == '=' || c2 == '>')) || (c == '>' && c2 == '='))
        token.m_strText = std::string{c, c2};
    else if (std::string_view("(),=<>+-*/").find(c) != std::string_view::npos)
        token.m_strText = std::string(1, c);
    else if (c == '^' || c == '\\' || c == '&')
    {
        // Said once; the parser goes on as if it were an operator it knows.
        m_diagnostics.Error(Here(), "unknown-operator",
                            std::string("the operator '") + c + "' is not part of the language");
        token.m_strText = "*";
        ++m_nPos;
        Finish(token, m_nPos - 1);
        m_aTokens.push_back(token);
        return;
    }
    else
    {
        std::string strShown = static_cast<unsigned char>(c) >= 0x20 && static_cast<unsigned char>(c) < 0x7F
                                   ? std::string("'") + c + "'"
                                   : "byte " + std::to_string(static_cast<unsigned char>(c));
        m_diagnostics.Error(Here(), "unexpected-character", "unexpected character " + strShown,
                            SLumPos{m_nLine, Here().m_nColumn + 1});
        ++m_nPos;
        return;
    }
    size_t nStart = m_nPos;
    m_nPos += token.m_strText.size();
    Finish(token, nStart);
    m_aTokens.push_back(token);
}
