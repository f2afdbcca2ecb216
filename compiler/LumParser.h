// Builds the syntax tree of a source from its tokens. A syntax error is reported and
// the rest of its statement skipped, so parsing always reaches the end of the source.
#pragma once

#include "LumAst.h"
#include "LumExtensionTable.h"
#include "LumLexer.h"

#include <string_view>

class CLumParser
{
public:
    // A host statement of `pExtensions` may take a name that the language leaves out.
    CLumParser(std::vector<SLumLexToken> aTokens, CLumDiagnostics& diagnostics,
               const CLumExtensionTable* pExtensions = nullptr);
    CLumProgram Run();
    // The tokens, for a caller that maps positions back to the source after Run.
    std::vector<SLumLexToken> TakeTokens() { return std::move(m_aTokens); }

    // Words that cannot name a variable or a procedure.
    static bool IsReserved(std::string_view word);
    // The reserved word `word` is, in the case the documentation writes it ("ElseIf"
    // for "elseif"); null for any other word.
    static const char* Keyword(std::string_view word);

private:
    struct SyntaxError
    {
    };
    using Block = std::vector<LumStmtPtr>;

    const SLumLexToken& Cur() const { return m_aTokens[m_nPos]; }
    const SLumLexToken& Ahead(size_t n) const;
    void Advance();
    // Behind the token read last: where what was just parsed ends.
    SLumPos PrevEnd() const { return m_nPos > 0 ? m_aTokens[m_nPos - 1].m_posEnd : Cur().m_pos; }
    bool AtStatementEnd() const;
    bool AcceptSymbol(std::string_view symbol);
    bool AcceptWord(std::string_view keyword);
    void ExpectSymbol(std::string_view symbol, const char* pszWhere);
    void ExpectWord(std::string_view keyword, const char* pszWhere);
    std::string ExpectName(const char* pszWhat);
    void ExpectStatementEnd();
    void SkipStatement();
    // Up to and past the end of the line, whatever statements it holds.
    void SkipLine();
    // The end of the statement, or, where something else stands, a skip to it.
    void EndStatementOrSkip();
    [[noreturn]] void Fail(SLumPos pos, const char* pszCode, const std::string& strMessage);
    [[noreturn]] void FailExpected(const std::string& strWhat);
    static std::string Describe(const SLumLexToken& token);

    // Program structure (LumParser.cpp).
    void ParseTopLevel(CLumProgram& program);
    std::unique_ptr<CLumProc> ParseHead(bool fFunction);
    void ParseProcedure(CLumProgram& program);
    bool AtBlockEnd() const;
    bool AtEndOf(std::string_view keyword) const;
    Block ParseBlock();
    void ReportStrayBlockEnd();

    // Statements (LumParserStatement.cpp).
    void ParseStatement(Block& out);
    void ParseStatementBody(Block& out);
    LumStmtPtr NewStmt(ELumStmt eKind, SLumPos pos);
    LumStmtPtr ParseIf();
    void ParseIfRest(CLumStmt& stmt);
    void ParseSingleLineIf(CLumStmt& stmt);
    LumStmtPtr ParseFor();
    LumStmtPtr ParseWhile();
    LumStmtPtr ParseDo();
    void ParseLoopEnd(CLumStmt& stmt, bool fHeadCondition);
    void ParseDim(Block& out);
    std::string ParseAsType();
    LumStmtPtr ParseLet();
    LumStmtPtr ParseNamed(bool fCallKeyword, bool fAssignOnly = false);
    LumStmtPtr ParseCallEx();
    LumStmtPtr ParseImport();
    LumStmtPtr ParseDeclare();
    std::vector<LumExprPtr> ParseBareArgs();

    // Expressions (LumParserExpression.cpp).
    LumExprPtr ParseExpression();
    LumExprPtr ParseOr();
    LumExprPtr ParseAnd();
    LumExprPtr ParseNot();
    LumExprPtr ParseComparison();
    LumExprPtr ParseAdditive();
    LumExprPtr ParseMultiplicative();
    LumExprPtr ParseUnary();
    LumExprPtr ParsePrimary();
    LumExprPtr ParseNameOf(SLumPos pos);
    std::vector<LumExprPtr> ParseParenArgs();
    LumExprPtr Binary(unsigned short wOperator, LumExprPtr left, LumExprPtr right);
    LumExprPtr Negate(LumExprPtr operand, SLumPos pos);
    LumExprPtr Unary(ELumExpr eKind, LumExprPtr operand, SLumPos pos);
    void CheckHeight(CLumExpr& expr);

    std::vector<SLumLexToken> m_aTokens;
    CLumDiagnostics& m_diagnostics;
    const CLumExtensionTable* m_pExtensions;
    size_t m_nPos = 0;
    int m_nDepth = 0;
    int m_nBlockDepth = 0;
    // Inside a one-line If, Else ends a statement and the line ends the If.
    int m_nSingleLineIf = 0;
};
