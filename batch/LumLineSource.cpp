#include "LumLineSource.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace
{
const size_t BLOCK = 1 << 20;
}

CLumLineSource::~CLumLineSource()
{
    if (m_pFile != nullptr)
        fclose(m_pFile);
}

bool CLumLineSource::Open(const std::string& strPath, std::string& strError)
{
    m_strPath = strPath;
    m_pFile = fopen(strPath.c_str(), "rb");
    struct stat info;
    int nError = m_pFile == nullptr                   ? errno
                 : fstat(fileno(m_pFile), &info) != 0 ? errno
                 : S_ISDIR(info.st_mode)              ? EISDIR
                                                      : 0;
    if (nError != 0)
    {
        strError = strPath + ": " + strerror(nError);
        return false;
    }
    m_nSize = S_ISREG(info.st_mode) ? static_cast<uint64_t>(info.st_size) : 0;
    m_aBuffer.resize(BLOCK);
    return true;
}

// Moves what is left to the front and reads behind it; the buffer grows for a line
// longer than it.
bool CLumLineSource::Fill(std::string& strError)
{
    memmove(m_aBuffer.data(), m_aBuffer.data() + m_nAt, m_nEnd - m_nAt);
    m_nEnd -= m_nAt;
    m_nAt = 0;
    if (m_nEnd == m_aBuffer.size())
        m_aBuffer.resize(m_aBuffer.size() * 2);
    size_t n = fread(m_aBuffer.data() + m_nEnd, 1, m_aBuffer.size() - m_nEnd, m_pFile);
    m_nEnd += n;
    if (n == 0 && ferror(m_pFile))
    {
        strError = m_strPath + ": " + strerror(errno);
        return false;
    }
    m_fEof = n == 0;
    return true;
}

bool CLumLineSource::Next(std::string_view& line, uint64_t& nLine, std::string& strError)
{
    strError.clear();
    while (true)
    {
        const char* pBegin = m_aBuffer.data() + m_nAt;
        const void* pNewline = memchr(pBegin, '\n', m_nEnd - m_nAt);
        if (pNewline == nullptr && !m_fEof)
        {
            if (!Fill(strError))
                return false;
            continue;
        }
        if (pNewline == nullptr && m_nAt == m_nEnd)
            return false;
        size_t nLength = pNewline != nullptr ? static_cast<const char*>(pNewline) - pBegin : m_nEnd - m_nAt;
        size_t nTaken = nLength + (pNewline != nullptr ? 1 : 0);
        m_nAt += nTaken;
        m_nConsumed += nTaken;
        ++m_nLine;
        if (nLength > 0 && pBegin[nLength - 1] == '\r')
            --nLength;
        if (nLength == 0)
            continue;
        line = std::string_view(pBegin, nLength);
        nLine = m_nLine;
        return true;
    }
}
