#include "LumWarnings.h"

#include "LumBuiltinTable.h"
#include "LumLexer.h"
#include "LumNearMiss.h"

#include <map>
#include <set>
#include <string>
#include <tuple>

namespace
{
using Block = std::vector<LumStmtPtr>;
using NameSet = std::set<std::string>;

bool IsMain(const CLumProc* pProc)
{
    return pProc != nullptr && LumEqualsNoCase(pProc->m_strName, "Main");
}

bool CallsItself(const CLumExpr& expr, const std::string& strName)
{
    if (expr.m_eKind == ELumExpr::Apply && expr.m_strText == strName)
        return true;
    for (const LumExprPtr& pArg : expr.m_aArgs)
        if (CallsItself(*pArg, strName))
            return true;
    return false;
}

bool CallsItself(const Block& block, const std::string& strName)
{
    for (const auto& pStmt : block)
    {
        if (pStmt->m_eKind == ELumStmt::Call && pStmt->m_strName == strName)
            return true;
        for (const auto* paExprs : {&pStmt->m_aExprs, &pStmt->m_aIndices})
            for (const LumExprPtr& pExpr : *paExprs)
                if (CallsItself(*pExpr, strName))
                    return true;
        if (CallsItself(pStmt->m_aBody, strName) || CallsItself(pStmt->m_aElse, strName))
            return true;
    }
    return false;
}

// Follows one procedure that calls itself in the order its statements and
// expressions run, with the set of its parameters and locals that a call of itself
// may have changed since they were last assigned ("stale"). Reading a stale one is
// warned of. Branches join their sets; a loop is followed once, from the set it may
// have at the start of any pass: the one before it and whatever a pass leaves stale.
// What a pass leaves stale does not depend on the set at its start (a pass only adds
// all of them at a call and takes single ones out at assignments), so it is found
// once per loop by a pass from the empty set without warnings, and kept.
class CRecursionCheck
{
public:
    CRecursionCheck(const CLumProc& proc, CLumDiagnostics& diagnostics)
        : m_proc(proc), m_setLocals(LumLocalsOf(&proc)), m_diagnostics(diagnostics)
    {
    }

    void Run()
    {
        if (m_setLocals.empty() || !CallsItself(m_proc.m_aBody, m_proc.m_strName))
            return;
        Walk(m_proc.m_aBody);
    }

private:
    void Read(const std::string& strName, SLumPos pos, const char* pszHow)
    {
        if (m_nSilent > 0 || m_setStale.count(strName) == 0)
            return;
        if (!m_setWarned.insert(std::make_tuple(pos.m_nLine, pos.m_nColumn, strName)).second)
            return;
        m_diagnostics.Warning(pos, "shared-locals",
                              "'" + strName + "' is " + pszHow + " after the recursive call of '" +
                                  m_proc.m_strName + "', which may have changed it: all calls of '" +
                                  m_proc.m_strName + "' share one set of parameters and locals");
    }

    void Write(const std::string& strName) { m_setStale.erase(strName); }

    void Expr(const CLumExpr& expr)
    {
        switch (expr.m_eKind)
        {
        case ELumExpr::Variable:
            Read(expr.m_strText, expr.m_pos, "read");
            return;
        case ELumExpr::NameOf:
            // Only the name is taken; the indices of an element are read.
            for (const LumExprPtr& pIndex : expr.m_aArgs[0]->m_aArgs)
                Expr(*pIndex);
            return;
        case ELumExpr::Apply:
            for (const LumExprPtr& pArg : expr.m_aArgs)
                Expr(*pArg);
            if (expr.m_strText == m_proc.m_strName)
                m_setStale = m_setLocals;
            return;
        default:
            for (const LumExprPtr& pArg : expr.m_aArgs)
                Expr(*pArg);
            return;
        }
    }

    void Exprs(const std::vector<LumExprPtr>& aExprs, size_t nFirst = 0)
    {
        for (size_t i = nFirst; i < aExprs.size(); ++i)
            Expr(*aExprs[i]);
    }

    void Walk(const Block& block)
    {
        for (const auto& pStmt : block)
            Statement(*pStmt);
    }

