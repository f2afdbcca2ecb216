#include "LumCompilerCommands.h"

#include "LumLspServer.h"

#include <cstdio>
#include <iostream>

// The server speaks on standard input and output; nothing else may write there.
int LumLspCommand(const std::vector<std::string>& aArgs)
{
    if (!aArgs.empty() && !(aArgs.size() == 1 && aArgs[0] == "--stdio"))
    {
        fprintf(stderr, "usage: lumbasic lsp [--stdio]\n");
        return 2;
    }
    std::ios::sync_with_stdio(false);
    CLumLspServer server(std::cin, std::cout);
    return server.Run();
}
