#include "LumCompilerCommands.h"

#include "LumDapServer.h"
#include "LumFdStreamBuf.h"

#include <csignal>
#include <cstdio>
#include <istream>
#include <ostream>
#include <unistd.h>

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
    // The protocol's own way out is the copy of standard output made before anything
    // else could write there.
    CLumFdInputBuf input(0);
    CLumFdOutputBuf output(nProtocol);
    std::istream in(&input);
    std::ostream out(&output);
    CLumDapServer server(in, out);
    int nStatus = server.Run();
    out.flush();
    close(nProtocol);
    return nStatus;
}
