// The debug adapter's input: whatever bytes a client, or anything else, writes to it.
// A launch runs the target's own program, with no files, modules or folders of the
// input's choosing and a statement limit; each message meets the run settled, at a
// stop or ended, so that an input always does the same.
#include "LumFuzzGuard.h"
#include "LumFuzzPaths.h"

#include "LumDapServer.h"
#include "LumFramedStream.h"

#include <sys/stat.h>
#include <fstream>
#include <sstream>

namespace lumfuzz
{
namespace
{
// A loop, calls three deep, an array, output and a failure at the end.
const char* const PROGRAM = "Sub Main\n"
                            "    Dim values(3)\n"
                            "    For i% = 1 To 3\n"
                            "        values(i%) = i% * 10\n"
                            "        total% = total% + Outer(i%)\n"
                            "    Next\n"
                            "    name$ = \"Wein\"\n"
                            "    Print name$, total%\n"
                            "    ratio = total% / zero%\n"
                            "End Sub\n"
                            "\n"
                            "Function Outer(a)\n"
                            "    Outer = Inner(a + 1)\n"
                            "End Function\n"
                            "\n"
                            "Function Inner(b)\n"
                            "    Dim here\n"
                            "    here = b * 2\n"
                            "    Inner = here\n"
                            "End Function\n";

// At a fixed path, so that the breakpoints of the seeds name it.
const std::string& ProgramPath()
{
    static const std::string s_strPath = [] {
        mkdir("/tmp/lumfuzz-dap", 0700);
        std::string strPath = "/tmp/lumfuzz-dap/prog.lbd";
        std::ofstream(strPath) << PROGRAM;
        return strPath;
    }();
    return s_strPath;
}

bool AdmitLaunch(json& args)
{
    json confined{{"program", ProgramPath()}, {"maxSteps", STATEMENT_LIMIT}};
    for (const char* pszName : {"stopOnEntry", "answer", "strict", "plain", "trail"})
        if (args.contains(pszName))
            confined[pszName] = args[pszName];
    args = confined;
    return true;
}

// What the adapter wrote must be framed protocol messages, numbered in order.
std::string CheckWritten(const std::string& strWritten)
{
    std::istringstream written(strWritten);
    CLumFrameReader reader(written);
    json message;
    std::string strWhy;
    long long nSeq = 0;
    for (;;)
    {
        CLumFrameReader::EResult eResult = reader.Read(message, strWhy);
        if (eResult == CLumFrameReader::EResult::End)
            return std::string();
        if (eResult == CLumFrameReader::EResult::Malformed)
            return "the adapter wrote " + strWhy;
        const json type = message.value("type", json());
        if ((type != "response" && type != "event") || message.value("seq", 0LL) != ++nSeq)
            return "the adapter wrote a message out of the protocol: " + message.dump();
    }
}
} // namespace

std::string ServeDap(const uint8_t* pData, size_t nSize)
{
    return NoThrow([&] {
        std::istringstream in(std::string(reinterpret_cast<const char*>(pData), nSize));
        std::ostringstream out;
        {
            SLumDapOptions options;
            options.m_fnAdmitLaunch = AdmitLaunch;
            options.m_fCaptureOutput = false;
            std::istringstream none;
            CLumDapServer server(none, out, options);
            CLumFrameReader reader(in);
            json message;
            std::string strWhy;
            for (CLumFrameReader::EResult eResult;
                 (eResult = reader.Read(message, strWhy)) != CLumFrameReader::EResult::End;)
            {
                if (eResult == CLumFrameReader::EResult::Message)
                    server.Dispatch(message);
                server.Settle();
            }
        }
        return CheckWritten(out.str());
    });
}
} // namespace lumfuzz
