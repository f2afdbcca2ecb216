// The language server's input: whatever bytes an editor, or anything else, writes to it.
#include "LumFuzzGuard.h"
#include "LumFuzzPaths.h"

#include "LumFramedStream.h"
#include "LumLspServer.h"

#include <sstream>

namespace lumfuzz
{
std::string ServeLsp(const uint8_t* pData, size_t nSize)
{
    return NoThrow([&] {
        std::istringstream in(std::string(reinterpret_cast<const char*>(pData), nSize));
        std::ostringstream out;
        CLumLspServer server(in, out);
        server.Run();
        std::istringstream written(out.str());
        CLumFrameReader reader(written);
        nlohmann::json message;
        std::string strWhy;
        for (;;)
        {
            CLumFrameReader::EResult eResult = reader.Read(message, strWhy);
            if (eResult == CLumFrameReader::EResult::End)
                return std::string();
            if (eResult == CLumFrameReader::EResult::Malformed)
                return "the server wrote " + strWhy;
            if (!message.is_object() || !message.contains("jsonrpc") || message["jsonrpc"] != "2.0")
                return "the server wrote a message that is no JSON-RPC 2.0: " + message.dump();
        }
    });
}
} // namespace lumfuzz
