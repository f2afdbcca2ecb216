#include "LumDapServer.h"

#include <map>

namespace
{
const long THREAD_ID = 1;

json Capabilities()
{
    return json{
        {"supportsConfigurationDoneRequest", true},
        {"supportsConditionalBreakpoints", true},
        {"supportsHitConditionalBreakpoints", true},
        {"supportsLogPoints", true},
        {"supportsEvaluateForHovers", true},
        {"supportsSetVariable", true},
        {"supportsExceptionInfoRequest", true},
        {"supportsTerminateRequest", true},
        {"exceptionBreakpointFilters", json::array({{{"filter", "failure"},
                                                     {"label", LoadMessage(LUM_MSG_DAP_FAILURE_FILTER)},
                                                     {"default", true}}})},
    };
}
} // namespace

CLumDapServer::CLumDapServer(std::istream& in, std::ostream& out, SLumDapOptions options)
    : m_reader(in), m_writer(out), m_options(std::move(options))
{
}

// The run ends before the channel it writes to.
CLumDapServer::~CLumDapServer()
{
    m_pSession.reset();
}

int CLumDapServer::Run()
{
    json message;
    std::string strWhy;
    while (!m_fEnded)
    {
        CLumFrameReader::EResult eResult = m_reader.Read(message, strWhy);
        if (eResult == CLumFrameReader::EResult::End)
            break;
        if (eResult == CLumFrameReader::EResult::Malformed)
            Output("stderr", "lumbasic dap: " + strWhy + "\n");
        else
            Dispatch(message);
    }
    m_pSession.reset();
    return 0;
}

void CLumDapServer::Settle()
{
    if (m_pSession)
        m_pSession->Settle();
}

void CLumDapServer::Write(json message)
{
    std::lock_guard<std::mutex> lock(m_writeMutex);
    message["seq"] = m_nSeq++;
    m_writer.Write(message);
}

void CLumDapServer::Respond(const json& request, const json& body)
{
    Write({{"type", "response"},
           {"request_seq", request.value("seq", 0LL)},
           {"command", request.value("command", "")},
           {"success", true},
           {"body", body}});
}

void CLumDapServer::Refuse(const json& request, const std::string& strMessage)
{
    Write({{"type", "response"},
           {"request_seq", request.value("seq", 0LL)},
           {"command", request.value("command", "")},
           {"success", false},
           {"message", strMessage},
           {"body", {{"error", {{"id", 1}, {"format", strMessage}, {"showUser", true}}}}}});
}

void CLumDapServer::Event(const std::string& strEvent, const json& body)
{
    Write({{"type", "event"}, {"event", strEvent}, {"body", body}});
}

void CLumDapServer::Dispatch(const json& message)
{
    if (!message.is_object() || message.value("type", json()) != "request" || !message.contains("command") ||
        !message["command"].is_string() || !message.contains("seq") || !message["seq"].is_number_integer())
    {
        // Nothing to answer to: the client hears of it on its console.
        Output("stderr",
               "lumbasic dap: " + LumDapMessage(LUM_MSG_DAP_BAD_REQUEST, {"", message.dump()}) + "\n");
        return;
    }
    try
    {
        HandleRequest(message);
    }
    catch (const json::exception& e)
    {
        Refuse(message,
               LumDapMessage(LUM_MSG_DAP_BAD_REQUEST, {message["command"].get<std::string>(), e.what()}));
    }
}

