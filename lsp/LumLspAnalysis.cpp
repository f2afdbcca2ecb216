#include "LumLspAnalysis.h"

#include "LumDisassembler.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace
{
// Larger files are no sources or images anyone writes or imports.
constexpr off_t MAX_FILE = 16 * 1024 * 1024;

void CollectImports(const std::vector<LumStmtPtr>& block, std::vector<const CLumExpr*>& aPaths)
{
    for (const auto& pStmt : block)
    {
        if (pStmt->m_eKind == ELumStmt::Import)
            for (const LumExprPtr& pExpr : pStmt->m_aExprs)
                if (pExpr && pExpr->m_eKind == ELumExpr::String)
                    aPaths.push_back(pExpr.get());
        CollectImports(pStmt->m_aBody, aPaths);
        CollectImports(pStmt->m_aElse, aPaths);
    }
}

// The quoted texts of a listing line, in order, "" made one quote again.
std::vector<std::string> Quoted(const std::string& strLine)
{
    std::vector<std::string> aTexts;
    for (size_t i = strLine.find('"'); i != std::string::npos; i = strLine.find('"', i + 1))
    {
        std::string strText;
        for (++i; i < strLine.size(); ++i)
        {
            if (strLine[i] == '"' && i + 1 < strLine.size() && strLine[i + 1] == '"')
                ++i;
            else if (strLine[i] == '"')
                break;
            strText += strLine[i];
        }
        aTexts.push_back(strText);
    }
    return aTexts;
}

// The source an image records, and the Declare texts it holds, one a line.
void ReadImage(const std::string& strImage, std::string& strSource, std::string& strDeclarations)
{
    std::string strListing;
    CLumDisassembler().Run(reinterpret_cast<const uint8_t*>(strImage.data()), strImage.size(), strListing);
    std::istringstream in(strListing);
    for (std::string strLine; std::getline(in, strLine);)
    {
        std::vector<std::string> aTexts = Quoted(strLine);
        if (strLine.find("LBT_SOURCENAME") != std::string::npos && !aTexts.empty())
            strSource = aTexts[0];
        else if (strLine.find("LBT_DECLARE") != std::string::npos && aTexts.size() == 2)
            strDeclarations += aTexts[1] + "\n";
    }
}

bool IsRegular(const std::string& strPath)
{
    struct stat info;
    return stat(strPath.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}
} // namespace

bool LumReadSmallFile(const std::string& strPath, std::string& strContent)
{
    struct stat info;
    if (strPath.empty() || stat(strPath.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        info.st_size > MAX_FILE)
        return false;
    return LumReadFile(strPath, strContent);
}

CLumLspAnalysis::CLumLspAnalysis(const CLumLspDocument& document, const SLumCompileOptions& options)
{
    try
    {
        m_pCompiler = std::make_unique<CLumCompiler>(options);
        std::vector<uint8_t> aImage;
        m_pCompiler->Compile(document.GetText(), document.GetPath(), aImage);
        m_pIndex = std::make_unique<CLumSymbolIndex>(m_pCompiler->GetProgram(), options.m_pExtensions);
    }
    catch (const std::exception& e)
    {
        m_strFailure = std::string("the compiler failed on this source: ") + e.what();
        m_pCompiler = std::make_unique<CLumCompiler>(options);
        m_pIndex = std::make_unique<CLumSymbolIndex>(m_pCompiler->GetProgram(), nullptr);
    }
}

size_t CLumLspAnalysis::TokenBefore(SLumPos pos) const
{
    const std::vector<SLumLexToken>& aTokens = m_pCompiler->GetTokens();
    auto it = std::lower_bound(aTokens.begin(), aTokens.end(), pos, [](const SLumLexToken& token, SLumPos p) {
        return std::make_pair(token.m_pos.m_nLine, token.m_pos.m_nColumn) <
               std::make_pair(p.m_nLine, p.m_nColumn);
    });
    return it == aTokens.begin() ? aTokens.size() : static_cast<size_t>(it - aTokens.begin()) - 1;
}

std::vector<const CLumExpr*> CLumLspAnalysis::ImportPaths() const
{
    std::vector<const CLumExpr*> aPaths;
    const CLumProgram& program = m_pCompiler->GetProgram();
    CollectImports(program.m_aTopLevel, aPaths);
    for (const auto& pProc : program.m_aProcs)
        CollectImports(pProc->m_aBody, aPaths);
    return aPaths;
}

std::string LumFindImport(const std::string& strPath, const std::string& strDocument,
                          const std::vector<std::string>& aRoots, bool& fSource)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> aBases;
    if (fs::path(strPath).is_absolute())
        aBases.emplace_back();
    else
    {
        aBases.assign(aRoots.begin(), aRoots.end());
        if (!strDocument.empty())
            aBases.push_back(fs::path(strDocument).parent_path());
        std::error_code error;
        aBases.push_back(fs::current_path(error));
    }
    for (const fs::path& base : aBases)
    {
        fs::path image = base / strPath;
        fs::path source = fs::path(image).replace_extension(".lbd");
        fSource = true;
        if (IsRegular(source.string()))
            return source.string();
        std::string strImage;
        if (!LumReadSmallFile(image.string(), strImage))
            continue;
        if (strImage.find('\0') == std::string::npos)
            return image.string();
        std::string strRecorded, strDeclarations;
        ReadImage(strImage, strRecorded, strDeclarations);
        if (IsRegular(strRecorded))
            return strRecorded;
        fSource = false;
        return image.string();
    }
    return "";
}

std::vector<SLumLibrary> LumLoadLibraries(const CLumLspAnalysis& analysis, const std::string& strDocument,
                                          const std::vector<std::string>& aRoots)
{
    std::vector<SLumLibrary> aLibraries;
    for (const CLumExpr* pPath : analysis.ImportPaths())
    {
        SLumLibrary library;
        library.m_strPath = LumFindImport(pPath->m_strText, strDocument, aRoots, library.m_fSource);
        std::string strText;
        if (library.m_strPath.empty() || !LumReadSmallFile(library.m_strPath, strText) ||
            std::any_of(aLibraries.begin(), aLibraries.end(),
                        [&](const SLumLibrary& other) { return other.m_strPath == library.m_strPath; }))
            continue;
        if (!library.m_fSource)
        {
            std::string strRecorded, strDeclarations;
            ReadImage(strText, strRecorded, strDeclarations);
            strText = strDeclarations;
        }
        library.m_strText = strText;
        library.m_pCompiler = std::make_unique<CLumCompiler>();
        std::vector<uint8_t> aImage;
        library.m_pCompiler->Compile(library.m_strText, library.m_strPath, aImage);
        aLibraries.push_back(std::move(library));
    }
    return aLibraries;
}

std::vector<const CLumProc*> LumLibraryProcedures(const SLumLibrary& library)
{
    std::vector<const CLumProc*> aProcs;
    const CLumProgram& program = library.m_pCompiler->GetProgram();
    if (library.m_fSource)
    {
        for (const auto& pProc : program.m_aProcs)
            if (!pProc->m_strName.empty() && !LumEqualsNoCase(pProc->m_strName, "Main"))
                aProcs.push_back(pProc.get());
    }
    else
        for (const auto& pStmt : program.m_aTopLevel)
            if (pStmt->m_eKind == ELumStmt::Declare && pStmt->m_pProc && !pStmt->m_pProc->m_strName.empty())
                aProcs.push_back(pStmt->m_pProc.get());
    return aProcs;
}
