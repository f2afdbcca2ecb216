// lumbasic: the command-line host of the interpreter.
#include "LumCompilerCommands.h"
#include "LumProfileCommand.h"
#include "LumRunCommand.h"

#include <lumbasic/LumVersion.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
struct Command
{
    const char* m_pszName;
    int (*m_pfnRun)(const std::vector<std::string>&);
};

const Command s_aCommands[] = {
    {"run", LumRunCommand},         {"compile", LumCompileCommand}, {"dis", LumDisCommand},
    {"profile", LumProfileCommand}, {"debug", LumDebugCommand},     {"fmt", LumFormatCommand},
    {"lsp", LumLspCommand},         {"dap", LumDapCommand},         {"batch", LumBatchCommand},
};

int Usage()
{
    fprintf(
        stderr,
        "usage: lumbasic run [--vars FILE] [--dump] [--answer N] [--profile] [--strict] [--trail]\n"
        "           [--max-steps N] [--max-memory MB] [--module LIB[:CLASS,...] [--set NAME=VALUE]...]...\n"
        "           [--extensions FILE] [--plain] [--sandbox DIR] IMAGE|SOURCE\n"
        "       lumbasic compile [--no-lines] [--strict] [--extensions FILE] SOURCE [-o IMAGE]\n"
        "       lumbasic dis [--extensions FILE] IMAGE|SOURCE\n"
        "       lumbasic profile [--lcov FILE] SOURCE...\n"
        "       lumbasic debug [run's options] IMAGE|SOURCE\n"
        "       lumbasic batch --in FILE --out FILE [--errors FILE] [--jobs N] [--fields NAME,...] [--skip "
        "N]\n"
        "           [run's limits and module options] IMAGE|SOURCE\n"
        "       lumbasic fmt [--check] FILE...\n"
        "       lumbasic lsp\n"
        "       lumbasic dap\n");
    return 2;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return Usage();
    if (argc == 2 && strcmp(argv[1], "--version") == 0)
    {
        printf("lumbasic %s\n", LUMBASIC_VERSION);
        return 0;
    }
    for (const Command& command : s_aCommands)
        if (strcmp(argv[1], command.m_pszName) == 0)
            return command.m_pfnRun(std::vector<std::string>(argv + 2, argv + argc));
    return Usage();
}
