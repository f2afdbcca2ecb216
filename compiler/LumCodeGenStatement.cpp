// Statements. Each one gets a line marker in front and a separator behind; every
// jump target is a statement token or a marker, never a separator.
#include "LumCodeGen.h"

#include "LumLexer.h"

#include <algorithm>
#include <stdexcept>

namespace
{
// The interpreter reads at most six indices of an element.
constexpr size_t MAX_INDICES = 6;
} // namespace

void CLumCodeGen::EmitBlock(const std::vector<LumStmtPtr>& block)
{
    for (const auto& pStmt : block)
        EmitStatement(*pStmt);
}

void CLumCodeGen::EmitStatement(const CLumStmt& stmt)
{
    try
    {
        if (stmt.m_eKind != ELumStmt::Declare)
            Marker(stmt.m_pos);
        EmitStatementBody(stmt);
    }
    catch (const std::length_error&)
    {
        Error(stmt.m_pos, "too-long",
              "the statement is too large for the image: a text or an expression exceeds 65535 bytes");
    }
}

void CLumCodeGen::EmitStatementBody(const CLumStmt& stmt)
{
    switch (stmt.m_eKind)
    {
    case ELumStmt::Assign:
        EmitAssign(stmt);
        break;
    case ELumStmt::AssignTo:
        EmitAssignTo(stmt);
        break;
    case ELumStmt::Dim:
        EmitDim(stmt);
        break;
    case ELumStmt::If:
        EmitIf(stmt);
        break;
    case ELumStmt::For:
        EmitFor(stmt);
        break;
    case ELumStmt::DoLoop:
        EmitDoLoop(stmt);
        break;
    case ELumStmt::Call:
        EmitCall(stmt);
        break;
    case ELumStmt::CallEx:
        EmitCallEx(stmt);
        break;
    case ELumStmt::Import:
        EmitImport(stmt);
        break;
    case ELumStmt::Declare:
        Error(stmt.m_pos, "declare-placement", "Declare stands outside every procedure");
        break;
    case ELumStmt::While:
        EmitWhile(stmt);
        break;
    case ELumStmt::Unsupported:
        break;
    }
}

void CLumCodeGen::CheckAssignable(const std::string& strName, ELumType eValue, SLumPos pos)
{
    const ProcInfo* pInfo = FindProc(strName);
    bool fResult = m_pCurrent != nullptr && m_pCurrent->m_strName == strName;
    if (fResult && !m_pCurrent->m_fFunction)
        Error(pos, "name-clash",
              "'" + strName + "' is the name of this Sub; only a Function has a result to assign");
    else if (!fResult && (pInfo != nullptr || IsMainName(strName)))
        Error(pos, "name-clash", "'" + strName + "' names a procedure; a variable cannot share its name");
    else if (!CheckNewName(strName, pos, "a variable"))
        return;
    ELumType eTarget = TypeOfName(strName);
    if (eValue == ELumType::String && eTarget == ELumType::Number)
        Error(pos, "type-mismatch", "a string cannot be assigned to the numeric variable '" + strName + "'");
    else if (eValue == ELumType::Number && eTarget == ELumType::String)
        Error(pos, "type-mismatch", "a number cannot be assigned to the string variable '" + strName + "'");
}

void CLumCodeGen::EmitAssign(const CLumStmt& stmt)
{
    Typed value = Expr(*stmt.m_aExprs[0]);
    bool fArray = m_setArrays.count(stmt.m_strName) > 0;
    if (fArray && !stmt.m_fHasIndices)
        Error(stmt.m_pos, "array-use", "'" + stmt.m_strName + "' is an array; assign to one of its elements");
    else if (!fArray && stmt.m_fHasIndices)
    {
        std::string strMeant = NearArray(stmt.m_strName);
        Error(stmt.m_pos, "array-use",
              "'" + stmt.m_strName + "' is not an array; " +
                  (strMeant.empty() ? "Dim " + stmt.m_strName + "(...) first" : strMeant));
    }
    else
        CheckAssignable(stmt.m_strName, value.m_eType, stmt.m_pos);
    m_writer.Token(LBT_ASSIGN);
    if (stmt.m_fHasIndices)
    {
        // The computed form: the element's name comes from a name-wanted array node.
        m_writer.Token(LBT_EXPRESSION);
        CLumExpr target;
        target.m_pos = stmt.m_pos;
        m_writer.Tree(ArrayElement(target, stmt.m_strName, stmt.m_aIndices, true));
    }
    else
    {
        m_writer.Token(LBT_NAME);
        m_writer.CountedText(stmt.m_strName);
    }
    m_writer.Expression(value.m_tree);
    m_writer.Separator();
}

