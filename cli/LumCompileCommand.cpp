#include "LumCompilerCommands.h"

#include "LumCompiler.h"
#include "LumConsole.h"

#include <cstdio>

namespace
{
const char* const USAGE =
    "usage: lumbasic compile [--no-lines] [--strict] [--extensions FILE] SOURCE [-o IMAGE]";

int Usage()
{
    fprintf(stderr, "%s\n", USAGE);
    return 2;
}

bool Compile(const SLumProgramFile& file, const SLumCompileOptions& options, std::vector<uint8_t>& aImage)
{
    CLumCompiler compiler(options);
    bool fOk = compiler.Compile(file.m_strContent, LumSourceNameFor(file.m_strPath), aImage);
    fputs(compiler.GetDiagnostics().Format(file.m_strPath).c_str(), stderr);
    return fOk;
}
} // namespace

bool LumLoadExtensions(const std::string& strPath, CLumExtensionTable& table)
{
    if (!strPath.empty())
    {
        std::string strText;
        if (!LumReadNamedFile(strPath, strText))
            return false;
        CLumDiagnostics diagnostics;
        table.Parse(strText, diagnostics);
        fputs(diagnostics.Format(strPath).c_str(), stderr);
        if (diagnostics.HasErrors())
            return false;
    }
    CLumConsole::AddNamesTo(table);
    return true;
}

bool LumCompileSource(const SLumProgramFile& file, const CLumExtensionTable& extensions,
                      SLumCompileOptions options, std::vector<uint8_t>& aImage)
{
    options.m_pExtensions = &extensions;
    return Compile(file, options, aImage);
}

int LumCompileCommand(const std::vector<std::string>& aArgs)
{
    std::string strSource, strImage, strExtensions;
    SLumCompileOptions options;
    for (size_t i = 0; i < aArgs.size(); ++i)
    {
        const std::string& str = aArgs[i];
        if (str == "-o" && i + 1 < aArgs.size())
            strImage = aArgs[++i];
        else if (str == "--extensions" && i + 1 < aArgs.size())
            strExtensions = aArgs[++i];
        else if (str == "--no-lines")
            options.m_fLineMarkers = false;
        else if (str == "--strict")
            options.m_fStrict = true;
        else if ((!str.empty() && str[0] == '-') || !strSource.empty())
            return Usage();
        else
            strSource = str;
    }
    if (strSource.empty())
        return Usage();
    SLumProgramFile file;
    if (!LumReadProgramFile(strSource, file))
        return 1;
    if (!file.m_fSource)
    {
        fprintf(stderr, "lumbasic: %s: a program image, not a source; 'lumbasic dis' lists it\n",
                strSource.c_str());
        return 1;
    }
    CLumExtensionTable extensions;
    std::vector<uint8_t> aImage;
    if (!LumLoadExtensions(strExtensions, extensions) || !LumCompileSource(file, extensions, options, aImage))
        return 1;
    if (strImage.empty())
        strImage = LumImagePathFor(strSource);
    if (!LumWriteNamedFile(strImage, aImage.data(), aImage.size()))
        return 1;
    return 0;
}
