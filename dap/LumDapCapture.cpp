#include "LumDapCapture.h"

#include <cstdio>
#include <unistd.h>

CLumDapCapture::CLumDapCapture(int nFd, std::string strCategory, CLumDapChannel& channel) : m_nFd(nFd)
{
    int aPipe[2];
    if (pipe(aPipe) != 0)
        return; // the output stays where it went
    fflush(nFd == 1 ? stdout : stderr);
    m_nSaved = dup(nFd);
    dup2(aPipe[1], nFd);
    close(aPipe[1]);
    m_nRead = aPipe[0];
    m_thread = std::thread([this, strCategory, &channel] {
        char achBuffer[65536];
        ssize_t nRead;
        while ((nRead = read(m_nRead, achBuffer, sizeof achBuffer)) > 0 || (nRead < 0 && errno == EINTR))
            if (nRead > 0)
                channel.Output(strCategory, std::string(achBuffer, static_cast<size_t>(nRead)));
    });
}

CLumDapCapture::~CLumDapCapture()
{
    if (m_nSaved < 0)
        return;
    // The standard streams of C++ stay in step with stdio: what a module wrote to
    // std::cout is in stdout's buffer by now.
    fflush(m_nFd == 1 ? stdout : stderr);
    // The pipe's last writer goes: the reader sees its end once it has read the rest.
    dup2(m_nSaved, m_nFd);
    close(m_nSaved);
    m_thread.join();
    close(m_nRead);
}