    // What one pass of a loop leaves stale, from none at its start.
    const NameSet& StaleAfterPass(const CLumStmt& stmt)
    {
        auto it = m_mapPass.find(&stmt);
        if (it != m_mapPass.end())
            return it->second;
        NameSet setBefore;
        setBefore.swap(m_setStale);
        ++m_nSilent;
        Pass(stmt);
        --m_nSilent;
        NameSet& setPass = m_mapPass[&stmt];
        setPass.swap(m_setStale);
        m_setStale.swap(setBefore);
        return setPass;
    }

    // One pass of a loop, as it runs from its second pass on.
    void Pass(const CLumStmt& stmt)
    {
        switch (stmt.m_eKind)
        {
        case ELumStmt::For:
            Walk(stmt.m_aBody);
            // Next reads the counter and stores it one step on.
            Read(stmt.m_strName, stmt.m_posEnd, "counted on by Next");
            Write(stmt.m_strName);
            break;
        case ELumStmt::While:
            Expr(*stmt.m_aExprs[0]);
            Walk(stmt.m_aBody);
            break;
        default: // DoLoop
            Walk(stmt.m_aBody);
            Expr(*stmt.m_aExprs[0]);
            break;
        }
    }

    void Loop(const CLumStmt& stmt)
    {
        const NameSet& setPass = StaleAfterPass(stmt);
        m_setStale.insert(setPass.begin(), setPass.end());
        if (stmt.m_eKind != ELumStmt::While)
        {
            // For and Do run their body at least once and end behind it.
            Pass(stmt);
            return;
        }
        // While ends behind its condition.
        Expr(*stmt.m_aExprs[0]);
        NameSet setEnd = m_setStale;
        Walk(stmt.m_aBody);
        m_setStale.swap(setEnd);
    }

    void Statement(const CLumStmt& stmt)
    {
        switch (stmt.m_eKind)
        {
        case ELumStmt::Assign:
            Exprs(stmt.m_aIndices);
            Exprs(stmt.m_aExprs);
            if (!stmt.m_fHasIndices)
                Write(stmt.m_strName);
            break;
        case ELumStmt::Dim:
            Exprs(stmt.m_aIndices);
            if (!stmt.m_fHasIndices)
                Write(stmt.m_strName);
            break;
        case ELumStmt::If:
        {
            Exprs(stmt.m_aExprs);
            NameSet setElse = m_setStale;
            Walk(stmt.m_aBody);
            setElse.swap(m_setStale);
            Walk(stmt.m_aElse);
            m_setStale.insert(setElse.begin(), setElse.end());
            break;
        }
        case ELumStmt::For:
            Exprs(stmt.m_aExprs);
            Write(stmt.m_strName);
            Loop(stmt);
            break;
        case ELumStmt::While:
        case ELumStmt::DoLoop:
            Loop(stmt);
            break;
        case ELumStmt::Call:
            Exprs(stmt.m_aExprs);
            if (stmt.m_strName == m_proc.m_strName)
                m_setStale = m_setLocals;
            break;
        case ELumStmt::AssignTo:
        case ELumStmt::CallEx:
        case ELumStmt::Import:
            Exprs(stmt.m_aExprs);
            break;
        case ELumStmt::Declare:
        case ELumStmt::Unsupported:
            break;
        }
    }

    const CLumProc& m_proc;
    const NameSet m_setLocals;
    CLumDiagnostics& m_diagnostics;
    NameSet m_setStale;
    int m_nSilent = 0;
    std::map<const CLumStmt*, NameSet> m_mapPass;
    std::set<std::tuple<int, int, std::string>> m_setWarned;
};

// --strict: every plain variable the program reads must be assigned somewhere in it:
// by an assignment, a For, a Dim, as a parameter, or passed to the host, which may
// fill it. A Let whose target name is computed may assign any variable, and turns
// the check off.
class CAssignmentCheck
{
public:
    CAssignmentCheck(const CLumProgram& program, const SLumCompileOptions& options,
                     CLumDiagnostics& diagnostics)
        : m_program(program), m_options(options), m_diagnostics(diagnostics)
    {
        for (const auto& pProc : program.m_aProcs)
            m_setProcs.insert(pProc->m_strName);
        for (const auto& pStmt : program.m_aTopLevel)
            if (pStmt->m_eKind == ELumStmt::Declare && pStmt->m_pProc)
                m_setProcs.insert(pStmt->m_pProc->m_strName);
        CollectArrays(program.m_aTopLevel);
        for (const auto& pProc : program.m_aProcs)
            CollectArrays(pProc->m_aBody);
    }

