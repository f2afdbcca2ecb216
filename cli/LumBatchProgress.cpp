#include "LumBatchProgress.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace
{
const int WIDTH = 30;

std::string Duration(double dSeconds)
{
    long n = static_cast<long>(dSeconds + 0.5);
    char sz[32];
    snprintf(sz, sizeof sz, "%ld:%02ld:%02ld", n / 3600, n / 60 % 60, n % 60);
    return sz;
}
} // namespace

CLumBatchProgress::CLumBatchProgress()
    : m_fTerminal(isatty(STDERR_FILENO) != 0), m_start(std::chrono::steady_clock::now()), m_last(m_start)
{
}

void CLumBatchProgress::Show(const SLumBatchProgress& at)
{
    auto now = std::chrono::steady_clock::now();
    if (!m_fTerminal || now - m_last < std::chrono::milliseconds(200))
        return;
    m_last = now;
    double dSeconds = std::chrono::duration<double>(now - m_start).count();
    double dRate = dSeconds > 0 ? static_cast<double>(at.m_nRecords) / dSeconds : 0;
    double dDone = at.m_nBytesTotal > 0
                       ? static_cast<double>(at.m_nBytesRead) / static_cast<double>(at.m_nBytesTotal)
                       : 0;
    std::string strBar(static_cast<size_t>(dDone * WIDTH), '#');
    strBar.resize(WIDTH, '.');
    std::string strLeft = dDone > 0 ? Duration(dSeconds / dDone - dSeconds) + " left" : "";
    fprintf(stderr, "\r\033[K[%s] %llu records, %.0f/s, %s", strBar.c_str(),
            static_cast<unsigned long long>(at.m_nRecords), dRate, strLeft.c_str());
    fflush(stderr);
    m_fShown = true;
}

void CLumBatchProgress::Clear()
{
    if (!m_fShown)
        return;
    fputs("\r\033[K", stderr);
    m_fShown = false;
}
