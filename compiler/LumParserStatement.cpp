// Statements: the simple ones end at the end of their statement, the block
// statements take their body and the word that closes it.
#include "LumParser.h"

namespace
{
constexpr int MAX_BLOCK_DEPTH = 100;

// Statements of other dialects that a program image cannot express, with the reason.
const char* const s_apszUnsupported[][2] = {
    {"Exit", "leave a loop through its condition, a procedure through its end"},
    {"GoTo", "use If, For, While or Do"},
    {"GoSub", "use a Sub"},
    {"Return", "a Function returns by assigning to its name"},
    {"Print", "results go into variables; ShowMessage shows a text, and a host may register a Print"},
    {"Select", "use If and ElseIf"},
    {"ReDim", "Dim the array once; arrays have no bounds"},
    {"Const", "use a variable assigned in Sub Main"},
    {"Stop", "a program ends at the End of Sub Main"},
};
} // namespace

LumStmtPtr CLumParser::NewStmt(ELumStmt eKind, SLumPos pos)
{
    auto pStmt = std::make_unique<CLumStmt>();
    pStmt->m_eKind = eKind;
    pStmt->m_pos = pos;
    pStmt->m_posName = pos;
    return pStmt;
}

void CLumParser::ParseStatement(Block& out)
{
    try
    {
        ParseStatementBody(out);
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
    }
}

void CLumParser::ParseStatementBody(Block& out)
{
    const SLumLexToken& token = Cur();
    bool fBlock = token.IsWord("For") || token.IsWord("While") || token.IsWord("Do");
    // Blocks nest by recursion in the parser and in the code generator.
    if ((fBlock || token.IsWord("If")) && m_nBlockDepth >= MAX_BLOCK_DEPTH)
        Fail(token.m_pos, "too-deep", "blocks nested too deeply");
    ++m_nBlockDepth;
    struct Leave
    {
        int& m_n;
        ~Leave() { --m_n; }
    } leave{m_nBlockDepth};
    if (fBlock && m_nSingleLineIf > 0)
        Fail(token.m_pos, "one-line-if",
             "'" + token.m_strText + "' cannot stand in a one-line If; write the If as a block");
    if (token.IsWord("If"))
        out.push_back(ParseIf());
    else if (token.IsWord("For"))
        out.push_back(ParseFor());
    else if (token.IsWord("While"))
        out.push_back(ParseWhile());
    else if (token.IsWord("Do"))
        out.push_back(ParseDo());
    else if (token.IsWord("Dim"))
        ParseDim(out);
    else if (token.IsWord("Let"))
        out.push_back(ParseLet());
    else if (token.IsWord("Call"))
    {
        Advance();
        out.push_back(ParseNamed(true));
    }
    else if (token.IsWord("CallEx"))
        out.push_back(ParseCallEx());
    else if (token.IsWord("Import"))
        out.push_back(ParseImport());
    else if (token.IsWord("Declare"))
        out.push_back(ParseDeclare());
    else if (token.IsWord("End"))
        Fail(token.m_pos, "syntax",
             "expected 'End Sub', 'End Function' or 'End If'; a program ends at the End of Sub Main");
    else
    {
        bool fHostStatement = m_pExtensions != nullptr && m_pExtensions->Find(token.m_strText) != nullptr;
        for (const auto& entry : s_apszUnsupported)
            if (token.IsWord(entry[0]) && !fHostStatement)
                Fail(token.m_pos, "unsupported-statement",
                     "'" + token.m_strText + "' is not part of the language: " + entry[1]);
        if (token.m_eKind != ELumLex::Word)
            FailExpected("a statement");
        out.push_back(ParseNamed(false));
    }
}

LumStmtPtr CLumParser::ParseIf()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::If, Cur().m_pos);
    Advance();
    try
    {
        pStmt->m_aExprs.push_back(ParseExpression());
        ExpectWord("Then", "behind the condition of If");
    }
    catch (const SyntaxError&)
    {
        pStmt->m_aExprs.clear();
        bool fThen = false;
        while (!AtStatementEnd())
        {
            fThen = Cur().IsWord("Then");
            Advance();
        }
        pStmt->m_aExprs.push_back(std::make_unique<CLumExpr>());
        if (!fThen || m_nSingleLineIf > 0)
        {
            SkipStatement();
            return pStmt;
        }
    }
    if (!AtStatementEnd())
    {
        ParseSingleLineIf(*pStmt);
        return pStmt;
    }
    if (m_nSingleLineIf > 0)
        Fail(pStmt->m_pos, "one-line-if", "a block If cannot stand in a one-line If");
    ExpectStatementEnd();
    ParseIfRest(*pStmt);
    return pStmt;
}

