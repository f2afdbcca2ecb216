// Turns the syntax tree of a source into a program image. Declarations and imports
// come first, then Sub Main in the straight-line path, then the terminating token,
// then every other procedure, reached through the offsets of its Declare.
#pragma once

#include "LumAst.h"
#include "LumBuiltinTable.h"
#include "LumExtensionTable.h"

#include "LumImageWriter.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

struct SLumCompileOptions
{
    // A line marker in front of each statement, for the debugger and the trail.
    bool m_fLineMarkers = true;
    const CLumExtensionTable* m_pExtensions = nullptr;
    // Warn of every variable that is read but assigned nowhere in the program.
    bool m_fStrict = false;
    // The variables the host fills before a run (lumbasic run --vars), which count as
    // assigned for m_fStrict; may be null.
    const std::set<std::string>* m_pHostNames = nullptr;
};

class CLumCodeGen
{
public:
    CLumCodeGen(const CLumProgram& program, const SLumCompileOptions& options, CLumDiagnostics& diagnostics);
    // The image, whose source-name record holds `strSourceName`; empty after an error.
    std::vector<uint8_t> Run(const std::string& strSourceName);
    // The lines whose markers reach the debugger when they run: of a row of markers
    // only the last one does, and none in front of a declaration or a head.
    std::set<int32_t> GetSteppedLines() const;

private:
    struct ProcInfo
    {
        const CLumProc* m_pDefinition = nullptr;
        const CLumProc* m_pDeclaration = nullptr;
        CLumImageWriter::Label m_label = 0;
    };
    struct Typed
    {
        CLumTree m_tree;
        ELumType m_eType;
    };

    // Names and declarations (LumCodeGen.cpp).
    void Error(SLumPos pos, const char* pszCode, const std::string& strMessage, SLumPos posEnd = {})
    {
        m_diagnostics.Error(pos, pszCode, strMessage, posEnd);
    }
    void CollectProcedures();
    void CollectDeclaration(const CLumProc& proc, bool fDefinition);
    void CheckSameHead(const CLumProc& declaration, const CLumProc& definition);
    void CheckHead(const CLumProc& proc);
    bool CheckNewName(const std::string& strName, SLumPos pos, const char* pszWhat);
    void CollectArrays(const std::vector<LumStmtPtr>& block);
    bool CheckTypeWord(const std::string& strName, const std::string& strType, SLumPos pos);
    const ProcInfo* FindProc(const std::string& strName) const;
    std::string UnknownName(const std::string& strName, bool fStatement) const;
    std::string NearArray(const std::string& strName) const;
    static bool IsMainName(const std::string& strName);
    static ELumType TypeOfName(const std::string& strName);

    // Program layout (LumCodeGen.cpp).
    void EmitTopLevel();
    void EmitImplicitDeclares();
    void EmitMain(const CLumProc& proc);
    void EmitProcedure(const CLumProc& proc);
    void EmitHead(const CLumProc& proc);
    void EmitDeclare(const CLumProc& proc, SLumPos pos);
    void Marker(SLumPos pos);
    void PassedMarker(SLumPos pos);

    // Statements (LumCodeGenStatement.cpp).
    void EmitBlock(const std::vector<LumStmtPtr>& block);
    void EmitStatement(const CLumStmt& stmt);
    void EmitStatementBody(const CLumStmt& stmt);
    void EmitAssign(const CLumStmt& stmt);
    void EmitAssignTo(const CLumStmt& stmt);
    void EmitDim(const CLumStmt& stmt);
    void EmitIf(const CLumStmt& stmt);
    void EmitFor(const CLumStmt& stmt);
    CLumTree ForStart(const CLumStmt& stmt);
    void EmitWhile(const CLumStmt& stmt);
    void EmitDoLoop(const CLumStmt& stmt);
    void EmitCall(const CLumStmt& stmt);
    void EmitProcedureCall(const CLumStmt& stmt, const ProcInfo& info);
    void EmitCallEx(const CLumStmt& stmt);
    void EmitImport(const CLumStmt& stmt);
    void EmitArguments(const std::vector<LumExprPtr>& aArgs, size_t nFirst);
    void CheckAssignable(const std::string& strName, ELumType eValue, SLumPos pos);

    // Expressions (LumCodeGenExpression.cpp).
    Typed Expr(const CLumExpr& expr);
    CLumTree ExprOf(const CLumExpr& expr, ELumType eWanted, const char* pszWhat);
    Typed Variable(const CLumExpr& expr);
    Typed Apply(const CLumExpr& expr);
    Typed Builtin(const CLumExpr& expr, const SLumBuiltin& builtin);
    Typed UserFunction(const CLumExpr& expr, const CLumProc& proc);
    CLumTree ArrayElement(const CLumExpr& expr, const std::string& strName,
                          const std::vector<LumExprPtr>& aIndices, bool fNameWanted);
    Typed Binary(const CLumExpr& expr);
    Typed NameOf(const CLumExpr& expr);
    std::vector<CLumTree> Arguments(const std::vector<LumExprPtr>& aArgs, const char* pszTypes,
                                    const std::string& strName);
    bool CheckArgumentCount(SLumPos pos, size_t nGiven, size_t nMin, size_t nMax, const std::string& strName,
                            SLumPos posEnd = {});
    void CheckHostArgumentCount(SLumPos pos, size_t nGiven, const CLumExtensionTable::Entry& entry);
    Typed Placeholder() { return Typed{CLumTree::LongConst(0), ELumType::Unknown}; }

    const CLumProgram& m_program;
    const SLumCompileOptions& m_options;
    CLumDiagnostics& m_diagnostics;
    CLumImageWriter m_writer;
    std::map<std::string, ProcInfo> m_mapProcs;
    std::set<std::string> m_setArrays;
    const CLumProc* m_pMain = nullptr;
    // The procedure whose body is being written; null outside every procedure.
    const CLumProc* m_pCurrent = nullptr;
    // Each marker's line and the offset behind it that reaches the debugger: one followed by
    // another marker, a declaration or a head is dropped.
    std::vector<std::pair<int32_t, size_t>> m_aMarkers;
};
