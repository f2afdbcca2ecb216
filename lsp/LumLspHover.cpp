// Hover: a built-in's signature and what it does, a procedure's head and where it is
// declared and defined, a variable's type, scope and first assignment.
#include "LumLspFeatures.h"

#include "LumBuiltinTable.h"

#include <filesystem>

namespace
{
std::string Code(const std::string& strText)
{
    return "```lumbasic\n" + strText + "\n```\n";
}

std::string LineText(const CLumLspDocument& document, int nLine)
{
    std::string_view line = document.GetLine(nLine - 1);
    size_t nStart = line.find_first_not_of(" \t");
    return nStart == std::string_view::npos ? "" : std::string(line.substr(nStart));
}

std::string Procedure(CLumLspWorkspace& workspace, const CLumLspDocument& document, const SLumSymbol& symbol)
{
    SLumProcFound found = LumFindProcedure(workspace, document, symbol.m_strName);
    if (found.m_pProc == nullptr)
        return "";
    std::string strText = Code(LumProcHead(*found.m_pProc));
    if (symbol.m_pDeclaration != nullptr)
        strText += "\nDeclared at line " + std::to_string(symbol.m_pDeclaration->m_pos.m_nLine) + ": `" +
                   LineText(document, symbol.m_pDeclaration->m_pos.m_nLine) + "`\n";
    if (found.m_pLibrary != nullptr)
        strText +=
            "\nDefined in " + std::filesystem::path(found.m_pLibrary->m_strPath).filename().string() +
            (found.m_pLibrary->m_fSource ? ", line " + std::to_string(found.m_pProc->m_pos.m_nLine) : "") +
            "\n";
    else if (symbol.m_pDefinition != nullptr)
        strText += "\nDefined at line " + std::to_string(symbol.m_pDefinition->m_pos.m_nLine) + "\n";
    return strText;
}

std::string Variable(const CLumLspAnalysis& analysis, const CLumLspDocument& document, size_t nSymbol)
{
    const SLumSymbol& symbol = analysis.GetIndex().GetSymbols()[nSymbol];
    std::string strText = Code(symbol.m_strName) + "\n" + LumTypeOfName(symbol.m_strName);
    if (symbol.m_eKind == ELumSymbolKind::Array)
        strText += ", array (global)";
    else if (symbol.m_fParameter)
        strText += ", parameter of " + symbol.m_strScope;
    else if (!symbol.m_strScope.empty())
        strText += ", local of " + symbol.m_strScope;
    else
        strText += ", global";
    for (const SLumOccurrence* pOccurrence : analysis.GetIndex().OccurrencesOf(nSymbol))
        if (pOccurrence->m_eRole == ELumRole::Write)
            return strText + "\n\nFirst assigned at line " + std::to_string(pOccurrence->m_pos.m_nLine) +
                   ": `" + LineText(document, pOccurrence->m_pos.m_nLine) + "`\n";
    return strText + "\n";
}

// A built-in or a host's statement or function, named by the token.
std::string Word(const CLumLspWorkspace& workspace, const SLumLexToken& token)
{
    if (const SLumBuiltin* pBuiltin = LumFindBuiltin(token.m_strText))
        return Code(LumBuiltinSignature(*pBuiltin)) + "\n" + pBuiltin->m_pszDoc + "\n";
    const CLumExtensionTable* pExtensions = workspace.GetExtensions();
    if (const CLumExtensionTable::Entry* pEntry = pExtensions ? pExtensions->Find(token.m_strText) : nullptr)
        return Code(pEntry->m_strName) + "\nA " + (pEntry->m_fFunction ? "function" : "statement") +
               " of the host, from its extension table\n";
    return "";
}
} // namespace

json LumLspHover(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    ELumEncoding eEncoding = workspace.GetEncoding();
    std::string strText;
    json range;
    if (const SLumOccurrence* pOccurrence = at.m_analysis.GetIndex().At(at.m_pos))
    {
        const SLumSymbol& symbol = at.m_analysis.GetIndex().GetSymbols()[pOccurrence->m_nSymbol];
        strText = symbol.m_eKind == ELumSymbolKind::Procedure
                      ? Procedure(workspace, at.m_document, symbol)
                      : Variable(at.m_analysis, at.m_document, pOccurrence->m_nSymbol);
        range = at.m_document.Range(
            pOccurrence->m_pos,
            SLumPos{pOccurrence->m_pos.m_nLine, pOccurrence->m_pos.m_nColumn + pOccurrence->m_nLength},
            eEncoding);
    }
    else if (const SLumLexToken* pToken = LumTokenAt(at.m_analysis, at.m_pos))
    {
        if (pToken->m_eKind == ELumLex::Word)
            strText = Word(workspace, *pToken);
        range = at.m_document.Range(pToken->m_pos, pToken->m_posEnd, eEncoding);
    }
    if (strText.empty())
        return nullptr;
    return json{{"contents", {{"kind", "markdown"}, {"value", strText}}}, {"range", range}};
}
