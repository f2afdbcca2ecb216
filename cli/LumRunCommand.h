// The commands of the command-line host, one function each.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

class CLumConsole;
class CLumVariables;

// Each gets the arguments behind its name and gives the exit status.
int LumRunCommand(const std::vector<std::string>& aArgs);
// lumbasic debug: the run under the terminal debugger.
int LumDebugCommand(const std::vector<std::string>& aArgs);
// lumbasic batch: the program over every record of a file, on several threads.
int LumBatchCommand(const std::vector<std::string>& aArgs);

// What a command sets up around a run, for as long as the object lives.
class CLumRunSession
{
public:
    virtual ~CLumRunSession() = default;
};
// Makes the session once the options are read and the program is ready to run; it is
// told whether --answer was given, and its number, and may redirect the console.
using LumRunSessionFactory =
    std::function<std::unique_ptr<CLumRunSession>(bool fAnswer, int nAnswer, CLumConsole& console)>;
// The run command with its options, its run and its report, the run inside a session,
// into the store given.
int LumRunProgram(const std::vector<std::string>& aArgs, const char* pszUsage,
                  const LumRunSessionFactory& fnSession, CLumVariables& cVariables);

// Prints a trail to standard error, one entry per line.
void LumPrintTrail(const std::vector<std::string>& aTrail);
