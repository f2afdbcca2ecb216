#include "LumLspWorkspace.h"

#include <filesystem>

std::string CLumLspWorkspace::ApplySettings(const json& settings)
{
    const json& values =
        settings.is_object() && settings.contains("lumbasic") ? settings["lumbasic"] : settings;
    if (!values.is_object())
        return "";
    if (values.contains("strict") && values["strict"].is_boolean())
        m_fStrict = values["strict"].get<bool>();
    for (auto& entry : m_mapOpen)
        Changed(*entry.second.m_pDocument);
    if (!values.contains("extensions") || !values["extensions"].is_string())
        return "";
    m_strExtensions = values["extensions"].get<std::string>();
    m_pExtensions.reset();
    if (m_strExtensions.empty())
        return "";
    std::filesystem::path path(m_strExtensions);
    if (path.is_relative() && !m_aRoots.empty())
        path = std::filesystem::path(m_aRoots.front()) / path;
    std::string strText;
    if (!LumReadSmallFile(path.string(), strText))
        return "the extension table " + path.string() + " cannot be read";
    CLumDiagnostics diagnostics;
    m_pExtensions = std::make_unique<CLumExtensionTable>();
    m_pExtensions->Parse(strText, diagnostics);
    std::string strProblems;
    for (const CLumDiagnostics::Entry& entry : diagnostics.GetEntries())
        strProblems +=
            "\n" + path.string() + ":" + std::to_string(entry.m_pos.m_nLine) + ": " + entry.m_strMessage;
    return strProblems.empty() ? ""
                               : "the extension table has faults; its other entries are used:" + strProblems;
}

SLumCompileOptions CLumLspWorkspace::GetOptions() const
{
    SLumCompileOptions options;
    options.m_fStrict = m_fStrict;
    options.m_pExtensions = m_pExtensions.get();
    return options;
}

CLumLspDocument& CLumLspWorkspace::Open(const std::string& strUri, std::string strText, int64_t nVersion)
{
    Entry& entry = m_mapOpen[strUri];
    entry = Entry{};
    entry.m_pDocument = std::make_unique<CLumLspDocument>(strUri, std::move(strText), nVersion);
    return *entry.m_pDocument;
}

void CLumLspWorkspace::Close(const std::string& strUri)
{
    m_mapOpen.erase(strUri);
}

CLumLspDocument& CLumLspWorkspace::Document(const std::string& strUri)
{
    auto it = m_mapOpen.find(strUri);
    if (it == m_mapOpen.end())
        throw CLumLspError(LSP_INVALID_PARAMS, "the document " + strUri + " is not open");
    return *it->second.m_pDocument;
}

std::vector<CLumLspDocument*> CLumLspWorkspace::Documents()
{
    std::vector<CLumLspDocument*> aDocuments;
    for (auto& entry : m_mapOpen)
        aDocuments.push_back(entry.second.m_pDocument.get());
    return aDocuments;
}

void CLumLspWorkspace::Changed(const CLumLspDocument& document)
{
    Entry& entry = m_mapOpen[document.GetUri()];
    entry.m_pAnalysis.reset();
    entry.m_paLibraries.reset();
}

const CLumLspAnalysis& CLumLspWorkspace::Analysis(const CLumLspDocument& document)
{
    Entry& entry = m_mapOpen[document.GetUri()];
    if (!entry.m_pAnalysis)
        entry.m_pAnalysis = std::make_unique<CLumLspAnalysis>(document, GetOptions());
    return *entry.m_pAnalysis;
}

const std::vector<SLumLibrary>& CLumLspWorkspace::Libraries(const CLumLspDocument& document)
{
    const CLumLspAnalysis& analysis = Analysis(document);
    Entry& entry = m_mapOpen[document.GetUri()];
    if (!entry.m_paLibraries)
        entry.m_paLibraries = std::make_unique<std::vector<SLumLibrary>>(
            LumLoadLibraries(analysis, document.GetPath(), m_aRoots));
    return *entry.m_paLibraries;
}

CLumLspWorkspace::At CLumLspWorkspace::Locate(const json& params)
{
    const json& uri = params.at("textDocument").at("uri");
    if (!uri.is_string())
        throw CLumLspError(LSP_INVALID_PARAMS, "textDocument.uri is no string");
    CLumLspDocument& document = Document(uri.get<std::string>());
    SLumPos pos;
    if (params.contains("position"))
        pos = document.CompilerPos(params["position"], m_eEncoding);
    return At{document, Analysis(document), pos};
}
