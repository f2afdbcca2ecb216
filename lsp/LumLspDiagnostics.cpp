// Diagnostics: every error and warning of the compiler, with its range, severity,
// text and code, published on every change of a document.
#include "LumLspFeatures.h"

json LumLspDiagnostics(CLumLspWorkspace& workspace, const CLumLspDocument& document)
{
    const CLumLspAnalysis& analysis = workspace.Analysis(document);
    ELumEncoding eEncoding = workspace.GetEncoding();
    json aItems = json::array();
    auto item = [&](SLumPos pos, SLumPos posEnd, bool fWarning, const std::string& strCode,
                    const std::string& strMessage) {
        // A fault of the file as a whole has no position: its first character.
        json range = pos.m_nLine > 0 ? document.Range(pos, posEnd, eEncoding)
                                     : document.Range(SLumPos{1, 1}, SLumPos{1, 1}, eEncoding);
        aItems.push_back(json{{"range", range},
                              {"severity", fWarning ? LSP_SEVERITY_WARNING : LSP_SEVERITY_ERROR},
                              {"code", strCode},
                              {"source", "lumbasic"},
                              {"message", strMessage}});
    };
    if (!analysis.GetFailure().empty())
        item(SLumPos{}, SLumPos{}, false, "internal", analysis.GetFailure());
    for (const CLumDiagnostics::Entry& entry : analysis.GetCompiler().GetDiagnostics().GetEntries())
        item(entry.m_pos, entry.m_posEnd, entry.m_fWarning, entry.m_pszCode, entry.m_strMessage);
    return json{{"uri", document.GetUri()}, {"version", document.GetVersion()}, {"diagnostics", aItems}};
}
