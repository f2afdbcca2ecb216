#include "LumLspServer.h"

#include "LumLspFeatures.h"
#include "LumLspUri.h"

#include <lumbasic/LumVersion.h>

#include <algorithm>
#include <iterator>

namespace
{
bool Flag(const json& value, std::initializer_list<const char*> path)
{
    const json* p = &value;
    for (const char* pszKey : path)
    {
        if (!p->is_object() || !p->contains(pszKey))
            return false;
        p = &(*p)[pszKey];
    }
    return p->is_boolean() && p->get<bool>();
}

const json& Field(const json& value, const char* pszKey)
{
    static const json NONE;
    return value.is_object() && value.contains(pszKey) ? value[pszKey] : NONE;
}

std::string Text(const json& value, const char* pszKey)
{
    const json& field = Field(value, pszKey);
    if (!field.is_string())
        throw CLumLspError(LSP_INVALID_PARAMS, std::string("'") + pszKey + "' is no string");
    return field.get<std::string>();
}

using Feature = json (*)(CLumLspWorkspace&, const json&);

// The requests a feature answers from the workspace alone.
const std::pair<const char*, Feature> s_aFeatures[] = {
    {"textDocument/completion", LumLspCompletion},
    {"textDocument/hover", LumLspHover},
    {"textDocument/signatureHelp", LumLspSignatureHelp},
    {"textDocument/definition", LumLspDefinition},
    {"textDocument/references", LumLspReferences},
    {"textDocument/prepareRename", LumLspPrepareRename},
    {"textDocument/rename", LumLspRename},
    {"textDocument/documentSymbol", LumLspDocumentSymbols},
    {"textDocument/foldingRange", LumLspFoldingRanges},
};

int64_t Version(const json& document)
{
    const json& version = Field(document, "version");
    return version.is_number_integer() ? version.get<int64_t>() : 0;
}
} // namespace

CLumLspServer::CLumLspServer(std::istream& in, std::ostream& out) : m_reader(in), m_writer(out) {}

int CLumLspServer::Run()
{
    while (!m_fExited)
    {
        json message;
        std::string strWhy;
        CLumFrameReader::EResult eResult = m_reader.Read(message, strWhy);
        if (eResult == CLumFrameReader::EResult::End)
            break;
        if (eResult == CLumFrameReader::EResult::Malformed)
            ReplyError(nullptr, LSP_PARSE_ERROR, strWhy);
        else
            Dispatch(message);
    }
    return m_fShutdown ? 0 : 1;
}

void CLumLspServer::Dispatch(const json& message)
{
    const json& method = Field(message, "method");
    const json& id = Field(message, "id");
    bool fId = message.is_object() && message.contains("id");
    if (fId && !id.is_string() && !id.is_number_integer())
        return ReplyError(nullptr, LSP_INVALID_REQUEST, "an id is a number or a string");
    if (method.is_string())
    {
        const json& params = Field(message, "params");
        if (fId)
            HandleRequest(id, method.get<std::string>(), params);
        else
            HandleNotification(method.get<std::string>(), params);
    }
    else if (fId && (message.contains("result") || message.contains("error")))
        HandleResponse(message);
    else
        ReplyError(fId ? id : json(nullptr), LSP_INVALID_REQUEST, "a message without a method");
}

// Whatever a feature throws ends its request, never the server.
void CLumLspServer::HandleRequest(const json& id, const std::string& strMethod, const json& params)
{
    if (!m_fInitialized && strMethod != "initialize")
        return ReplyError(id, LSP_SERVER_NOT_INITIALIZED, "the server is not initialized");
    if (m_fShutdown)
        return ReplyError(id, LSP_INVALID_REQUEST, "the server has shut down");
    static const std::pair<const char*, json (CLumLspServer::*)(const json&)> s_aOwn[] = {
        {"initialize", &CLumLspServer::Initialize},
        {"shutdown", &CLumLspServer::Shutdown},
        {"textDocument/formatting", &CLumLspServer::Formatting},
    };
    auto named = [&](const auto& entry) {
        return strMethod == entry.first;
    };
    auto itFeature = std::find_if(std::begin(s_aFeatures), std::end(s_aFeatures), named);
    auto itOwn = std::find_if(std::begin(s_aOwn), std::end(s_aOwn), named);
    if (itFeature == std::end(s_aFeatures) && itOwn == std::end(s_aOwn))
        return ReplyError(id, LSP_METHOD_NOT_FOUND, "no such method: " + strMethod);
    try
    {
        Reply(id, itOwn != std::end(s_aOwn) ? (this->*itOwn->second)(params)
                                            : itFeature->second(m_workspace, params));
    }
    catch (const CLumLspError& e)
    {
        ReplyError(id, e.GetCode(), e.what());
    }
    catch (const json::exception& e)
    {
        ReplyError(id, LSP_INVALID_PARAMS, e.what());
    }
    catch (const std::exception& e)
    {
        ReplyError(id, LSP_INTERNAL_ERROR, e.what());
    }
}

