// Completion: where a statement starts, the statements (with snippets of the block
// statements), the Subs of the document and of its libraries and the host's
// statements; inside a statement, the built-ins, functions, the host's functions and
// the operator words. Both offer the variables the procedure at the cursor sees: its
// own and the globals.
#include "LumLspFeatures.h"

#include "LumBuiltinTable.h"

#include <set>

namespace
{
struct Snippet
{
    const char* m_pszLabel;
    const char* m_pszBody;
};

const char* const s_apszStatementWords[] = {"Dim",
                                            "If",
                                            "ElseIf",
                                            "Else",
                                            "End If",
                                            "For",
                                            "Next",
                                            "While",
                                            "Wend",
                                            "Do",
                                            "Loop",
                                            "Call",
                                            "CallEx",
                                            "Import",
                                            "Let",
                                            "Declare Sub",
                                            "Declare Function",
                                            "Sub",
                                            "Function",
                                            "End Sub",
                                            "End Function"};
const char* const s_apszExpressionWords[] = {"And", "Or",   "Not",   "NameOf", "Then",
                                             "To",  "Step", "Until", "While"};

const Snippet s_aSnippets[] = {
    {"For … Next", "For ${1:i%} = ${2:1} To ${3:10}\n\t$0\nNext ${1:i%}"},
    {"If … End If", "If ${1:condition} Then\n\t$0\nEnd If"},
    {"If … Else … End If", "If ${1:condition} Then\n\t$2\nElse\n\t$0\nEnd If"},
    {"While … Wend", "While ${1:condition}\n\t$0\nWend"},
    {"Do … Loop While", "Do\n\t$0\nLoop While ${1:condition}"},
    {"Do While … Loop", "Do While ${1:condition}\n\t$0\nLoop"},
    {"Sub … End Sub", "Sub ${1:Name}(${2})\n\t$0\nEnd Sub"},
    {"Function … End Function", "Function ${1:Name}(${2})\n\t$0\n\t${1:Name} = ${3:0}\nEnd Function"},
};

json Item(const std::string& strLabel, int nKind, const std::string& strDetail,
          const std::string& strDoc = "")
{
    json item{{"label", strLabel}, {"kind", nKind}, {"detail", strDetail}};
    if (!strDoc.empty())
        item["documentation"] = strDoc;
    return item;
}

// Whether a statement starts at the cursor: behind the end of the one before, or
// behind Then or Else of a one-line If. A word being typed is not counted.
bool AtStatementStart(const CLumLspAnalysis& analysis, SLumPos pos)
{
    const std::vector<SLumLexToken>& aTokens = analysis.GetCompiler().GetTokens();
    size_t nIndex = analysis.TokenBefore(pos);
    if (nIndex < aTokens.size() && aTokens[nIndex].m_eKind == ELumLex::Word &&
        aTokens[nIndex].m_posEnd.m_nLine == pos.m_nLine &&
        aTokens[nIndex].m_posEnd.m_nColumn >= pos.m_nColumn)
        nIndex = nIndex == 0 ? aTokens.size() : nIndex - 1;
    if (nIndex >= aTokens.size())
        return true;
    const SLumLexToken& prev = aTokens[nIndex];
    return prev.m_eKind == ELumLex::EndOfStatement || prev.IsWord("Then") || prev.IsWord("Else");
}

void Procedures(CLumLspWorkspace& workspace, const CLumLspDocument& document, bool fSubs, json& aItems)
{
    std::set<std::string> setSeen;
    auto offer = [&](const CLumProc& proc, const std::string& strWhere) {
        if (proc.m_fFunction == fSubs || LumEqualsNoCase(proc.m_strName, "Main") ||
            !setSeen.insert(proc.m_strName).second)
            return;
        aItems.push_back(Item(proc.m_strName, LSP_COMPLETION_FUNCTION, LumProcHead(proc), strWhere));
    };
    for (const SLumSymbol& symbol : workspace.Analysis(document).GetIndex().GetSymbols())
        if (symbol.m_eKind == ELumSymbolKind::Procedure && (symbol.m_pDefinition || symbol.m_pDeclaration))
            offer(symbol.m_pDefinition ? *symbol.m_pDefinition : *symbol.m_pDeclaration, "");
    for (const SLumLibrary& library : workspace.Libraries(document))
        for (const CLumProc* pProc : LumLibraryProcedures(library))
            offer(*pProc, "from " + library.m_strPath);
}

void Variables(const CLumLspAnalysis& analysis, SLumPos pos, json& aItems)
{
    const CLumProc* pProc = analysis.GetIndex().ProcedureAt(pos.m_nLine);
    for (const SLumSymbol& symbol : analysis.GetIndex().GetSymbols())
    {
        bool fOwn = pProc != nullptr && symbol.m_strScope == pProc->m_strName;
        if (symbol.m_eKind == ELumSymbolKind::Procedure || (!symbol.m_strScope.empty() && !fOwn))
            continue;
        std::string strDetail = std::string(LumTypeOfName(symbol.m_strName)) +
                                (symbol.m_eKind == ELumSymbolKind::Array ? ", array"
                                 : fOwn ? (symbol.m_fParameter ? ", parameter" : ", local")
                                        : ", global");
        aItems.push_back(Item(symbol.m_strName, LSP_COMPLETION_VARIABLE, strDetail));
    }
}

void Host(const CLumExtensionTable* pExtensions, bool fStatements, json& aItems)
{
    if (pExtensions == nullptr)
        return;
    for (const CLumExtensionTable::Entry& entry : pExtensions->GetEntries())
        if (entry.m_fFunction != fStatements)
            aItems.push_back(Item(entry.m_strName, LSP_COMPLETION_FUNCTION,
                                  std::string(fStatements ? "statement" : "function") + " of the host"));
}
} // namespace

