#include "LumFdStreamBuf.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

CLumFdInputBuf::int_type CLumFdInputBuf::underflow()
{
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    ssize_t nRead;
    do
        nRead = read(m_nFd, m_achBuffer, sizeof m_achBuffer);
    while (nRead < 0 && errno == EINTR);
    if (nRead <= 0)
        return traits_type::eof();
    setg(m_achBuffer, m_achBuffer, m_achBuffer + nRead);
    return traits_type::to_int_type(*gptr());
}

CLumFdOutputBuf::CLumFdOutputBuf(int nFd) : m_nFd(nFd)
{
    setp(m_achBuffer, m_achBuffer + sizeof m_achBuffer);
}

bool CLumFdOutputBuf::WriteAll(const char* p, std::streamsize n)
{
    while (n > 0)
    {
        ssize_t nWritten = write(m_nFd, p, static_cast<size_t>(n));
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        p += nWritten;
        n -= nWritten;
    }
    return true;
}

int CLumFdOutputBuf::sync()
{
    bool fDone = WriteAll(pbase(), pptr() - pbase());
    setp(m_achBuffer, m_achBuffer + sizeof m_achBuffer);
    return fDone ? 0 : -1;
}

CLumFdOutputBuf::int_type CLumFdOutputBuf::overflow(int_type c)
{
    if (sync() != 0)
        return traits_type::eof();
    if (traits_type::eq_int_type(c, traits_type::eof()))
        return traits_type::not_eof(c);
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
    return c;
}

std::streamsize CLumFdOutputBuf::xsputn(const char* p, std::streamsize n)
{
    if (n <= epptr() - pptr())
    {
        memcpy(pptr(), p, static_cast<size_t>(n));
        pbump(static_cast<int>(n));
        return n;
    }
    // What does not fit goes out behind what is held, without a copy.
    if (sync() != 0 || !WriteAll(p, n))
        return 0;
    return n;
}
