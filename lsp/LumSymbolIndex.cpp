#include "LumSymbolIndex.h"

#include "LumBuiltinTable.h"
#include "LumWarnings.h"

#include <algorithm>

namespace
{
void CollectArrays(const std::vector<LumStmtPtr>& block, std::set<std::string>& setArrays)
{
    for (const auto& pStmt : block)
    {
        if (pStmt->m_eKind == ELumStmt::Dim && pStmt->m_fHasIndices)
            setArrays.insert(pStmt->m_strName);
        CollectArrays(pStmt->m_aBody, setArrays);
        CollectArrays(pStmt->m_aElse, setArrays);
    }
}

std::pair<int, int> Key(SLumPos pos)
{
    return {pos.m_nLine, pos.m_nColumn};
}
} // namespace

CLumSymbolIndex::CLumSymbolIndex(const CLumProgram& program, const CLumExtensionTable* pExtensions)
    : m_pExtensions(pExtensions)
{
    for (const auto& pProc : program.m_aProcs)
        if (!pProc->m_strName.empty())
        {
            SLumSymbol& symbol = m_aSymbols[SymbolOf(ELumSymbolKind::Procedure, pProc->m_strName, "")];
            if (symbol.m_pDefinition == nullptr)
                symbol.m_pDefinition = pProc.get();
            m_aProcs.push_back(pProc.get());
            m_mapLocals[pProc->m_strName] = LumLocalsOf(pProc.get());
        }
    for (const auto& pStmt : program.m_aTopLevel)
        if (pStmt->m_eKind == ELumStmt::Declare && pStmt->m_pProc && !pStmt->m_pProc->m_strName.empty())
            m_aSymbols[SymbolOf(ELumSymbolKind::Procedure, pStmt->m_pProc->m_strName, "")].m_pDeclaration =
                pStmt->m_pProc.get();
    CollectArrays(program.m_aTopLevel, m_setArrays);
    for (const auto& pProc : program.m_aProcs)
        CollectArrays(pProc->m_aBody, m_setArrays);

    Block(program.m_aTopLevel);
    for (const CLumProc* pProc : m_aProcs)
    {
        m_pProc = pProc;
        Procedure(*pProc, ELumRole::Definition);
        for (const CLumParam& param : pProc->m_aParams)
        {
            Add(ELumSymbolKind::Variable, param.m_strName, pProc->m_strName, param.m_pos,
                ELumRole::Definition);
            m_aSymbols[m_aOccurrences.back().m_nSymbol].m_fParameter = true;
        }
        Block(pProc->m_aBody);
    }
    m_pProc = nullptr;
    std::stable_sort(
        m_aOccurrences.begin(), m_aOccurrences.end(),
        [](const SLumOccurrence& a, const SLumOccurrence& b) { return Key(a.m_pos) < Key(b.m_pos); });
}

size_t CLumSymbolIndex::SymbolOf(ELumSymbolKind eKind, const std::string& strName,
                                 const std::string& strScope)
{
    auto key = std::make_tuple(static_cast<int>(eKind), strName, strScope);
    auto it = m_mapSymbols.find(key);
    if (it != m_mapSymbols.end())
        return it->second;
    SLumSymbol symbol;
    symbol.m_eKind = eKind;
    symbol.m_strName = strName;
    symbol.m_strScope = strScope;
    m_aSymbols.push_back(symbol);
    m_mapSymbols.emplace(key, m_aSymbols.size() - 1);
    return m_aSymbols.size() - 1;
}

void CLumSymbolIndex::Add(ELumSymbolKind eKind, const std::string& strName, const std::string& strScope,
                          SLumPos pos, ELumRole eRole)
{
    if (strName.empty() || pos.m_nLine <= 0)
        return;
    m_aOccurrences.push_back(
        SLumOccurrence{pos, static_cast<int>(strName.size()), SymbolOf(eKind, strName, strScope), eRole});
}

bool CLumSymbolIndex::IsProcedure(const std::string& strName) const
{
    return m_mapSymbols.count(std::make_tuple(static_cast<int>(ELumSymbolKind::Procedure), strName, "")) > 0;
}

bool CLumSymbolIndex::IsHostOrBuiltin(const std::string& strName) const
{
    return LumFindBuiltin(strName) != nullptr ||
           (m_pExtensions != nullptr && m_pExtensions->Find(strName) != nullptr);
}

// A name used as a variable: a Function's own result, a local of the procedure, an
// array, or a global.
void CLumSymbolIndex::Variable(const std::string& strName, SLumPos pos, ELumRole eRole)
{
    if (m_pProc != nullptr && m_pProc->m_fFunction && m_pProc->m_strName == strName)
        Add(ELumSymbolKind::Procedure, strName, "", pos, eRole);
    else if (m_pProc != nullptr && m_mapLocals[m_pProc->m_strName].count(strName) > 0)
        Add(ELumSymbolKind::Variable, strName, m_pProc->m_strName, pos, eRole);
    else if (m_setArrays.count(strName) > 0)
        Add(ELumSymbolKind::Array, strName, "", pos, eRole);
    else
        Add(ELumSymbolKind::Variable, strName, "", pos, eRole);
}

void CLumSymbolIndex::Procedure(const CLumProc& proc, ELumRole eRole)
{
    Add(ELumSymbolKind::Procedure, proc.m_strName, "", proc.m_pos, eRole);
}

void CLumSymbolIndex::Block(const std::vector<LumStmtPtr>& block)
{
    for (const auto& pStmt : block)
        Statement(*pStmt);
}

