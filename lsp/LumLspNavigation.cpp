// Go to definition, find references and rename, for procedures and variables as the
// symbol index scopes them; an Import's path leads to the imported file.
#include "LumLspFeatures.h"

#include "LumBuiltinTable.h"
#include "LumLspUri.h"
#include "LumParser.h"

namespace
{
json Location(const std::string& strUri, json range)
{
    return json{{"uri", strUri}, {"range", std::move(range)}};
}

json NameRange(const CLumLspDocument& document, SLumPos pos, size_t nLength, ELumEncoding eEncoding)
{
    return document.Range(pos, SLumPos{pos.m_nLine, pos.m_nColumn + static_cast<int>(nLength)}, eEncoding);
}

// The file an Import names, when the cursor stands on a string of an Import.
json ImportedFile(CLumLspWorkspace& workspace, const CLumLspWorkspace::At& at)
{
    for (const CLumExpr* pPath : at.m_analysis.ImportPaths())
    {
        bool fOn = pPath->m_pos.m_nLine == at.m_pos.m_nLine && at.m_pos.m_nColumn >= pPath->m_pos.m_nColumn &&
                   at.m_pos.m_nColumn <= pPath->m_posEnd.m_nColumn;
        if (!fOn)
            continue;
        bool fSource = false;
        std::string strFile =
            LumFindImport(pPath->m_strText, at.m_document.GetPath(), workspace.GetRoots(), fSource);
        if (strFile.empty())
            return nullptr;
        return Location(LumUriOfPath(strFile), json{{"start", {{"line", 0}, {"character", 0}}},
                                                    {"end", {{"line", 0}, {"character", 0}}}});
    }
    return nullptr;
}

// A procedure that only a Declare names here is defined in a library.
json LibraryDefinition(CLumLspWorkspace& workspace, const CLumLspDocument& document,
                       const std::string& strName)
{
    SLumProcFound found = LumFindProcedure(workspace, document, strName);
    if (found.m_pLibrary == nullptr)
        return nullptr;
    CLumLspDocument library(LumUriOfPath(found.m_pLibrary->m_strPath), found.m_pLibrary->m_strText, 0);
    SLumPos pos = found.m_pLibrary->m_fSource ? found.m_pProc->m_pos : SLumPos{1, 1};
    size_t nLength = found.m_pLibrary->m_fSource ? strName.size() : 0;
    return Location(library.GetUri(), NameRange(library, pos, nLength, workspace.GetEncoding()));
}

const SLumOccurrence& Occurrence(const CLumLspWorkspace::At& at)
{
    const SLumOccurrence* pOccurrence = at.m_analysis.GetIndex().At(at.m_pos);
    if (pOccurrence == nullptr)
        throw CLumLspError(LSP_REQUEST_FAILED, "no procedure or variable stands here");
    return *pOccurrence;
}

// Renaming is refused where it would change what the program does: a procedure
// defined elsewhere, another type character, a word of the language or a name the
// source uses already.
void CheckRename(CLumLspWorkspace& workspace, const CLumLspWorkspace::At& at, const SLumSymbol& symbol,
                 const std::string& strNew)
{
    auto refuse = [](const std::string& strWhy) {
        throw CLumLspError(LSP_REQUEST_FAILED, strWhy);
    };
    if (symbol.m_eKind == ELumSymbolKind::Procedure && symbol.m_pDefinition == nullptr)
        refuse("'" + symbol.m_strName +
               "' is defined in an imported library; rename it there and in its Declare");
    if (LumEqualsNoCase(symbol.m_strName, "Main"))
        refuse("Sub Main is the entry of the program and keeps its name");
    if (strNew.empty())
        return;
    CLumDiagnostics diagnostics;
    std::vector<SLumLexToken> aTokens = CLumLexer(strNew, diagnostics).Run();
    bool fName = aTokens.size() == 3 && aTokens[0].m_eKind == ELumLex::Word &&
                 aTokens[0].m_strText == strNew && !diagnostics.HasErrors();
    if (!fName || CLumParser::IsReserved(strNew) || LumFindBuiltin(strNew) != nullptr ||
        (workspace.GetExtensions() != nullptr && workspace.GetExtensions()->Find(strNew) != nullptr) ||
        LumEqualsNoCase(strNew, "Main"))
        refuse("'" + strNew + "' cannot name a procedure or a variable");
    if (LumTypeOfName(strNew) != LumTypeOfName(symbol.m_strName))
        refuse("'" + strNew + "' has another type character than '" + symbol.m_strName +
               "'; the type of a name is its last character");
    for (const SLumSymbol& other : at.m_analysis.GetIndex().GetSymbols())
        if (other.m_strName == strNew)
            refuse("'" + strNew + "' names something in this program already");
    if (LumFindProcedure(workspace, at.m_document, strNew).m_pProc != nullptr)
        refuse("'" + strNew + "' names a procedure of an imported library");
}
} // namespace

