#include "LumFormatCheck.h"

#include "LumCompiler.h"
#include "LumDisassembler.h"
#include "LumFormatter.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace
{
// What a source comes to: the lines of its image's listing, the line numbers of its
// markers masked, or its errors as "line: text", sorted.
struct Outcome
{
    bool m_fCompiles = false;
    std::vector<uint8_t> m_aImage;
    std::vector<std::string> m_aLines;
};

Outcome Compile(std::string_view source, const SLumCompileOptions& options)
{
    Outcome outcome;
    CLumCompiler compiler(options);
    std::vector<uint8_t>& aImage = outcome.m_aImage;
    // One name for both: the image records it.
    outcome.m_fCompiles = compiler.Compile(source, "source.lbd", aImage);
    if (!outcome.m_fCompiles)
    {
        for (const CLumDiagnostics::Entry& entry : compiler.GetDiagnostics().GetEntries())
            if (!entry.m_fWarning)
                outcome.m_aLines.push_back(std::to_string(entry.m_pos.m_nLine) + ": " + entry.m_strMessage);
        std::sort(outcome.m_aLines.begin(), outcome.m_aLines.end());
        return outcome;
    }
    return outcome;
}

// The listing of an image, the line numbers of its markers masked.
void MaskedListing(Outcome& outcome, const SLumCompileOptions& options)
{
    const std::vector<uint8_t>& aImage = outcome.m_aImage;
    std::string strListing;
    CLumDisassembler(options.m_pExtensions).Run(aImage.data(), aImage.size(), strListing);
    std::istringstream in(strListing);
    for (std::string strLine; std::getline(in, strLine);)
    {
        size_t nMarker = strLine.find("LBT_DEBUGINFO");
        if (nMarker != std::string::npos)
            strLine = strLine.substr(0, strLine.find("line ", nMarker)) + "line _";
        outcome.m_aLines.push_back(strLine);
    }
}
} // namespace

bool LumSameProgram(std::string_view original, std::string_view changed, const SLumCompileOptions& options,
                    std::string& strWhy)
{
    Outcome before = Compile(original, options);
    Outcome after = Compile(changed, options);
    if (before.m_fCompiles != after.m_fCompiles)
    {
        strWhy = before.m_fCompiles ? "the changed source does not compile" : "the changed source compiles";
        return false;
    }
    // Lines kept where they were give the very same image.
    if (before.m_fCompiles && before.m_aImage == after.m_aImage)
        return true;
    if (before.m_fCompiles)
    {
        MaskedListing(before, options);
        MaskedListing(after, options);
    }
    auto parts = std::mismatch(before.m_aLines.begin(), before.m_aLines.end(), after.m_aLines.begin(),
                               after.m_aLines.end());
    if (parts.first == before.m_aLines.end() && parts.second == after.m_aLines.end())
        return true;
    const char* pszWhat = before.m_fCompiles ? "image" : "errors";
    strWhy = std::string("the ") + pszWhat + " would differ: '" +
             (parts.first != before.m_aLines.end() ? *parts.first : "") + "' became '" +
             (parts.second != after.m_aLines.end() ? *parts.second : "") + "'";
    return false;
}

bool LumFormatChecked(std::string_view source, const SLumCompileOptions& options, std::string& strFormatted,
                      std::string& strWhy)
{
    strFormatted = CLumFormatter(source).Run();
    if (strFormatted == source || LumSameProgram(source, strFormatted, options, strWhy))
        return true;
    strFormatted.clear();
    strWhy = "formatting would change what the program does, so it was left alone: " + strWhy;
    return false;
}