void CLumDapServer::HandleRequest(const json& request)
{
    using EStep = CLumDapSession::EStep;
    static const std::map<std::string, void (CLumDapServer::*)(const json&)> s_mapHandlers = {
        {"initialize", &CLumDapServer::Initialize},
        {"launch", &CLumDapServer::Launch},
        {"configurationDone", &CLumDapServer::ConfigurationDone},
        {"disconnect", &CLumDapServer::Disconnect},
        {"stackTrace", &CLumDapServer::AtStop},
        {"scopes", &CLumDapServer::AtStop},
        {"variables", &CLumDapServer::AtStop},
        {"setVariable", &CLumDapServer::AtStop},
        {"evaluate", &CLumDapServer::AtStop},
        {"exceptionInfo", &CLumDapServer::AtStop},
    };
    static const std::map<std::string, EStep> s_mapSteps = {
        {"continue", EStep::Continue}, {"next", EStep::Over}, {"stepIn", EStep::In}, {"stepOut", EStep::Out}};
    const std::string strCommand = request["command"].get<std::string>();
    const json args = request.value("arguments", json::object());
    auto itHandler = s_mapHandlers.find(strCommand);
    auto itStep = s_mapSteps.find(strCommand);
    if (itHandler != s_mapHandlers.end())
        (this->*itHandler->second)(request);
    else if (strCommand == "threads")
        Respond(request, {{"threads", json::array({{{"id", THREAD_ID}, {"name", "Main"}}})}});
    else if (!m_pSession)
        Refuse(request, strCommand == "pause" || itStep != s_mapSteps.end() ||
                                strCommand == "setBreakpoints" || strCommand == "setExceptionBreakpoints" ||
                                strCommand == "terminate"
                            ? LoadMessage(LUM_MSG_DAP_NOT_LAUNCHED)
                            : LumDapMessage(LUM_MSG_DAP_UNKNOWN_REQUEST, {strCommand}));
    else if (itStep != s_mapSteps.end())
        Resume(request, itStep->second);
    else if (strCommand == "setBreakpoints")
        Respond(request, m_pSession->SetBreakpoints(args));
    else if (strCommand == "setExceptionBreakpoints")
    {
        const json filters = args.value("filters", json::array());
        m_pSession->SetStopOnFailure(std::find(filters.begin(), filters.end(), "failure") != filters.end());
        Respond(request, json::object());
    }
    else if (strCommand == "pause")
    {
        m_pSession->Pause();
        Respond(request, json::object());
    }
    else if (strCommand == "terminate")
    {
        m_pSession->Terminate();
        Respond(request, json::object());
    }
    else
        Refuse(request, LumDapMessage(LUM_MSG_DAP_UNKNOWN_REQUEST, {strCommand}));
}

void CLumDapServer::Initialize(const json& request)
{
    Respond(request, Capabilities());
}

void CLumDapServer::Launch(const json& request)
{
    json args = request.value("arguments", json::object());
    if (m_pSession || (m_options.m_fnAdmitLaunch && !m_options.m_fnAdmitLaunch(args)))
    {
        Refuse(request, LumDapMessage(LUM_MSG_DAP_LAUNCH, {"launch"}));
        return;
    }
    auto pSession = std::make_unique<CLumDapSession>(*this, m_options.m_fCaptureOutput);
    std::string strWhy;
    if (!pSession->Launch(args, strWhy))
    {
        Refuse(request, strWhy);
        return;
    }
    m_pSession = std::move(pSession);
    Respond(request, json::object());
    // Breakpoints come now, compiled with the host statements the launch named.
    Event("initialized", json::object());
    if (m_fConfigured)
        m_pSession->Start();
}

void CLumDapServer::ConfigurationDone(const json& request)
{
    m_fConfigured = true;
    Respond(request, json::object());
    if (m_pSession)
        m_pSession->Start();
}

void CLumDapServer::Resume(const json& request, CLumDapSession::EStep eStep)
{
    // The answer goes before the run may stop again.
    if (!m_pSession->IsStopped())
    {
        Refuse(request, LoadMessage(LUM_MSG_DAP_NOT_STOPPED));
        return;
    }
    Respond(request, request["command"] == "continue" ? json{{"allThreadsContinued", true}} : json::object());
    m_pSession->Resume(eStep);
}

void CLumDapServer::AtStop(const json& request)
{
    const std::string strCommand = request["command"].get<std::string>();
    auto fnTask = [this, request, strCommand](CLumDapInspector& inspector, const std::string& strFailure) {
        const json args = request.value("arguments", json::object());
        try
        {
            if (strCommand == "stackTrace")
                Respond(request, inspector.StackTrace(args));
            else if (strCommand == "scopes")
                Respond(request, inspector.Scopes(args));
            else if (strCommand == "variables")
                Respond(request, inspector.Variables(args));
            else if (strCommand == "setVariable")
                Respond(request, inspector.SetVariable(args));
            else if (strCommand == "evaluate")
                Respond(request, inspector.Evaluate(args));
            else if (strFailure.empty())
                Refuse(request, LoadMessage(LUM_MSG_DAP_NOT_STOPPED));
            else
                Respond(request, {{"exceptionId", "failure"},
                                  {"description", strFailure},
                                  {"breakMode", "always"},
                                  {"details", {{"message", strFailure}}}});
        }
        catch (const json::exception& e)
        {
            Refuse(request, LumDapMessage(LUM_MSG_DAP_BAD_REQUEST, {strCommand, e.what()}));
        }
        catch (const std::exception& e)
        {
            Refuse(request, e.what());
        }
    };
    if (!m_pSession || !m_pSession->WhenStopped(fnTask))
        Refuse(request, LoadMessage(m_pSession ? LUM_MSG_DAP_NOT_STOPPED : LUM_MSG_DAP_NOT_LAUNCHED));
}

void CLumDapServer::Disconnect(const json& request)
{
    // The run ends, and with it its events, before the answer.
    m_pSession.reset();
    Respond(request, json::object());
    m_fEnded = true;
}