void CLumLspServer::HandleNotification(const std::string& strMethod, const json& params)
{
    if (!m_fInitialized && strMethod != "exit")
        return;
    static const std::pair<const char*, void (CLumLspServer::*)(const json&)> s_aNotifications[] = {
        {"initialized", &CLumLspServer::AskForSettings},
        {"exit", &CLumLspServer::Exit},
        {"textDocument/didOpen", &CLumLspServer::DidOpen},
        {"textDocument/didChange", &CLumLspServer::DidChange},
        {"textDocument/didClose", &CLumLspServer::DidClose},
        {"workspace/didChangeConfiguration", &CLumLspServer::DidChangeConfiguration},
    };
    auto it = std::find_if(std::begin(s_aNotifications), std::end(s_aNotifications),
                           [&](const auto& entry) { return strMethod == entry.first; });
    if (it == std::end(s_aNotifications))
        return;
    try
    {
        (this->*it->second)(params);
    }
    catch (const std::exception& e)
    {
        Message(LSP_MESSAGE_LOG, "window/logMessage", strMethod + ": " + e.what());
    }
}

void CLumLspServer::HandleResponse(const json& message)
{
    const json& id = message["id"];
    auto it = id.is_number_integer() ? m_mapPending.find(id.get<int64_t>()) : m_mapPending.end();
    if (it == m_mapPending.end())
        return;
    std::function<void(const json&)> onResult = std::move(it->second);
    m_mapPending.erase(it);
    if (message.contains("result"))
    {
        try
        {
            onResult(message["result"]);
        }
        catch (const std::exception& e)
        {
            Message(LSP_MESSAGE_LOG, "window/logMessage", std::string("a response: ") + e.what());
        }
    }
}

void CLumLspServer::Reply(const json& id, const json& result)
{
    m_writer.Write(json{{"jsonrpc", "2.0"}, {"id", id}, {"result", result}});
}

