// The features of the language server, one file each, over the workspace's documents
// and their analyses. Each takes the request's parameters and gives its result; a
// request that cannot be answered throws CLumLspError.
#pragma once

#include "LumLspWorkspace.h"

#include <string>

// The parameters of textDocument/publishDiagnostics for a document.
json LumLspDiagnostics(CLumLspWorkspace& workspace, const CLumLspDocument& document);
json LumLspCompletion(CLumLspWorkspace& workspace, const json& params);
json LumLspHover(CLumLspWorkspace& workspace, const json& params);
json LumLspSignatureHelp(CLumLspWorkspace& workspace, const json& params);
json LumLspDefinition(CLumLspWorkspace& workspace, const json& params);
json LumLspReferences(CLumLspWorkspace& workspace, const json& params);
json LumLspPrepareRename(CLumLspWorkspace& workspace, const json& params);
json LumLspRename(CLumLspWorkspace& workspace, const json& params);
json LumLspDocumentSymbols(CLumLspWorkspace& workspace, const json& params);
json LumLspFoldingRanges(CLumLspWorkspace& workspace, const json& params);
// The edits of textDocument/formatting; none, with the reason in `strLeftAlone`, when
// formatting would change what the program does.
json LumLspFormatting(CLumLspWorkspace& workspace, const json& params, std::string& strLeftAlone);

// Shared by the features: the head of a procedure as a source writes it, "Function
// Rect(w, h)"; the type a variable's name gives it; the declaration or definition of
// a procedure among the document's and its libraries'.
std::string LumProcHead(const CLumProc& proc);
const char* LumTypeOfName(const std::string& strName);
struct SLumProcFound
{
    const CLumProc* m_pProc = nullptr;
    // The library that defines it, null for the document itself.
    const SLumLibrary* m_pLibrary = nullptr;
};
SLumProcFound LumFindProcedure(CLumLspWorkspace& workspace, const CLumLspDocument& document,
                               const std::string& strName);
// The token whose bytes hold `pos` (its end included); null if none does.
const SLumLexToken* LumTokenAt(const CLumLspAnalysis& analysis, SLumPos pos);
