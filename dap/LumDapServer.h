// The debug adapter: the Debug Adapter Protocol over a framed stream. The reading
// thread dispatches each request; the run (LumDapSession) answers the requests that
// look at a stopped program from its own thread. A message it cannot use gets the
// protocol's error, and the adapter goes on.
#pragma once

#include "LumDapChannel.h"
#include "LumDapSession.h"
#include "LumFramedStream.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>

// What a host of the adapter decides about the runs a client asks for.
struct SLumDapOptions
{
    // Sees the arguments of each launch first: may confine them (a fuzz target runs a
    // program of its own, whatever the client names) or refuse the launch (false).
    std::function<bool(json& args)> m_fnAdmitLaunch;
    // Whether the run's standard output and standard error go to the client as
    // output events; the process's own descriptors are redirected while it runs.
    bool m_fCaptureOutput = true;
};

class CLumDapServer : public CLumDapChannel
{
public:
    CLumDapServer(std::istream& in, std::ostream& out, SLumDapOptions options = SLumDapOptions());
    ~CLumDapServer() override;
    CLumDapServer(const CLumDapServer&) = delete;
    CLumDapServer& operator=(const CLumDapServer&) = delete;

    // Serves until the client disconnects or the input ends; 0.
    int Run();
    void Dispatch(const json& message);
    // Waits until a run that was started stands at a stop or has ended, so that the
    // next message meets it there.
    void Settle();

    void Respond(const json& request, const json& body) override;
    void Refuse(const json& request, const std::string& strMessage) override;
    void Event(const std::string& strEvent, const json& body) override;

private:
    void HandleRequest(const json& request);
    void Initialize(const json& request);
    void Launch(const json& request);
    void ConfigurationDone(const json& request);
    void Resume(const json& request, CLumDapSession::EStep eStep);
    // Hands a request that looks at the stopped program to the run.
    void AtStop(const json& request);
    void Disconnect(const json& request);
    void Write(json message);

    CLumFrameReader m_reader;
    CLumFrameWriter m_writer;
    std::mutex m_writeMutex;
    long long m_nSeq = 1;
    SLumDapOptions m_options;
    bool m_fConfigured = false;
    bool m_fEnded = false;
    std::unique_ptr<CLumDapSession> m_pSession;
};
