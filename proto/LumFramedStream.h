// JSON messages framed as the language server and debug adapter protocols frame
// them: a header of "Name: value" lines ended by "\r\n", a blank line, and a body of
// exactly Content-Length bytes. The reader takes whatever bytes arrive and never
// gives up on the stream: a frame it cannot use is reported and skipped, and it
// finds the next header even behind garbage.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <iosfwd>
#include <string>

class CLumFrameReader
{
public:
    enum class EResult
    {
        Message,   // a JSON value
        Malformed, // a frame without a usable length, too long, or whose body is no JSON
        End,       // the stream has ended
    };

    // Bodies longer than `nMaxBody` bytes are skipped as malformed.
    explicit CLumFrameReader(std::istream& in, size_t nMaxBody = 64 * 1024 * 1024)
        : m_in(in), m_nMaxBody(nMaxBody)
    {
    }

    // The next message; for a malformed frame the reason in `strWhy`.
    EResult Read(nlohmann::json& message, std::string& strWhy);

private:
    bool ReadLine(std::string& strLine);
    bool ReadHeader(long long& nLength, std::string& strWhy);

    std::istream& m_in;
    size_t m_nMaxBody;
};

class CLumFrameWriter
{
public:
    explicit CLumFrameWriter(std::ostream& out) : m_out(out) {}
    // Writes one message and flushes it. Text that is no valid UTF-8 (a source's
    // bytes) is written with replacement characters rather than refused.
    void Write(const nlohmann::json& message);

private:
    std::ostream& m_out;
};
