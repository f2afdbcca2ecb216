// The compiler's public face, <lumbasic/LumCompile.h>: the one part of the compiler
// that liblumbasic exports.
#include <lumbasic/LumCompile.h>

#include "LumCompiler.h"
#include "LumExtensionTable.h"
#include "LumParser.h"

#include <lumbasic/LumBasic.h>

#include <algorithm>
#include <cstddef>

namespace
{
// The entries of `diagnostics` sorted by position, named `strName`.
void Collect(const CLumDiagnostics& diagnostics, const std::string& strName,
             std::vector<SLumCompileError>& aErrors)
{
    size_t nFirst = aErrors.size();
    for (const CLumDiagnostics::Entry& entry : diagnostics.GetEntries())
        aErrors.push_back(
            SLumCompileError{strName, entry.m_pos.m_nLine, entry.m_pos.m_nColumn, entry.m_strMessage});
    std::stable_sort(aErrors.begin() + static_cast<std::ptrdiff_t>(nFirst), aErrors.end(),
                     [](const SLumCompileError& a, const SLumCompileError& b) {
                         return a.m_nLine != b.m_nLine ? a.m_nLine < b.m_nLine : a.m_nColumn < b.m_nColumn;
                     });
}
} // namespace

CLumCompileException::CLumCompileException(std::vector<SLumCompileError> aErrors)
    : m_aErrors(std::move(aErrors))
{
    for (const SLumCompileError& error : m_aErrors)
    {
        std::string& strLine = AddString();
        strLine = error.m_strName;
        if (error.m_nLine > 0)
            strLine += ":" + std::to_string(error.m_nLine) + ":" + std::to_string(error.m_nColumn);
        strLine += ": error: " + error.m_strMessage;
    }
}

namespace
{
// The image, or the errors of the extension table and the host's names, else of the
// source.
std::vector<uint8_t> Compile(std::string_view source, const SLumCompileSettings& settings,
                             const std::vector<SLumHostName>& aHostNames)
{
    std::vector<SLumCompileError> aErrors;
    SLumCompileOptions options;
    options.m_fLineMarkers = settings.m_fLineMarkers;
    CLumExtensionTable extensions;
    if (!settings.m_strExtensions.empty() || !aHostNames.empty())
    {
        CLumDiagnostics diagnostics;
        extensions.Parse(settings.m_strExtensions, diagnostics);
        extensions.AddHostNames(aHostNames, diagnostics);
        Collect(diagnostics, "extensions", aErrors);
        if (!aErrors.empty())
            throw CLumCompileException(std::move(aErrors));
        options.m_pExtensions = &extensions;
    }
    CLumCompiler compiler(options);
    std::vector<uint8_t> aImage;
    if (!compiler.Compile(source, settings.m_strSourceName, aImage))
    {
        Collect(compiler.GetDiagnostics(),
                settings.m_strSourceName.empty() ? "<source>" : settings.m_strSourceName, aErrors);
        throw CLumCompileException(std::move(aErrors));
    }
    return aImage;
}
} // namespace

std::vector<uint8_t> LumCompile(std::string_view source, const SLumCompileSettings& settings)
{
    return Compile(source, settings, {});
}

std::vector<uint8_t> LumCompile(std::string_view source, const CLumBasic& basic,
                                const SLumCompileSettings& settings)
{
    return Compile(source, settings, basic.GetHostNames());
}

bool LumIsLanguageWord(std::string_view name)
{
    return CLumParser::IsReserved(name) || LumFindBuiltin(name) != nullptr;
}
