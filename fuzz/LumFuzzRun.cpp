// Running images: the interpreter of the production path (a plain CLumBasic), a
// statement budget, an empty root folder, message boxes that answer at once, memory
// capped.
#include "LumFuzzGuard.h"
#include "LumFuzzPaths.h"
#include "LumMemoryCap.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumMessageBox.h>

#include "compiler/LumCompiler.h"
#include "compiler/LumDisassembler.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace lumfuzz
{
namespace
{
void InstallQuietBox()
{
    static bool s_fDone = false;
    if (s_fDone)
        return;
    LumSetMessageBox([](const char*, const char*, long nStyle) { return LumMessageBoxDefault(nStyle); });
    s_fDone = true;
}

// An empty folder of the process's own, the root of every fuzzed run: an image that
// imports cannot reach the machine's files. It goes when the process ends.
const char* ScratchRoot()
{
    struct Scratch
    {
        std::string m_strDir = (std::filesystem::temp_directory_path() / "lumfuzz-root-XXXXXX").string();
        Scratch()
        {
            if (mkdtemp(&m_strDir[0]) == nullptr)
                abort();
        }
        ~Scratch()
        {
            std::error_code error;
            std::filesystem::remove_all(m_strDir, error);
        }
    };
    static Scratch s_cScratch;
    return s_cScratch.m_strDir.c_str();
}

// A failure that leaves Do must have passed its frame.
std::string CheckTrail(const CLumsException& e)
{
    const std::vector<std::string>& trail = e.GetTrail();
    if (std::find(trail.begin(), trail.end(), "CLumBasic::Do()") == trail.end())
        return "a trail without the frame of Do: " + std::string(e.what());
    return "";
}
} // namespace

std::string RunImage(const uint8_t* pData, size_t nSize)
{
    InstallQuietBox();
    const char* pszRoot = ScratchRoot();
    CCappedScope capped;
    return Handled([&] {
        CLumVariables vars;
        CLumBasic basic(&vars, nullptr);
        basic.SetStatementLimit(STATEMENT_LIMIT);
        basic.SetFileRoot(pszRoot);
        std::string strFault;
        try
        {
            basic.DoMemory(pData, nSize);
        }
        catch (const CLumsException& e)
        {
            strFault = CheckTrail(e);
        }
        // What a host does next: read the store back.
        std::string strDump;
        vars.MakeString(&strDump);
        return strFault;
    });
}

std::string CompileAndRun(const uint8_t* pData, size_t nSize)
{
    std::vector<uint8_t> aImage;
    std::string strFault = NoThrow([&] {
        CLumCompiler compiler;
        std::string_view source(reinterpret_cast<const char*>(pData), nSize);
        if (!compiler.Compile(source, "fuzz.lbd", aImage))
            return std::string();
        // What the compiler writes, its disassembler must list whole.
        std::string strListing;
        if (!CLumDisassembler().Run(aImage.data(), aImage.size(), strListing))
            return "a compiled image the disassembler cannot list:\n" + strListing;
        return std::string();
    });
    if (!strFault.empty() || aImage.empty())
        return strFault;
    return RunImage(aImage.data(), aImage.size());
}
} // namespace lumfuzz