    void Run()
    {
        Procedure(nullptr, m_program.m_aTopLevel);
        for (const auto& pProc : m_program.m_aProcs)
            Procedure(pProc.get(), pProc->m_aBody);
        if (m_fAnyTarget)
            return;
        for (const auto& read : m_mapReads)
        {
            const std::string& strName = read.first;
            if (m_setAssigned.count(strName) > 0 ||
                (m_options.m_pHostNames != nullptr && m_options.m_pHostNames->count(strName) > 0))
                continue;
            std::string strMeant = NearAssigned(strName, read.second.second);
            m_diagnostics.Warning(read.second.first, "unassigned-variable",
                                  "'" + strName + "' is read but assigned nowhere in the program; " +
                                      (strMeant.empty() ? "if" : strMeant + " If") +
                                      " the host or an imported program sets it, say so with Dim " + strName +
                                      " in Sub Main");
        }
    }

private:
    // The variable of the same type nearest to an unassigned one: a global assigned
    // somewhere, one the host fills, or one the reading procedure keeps itself.
    std::string NearAssigned(const std::string& strName, const CLumProc* pProc) const
    {
        CLumNearMiss nearMiss(strName);
        auto offer = [&](const NameSet& setNames) {
            for (const std::string& strOther : setNames)
                if (TypeChar(strOther) == TypeChar(strName))
                    nearMiss.Offer(strOther);
        };
        offer(m_setAssigned);
        if (m_options.m_pHostNames != nullptr)
            offer(*m_options.m_pHostNames);
        offer(LumLocalsOf(pProc));
        return nearMiss.DidYouMean();
    }

    static char TypeChar(const std::string& strName)
    {
        char c = strName.empty() ? '\0' : strName.back();
        return c == '$' || c == '%' ? c : '\0';
    }

    void CollectArrays(const Block& block)
    {
        for (const auto& pStmt : block)
        {
            if (pStmt->m_eKind == ELumStmt::Dim && pStmt->m_fHasIndices)
                m_setArrays.insert(pStmt->m_strName);
            CollectArrays(pStmt->m_aBody);
            CollectArrays(pStmt->m_aElse);
        }
    }

    const CLumExtensionTable::Entry* HostEntry(const std::string& strName) const
    {
        return m_options.m_pExtensions != nullptr ? m_options.m_pExtensions->Find(strName) : nullptr;
    }

    // Whether a bare name in an expression reads a variable, and not a function
    // called without brackets.
    bool IsVariable(const std::string& strName) const
    {
        return LumFindBuiltin(strName) == nullptr && HostEntry(strName) == nullptr &&
               m_setArrays.count(strName) == 0 &&
               (m_setProcs.count(strName) == 0 || (m_pProc != nullptr && m_pProc->m_strName == strName));
    }

    // A global, unless the procedure keeps the name itself.
    bool IsGlobal(const std::string& strName) const
    {
        return m_setLocals.count(strName) == 0 &&
               !(m_pProc != nullptr && m_pProc->m_fFunction && m_pProc->m_strName == strName);
    }

    void Assigned(const std::string& strName)
    {
        if (IsGlobal(strName))
            m_setAssigned.insert(strName);
    }

    void Procedure(const CLumProc* pProc, const Block& block)
    {
        m_pProc = pProc;
        m_setLocals = LumLocalsOf(pProc);
        Walk(block);
        m_pProc = nullptr;
    }

    void Expr(const CLumExpr& expr)
    {
        switch (expr.m_eKind)
        {
        case ELumExpr::Variable:
            if (IsVariable(expr.m_strText) && IsGlobal(expr.m_strText))
            {
                auto it = m_mapReads.find(expr.m_strText);
                if (it == m_mapReads.end())
                    m_mapReads.emplace(expr.m_strText, std::make_pair(expr.m_pos, m_pProc));
                else if (std::make_pair(expr.m_pos.m_nLine, expr.m_pos.m_nColumn) <
                         std::make_pair(it->second.first.m_nLine, it->second.first.m_nColumn))
                    it->second = std::make_pair(expr.m_pos, m_pProc);
            }
            return;
        case ELumExpr::NameOf:
        {
            // A name handed out may be assigned through it.
            const CLumExpr& target = *expr.m_aArgs[0];
            if (target.m_eKind == ELumExpr::Variable)
                m_setAssigned.insert(target.m_strText);
            for (const LumExprPtr& pIndex : target.m_aArgs)
                Expr(*pIndex);
            return;
        }
        case ELumExpr::Apply:
        {
            const CLumExtensionTable::Entry* pEntry = HostEntry(expr.m_strText);
            if (pEntry != nullptr && m_setProcs.count(expr.m_strText) == 0)
                HostArguments(expr.m_aArgs, 0);
            for (const LumExprPtr& pArg : expr.m_aArgs)
                Expr(*pArg);
            return;
        }
        default:
            for (const LumExprPtr& pArg : expr.m_aArgs)
                Expr(*pArg);
            return;
        }
    }