// The body behind "Then" up to End If; an ElseIf becomes an If inside the Else part.
void CLumParser::ParseIfRest(CLumStmt& stmt)
{
    stmt.m_aBody = ParseBlock();
    if (Cur().IsWord("ElseIf"))
    {
        stmt.m_fHasElse = true;
        stmt.m_posElse = Cur().m_pos;
        LumStmtPtr pInner = NewStmt(ELumStmt::If, Cur().m_pos);
        Advance();
        try
        {
            pInner->m_aExprs.push_back(ParseExpression());
            ExpectWord("Then", "behind the condition of ElseIf");
            ExpectStatementEnd();
        }
        catch (const SyntaxError&)
        {
            pInner->m_aExprs.clear();
            pInner->m_aExprs.push_back(std::make_unique<CLumExpr>());
            SkipStatement();
        }
        ParseIfRest(*pInner);
        stmt.m_posEnd = pInner->m_posEnd;
        stmt.m_aElse.push_back(std::move(pInner));
        return;
    }
    if (Cur().IsWord("Else"))
    {
        stmt.m_fHasElse = true;
        stmt.m_posElse = Cur().m_pos;
        Advance();
        EndStatementOrSkip();
        stmt.m_aElse = ParseBlock();
    }
    if (AtEndOf("If"))
    {
        stmt.m_posEnd = Cur().m_pos;
        Advance();
        Advance();
        EndStatementOrSkip();
        return;
    }
    stmt.m_posEnd = Cur().m_pos;
    m_diagnostics.Error(Cur().m_pos, "unclosed-block",
                        "expected 'End If' to close the If opened at line " +
                            std::to_string(stmt.m_pos.m_nLine) + ", found " + Describe(Cur()));
}

// Statements up to the end of the line, an Else switching to the other part.
void CLumParser::ParseSingleLineIf(CLumStmt& stmt)
{
    ++m_nSingleLineIf;
    Block* pBlock = &stmt.m_aBody;
    for (;;)
    {
        const SLumLexToken& token = Cur();
        if (token.m_eKind == ELumLex::EndOfFile)
            break;
        if (token.m_eKind == ELumLex::EndOfStatement)
        {
            Advance();
            if (token.m_fNewLine)
                break;
            continue;
        }
        if (token.IsWord("Else"))
        {
            if (stmt.m_fHasElse)
            {
                m_diagnostics.Error(token.m_pos, "one-line-if", "a one-line If has one Else only");
                // The rest of the line: a statement end of an inner one-line If stops
                // at each Else, so skipping a statement here could stand still.
                SkipLine();
                break;
            }
            stmt.m_fHasElse = true;
            stmt.m_posElse = token.m_pos;
            pBlock = &stmt.m_aElse;
            Advance();
            continue;
        }
        ParseStatement(*pBlock);
        if (m_nPos > 0 && m_aTokens[m_nPos - 1].m_eKind == ELumLex::EndOfStatement &&
            m_aTokens[m_nPos - 1].m_fNewLine)
            break;
    }
    --m_nSingleLineIf;
    stmt.m_posEnd = stmt.m_pos;
}