void CLumCodeGen::EmitAssignTo(const CLumStmt& stmt)
{
    CLumTree target = ExprOf(*stmt.m_aExprs[0], ELumType::String, "the computed name of Let");
    Typed value = Expr(*stmt.m_aExprs[1]);
    m_writer.Token(LBT_ASSIGN);
    m_writer.Expression(target);
    m_writer.Expression(value.m_tree);
    m_writer.Separator();
}

// In Sub Main and outside every procedure Dim creates nothing and a typed Dim
// would leave its type word to run as a statement; elsewhere it makes a local.
void CLumCodeGen::EmitDim(const CLumStmt& stmt)
{
    bool fTypeOk = CheckTypeWord(stmt.m_strName, stmt.m_strType, stmt.m_pos);
    if (FindProc(stmt.m_strName) != nullptr || IsMainName(stmt.m_strName))
        Error(stmt.m_pos, "name-clash",
              "'" + stmt.m_strName + "' names a procedure; a variable cannot share its name");
    else if (!stmt.m_fHasIndices)
        CheckNewName(stmt.m_strName, stmt.m_pos, "a variable");
    bool fEntry = m_pCurrent == nullptr || m_pCurrent == m_pMain;
    if (fTypeOk && !stmt.m_strType.empty() && !stmt.m_fHasIndices && fEntry)
        Error(stmt.m_pos, "dim-as-in-main",
              "'Dim ... As' cannot stand in Sub Main or outside every procedure; the type comes from "
              "the name, so write 'Dim " +
                  stmt.m_strName + "'");
    m_writer.Token(LBT_DIM);
    m_writer.CountedText(stmt.m_strName);
    if (stmt.m_fHasIndices)
    {
        if (stmt.m_aIndices.size() > MAX_INDICES)
            Error(stmt.m_pos, "array-dimensions", "an array has at most 6 dimensions");
        // One dimension tree is read; the product of all keeps each one evaluated.
        CLumTree size = ExprOf(*stmt.m_aIndices[0], ELumType::Number, "a dimension");
        int nLevels = stmt.m_aIndices[0]->m_nHeight;
        for (size_t i = 1; i < stmt.m_aIndices.size(); ++i)
        {
            size = CLumTree::Operator(LBT_MUL, size,
                                      ExprOf(*stmt.m_aIndices[i], ELumType::Number, "a dimension"));
            nLevels = std::max(nLevels, stmt.m_aIndices[i]->m_nHeight) + 1;
        }
        if (nLevels > LUM_MAX_TREE_LEVELS)
            Error(stmt.m_pos, "too-deep",
                  "the dimensions of '" + stmt.m_strName +
                      "' are too long an expression: the "
                      "interpreter evaluates at most " +
                      std::to_string(LUM_MAX_TREE_LEVELS) + " levels of operators in one expression");
        m_writer.Expression(size);
    }
    else if (!stmt.m_strType.empty())
    {
        m_writer.Token(LBT_AS);
        m_writer.Token(stmt.m_strType == "Long"     ? LBT_TYPE_LONG
                       : stmt.m_strType == "String" ? LBT_TYPE_STRING
                                                    : LBT_TYPE_DOUBLE);
    }
    m_writer.Separator();
}

void CLumCodeGen::EmitIf(const CLumStmt& stmt)
{
    CLumImageWriter::Label elsePart = m_writer.NewLabel();
    CLumImageWriter::Label endIf = m_writer.NewLabel();
    CLumTree condition = Expr(*stmt.m_aExprs[0]).m_tree;
    m_writer.Token(LBT_IF);
    int nSkip = m_writer.Skip(stmt.m_fHasElse ? elsePart : endIf);
    m_writer.Expression(condition);
    m_writer.SkipFrom(nSkip);
    m_writer.Separator();
    EmitBlock(stmt.m_aBody);
    if (stmt.m_fHasElse)
    {
        Marker(stmt.m_posElse);
        m_writer.Token(LBT_ELSE);
        m_writer.Skip(endIf);
        m_writer.Separator();
        m_writer.Place(elsePart);
        EmitBlock(stmt.m_aElse);
    }
    // EndIf must run on every way out: it removes the If's record.
    m_writer.Place(endIf);
    Marker(stmt.m_posEnd);
    m_writer.Token(LBT_ENDIF);
    m_writer.Separator();
}