    // The host reads its operands from the image and may store into a variable named
    // by one.
    void HostArguments(const std::vector<LumExprPtr>& aArgs, size_t nFirst)
    {
        for (size_t i = nFirst; i < aArgs.size(); ++i)
            if (aArgs[i]->m_eKind == ELumExpr::Variable)
                m_setAssigned.insert(aArgs[i]->m_strText);
    }

    void Exprs(const std::vector<LumExprPtr>& aExprs)
    {
        for (const LumExprPtr& pExpr : aExprs)
            Expr(*pExpr);
    }

    void Walk(const Block& block)
    {
        for (const auto& pStmt : block)
        {
            Statement(*pStmt);
            Walk(pStmt->m_aBody);
            Walk(pStmt->m_aElse);
        }
    }

    void Statement(const CLumStmt& stmt)
    {
        Exprs(stmt.m_aIndices);
        Exprs(stmt.m_aExprs);
        switch (stmt.m_eKind)
        {
        case ELumStmt::Assign:
        case ELumStmt::For:
            if (!stmt.m_fHasIndices)
                Assigned(stmt.m_strName);
            break;
        case ELumStmt::Dim:
            if (!stmt.m_fHasIndices)
                Assigned(stmt.m_strName);
            break;
        case ELumStmt::AssignTo:
        {
            const CLumExpr& target = *stmt.m_aExprs[0];
            if (target.m_eKind == ELumExpr::String)
                m_setAssigned.insert(target.m_strText);
            else if (target.m_eKind != ELumExpr::NameOf)
                m_fAnyTarget = true;
            break;
        }
        case ELumStmt::Call:
            if (m_setProcs.count(stmt.m_strName) == 0 && HostEntry(stmt.m_strName) != nullptr)
                HostArguments(stmt.m_aExprs, 0);
            break;
        default:
            break;
        }
    }

    const CLumProgram& m_program;
    const SLumCompileOptions& m_options;
    CLumDiagnostics& m_diagnostics;
    NameSet m_setProcs;
    NameSet m_setArrays;
    // The procedure being followed, null outside every procedure, and its own names.
    const CLumProc* m_pProc = nullptr;
    NameSet m_setLocals;
    NameSet m_setAssigned;
    // Each global read, at its first place in the source, with the procedure there.
    std::map<std::string, std::pair<SLumPos, const CLumProc*>> m_mapReads;
    bool m_fAnyTarget = false;
};
} // namespace

std::set<std::string> LumLocalsOf(const CLumProc* pProc)
{
    NameSet setLocals;
    if (pProc == nullptr || IsMain(pProc))
        return setLocals;
    for (const CLumParam& param : pProc->m_aParams)
        setLocals.insert(param.m_strName);
    struct Collect
    {
        NameSet& m_set;
        void operator()(const Block& block) const
        {
            for (const auto& pStmt : block)
            {
                if (pStmt->m_eKind == ELumStmt::Dim && !pStmt->m_fHasIndices)
                    m_set.insert(pStmt->m_strName);
                (*this)(pStmt->m_aBody);
                (*this)(pStmt->m_aElse);
            }
        }
    };
    Collect{setLocals}(pProc->m_aBody);
    return setLocals;
}

void LumWarnAbout(const CLumProgram& program, const SLumCompileOptions& options, CLumDiagnostics& diagnostics)
{
    for (const auto& pProc : program.m_aProcs)
        if (!IsMain(pProc.get()))
            CRecursionCheck(*pProc, diagnostics).Run();
    if (options.m_fStrict)
        CAssignmentCheck(program, options, diagnostics).Run();
}
