// The language server: JSON-RPC 2.0 over a framed stream. The server reads one
// message at a time, hands each request to its feature and writes the answer; a
// message it cannot use gets the protocol's error, and the server goes on. It never
// writes a file.
#pragma once

#include "LumFramedStream.h"
#include "LumLspWorkspace.h"

#include <functional>
#include <iosfwd>
#include <map>
#include <string>

class CLumLspServer
{
public:
    CLumLspServer(std::istream& in, std::ostream& out);

    // Serves until the client says exit or the input ends. The status: 0 after a
    // shutdown request, 1 otherwise, as the protocol asks.
    int Run();
    // Handles one message as Run does.
    void Dispatch(const json& message);
    bool HasExited() const { return m_fExited; }

private:
    void HandleRequest(const json& id, const std::string& strMethod, const json& params);
    void HandleNotification(const std::string& strMethod, const json& params);
    void HandleResponse(const json& message);
    void Reply(const json& id, const json& result);
    void ReplyError(const json& id, int nCode, const std::string& strMessage);
    void Notify(const std::string& strMethod, const json& params);
    void Message(int nType, const std::string& strMethod, const std::string& strText);
    void Ask(const std::string& strMethod, const json& params, std::function<void(const json&)> onResult);

    json Initialize(const json& params);
    json Shutdown(const json& params);
    void Exit(const json& params);
    // Asks the client for the section "lumbasic" of its settings, if it can tell.
    void AskForSettings(const json& params);
    void DidChangeConfiguration(const json& params);
    void ApplySettings(const json& settings);
    void DidOpen(const json& params);
    void DidChange(const json& params);
    void DidClose(const json& params);
    void Publish(const CLumLspDocument& document);
    json Formatting(const json& params);

    CLumFrameReader m_reader;
    CLumFrameWriter m_writer;
    CLumLspWorkspace m_workspace;
    std::map<int64_t, std::function<void(const json&)>> m_mapPending;
    int64_t m_nNextId = 1;
    bool m_fInitialized = false;
    bool m_fShutdown = false;
    bool m_fExited = false;
    bool m_fConfiguration = false;
};