LumStmtPtr CLumParser::ParseFor()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::For, Cur().m_pos);
    Advance();
    try
    {
        pStmt->m_posName = Cur().m_pos;
        pStmt->m_strName = ExpectName("the counter of For");
        ExpectSymbol("=", "behind the counter of For");
        pStmt->m_aExprs.push_back(ParseExpression());
        ExpectWord("To", "behind the first value of For");
        pStmt->m_aExprs.push_back(ParseExpression());
        if (AcceptWord("Step"))
            pStmt->m_aExprs.push_back(ParseExpression());
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
        pStmt->m_aExprs.resize(2);
        for (LumExprPtr& pExpr : pStmt->m_aExprs)
            if (!pExpr)
                pExpr = std::make_unique<CLumExpr>();
    }
    pStmt->m_aBody = ParseBlock();
    pStmt->m_posEnd = Cur().m_pos;
    if (!AcceptWord("Next"))
    {
        m_diagnostics.Error(Cur().m_pos, "unclosed-block",
                            "expected 'Next' to close the For opened at line " +
                                std::to_string(pStmt->m_pos.m_nLine) + ", found " + Describe(Cur()));
        return pStmt;
    }
    try
    {
        if (!AtStatementEnd())
        {
            SLumPos pos = Cur().m_pos;
            std::string strName = ExpectName("the counter behind Next");
            pStmt->m_posNextName = pos;
            if (strName != pStmt->m_strName)
                Fail(pos, "next-mismatch",
                     "'Next " + strName + "' does not match 'For " + pStmt->m_strName + "' of line " +
                         std::to_string(pStmt->m_pos.m_nLine));
        }
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
    }
    return pStmt;
}

LumStmtPtr CLumParser::ParseWhile()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::While, Cur().m_pos);
    Advance();
    try
    {
        pStmt->m_aExprs.push_back(ParseExpression());
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
        pStmt->m_aExprs.clear();
        pStmt->m_aExprs.push_back(std::make_unique<CLumExpr>());
    }
    pStmt->m_aBody = ParseBlock();
    pStmt->m_posEnd = Cur().m_pos;
    if (!AcceptWord("Wend"))
    {
        m_diagnostics.Error(Cur().m_pos, "unclosed-block",
                            "expected 'Wend' to close the While opened at line " +
                                std::to_string(pStmt->m_pos.m_nLine) + ", found " + Describe(Cur()));
        return pStmt;
    }
    EndStatementOrSkip();
    return pStmt;
}

// "Do While c ... Loop" tests before the body, as While does, and becomes a While
// loop; "Do ... Loop While c" tests behind it.
LumStmtPtr CLumParser::ParseDo()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::DoLoop, Cur().m_pos);
    Advance();
    LumExprPtr pHeadCondition;
    try
    {
        SLumPos pos = Cur().m_pos;
        bool fWhile = AcceptWord("While");
        if (fWhile || AcceptWord("Until"))
        {
            pHeadCondition = ParseExpression();
            if (!fWhile)
                pHeadCondition = Unary(ELumExpr::Not, std::move(pHeadCondition), pos);
        }
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
    }
    pStmt->m_aBody = ParseBlock();
    pStmt->m_posEnd = Cur().m_pos;
    ParseLoopEnd(*pStmt, pHeadCondition != nullptr);
    if (pHeadCondition)
    {
        pStmt->m_eKind = ELumStmt::While;
        pStmt->m_aExprs.push_back(std::move(pHeadCondition));
    }
    if (pStmt->m_aExprs.empty())
        pStmt->m_aExprs.push_back(std::make_unique<CLumExpr>());
    return pStmt;
}

// "Loop", with the condition of the loop unless Do already had one.
void CLumParser::ParseLoopEnd(CLumStmt& stmt, bool fHeadCondition)
{
    if (!AcceptWord("Loop"))
    {
        m_diagnostics.Error(Cur().m_pos, "unclosed-block",
                            "expected 'Loop' to close the Do opened at line " +
                                std::to_string(stmt.m_pos.m_nLine) + ", found " + Describe(Cur()));
        return;
    }
    try
    {
        bool fWhile = AcceptWord("While");
        bool fCondition = fWhile || AcceptWord("Until");
        if (fCondition && fHeadCondition)
            Fail(stmt.m_posEnd, "loop-condition",
                 "a Do loop has its condition either behind Do or behind Loop, not both");
        if (!fCondition && !fHeadCondition)
            Fail(stmt.m_posEnd, "loop-condition",
                 "expected 'While' or 'Until' behind Loop: a loop needs a condition");
        if (fCondition)
        {
            stmt.m_fFlag = fWhile;
            stmt.m_aExprs.push_back(ParseExpression());
        }
        ExpectStatementEnd();
    }
    catch (const SyntaxError&)
    {
        SkipStatement();
    }
}

std::string CLumParser::ParseAsType()
{
    if (!AcceptWord("As"))
        return "";
    for (const char* psz : {"Long", "Double", "String"})
        if (AcceptWord(psz))
            return psz;
    FailExpected("'Long', 'Double' or 'String' behind As");
}

