#include "LumCompiler.h"

#include "LumLexer.h"
#include "LumParser.h"
#include "LumWarnings.h"

#include <sys/stat.h>

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
    CLumProgram program = parser.Run();
    CLumCodeGen codegen(program, m_options, m_diagnostics);
    std::vector<uint8_t> aResult = codegen.Run(strSourceName);
    m_setSteppedLines = codegen.GetSteppedLines();
    if (m_diagnostics.HasErrors())
        return false;
    // Warnings only for a source without errors: a statement skipped after an error
    // could make them wrong.
    LumWarnAbout(program, m_options, m_diagnostics);
    aImage = std::move(aResult);
    return true;
}

bool CLumCompiler::CompileFile(const std::string& strPath, std::vector<uint8_t>& aImage)
{
    std::string strSource;
    if (!LumReadFile(strPath, strSource))
    {
        std::string strReason = LumFileProblem(strPath);
        m_diagnostics.Error(SLumPos{0, 0},
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
