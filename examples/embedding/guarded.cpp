// A complete host: it adds a statement to the language with an extension module,
// compiles a program in memory, runs it with a statement limit, a memory budget and
// its files confined to the program's folder, lets Ctrl-C stop it, and shows a failure
// as a person reads it.
//
//     lumbasic-guarded-host PROGRAM.lbd [MAX-STEPS]
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicExtMeta.h>
#include <lumbasic/LumBasicExtModul.h>
#include <lumbasic/LumCompile.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

// Log a, b, ...: writes its arguments to standard error, one line per statement.
class CLogModul : public CLumBasicExtModul
{
    LUM_DECLARE_DYNCREATE(CLogModul)

public:
    static constexpr unsigned short TOKEN_LOG = 0x2090;

protected:
    int DispatchToken(unsigned short wToken) override
    {
        if (wToken != TOKEN_LOG)
            return 1; // not ours
        std::string strLine = "log:";
        for (int nParam = 1; HasArg(); ++nParam)
        {
            std::unique_ptr<CLumsVarValue> pValue(GetArg(CLumBasic::AT_ANY, nParam)); // ours to delete
            strLine += ' ';
            strLine += pValue->GetText();
        }
        fprintf(stderr, "%s\n", strLine.c_str());
        return 0; // consumed
    }
};
LUM_IMPLEMENT_DYNCREATE(CLogModul, CLumBasicExtModul)
static CLumBasicExtMeta s_cLogMeta(*LUM_RUNTIME_CLASS(CLogModul));

// The interpreter that Ctrl-C stops: a stop request only sets a flag, which a signal
// handler may do.
static std::atomic<CLumBasic*> s_pRunning{nullptr};
extern "C" void OnInterrupt(int)
{
    if (CLumBasic* pBasic = s_pRunning.load())
        pBasic->RequestStop();
}

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3)
    {
        fprintf(stderr, "usage: lumbasic-guarded-host PROGRAM.lbd [MAX-STEPS]\n");
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    if (!in)
    {
        fprintf(stderr, "%s: cannot read it\n", argv[1]);
        return 1;
    }
    std::ostringstream source;
    source << in.rdbuf();

    CLumVariables vars;              // the host's store: it outlives the interpreter
    CLumBasic basic(&vars, nullptr); // its own procedure table
    basic.LoadExtModul(CLumBasicExtMeta::CreateExtModule("CLogModul")); // the chain owns it now
    basic.SetStatementLimit(argc == 3 ? strtoul(argv[2], nullptr, 10) : 1000000);
    basic.SetMemoryLimit(64u << 20);
    // What the program imports must lie in its own folder.
    std::string strFolder = std::filesystem::path(argv[1]).parent_path().string();
    basic.SetFileRoot(strFolder.empty() ? "." : strFolder.c_str());
    s_pRunning = &basic;
    signal(SIGINT, OnInterrupt);
    int nStatus = 0;
    try
    {
        SLumCompileSettings settings;
        settings.m_strSourceName = argv[1];
        settings.m_strExtensions = "statement Log 0x2090\n"; // the names the module adds
        std::vector<uint8_t> aImage = LumCompile(source.str(), settings);
        basic.DoMemory(aImage.data(), aImage.size());
    }
    catch (const CLumsException& e) // the errors of the source, or a failed run: the store keeps what it held
    {
        fputs(LumFailureReport(e, argv[1]).c_str(), stderr); // "file:line: message", then the calls
        nStatus = 1;
    }
    signal(SIGINT, SIG_DFL);
    s_pRunning = nullptr;
    std::string strStore;
    vars.MakeString(&strStore);
    printf("%s", strStore.c_str());
    return nStatus;
}