void CLumSymbolIndex::Statement(const CLumStmt& stmt)
{
    switch (stmt.m_eKind)
    {
    case ELumStmt::Assign:
        if (!stmt.m_fHasIndices)
            Variable(stmt.m_strName, stmt.m_posName, ELumRole::Write);
        else if (m_setArrays.count(stmt.m_strName) > 0)
            Add(ELumSymbolKind::Array, stmt.m_strName, "", stmt.m_posName, ELumRole::Write);
        break;
    case ELumStmt::Dim:
        if (stmt.m_fHasIndices)
            Add(ELumSymbolKind::Array, stmt.m_strName, "", stmt.m_posName, ELumRole::Definition);
        else
            Variable(stmt.m_strName, stmt.m_posName, ELumRole::Definition);
        break;
    case ELumStmt::For:
        Variable(stmt.m_strName, stmt.m_posName, ELumRole::Write);
        if (stmt.m_posNextName.m_nLine > 0)
            Variable(stmt.m_strName, stmt.m_posNextName, ELumRole::Read);
        break;
    case ELumStmt::Call:
        if (IsProcedure(stmt.m_strName))
            Add(ELumSymbolKind::Procedure, stmt.m_strName, "", stmt.m_posName, ELumRole::Read);
        break;
    case ELumStmt::Declare:
        if (stmt.m_pProc)
            Procedure(*stmt.m_pProc, ELumRole::Declaration);
        break;
    default:
        break;
    }
    for (const auto* paExprs : {&stmt.m_aIndices, &stmt.m_aExprs})
        for (const LumExprPtr& pExpr : *paExprs)
            if (pExpr)
                Expr(*pExpr);
    Block(stmt.m_aBody);
    Block(stmt.m_aElse);
}

void CLumSymbolIndex::Expr(const CLumExpr& expr)
{
    const std::string& strName = expr.m_strText;
    if (expr.m_eKind == ELumExpr::Variable && !IsHostOrBuiltin(strName))
    {
        bool fResult = m_pProc != nullptr && m_pProc->m_strName == strName;
        if (IsProcedure(strName) && !fResult)
            Add(ELumSymbolKind::Procedure, strName, "", expr.m_pos, ELumRole::Read);
        else
            Variable(strName, expr.m_pos, ELumRole::Read);
    }
    else if (expr.m_eKind == ELumExpr::Apply)
    {
        if (IsProcedure(strName))
            Add(ELumSymbolKind::Procedure, strName, "", expr.m_pos, ELumRole::Read);
        else if (!IsHostOrBuiltin(strName) && m_setArrays.count(strName) > 0)
            Add(ELumSymbolKind::Array, strName, "", expr.m_pos, ELumRole::Read);
    }
    for (const LumExprPtr& pArg : expr.m_aArgs)
        if (pArg)
            Expr(*pArg);
}

const SLumOccurrence* CLumSymbolIndex::At(SLumPos pos) const
{
    auto it = std::lower_bound(m_aOccurrences.begin(), m_aOccurrences.end(), pos.m_nLine,
                               [](const SLumOccurrence& o, int nLine) { return o.m_pos.m_nLine < nLine; });
    for (; it != m_aOccurrences.end() && it->m_pos.m_nLine == pos.m_nLine; ++it)
        if (pos.m_nColumn >= it->m_pos.m_nColumn && pos.m_nColumn <= it->m_pos.m_nColumn + it->m_nLength)
            return &*it;
    return nullptr;
}

std::vector<const SLumOccurrence*> CLumSymbolIndex::OccurrencesOf(size_t nSymbol) const
{
    std::vector<const SLumOccurrence*> aFound;
    for (const SLumOccurrence& occurrence : m_aOccurrences)
        if (occurrence.m_nSymbol == nSymbol)
            aFound.push_back(&occurrence);
    return aFound;
}

const SLumOccurrence* CLumSymbolIndex::DefinitionOf(size_t nSymbol) const
{
    std::vector<const SLumOccurrence*> aFound = OccurrencesOf(nSymbol);
    for (ELumRole eRole : {ELumRole::Definition, ELumRole::Declaration, ELumRole::Write})
        for (const SLumOccurrence* pOccurrence : aFound)
            if (pOccurrence->m_eRole == eRole)
                return pOccurrence;
    return aFound.empty() ? nullptr : aFound.front();
}

const CLumProc* CLumSymbolIndex::ProcedureAt(int nLine) const
{
    for (const CLumProc* pProc : m_aProcs)
        if (nLine >= pProc->m_posHead.m_nLine && nLine <= pProc->m_posEnd.m_nLine)
            return pProc;
    return nullptr;
}

const SLumSymbol* CLumSymbolIndex::Find(const std::string& strName, const CLumProc* pProc) const
{
    std::vector<std::tuple<int, std::string, std::string>> aKeys;
    if (pProc != nullptr)
        aKeys.emplace_back(static_cast<int>(ELumSymbolKind::Variable), strName, pProc->m_strName);
    for (ELumSymbolKind eKind : {ELumSymbolKind::Variable, ELumSymbolKind::Array, ELumSymbolKind::Procedure})
        aKeys.emplace_back(static_cast<int>(eKind), strName, "");
    for (const auto& key : aKeys)
    {
        auto it = m_mapSymbols.find(key);
        if (it != m_mapSymbols.end())
            return &m_aSymbols[it->second];
    }
    return nullptr;
}