void CLumParser::ParseDim(Block& out)
{
    Advance();
    do
    {
        LumStmtPtr pStmt = NewStmt(ELumStmt::Dim, Cur().m_pos);
        pStmt->m_strName = ExpectName("a variable name behind Dim");
        if (Cur().IsSymbol("("))
        {
            pStmt->m_fHasIndices = true;
            pStmt->m_aIndices = ParseParenArgs();
            if (pStmt->m_aIndices.empty())
                Fail(pStmt->m_pos, "array-dimensions", "an array needs at least one dimension");
        }
        pStmt->m_strType = ParseAsType();
        out.push_back(std::move(pStmt));
    } while (AcceptSymbol(","));
    ExpectStatementEnd();
}

LumStmtPtr CLumParser::ParseLet()
{
    SLumPos pos = Cur().m_pos;
    Advance();
    if (!AcceptSymbol("("))
        return ParseNamed(false, true);
    LumStmtPtr pStmt = NewStmt(ELumStmt::AssignTo, pos);
    pStmt->m_aExprs.push_back(ParseExpression());
    ExpectSymbol(")", "to close the computed name of Let");
    ExpectSymbol("=", "behind the target of Let");
    pStmt->m_aExprs.push_back(ParseExpression());
    ExpectStatementEnd();
    return pStmt;
}

// A statement that starts with a name: an assignment, or a call of a procedure, of
// ShowMessage or of a host statement, with or without brackets around the arguments.
LumStmtPtr CLumParser::ParseNamed(bool fCallKeyword, bool fAssignOnly)
{
    SLumPos pos = Cur().m_pos;
    std::string strName = ExpectName(fCallKeyword ? "the name of a procedure behind Call" : "a statement");
    LumStmtPtr pStmt = NewStmt(ELumStmt::Call, pos);
    pStmt->m_strName = strName;
    pStmt->m_fFlag = fCallKeyword;
    if (!fCallKeyword && AcceptSymbol("="))
    {
        pStmt->m_eKind = ELumStmt::Assign;
        pStmt->m_aExprs.push_back(ParseExpression());
    }
    else if (Cur().IsSymbol("("))
    {
        std::vector<LumExprPtr> aArgs = ParseParenArgs();
        if (!fCallKeyword && AcceptSymbol("="))
        {
            pStmt->m_eKind = ELumStmt::Assign;
            pStmt->m_fHasIndices = true;
            pStmt->m_aIndices = std::move(aArgs);
            pStmt->m_aExprs.push_back(ParseExpression());
        }
        else if (!AtStatementEnd() || fAssignOnly)
            FailExpected(fCallKeyword ? "the end of the statement" : "'=' or the end of the statement");
        else
            pStmt->m_aExprs = std::move(aArgs);
    }
    else if (fAssignOnly)
        FailExpected("'=' behind the target of Let");
    else if (!AtStatementEnd())
        pStmt->m_aExprs = ParseBareArgs();
    ExpectStatementEnd();
    return pStmt;
}

LumStmtPtr CLumParser::ParseCallEx()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::CallEx, Cur().m_pos);
    Advance();
    pStmt->m_aExprs = ParseBareArgs();
    ExpectStatementEnd();
    return pStmt;
}

LumStmtPtr CLumParser::ParseImport()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::Import, Cur().m_pos);
    Advance();
    if (AtStatementEnd())
        FailExpected("the path of an image behind Import");
    pStmt->m_aExprs = ParseBareArgs();
    ExpectStatementEnd();
    return pStmt;
}

LumStmtPtr CLumParser::ParseDeclare()
{
    LumStmtPtr pStmt = NewStmt(ELumStmt::Declare, Cur().m_pos);
    Advance();
    bool fFunction = Cur().IsWord("Function");
    if (!fFunction && !Cur().IsWord("Sub"))
        FailExpected("'Sub' or 'Function' behind Declare");
    Advance();
    pStmt->m_pProc = ParseHead(fFunction);
    ExpectStatementEnd();
    return pStmt;
}

std::vector<LumExprPtr> CLumParser::ParseBareArgs()
{
    std::vector<LumExprPtr> aArgs;
    do
        aArgs.push_back(ParseExpression());
    while (AcceptSymbol(","));
    return aArgs;
}