// For stores its start value as it comes, while an assignment converts it by the
// counter's name. A start of another type goes through an assignment first, so the
// counter holds the type its name says.
CLumTree CLumCodeGen::ForStart(const CLumStmt& stmt)
{
    const CLumExpr& start = *stmt.m_aExprs[0];
    bool fLong = !stmt.m_strName.empty() && stmt.m_strName.back() == '%';
    if (stmt.m_aExprs.size() > 2 && fLong && stmt.m_aExprs[2]->m_eKind == ELumExpr::Double)
        Error(stmt.m_aExprs[2]->m_pos, "type-mismatch",
              "the step of the Long counter '" + stmt.m_strName + "' must be whole");
    if (fLong && start.m_eKind == ELumExpr::Long)
        return CLumTree::LongConst(start.m_nLong);
    if (!fLong && start.m_eKind == ELumExpr::Double)
        return CLumTree::DoubleConst(std::string_view(start.m_strText));
    if (!fLong && start.m_eKind == ELumExpr::Long)
        return CLumTree::DoubleConst(std::string_view(std::to_string(start.m_nLong)));
    m_writer.Token(LBT_ASSIGN);
    m_writer.Token(LBT_NAME);
    m_writer.CountedText(stmt.m_strName);
    m_writer.Expression(ExprOf(start, ELumType::Number, "the first value of For"));
    m_writer.Separator();
    return CLumTree::Variable(stmt.m_strName);
}

void CLumCodeGen::EmitFor(const CLumStmt& stmt)
{
    if (TypeOfName(stmt.m_strName) == ELumType::String)
        Error(stmt.m_pos, "type-mismatch",
              "the counter of For must be numeric; '" + stmt.m_strName + "' holds a string");
    else if (m_setArrays.count(stmt.m_strName) > 0)
        Error(stmt.m_pos, "array-use",
              "the counter of For must be a plain variable; '" + stmt.m_strName + "' is an array");
    else if (!stmt.m_strName.empty())
        CheckAssignable(stmt.m_strName, ELumType::Number, stmt.m_pos);
    CLumImageWriter::Label body = m_writer.NewLabel();
    CLumTree start = ForStart(stmt);
    m_writer.Token(LBT_FOR);
    m_writer.CountedText(stmt.m_strName);
    m_writer.Expression(start);
    for (size_t i = 1; i < stmt.m_aExprs.size(); ++i)
        m_writer.Expression(ExprOf(*stmt.m_aExprs[i], ELumType::Number, "a value of For"));
    m_writer.Separator();
    m_writer.Place(body);
    EmitBlock(stmt.m_aBody);
    Marker(stmt.m_posEnd);
    m_writer.Token(LBT_NEXT);
    m_writer.Skip(body);
    m_writer.Separator();
}

// Wend leads to the While token itself, past its marker: the interpreter takes
// nothing else as the head of the loop.
void CLumCodeGen::EmitWhile(const CLumStmt& stmt)
{
    CLumImageWriter::Label top = m_writer.NewLabel();
    CLumImageWriter::Label after = m_writer.NewLabel();
    m_writer.Place(top);
    CLumTree condition = Expr(*stmt.m_aExprs[0]).m_tree;
    m_writer.Token(LBT_WHILE);
    int nSkip = m_writer.Skip(after);
    m_writer.Expression(condition);
    m_writer.SkipFrom(nSkip);
    m_writer.Separator();
    EmitBlock(stmt.m_aBody);
    Marker(stmt.m_posEnd);
    m_writer.Token(LBT_WEND);
    m_writer.Skip(top);
    m_writer.Separator();
    m_writer.Place(after);
}

// Loop Until is any kind word but LBT_WHILE; LBT_LOOP says it plainly in a listing.
void CLumCodeGen::EmitDoLoop(const CLumStmt& stmt)
{
    CLumImageWriter::Label body = m_writer.NewLabel();
    m_writer.Token(LBT_DO);
    m_writer.Separator();
    m_writer.Place(body);
    EmitBlock(stmt.m_aBody);
    CLumTree condition = Expr(*stmt.m_aExprs[0]).m_tree;
    Marker(stmt.m_posEnd);
    m_writer.Token(LBT_LOOP);
    m_writer.Token(stmt.m_fFlag ? LBT_WHILE : LBT_LOOP);
    int nSkip = m_writer.Skip(body);
    m_writer.Expression(condition);
    m_writer.SkipFrom(nSkip);
    m_writer.Separator();
}

