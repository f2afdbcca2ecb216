// The syntax tree of one source, as the parser builds it and the code generator
// walks it. Names are resolved only by the code generator, which sees the whole
// source: a procedure may be called above its definition.
#pragma once

#include "LumDiagnostics.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The most levels an expression tree may have: the interpreter's
// CLumExpression::MAX_TREE_DEPTH. A chain a + b + ... of n terms has n levels.
constexpr int LUM_MAX_TREE_LEVELS = 1000;

enum class ELumExpr
{
    Long,     // m_nLong
    Double,   // m_strText, as written
    String,   // m_strText
    Variable, // m_strText
    Apply,    // m_strText(m_aArgs): an array element, a built-in, a user or host function
    Binary,   // m_aArgs[0] m_wOperator m_aArgs[1]
    Negate,   // -m_aArgs[0]
    Not,      // Not m_aArgs[0]
    NameOf,   // NameOf(m_aArgs[0]): the name of a variable or element as a string
};

struct CLumExpr
{
    ELumExpr m_eKind = ELumExpr::Long;
    SLumPos m_pos;
    // Behind the expression's last token (a closing bracket around it not counted).
    SLumPos m_posEnd;
    std::string m_strText;
    int32_t m_nLong = 0;
    unsigned short m_wOperator = 0;
    // Levels of the tree below and including this node.
    int m_nHeight = 1;
    std::vector<std::unique_ptr<CLumExpr>> m_aArgs;
};

using LumExprPtr = std::unique_ptr<CLumExpr>;

enum class ELumStmt
{
    Assign,      // m_strName [ (m_aIndices) ] = m_aExprs[0]
    AssignTo,    // Let (m_aExprs[0]) = m_aExprs[1]: the target's name computed
    Dim,         // m_strName [ (m_aIndices) ] [As m_strType]
    If,          // m_aExprs[0]; m_aBody; m_aElse
    For,         // m_strName = m_aExprs[0] To m_aExprs[1] [Step m_aExprs[2]]; m_aBody
    While,       // m_aExprs[0]; m_aBody
    DoLoop,      // m_aBody; Loop While|Until m_aExprs[0]
    Call,        // m_strName m_aExprs: a procedure, ShowMessage or a host statement
    CallEx,      // m_aExprs[0] the name; the rest the arguments
    Import,      // m_aExprs: the paths
    Declare,     // m_pProc, without body
    Unsupported, // a statement the image cannot express; m_strName says which
};

struct CLumProc;

struct CLumStmt
{
    ELumStmt m_eKind = ELumStmt::Assign;
    SLumPos m_pos;
    std::string m_strName;
    // Where m_strName is written: the counter of a For, the name elsewhere (m_pos);
    // and the counter behind its Next, line 0 where Next names none.
    SLumPos m_posName;
    SLumPos m_posNextName;
    std::string m_strType;
    // Loop While (true) or Loop Until (false); Call written with the Call keyword.
    bool m_fFlag = false;
    bool m_fHasIndices = false;
    std::vector<LumExprPtr> m_aIndices;
    std::vector<LumExprPtr> m_aExprs;
    std::vector<std::unique_ptr<CLumStmt>> m_aBody;
    std::vector<std::unique_ptr<CLumStmt>> m_aElse;
    bool m_fHasElse = false;
    SLumPos m_posElse;
    // Where the closing End If, Next, Wend or Loop stands.
    SLumPos m_posEnd;
    std::unique_ptr<CLumProc> m_pProc;
};

using LumStmtPtr = std::unique_ptr<CLumStmt>;

struct CLumParam
{
    std::string m_strName;
    // The type written with As, empty without; it must agree with the name.
    std::string m_strType;
    SLumPos m_pos;
};

struct CLumProc
{
    // Where the name stands, and the Sub or Function in front of it.
    SLumPos m_pos;
    SLumPos m_posHead;
    bool m_fFunction = false;
    std::string m_strName;
    std::string m_strType;
    std::vector<CLumParam> m_aParams;
    std::vector<LumStmtPtr> m_aBody;
    SLumPos m_posEnd;
};

struct CLumProgram
{
    // Declare, Import and Dim outside every procedure, and whatever else was
    // written there by mistake, in source order.
    std::vector<LumStmtPtr> m_aTopLevel;
    std::vector<std::unique_ptr<CLumProc>> m_aProcs;
};
