// The outline of a document, its procedures; and the ranges an editor folds:
// procedures, blocks and runs of comment lines.
#include "LumLspFeatures.h"

namespace
{
json Folding(int nStart, int nEnd, const char* pszKind = nullptr)
{
    json range{{"startLine", nStart - 1}, {"endLine", nEnd - 1}};
    if (pszKind != nullptr)
        range["kind"] = pszKind;
    return range;
}

// A block folds from its head to the line above its closing word, which stays in
// sight.
void Blocks(const std::vector<LumStmtPtr>& block, json& aRanges)
{
    for (const auto& pStmt : block)
    {
        bool fBlock = pStmt->m_eKind == ELumStmt::If || pStmt->m_eKind == ELumStmt::For ||
                      pStmt->m_eKind == ELumStmt::While || pStmt->m_eKind == ELumStmt::DoLoop;
        if (fBlock && pStmt->m_posEnd.m_nLine - 1 > pStmt->m_pos.m_nLine)
            aRanges.push_back(Folding(pStmt->m_pos.m_nLine, pStmt->m_posEnd.m_nLine - 1));
        Blocks(pStmt->m_aBody, aRanges);
        Blocks(pStmt->m_aElse, aRanges);
    }
}
} // namespace

json LumLspDocumentSymbols(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    ELumEncoding eEncoding = workspace.GetEncoding();
    json aSymbols = json::array();
    for (const auto& pProc : at.m_analysis.GetCompiler().GetProgram().m_aProcs)
    {
        if (pProc->m_strName.empty())
            continue;
        SLumPos end{pProc->m_posEnd.m_nLine,
                    static_cast<int>(at.m_document.GetLine(pProc->m_posEnd.m_nLine - 1).size()) + 1};
        SLumPos nameEnd{pProc->m_pos.m_nLine,
                        pProc->m_pos.m_nColumn + static_cast<int>(pProc->m_strName.size())};
        aSymbols.push_back(json{{"name", pProc->m_strName},
                                {"detail", LumProcHead(*pProc)},
                                {"kind", LSP_SYMBOL_FUNCTION},
                                {"range", at.m_document.Range(pProc->m_posHead, end, eEncoding)},
                                {"selectionRange", at.m_document.Range(pProc->m_pos, nameEnd, eEncoding)}});
    }
    return aSymbols;
}

json LumLspFoldingRanges(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    const CLumCompiler& compiler = at.m_analysis.GetCompiler();
    json aRanges = json::array();
    for (const auto& pProc : compiler.GetProgram().m_aProcs)
    {
        if (pProc->m_posEnd.m_nLine - 1 > pProc->m_posHead.m_nLine)
            aRanges.push_back(Folding(pProc->m_posHead.m_nLine, pProc->m_posEnd.m_nLine - 1));
        Blocks(pProc->m_aBody, aRanges);
    }
    // Comments that stand alone on consecutive lines.
    const std::vector<SLumComment>& aComments = compiler.GetComments();
    for (size_t i = 0; i < aComments.size();)
    {
        size_t j = i;
        auto alone = [&](size_t k) {
            std::string_view line = at.m_document.GetLine(aComments[k].m_pos.m_nLine - 1);
            return line.find_first_not_of(" \t") == static_cast<size_t>(aComments[k].m_pos.m_nColumn - 1) ||
                   (aComments[k].m_pos.m_nLine == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0);
        };
        while (j + 1 < aComments.size() && alone(j) && alone(j + 1) &&
               aComments[j + 1].m_pos.m_nLine == aComments[j].m_pos.m_nLine + 1)
            ++j;
        if (j > i)
            aRanges.push_back(Folding(aComments[i].m_pos.m_nLine, aComments[j].m_pos.m_nLine, "comment"));
        i = j + 1;
    }
    return aRanges;
}