void CLumCodeGen::EmitArguments(const std::vector<LumExprPtr>& aArgs, size_t nFirst)
{
    for (size_t i = nFirst; i < aArgs.size(); ++i)
        m_writer.Expression(Expr(*aArgs[i]).m_tree);
}

// A statement that names something: a procedure, ShowMessage or a host statement.
void CLumCodeGen::EmitCall(const CLumStmt& stmt)
{
    if (const ProcInfo* pInfo = FindProc(stmt.m_strName))
    {
        EmitProcedureCall(stmt, *pInfo);
        return;
    }
    if (IsMainName(stmt.m_strName))
    {
        Error(stmt.m_pos, "main-entry", "Sub Main is the entry of the program and cannot be called");
        return;
    }
    const SLumBuiltin* pBuiltin = LumFindBuiltin(stmt.m_strName);
    const CLumExtensionTable::Entry* pExtension =
        m_options.m_pExtensions != nullptr ? m_options.m_pExtensions->Find(stmt.m_strName) : nullptr;
    if (pBuiltin != nullptr && pBuiltin->m_wToken == LBT_SHOWMESSAGE)
    {
        if (CheckArgumentCount(stmt.m_pos, stmt.m_aExprs.size(), 3, 3, stmt.m_strName))
        {
            std::vector<CLumTree> aArgs = Arguments(stmt.m_aExprs, pBuiltin->m_pszArgs, stmt.m_strName);
            m_writer.Token(LBT_SHOWMESSAGE);
            for (const CLumTree& arg : aArgs)
                m_writer.Expression(arg);
            m_writer.Separator();
        }
    }
    else if (pBuiltin != nullptr)
        Error(stmt.m_pos, "function-as-statement",
              "'" + stmt.m_strName + "' is a function; use its value, as in x = " + stmt.m_strName + "(...)");
    else if (pExtension != nullptr && pExtension->m_fFunction)
        Error(stmt.m_pos, "function-as-statement",
              "'" + stmt.m_strName + "' is a function of the host; use its value");
    else if (pExtension != nullptr)
    {
        CheckHostArgumentCount(stmt.m_pos, stmt.m_aExprs.size(), *pExtension);
        m_writer.Token(pExtension->m_wToken);
        EmitArguments(stmt.m_aExprs, 0);
        m_writer.Separator();
    }
    else
        Error(stmt.m_pos, "unknown-name", UnknownName(stmt.m_strName, true));
}

// A Function reached by Call would end the enclosing run at its End, so only a Sub
// may be called as a statement.
void CLumCodeGen::EmitProcedureCall(const CLumStmt& stmt, const ProcInfo& info)
{
    const CLumProc& proc = info.m_pDeclaration != nullptr ? *info.m_pDeclaration : *info.m_pDefinition;
    if (proc.m_fFunction)
        Error(stmt.m_pos, "function-as-statement",
              "'" + stmt.m_strName + "' is a Function; use its value, as in x = " + stmt.m_strName + "(...)");
    CheckArgumentCount(stmt.m_pos, stmt.m_aExprs.size(), proc.m_aParams.size(), proc.m_aParams.size(),
                       stmt.m_strName);
    m_writer.Token(LBT_CALL);
    m_writer.CountedText(stmt.m_strName);
    EmitArguments(stmt.m_aExprs, 0);
    m_writer.Separator();
}

void CLumCodeGen::EmitCallEx(const CLumStmt& stmt)
{
    CLumTree name = ExprOf(*stmt.m_aExprs[0], ELumType::String, "the name of the procedure behind CallEx");
    m_writer.Token(LBT_CALLEX);
    m_writer.Expression(name);
    EmitArguments(stmt.m_aExprs, 1);
    m_writer.Separator();
}

void CLumCodeGen::EmitImport(const CLumStmt& stmt)
{
    std::vector<CLumTree> aPaths;
    for (const auto& pExpr : stmt.m_aExprs)
        aPaths.push_back(ExprOf(*pExpr, ELumType::String, "the path of an image"));
    m_writer.Token(LBT_IMPORT);
    for (const CLumTree& path : aPaths)
        m_writer.Expression(path);
    m_writer.Separator();
}
