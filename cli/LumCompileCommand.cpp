#include "LumCompilerCommands.h"

#include "LumCompiler.h"

#include <cstdio>
#include <fstream>

namespace
{
const char* const USAGE = "usage: lumbasic compile [--no-lines] [--extensions FILE] SOURCE [-o IMAGE]";

int Usage()
{
    fprintf(stderr, "%s\n", USAGE);
    return 2;
}

// Reads the table at `strPath`, if one is named, into `table` and lets `options` use it.
bool LoadExtensions(const std::string& strPath, CLumExtensionTable& table, SLumCompileOptions& options)
{
    if (strPath.empty())
        return true;
    options.m_pExtensions = &table;
    std::string strText;
    if (!LumReadFile(strPath, strText))
    {
        fprintf(stderr, "%s: error: cannot read the extension table\n", strPath.c_str());
        return false;
    }
    CLumDiagnostics diagnostics;
    table.Parse(strText, diagnostics);
    fputs(diagnostics.Format(strPath).c_str(), stderr);
    return !diagnostics.HasErrors();
}

bool WriteImage(const std::string& strPath, const std::vector<uint8_t>& aImage)
{
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(aImage.data()), static_cast<std::streamsize>(aImage.size()));
    out.close();
    return static_cast<bool>(out);
}

bool Compile(const std::string& strSource, const SLumCompileOptions& options, std::vector<uint8_t>& aImage)
{
    CLumCompiler compiler(options);
    bool fOk = compiler.CompileFile(strSource, aImage);
    fputs(compiler.GetDiagnostics().Format(strSource).c_str(), stderr);
    return fOk;
}
} // namespace

bool LumIsSourcePath(const std::string& strPath)
{
    return strPath.size() > 4 && strPath.compare(strPath.size() - 4, 4, ".lbd") == 0;
}

bool LumCompileSource(const std::string& strPath, const std::string& strExtensions,
                      std::vector<uint8_t>& aImage)
{
    SLumCompileOptions options;
    CLumExtensionTable extensions;
    return LoadExtensions(strExtensions, extensions, options) && Compile(strPath, options, aImage);
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
        else if ((!str.empty() && str[0] == '-') || !strSource.empty())
            return Usage();
        else
            strSource = str;
    }
    if (strSource.empty())
        return Usage();
    CLumExtensionTable extensions;
    if (!LoadExtensions(strExtensions, extensions, options))
        return 1;
    std::vector<uint8_t> aImage;
    if (!Compile(strSource, options, aImage))
        return 1;
    if (strImage.empty())
        strImage = LumImagePathFor(strSource);
    if (!WriteImage(strImage, aImage))
    {
        fprintf(stderr, "%s: error: cannot write the image\n", strImage.c_str());
        return 1;
    }
    return 0;
}
