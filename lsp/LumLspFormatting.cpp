// Formatting: the canonical layout of `lumbasic fmt`, as edits of the lines that
// change. Formatting keeps every line, so each changed line is one edit.
#include "LumLspFeatures.h"

#include "LumFormatCheck.h"

json LumLspFormatting(CLumLspWorkspace& workspace, const json& params, std::string& strLeftAlone)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    const CLumLspDocument& document = at.m_document;
    std::string strFormatted;
    json aEdits = json::array();
    if (!LumFormatChecked(document.GetText(), workspace.GetOptions(), strFormatted, strLeftAlone))
        return aEdits;
    CLumLspDocument formatted(document.GetUri(), strFormatted, 0);
    ELumEncoding eEncoding = workspace.GetEncoding();
    int nLines = document.GetLineCount();
    for (int i = 0; i < nLines && i < formatted.GetLineCount(); ++i)
        if (document.GetLine(i) != formatted.GetLine(i))
            aEdits.push_back(json{{"range", document.LineRange(i, eEncoding)},
                                  {"newText", std::string(formatted.GetLine(i))}});
    // A break behind the last line is the one thing formatting may add.
    if (formatted.GetLineCount() > nLines)
    {
        json end = document.LineRange(nLines - 1, eEncoding)["end"];
        bool fCarriage = strFormatted.size() > 1 && strFormatted[strFormatted.size() - 2] == '\r';
        aEdits.push_back(
            json{{"range", {{"start", end}, {"end", end}}}, {"newText", fCarriage ? "\r\n" : "\n"}});
    }
    return aEdits;
}
