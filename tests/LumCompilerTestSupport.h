// Helpers for tests that compile sources, run them and read their listings.
#pragma once

#include "compiler/LumCompiler.h"
#include "compiler/LumDisassembler.h"
#include "tests/LumTestSupport.h"

#include <algorithm>
#include <sstream>

namespace lumtest
{
// Compiles `strSource` as the file "t.lbd"; gives the diagnostics, empty on success.
inline std::string CompileText(const std::string& strSource, std::vector<uint8_t>& aImage,
                               const SLumCompileOptions& options = {})
{
    CLumCompiler compiler(options);
    compiler.Compile(strSource, "t.lbd", aImage);
    return compiler.GetDiagnostics().Format("t.lbd");
}

inline std::string Listing(const std::vector<uint8_t>& aImage,
                           const CLumExtensionTable* pExtensions = nullptr)
{
    std::string strListing;
    CLumDisassembler(pExtensions).Run(aImage.data(), aImage.size(), strListing);
    return strListing;
}

// The store's text form as sorted lines, so that the map's order does not matter.
inline std::vector<std::string> StoreLines(CLumVariables& vars)
{
    std::string strText;
    vars.MakeString(&strText);
    std::vector<std::string> aLines;
    std::istringstream in(strText);
    for (std::string strLine; std::getline(in, strLine);)
        aLines.push_back(strLine);
    std::sort(aLines.begin(), aLines.end());
    return aLines;
}

inline std::string ReadText(const std::string& strPath)
{
    std::string strText;
    LumReadFile(strPath, strText);
    return strText;
}
} // namespace lumtest
