// The options of the commands that run programs (run, debug): read from the command
// line, checked, and applied to an interpreter. A further command that runs programs
// takes the same options from here.
#pragma once

#include "LumModuleLoader.h"

#include <string>
#include <vector>

class CLumBasic;

struct SLumRunOptions
{
    std::string m_strVars;
    std::string m_strImage;
    std::string m_strExtensions;
    // --sandbox DIR: the folder the program's imports, sources and profile files must lie in.
    std::string m_strSandbox;
    std::vector<SLumModuleOption> m_aModules;
    bool m_fDump = false;
    bool m_fProfile = false;
    bool m_fStrict = false;
    bool m_fTrail = false;
    bool m_fAnswer = false;
    bool m_fPlain = false;
    int m_nAnswer = 0;
    unsigned long long m_nMaxSteps = 0;
    unsigned long long m_nMaxMegabytes = 0;
};

// Takes the option at aArgs[i], moving i onto its value if it has one; false when
// aArgs[i] is no option of a run or its value does not fit.
bool LumTakeRunOption(const std::vector<std::string>& aArgs, size_t& i, SLumRunOptions& options);

// The options and the one program of the run command and its likes. False, with the
// usage printed, for arguments that do not fit the command.
bool LumParseRunOptions(const std::vector<std::string>& aArgs, const char* pszUsage, SLumRunOptions& options);

// Whether the folder of --sandbox, if any, is one; false after "lumbasic: DIR: reason"
// on standard error.
bool LumCheckSandbox(const SLumRunOptions& options);

// Sets the bounds, the way and the sandbox of the options on the interpreter.
void LumApplyRunOptions(const SLumRunOptions& options, CLumBasic& basic);