json LumLspDefinition(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    json imported = ImportedFile(workspace, at);
    if (!imported.is_null())
        return imported;
    const CLumSymbolIndex& index = at.m_analysis.GetIndex();
    const SLumOccurrence* pOccurrence = index.At(at.m_pos);
    if (pOccurrence == nullptr)
        return nullptr;
    const SLumSymbol& symbol = index.GetSymbols()[pOccurrence->m_nSymbol];
    if (symbol.m_eKind == ELumSymbolKind::Procedure && symbol.m_pDefinition == nullptr)
    {
        json library = LibraryDefinition(workspace, at.m_document, symbol.m_strName);
        if (!library.is_null())
            return library;
    }
    const SLumOccurrence* pDefinition = index.DefinitionOf(pOccurrence->m_nSymbol);
    return Location(at.m_document.GetUri(), NameRange(at.m_document, pDefinition->m_pos,
                                                      pDefinition->m_nLength, workspace.GetEncoding()));
}

json LumLspReferences(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    const SLumOccurrence* pOccurrence = at.m_analysis.GetIndex().At(at.m_pos);
    json aLocations = json::array();
    if (pOccurrence == nullptr)
        return aLocations;
    bool fDeclarations = params.contains("context") && params["context"].value("includeDeclaration", true);
    for (const SLumOccurrence* pOther : at.m_analysis.GetIndex().OccurrencesOf(pOccurrence->m_nSymbol))
        if (fDeclarations ||
            (pOther->m_eRole != ELumRole::Definition && pOther->m_eRole != ELumRole::Declaration))
            aLocations.push_back(
                Location(at.m_document.GetUri(), NameRange(at.m_document, pOther->m_pos, pOther->m_nLength,
                                                           workspace.GetEncoding())));
    return aLocations;
}

json LumLspPrepareRename(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    const SLumOccurrence& occurrence = Occurrence(at);
    const SLumSymbol& symbol = at.m_analysis.GetIndex().GetSymbols()[occurrence.m_nSymbol];
    CheckRename(workspace, at, symbol, "");
    return json{
        {"range", NameRange(at.m_document, occurrence.m_pos, occurrence.m_nLength, workspace.GetEncoding())},
        {"placeholder", symbol.m_strName}};
}

json LumLspRename(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    const SLumOccurrence& occurrence = Occurrence(at);
    const SLumSymbol& symbol = at.m_analysis.GetIndex().GetSymbols()[occurrence.m_nSymbol];
    const json& newName = params.at("newName");
    if (!newName.is_string())
        throw CLumLspError(LSP_INVALID_PARAMS, "newName is no string");
    std::string strNew = newName.get<std::string>();
    CheckRename(workspace, at, symbol, strNew);
    json aEdits = json::array();
    for (const SLumOccurrence* pOther : at.m_analysis.GetIndex().OccurrencesOf(occurrence.m_nSymbol))
        aEdits.push_back(json{
            {"range", NameRange(at.m_document, pOther->m_pos, pOther->m_nLength, workspace.GetEncoding())},
            {"newText", strNew}});
    return json{{"changes", {{at.m_document.GetUri(), aEdits}}}};
}
