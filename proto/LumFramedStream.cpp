#include "LumFramedStream.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <ostream>

namespace
{
// A header line longer than this is garbage; only its tail is kept, where a header
// that follows garbage on the same line would stand.
constexpr size_t MAX_LINE = 4096;

std::string Lower(std::string str)
{
    std::transform(str.begin(), str.end(), str.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return str;
}

// The value of "Content-Length: N" anywhere in the line, -1 if it names none, -2 if
// its value is no length.
long long ContentLength(const std::string& strLine)
{
    static const std::string NAME = "content-length:";
    size_t nAt = Lower(strLine).rfind(NAME);
    if (nAt == std::string::npos)
        return -1;
    size_t nPos = strLine.find_first_not_of(" \t", nAt + NAME.size());
    if (nPos == std::string::npos || !std::isdigit(static_cast<unsigned char>(strLine[nPos])))
        return -2;
    long long n = 0;
    for (; nPos < strLine.size() && std::isdigit(static_cast<unsigned char>(strLine[nPos])); ++nPos)
    {
        n = n * 10 + (strLine[nPos] - '0');
        if (n > (1LL << 40))
            return -2;
    }
    return strLine.find_first_not_of(" \t", nPos) == std::string::npos ? n : -2;
}
} // namespace

bool CLumFrameReader::ReadLine(std::string& strLine)
{
    strLine.clear();
    std::streambuf* pBuffer = m_in.rdbuf();
    for (;;)
    {
        int c = pBuffer->sbumpc();
        if (c == std::char_traits<char>::eof())
            return !strLine.empty();
        if (c == '\n')
            break;
        strLine += static_cast<char>(c);
        if (strLine.size() > 2 * MAX_LINE)
            strLine.erase(0, MAX_LINE);
    }
    if (!strLine.empty() && strLine.back() == '\r')
        strLine.pop_back();
    return true;
}

// The header up to its blank line; false at the end of the stream.
bool CLumFrameReader::ReadHeader(long long& nLength, std::string& strWhy)
{
    nLength = -1;
    std::string strLine;
    bool fAny = false;
    while (ReadLine(strLine))
    {
        if (strLine.empty())
        {
            if (!fAny)
                continue;
            if (nLength < 0)
                strWhy = "a header without a valid Content-Length";
            return true;
        }
        fAny = true;
        long long n = ContentLength(strLine);
        if (n != -1)
            nLength = n;
    }
    return false;
}

CLumFrameReader::EResult CLumFrameReader::Read(nlohmann::json& message, std::string& strWhy)
{
    strWhy.clear();
    long long nLength = -1;
    if (!ReadHeader(nLength, strWhy))
        return EResult::End;
    if (nLength < 0)
        return EResult::Malformed;
    std::streambuf* pBuffer = m_in.rdbuf();
    if (static_cast<unsigned long long>(nLength) > m_nMaxBody)
    {
        // Skipped in pieces, never held.
        char aSkip[4096];
        for (long long nLeft = nLength; nLeft > 0;)
        {
            std::streamsize nRead = pBuffer->sgetn(aSkip, std::min<long long>(nLeft, sizeof aSkip));
            if (nRead <= 0)
                return EResult::End;
            nLeft -= nRead;
        }
        strWhy = "a message of " + std::to_string(nLength) + " bytes, more than the " +
                 std::to_string(m_nMaxBody) + " allowed";
        return EResult::Malformed;
    }
    // Grown as the bytes arrive: a header that promises more than comes costs nothing.
    std::string strBody;
    char aChunk[65536];
    for (long long nLeft = nLength; nLeft > 0;)
    {
        std::streamsize nRead = pBuffer->sgetn(aChunk, std::min<long long>(nLeft, sizeof aChunk));
        if (nRead <= 0)
            return EResult::End;
        strBody.append(aChunk, static_cast<size_t>(nRead));
        nLeft -= nRead;
    }
    message = nlohmann::json::parse(strBody, nullptr, false);
    if (message.is_discarded())
    {
        strWhy = "a message whose body is no JSON";
        return EResult::Malformed;
    }
    return EResult::Message;
}

void CLumFrameWriter::Write(const nlohmann::json& message)
{
    std::string strBody = message.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    m_out << "Content-Length: " << strBody.size() << "\r\n\r\n" << strBody;
    m_out.flush();
}
