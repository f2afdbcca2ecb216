#include "LumParser.h"

namespace
{
const char* const s_apszReserved[] = {
    "And", "As",       "Call",   "CallEx", "Declare", "Dim",  "Do",    "Double", "Else",  "ElseIf", "End",
    "For", "Function", "If",     "Import", "Let",     "Long", "Loop",  "NameOf", "Next",  "Not",    "Or",
    "Rem", "Step",     "String", "Sub",    "Then",    "To",   "Until", "Wend",   "While",
};
} // namespace

CLumParser::CLumParser(std::vector<SLumLexToken> aTokens, CLumDiagnostics& diagnostics,
                       const CLumExtensionTable* pExtensions)
    : m_aTokens(std::move(aTokens)), m_diagnostics(diagnostics), m_pExtensions(pExtensions)
{
    if (m_aTokens.empty() || m_aTokens.back().m_eKind != ELumLex::EndOfFile)
        m_aTokens.push_back(SLumLexToken{});
}

bool CLumParser::IsReserved(std::string_view word)
{
    return Keyword(word) != nullptr;
}

const char* CLumParser::Keyword(std::string_view word)
{
    for (const char* psz : s_apszReserved)
        if (LumEqualsNoCase(word, psz))
            return psz;
    return nullptr;
}

const SLumLexToken& CLumParser::Ahead(size_t n) const
{
    size_t nIndex = m_nPos + n;
    return nIndex < m_aTokens.size() ? m_aTokens[nIndex] : m_aTokens.back();
}

void CLumParser::Advance()
{
    if (Cur().m_eKind != ELumLex::EndOfFile)
        ++m_nPos;
}

bool CLumParser::AtStatementEnd() const
{
    ELumLex eKind = Cur().m_eKind;
    return eKind == ELumLex::EndOfStatement || eKind == ELumLex::EndOfFile ||
           (m_nSingleLineIf > 0 && Cur().IsWord("Else"));
}

bool CLumParser::AcceptSymbol(std::string_view symbol)
{
    if (!Cur().IsSymbol(symbol))
        return false;
    Advance();
    return true;
}

bool CLumParser::AcceptWord(std::string_view keyword)
{
    if (!Cur().IsWord(keyword))
        return false;
    Advance();
    return true;
}

std::string CLumParser::Describe(const SLumLexToken& token)
{
    switch (token.m_eKind)
    {
    case ELumLex::Word:
        return "'" + token.m_strText + "'";
    case ELumLex::Long:
    case ELumLex::Double:
        return "number " + token.m_strText;
    case ELumLex::String:
        return "a string";
    case ELumLex::Symbol:
        return "'" + token.m_strText + "'";
    case ELumLex::EndOfStatement:
        return token.m_fNewLine ? "the end of the line" : "':'";
    case ELumLex::EndOfFile:
        break;
    }
    return "the end of the file";
}

void CLumParser::Fail(SLumPos pos, const char* pszCode, const std::string& strMessage)
{
    m_diagnostics.Error(pos, pszCode, strMessage);
    throw SyntaxError{};
}

void CLumParser::FailExpected(const std::string& strWhat)
{
    Fail(Cur().m_pos, "syntax", "expected " + strWhat + ", found " + Describe(Cur()));
}

void CLumParser::ExpectSymbol(std::string_view symbol, const char* pszWhere)
{
    if (!AcceptSymbol(symbol))
        FailExpected("'" + std::string(symbol) + "'" + (*pszWhere != '\0' ? " " : "") + pszWhere);
}

void CLumParser::ExpectWord(std::string_view keyword, const char* pszWhere)
{
    if (!AcceptWord(keyword))
        FailExpected("'" + std::string(keyword) + "' " + pszWhere);
}

std::string CLumParser::ExpectName(const char* pszWhat)
{
    if (Cur().m_eKind != ELumLex::Word)
        FailExpected(pszWhat);
    if (IsReserved(Cur().m_strText))
        Fail(Cur().m_pos, "reserved-name",
             "expected " + std::string(pszWhat) + ", found the keyword " + Describe(Cur()));
    std::string strName = Cur().m_strText;
    Advance();
    return strName;
}

void CLumParser::ExpectStatementEnd()
{
    if (!AtStatementEnd())
        FailExpected("the end of the statement");
    if (Cur().m_eKind == ELumLex::EndOfStatement)
        Advance();
}

void CLumParser::SkipStatement()
{
    while (!AtStatementEnd())
        Advance();
    if (Cur().m_eKind == ELumLex::EndOfStatement)
        Advance();
}

void CLumParser::SkipLine()
{
    while (Cur().m_eKind != ELumLex::EndOfFile &&
           !(Cur().m_eKind == ELumLex::EndOfStatement && Cur().m_fNewLine))
        Advance();
    Advance();
}

void CLumParser::EndStatementOrSkip()
{
    try
    {
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
    }
}