void CLumLspServer::ReplyError(const json& id, int nCode, const std::string& strMessage)
{
    m_writer.Write(
        json{{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", nCode}, {"message", strMessage}}}});
}

void CLumLspServer::Notify(const std::string& strMethod, const json& params)
{
    m_writer.Write(json{{"jsonrpc", "2.0"}, {"method", strMethod}, {"params", params}});
}

void CLumLspServer::Message(int nType, const std::string& strMethod, const std::string& strText)
{
    Notify(strMethod, json{{"type", nType}, {"message", "lumbasic: " + strText}});
}

void CLumLspServer::Ask(const std::string& strMethod, const json& params,
                        std::function<void(const json&)> onResult)
{
    int64_t nId = m_nNextId++;
    m_mapPending[nId] = std::move(onResult);
    m_writer.Write(json{{"jsonrpc", "2.0"}, {"id", nId}, {"method", strMethod}, {"params", params}});
}

json CLumLspServer::Initialize(const json& params)
{
    const json& capabilities = Field(params, "capabilities");
    const json& encodings = Field(Field(capabilities, "general"), "positionEncodings");
    bool fUtf8 =
        encodings.is_array() && std::find(encodings.begin(), encodings.end(), "utf-8") != encodings.end();
    m_workspace.SetEncoding(fUtf8 ? ELumEncoding::Utf8 : ELumEncoding::Utf16);
    m_workspace.SetSnippets(
        Flag(capabilities, {"textDocument", "completion", "completionItem", "snippetSupport"}));
    m_fConfiguration = Flag(capabilities, {"workspace", "configuration"});
    std::vector<std::string> aRoots;
    const json& folders = Field(params, "workspaceFolders");
    if (folders.is_array())
        for (const json& folder : folders)
            if (Field(folder, "uri").is_string())
                aRoots.push_back(LumPathOfUri(folder["uri"].get<std::string>()));
    if (aRoots.empty() && Field(params, "rootUri").is_string())
        aRoots.push_back(LumPathOfUri(params["rootUri"].get<std::string>()));
    m_workspace.SetRoots(aRoots);
    m_fInitialized = true;
    ApplySettings(Field(params, "initializationOptions"));
    return json{
        {"capabilities",
         {{"positionEncoding", fUtf8 ? "utf-8" : "utf-16"},
          {"textDocumentSync", {{"openClose", true}, {"change", 2}}},
          {"completionProvider", {{"resolveProvider", false}}},
          {"hoverProvider", true},
          {"signatureHelpProvider", {{"triggerCharacters", {"(", ","}}, {"retriggerCharacters", {","}}}},
          {"definitionProvider", true},
          {"referencesProvider", true},
          {"renameProvider", {{"prepareProvider", true}}},
          {"documentSymbolProvider", true},
          {"foldingRangeProvider", true},
          {"documentFormattingProvider", true}}},
        {"serverInfo", {{"name", "lumbasic"}, {"version", LUMBASIC_VERSION}}}};
}

json CLumLspServer::Shutdown(const json&)
{
    m_fShutdown = true;
    return nullptr;
}

void CLumLspServer::Exit(const json&)
{
    m_fExited = true;
}

void CLumLspServer::DidChangeConfiguration(const json& params)
{
    const json& settings = Field(params, "settings");
    if (settings.is_object() && settings.contains("lumbasic"))
        ApplySettings(settings);
    else
        AskForSettings(params);
}

void CLumLspServer::AskForSettings(const json&)
{
    if (m_fConfiguration)
        Ask("workspace/configuration", json{{"items", {{{"section", "lumbasic"}}}}},
            [this](const json& result) {
                if (result.is_array() && !result.empty())
                    ApplySettings(result[0]);
            });
}

// New settings change the diagnostics of every open document.
void CLumLspServer::ApplySettings(const json& settings)
{
    std::string strProblem = m_workspace.ApplySettings(settings);
    if (!strProblem.empty())
        Message(LSP_MESSAGE_WARNING, "window/showMessage", strProblem);
    for (CLumLspDocument* pDocument : m_workspace.Documents())
        Publish(*pDocument);
}

void CLumLspServer::DidOpen(const json& params)
{
    const json& document = Field(params, "textDocument");
    Publish(m_workspace.Open(Text(document, "uri"), Text(document, "text"), Version(document)));
}

void CLumLspServer::DidChange(const json& params)
{
    const json& identifier = Field(params, "textDocument");
    CLumLspDocument& document = m_workspace.Document(Text(identifier, "uri"));
    const json& changes = Field(params, "contentChanges");
    if (!changes.is_array())
        throw CLumLspError(LSP_INVALID_PARAMS, "contentChanges is no array");
    for (const json& change : changes)
        document.Change(change, m_workspace.GetEncoding());
    document.SetVersion(Version(identifier));
    m_workspace.Changed(document);
    Publish(document);
}

void CLumLspServer::DidClose(const json& params)
{
    std::string strUri = Text(Field(params, "textDocument"), "uri");
    m_workspace.Document(strUri);
    m_workspace.Close(strUri);
    Notify("textDocument/publishDiagnostics", json{{"uri", strUri}, {"diagnostics", json::array()}});
}

void CLumLspServer::Publish(const CLumLspDocument& document)
{
    Notify("textDocument/publishDiagnostics", LumLspDiagnostics(m_workspace, document));
}

json CLumLspServer::Formatting(const json& params)
{
    std::string strLeftAlone;
    json edits = LumLspFormatting(m_workspace, params, strLeftAlone);
    if (!strLeftAlone.empty())
        Message(LSP_MESSAGE_LOG, "window/logMessage", strLeftAlone);
    return edits;
}
