// Every place a source names a procedure or a variable, each tied to the one thing
// it names, scoped as the language scopes names: a procedure's parameters, the names
// it Dims and a Function's result are its own, everything else (Sub Main's variables
// included) is global, arrays are always global. The index is built from the
// compiler's syntax tree; definition, references, rename, hover and completion read
// it.
#pragma once

#include "LumAst.h"
#include "LumExtensionTable.h"

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

enum class ELumSymbolKind
{
    Procedure,
    Variable,
    Array,
};

struct SLumSymbol
{
    ELumSymbolKind m_eKind = ELumSymbolKind::Variable;
    std::string m_strName;
    // The procedure whose own variable this is; empty for a global and a procedure.
    std::string m_strScope;
    // A parameter of m_strScope, rather than a name it Dims.
    bool m_fParameter = false;
    // The procedure's definition and Declare; either may be null.
    const CLumProc* m_pDefinition = nullptr;
    const CLumProc* m_pDeclaration = nullptr;
};

enum class ELumRole
{
    Definition,  // a procedure's head, a parameter, a Dim
    Declaration, // a Declare
    Write,       // an assignment, a For counter
    Read,        // a use in an expression, a Next counter, a call
};

struct SLumOccurrence
{
    SLumPos m_pos;
    int m_nLength = 0;
    size_t m_nSymbol = 0;
    ELumRole m_eRole = ELumRole::Read;
};

class CLumSymbolIndex
{
public:
    CLumSymbolIndex(const CLumProgram& program, const CLumExtensionTable* pExtensions);

    const std::vector<SLumSymbol>& GetSymbols() const { return m_aSymbols; }
    // By position.
    const std::vector<SLumOccurrence>& GetOccurrences() const { return m_aOccurrences; }
    // The occurrence whose name covers `pos` (its end included, where a cursor stands
    // behind a name); null if none.
    const SLumOccurrence* At(SLumPos pos) const;
    std::vector<const SLumOccurrence*> OccurrencesOf(size_t nSymbol) const;
    // Where a symbol is defined: its definition, else its Declare, else its first
    // assignment, else its first use.
    const SLumOccurrence* DefinitionOf(size_t nSymbol) const;
    // The procedure whose lines hold `nLine`; null outside every procedure.
    const CLumProc* ProcedureAt(int nLine) const;
    // The symbol a name has inside `pProc` (null: outside every procedure), if the
    // source has one by that name.
    const SLumSymbol* Find(const std::string& strName, const CLumProc* pProc) const;

private:
    size_t SymbolOf(ELumSymbolKind eKind, const std::string& strName, const std::string& strScope);
    void Add(ELumSymbolKind eKind, const std::string& strName, const std::string& strScope, SLumPos pos,
             ELumRole eRole);
    void Variable(const std::string& strName, SLumPos pos, ELumRole eRole);
    void Procedure(const CLumProc& proc, ELumRole eRole);
    void Block(const std::vector<LumStmtPtr>& block);
    void Statement(const CLumStmt& stmt);
    void Expr(const CLumExpr& expr);
    bool IsProcedure(const std::string& strName) const;
    bool IsHostOrBuiltin(const std::string& strName) const;

    const CLumExtensionTable* m_pExtensions;
    std::vector<SLumSymbol> m_aSymbols;
    std::map<std::tuple<int, std::string, std::string>, size_t> m_mapSymbols;
    std::vector<SLumOccurrence> m_aOccurrences;
    std::vector<const CLumProc*> m_aProcs;
    std::map<std::string, std::set<std::string>> m_mapLocals;
    std::set<std::string> m_setArrays;
    // The procedure being walked, and its own names.
    const CLumProc* m_pProc = nullptr;
};
