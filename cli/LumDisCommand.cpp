#include "LumCompilerCommands.h"

#include "LumCompiler.h"
#include "LumDisassembler.h"

#include <cstdio>

int LumDisCommand(const std::vector<std::string>& aArgs)
{
    std::string strImage, strExtensions;
    for (size_t i = 0; i < aArgs.size(); ++i)
    {
        const std::string& str = aArgs[i];
        if (str == "--extensions" && i + 1 < aArgs.size())
            strExtensions = aArgs[++i];
        else if ((!str.empty() && str[0] == '-') || !strImage.empty())
        {
            fprintf(stderr, "usage: lumbasic dis [--extensions FILE] IMAGE\n");
            return 2;
        }
        else
            strImage = str;
    }
    if (strImage.empty())
    {
        fprintf(stderr, "usage: lumbasic dis [--extensions FILE] IMAGE\n");
        return 2;
    }
    CLumExtensionTable extensions;
    std::string strText;
    if (!strExtensions.empty())
    {
        CLumDiagnostics diagnostics;
        if (LumReadFile(strExtensions, strText))
            extensions.Parse(strText, diagnostics);
        else
            diagnostics.Error(SLumPos{}, "cannot read the extension table");
        fputs(diagnostics.Format(strExtensions).c_str(), stderr);
        if (diagnostics.HasErrors())
            return 1;
    }
    if (!LumReadFile(strImage, strText))
    {
        fprintf(stderr, "%s: error: cannot read the image\n", strImage.c_str());
        return 1;
    }
    CLumDisassembler disassembler(&extensions);
    std::string strListing;
    bool fComplete =
        disassembler.Run(reinterpret_cast<const uint8_t*>(strText.data()), strText.size(), strListing);
    fwrite(strListing.data(), 1, strListing.size(), stdout);
    return fComplete ? 0 : 1;
}