json LumLspCompletion(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    json aItems = json::array();
    bool fStatement = AtStatementStart(at.m_analysis, at.m_pos);
    auto words = [&](const char* const* ppszBegin, const char* const* ppszEnd) {
        for (const char* const* pp = ppszBegin; pp != ppszEnd; ++pp)
            aItems.push_back(Item(*pp, LSP_COMPLETION_KEYWORD, "keyword"));
    };
    if (fStatement)
    {
        words(std::begin(s_apszStatementWords), std::end(s_apszStatementWords));
        if (workspace.HasSnippets())
            for (const Snippet& snippet : s_aSnippets)
            {
                json item = Item(snippet.m_pszLabel, LSP_COMPLETION_SNIPPET, "block");
                item["insertText"] = snippet.m_pszBody;
                item["insertTextFormat"] = LSP_INSERT_SNIPPET;
                item["filterText"] =
                    std::string(snippet.m_pszLabel).substr(0, std::string(snippet.m_pszLabel).find(' '));
                aItems.push_back(item);
            }
        const SLumBuiltin* pShow = LumFindBuiltin("ShowMessage");
        aItems.push_back(
            Item(pShow->m_pszName, LSP_COMPLETION_FUNCTION, LumBuiltinSignature(*pShow), pShow->m_pszDoc));
        Procedures(workspace, at.m_document, true, aItems);
        Host(workspace.GetExtensions(), true, aItems);
    }
    else
    {
        words(std::begin(s_apszExpressionWords), std::end(s_apszExpressionWords));
        size_t nBuiltins = 0;
        const SLumBuiltin* pBuiltins = LumBuiltins(nBuiltins);
        for (size_t i = 0; i < nBuiltins; ++i)
            aItems.push_back(Item(pBuiltins[i].m_pszName, LSP_COMPLETION_FUNCTION,
                                  LumBuiltinSignature(pBuiltins[i]), pBuiltins[i].m_pszDoc));
        Procedures(workspace, at.m_document, false, aItems);
        Host(workspace.GetExtensions(), false, aItems);
    }
    Variables(at.m_analysis, at.m_pos, aItems);
    return json{{"isIncomplete", false}, {"items", aItems}};
}