CLumProgram CLumParser::Run()
{
    CLumProgram program;
    while (Cur().m_eKind != ELumLex::EndOfFile)
    {
        if (Cur().m_eKind == ELumLex::EndOfStatement)
            Advance();
        else if (Cur().IsWord("Sub") || Cur().IsWord("Function"))
            ParseProcedure(program);
        else
            ParseTopLevel(program);
    }
    return program;
}

// What stands outside every procedure is kept as it is; the code generator says what
// may stand there.
void CLumParser::ParseTopLevel(CLumProgram& program)
{
    if (AtBlockEnd())
    {
        ReportStrayBlockEnd();
        return;
    }
    ParseStatement(program.m_aTopLevel);
}

std::unique_ptr<CLumProc> CLumParser::ParseHead(bool fFunction)
{
    auto pProc = std::make_unique<CLumProc>();
    pProc->m_fFunction = fFunction;
    pProc->m_posHead = m_nPos > 0 ? m_aTokens[m_nPos - 1].m_pos : Cur().m_pos;
    pProc->m_pos = Cur().m_pos;
    pProc->m_strName = ExpectName(fFunction ? "the name of the function" : "the name of the Sub");
    if (AcceptSymbol("("))
    {
        if (!AcceptSymbol(")"))
        {
            do
            {
                CLumParam param;
                param.m_pos = Cur().m_pos;
                param.m_strName = ExpectName("a parameter name");
                param.m_strType = ParseAsType();
                pProc->m_aParams.push_back(param);
            } while (AcceptSymbol(","));
            ExpectSymbol(")", "to close the parameter list");
        }
    }
    pProc->m_strType = ParseAsType();
    return pProc;
}

void CLumParser::ParseProcedure(CLumProgram& program)
{
    bool fFunction = Cur().IsWord("Function");
    const char* pszKind = fFunction ? "Function" : "Sub";
    SLumPos posHead = Cur().m_pos;
    Advance();
    std::unique_ptr<CLumProc> pProc;
    try
    {
        pProc = ParseHead(fFunction);
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
        pProc = std::make_unique<CLumProc>();
        pProc->m_fFunction = fFunction;
        pProc->m_pos = posHead;
        pProc->m_posHead = posHead;
    }
    for (;;)
    {
        Block body = ParseBlock();
        for (LumStmtPtr& pStmt : body)
            pProc->m_aBody.push_back(std::move(pStmt));
        if (AtEndOf(pszKind))
        {
            pProc->m_posEnd = Cur().m_pos;
            Advance();
            Advance();
            EndStatementOrSkip();
            break;
        }
        if (Cur().m_eKind == ELumLex::EndOfFile || Cur().IsWord("Sub") || Cur().IsWord("Function") ||
            AtEndOf(fFunction ? "Sub" : "Function"))
        {
            m_diagnostics.Error(Cur().m_pos, "unclosed-block",
                                std::string("expected 'End ") + pszKind + "' to close the " + pszKind +
                                    " opened at line " + std::to_string(posHead.m_nLine) + ", found " +
                                    Describe(Cur()));
            if (AtEndOf(fFunction ? "Sub" : "Function"))
                SkipStatement();
            break;
        }
        ReportStrayBlockEnd();
    }
    if (pProc->m_posEnd.m_nLine == 0)
        pProc->m_posEnd = Cur().m_pos;
    program.m_aProcs.push_back(std::move(pProc));
}

bool CLumParser::AtEndOf(std::string_view keyword) const
{
    return Cur().IsWord("End") && Ahead(1).IsWord(keyword);
}

bool CLumParser::AtBlockEnd() const
{
    const SLumLexToken& token = Cur();
    return token.m_eKind == ELumLex::EndOfFile || token.IsWord("Else") || token.IsWord("ElseIf") ||
           token.IsWord("Next") || token.IsWord("Wend") || token.IsWord("Loop") || token.IsWord("Sub") ||
           token.IsWord("Function") || AtEndOf("If") || AtEndOf("Sub") || AtEndOf("Function");
}

CLumParser::Block CLumParser::ParseBlock()
{
    Block block;
    while (!AtBlockEnd())
    {
        if (Cur().m_eKind == ELumLex::EndOfStatement)
            Advance();
        else
            ParseStatement(block);
    }
    return block;
}

// A block end that no open block wants: said once, then passed over.
void CLumParser::ReportStrayBlockEnd()
{
    const SLumLexToken& token = Cur();
    std::string strWord = token.IsWord("End") ? "End " + Ahead(1).m_strText : token.m_strText;
    static const char* const s_apszOpeners[][2] = {
        {"Else", "If"}, {"ElseIf", "If"}, {"Next", "For"}, {"Wend", "While"}, {"Loop", "Do"},
    };
    std::string strOpener = token.IsWord("End") ? Ahead(1).m_strText : "a matching statement";
    for (const auto& pair : s_apszOpeners)
        if (token.IsWord(pair[0]))
            strOpener = pair[1];
    m_diagnostics.Error(token.m_pos, "stray-block-end", "'" + strWord + "' without '" + strOpener + "'");
    SkipStatement();
}
