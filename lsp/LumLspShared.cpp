// What several features need to say about a source.
#include "LumLspFeatures.h"

std::string LumProcHead(const CLumProc& proc)
{
    std::string strHead = std::string(proc.m_fFunction ? "Function " : "Sub ") + proc.m_strName + "(";
    for (size_t i = 0; i < proc.m_aParams.size(); ++i)
    {
        const CLumParam& param = proc.m_aParams[i];
        strHead +=
            (i > 0 ? ", " : "") + param.m_strName + (param.m_strType.empty() ? "" : " As " + param.m_strType);
    }
    return strHead + ")" + (proc.m_strType.empty() ? "" : " As " + proc.m_strType);
}

const char* LumTypeOfName(const std::string& strName)
{
    char c = strName.empty() ? '\0' : strName.back();
    return c == '$' ? "String" : c == '%' ? "Long" : "Double";
}

SLumProcFound LumFindProcedure(CLumLspWorkspace& workspace, const CLumLspDocument& document,
                               const std::string& strName)
{
    const SLumSymbol* pSymbol = workspace.Analysis(document).GetIndex().Find(strName, nullptr);
    if (pSymbol != nullptr && pSymbol->m_eKind == ELumSymbolKind::Procedure &&
        pSymbol->m_pDefinition != nullptr)
        return SLumProcFound{pSymbol->m_pDefinition, nullptr};
    for (const SLumLibrary& library : workspace.Libraries(document))
        for (const CLumProc* pProc : LumLibraryProcedures(library))
            if (pProc->m_strName == strName)
                return SLumProcFound{pProc, &library};
    if (pSymbol != nullptr && pSymbol->m_eKind == ELumSymbolKind::Procedure)
        return SLumProcFound{pSymbol->m_pDeclaration, nullptr};
    return SLumProcFound{};
}

const SLumLexToken* LumTokenAt(const CLumLspAnalysis& analysis, SLumPos pos)
{
    size_t nIndex = analysis.TokenBefore(SLumPos{pos.m_nLine, pos.m_nColumn + 1});
    const std::vector<SLumLexToken>& aTokens = analysis.GetCompiler().GetTokens();
    if (nIndex >= aTokens.size())
        return nullptr;
    const SLumLexToken& token = aTokens[nIndex];
    bool fHolds = token.m_pos.m_nLine == pos.m_nLine && token.m_posEnd.m_nLine == pos.m_nLine &&
                  pos.m_nColumn <= token.m_posEnd.m_nColumn;
    return fHolds && token.m_eKind != ELumLex::EndOfStatement && token.m_eKind != ELumLex::EndOfFile
               ? &token
               : nullptr;
}
