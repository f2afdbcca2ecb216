#include "LumCompilerCommands.h"

#include "LumDapServer.h"

#include <csignal>
#include <cstdio>
#include <iostream>
#include <streambuf>
#include <unistd.h>

namespace
{
// The protocol's own way out: a copy of standard output made before anything else
// could write there.
class CFdOutput : public std::streambuf
{
public:
    explicit CFdOutput(int nFd) : m_nFd(nFd) {}

protected:
    std::streamsize xsputn(const char* p, std::streamsize n) override
    {
        std::streamsize nDone = 0;
        while (nDone < n)
        {
            ssize_t nWritten = write(m_nFd, p + nDone, static_cast<size_t>(n - nDone));
            if (nWritten < 0 && errno == EINTR)
                continue;
            if (nWritten <= 0)
                return nDone;
            nDone += nWritten;
        }
        return nDone;
    }
    int_type overflow(int_type c) override
    {
        if (traits_type::eq_int_type(c, traits_type::eof()))
            return traits_type::not_eof(c);
        char ch = traits_type::to_char_type(c);
        return xsputn(&ch, 1) == 1 ? c : traits_type::eof();
    }

private:
    int m_nFd;
};
} // namespace

// The adapter speaks on standard input and output. Whatever else writes to standard
// output (a program's Print, a module) must not reach the protocol: it goes to
// standard error, and during a run to the client as output events.
int LumDapCommand(const std::vector<std::string>& aArgs)
{
    if (!aArgs.empty())
    {
        fprintf(stderr, "usage: lumbasic dap\n");
        return 2;
    }
    // A client that went away ends the writes with an error, not the process.
    signal(SIGPIPE, SIG_IGN);
    fflush(stdout);
    int nProtocol = dup(1);
    if (nProtocol < 0 || dup2(2, 1) < 0)
    {
        perror("lumbasic dap");
        return 1;
    }
    std::ios::sync_with_stdio(false);
    CFdOutput output(nProtocol);
    std::ostream out(&output);
    CLumDapServer server(std::cin, out);
    int nStatus = server.Run();
    close(nProtocol);
    return nStatus;
}
