#include "LumCompilerCommands.h"

#include "LumFdStreamBuf.h"
#include "LumLspServer.h"

#include <cstdio>
#include <istream>
#include <ostream>

// The server speaks on standard input and output; nothing else may write there.
int LumLspCommand(const std::vector<std::string>& aArgs)
{
    if (!aArgs.empty() && !(aArgs.size() == 1 && aArgs[0] == "--stdio"))
    {
        fprintf(stderr, "usage: lumbasic lsp [--stdio]\n");
        return 2;
    }
    CLumFdInputBuf input(0);
    CLumFdOutputBuf output(1);
    std::istream in(&input);
    std::ostream out(&output);
    CLumLspServer server(in, out);
    return server.Run();
}
