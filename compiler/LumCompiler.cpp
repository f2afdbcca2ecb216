#include "LumCompiler.h"

#include "LumLexer.h"
#include "LumParser.h"
#include "LumWarnings.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

bool CLumCompiler::Compile(std::string_view source, const std::string& strSourceName,
                           std::vector<uint8_t>& aImage)
{
    aImage.clear();
    CLumLexer lexer(source, m_diagnostics);
    CLumParser parser(lexer.Run(), m_diagnostics, m_options.m_pExtensions);
    m_aComments = lexer.GetComments();
    m_program = parser.Run();
    m_aTokens = parser.TakeTokens();
    CLumCodeGen codegen(m_program, m_options, m_diagnostics);
    std::vector<uint8_t> aResult = codegen.Run(strSourceName);
    m_setSteppedLines = codegen.GetSteppedLines();
    // Warnings only for a source without errors: a statement skipped after an error
    // could make them wrong.
    bool fOk = !m_diagnostics.HasErrors();
    if (fOk)
        LumWarnAbout(m_program, m_options, m_diagnostics);
    m_diagnostics.SetMissingEnds([this](SLumPos pos) { return TokenEnd(pos); });
    if (fOk)
        aImage = std::move(aResult);
    return fOk;
}

SLumPos CLumCompiler::TokenEnd(SLumPos pos) const
{
    auto it =
        std::lower_bound(m_aTokens.begin(), m_aTokens.end(), pos, [](const SLumLexToken& token, SLumPos p) {
            return std::make_pair(token.m_pos.m_nLine, token.m_pos.m_nColumn) <
                   std::make_pair(p.m_nLine, p.m_nColumn);
        });
    if (it == m_aTokens.end() || it->m_pos.m_nLine != pos.m_nLine || it->m_pos.m_nColumn != pos.m_nColumn)
        return pos;
    return it->m_posEnd;
}

bool CLumCompiler::CompileFile(const std::string& strPath, std::vector<uint8_t>& aImage)
{
    std::string strSource;
    if (!LumReadFile(strPath, strSource))
    {
        std::string strReason = LumFileProblem(strPath);
        m_diagnostics.Error(SLumPos{0, 0}, "unreadable-file",
                            "cannot read the source file" + (strReason.empty() ? "" : ": " + strReason));
        return false;
    }
    return Compile(strSource, LumSourceNameFor(strPath), aImage);
}

// The canonical path: the debugger takes a source name as the file's own only when it
// equals that form.
std::string LumSourceNameFor(const std::string& strPath)
{
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(strPath, error);
    if (!error)
        absolute = std::filesystem::weakly_canonical(absolute, error);
    return error ? strPath : absolute.string();
}

std::string LumFileProblem(const std::string& strPath)
{
    struct stat info;
    if (stat(strPath.c_str(), &info) != 0)
        return strerror(errno);
    // Opening a directory succeeds; reading it does not.
    if (S_ISDIR(info.st_mode))
        return strerror(EISDIR);
    FILE* pFile = fopen(strPath.c_str(), "rb");
    if (pFile == nullptr)
        return strerror(errno);
    fclose(pFile);
    return "";
}

bool LumReadFile(const std::string& strPath, std::string& strContent)
{
    std::error_code error;
    if (std::filesystem::is_directory(strPath, error))
        return false;
    std::ifstream in(strPath, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    strContent = ss.str();
    return !in.bad();
}

std::string LumImagePathFor(const std::string& strSource)
{
    std::filesystem::path path(strSource);
    path.replace_extension(".lbc");
    return path.string();
}
