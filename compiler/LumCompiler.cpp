#include "LumCompiler.h"

#include "LumLexer.h"
#include "LumParser.h"

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
    aImage = std::move(aResult);
    return true;
}

bool CLumCompiler::CompileFile(const std::string& strPath, std::vector<uint8_t>& aImage)
{
    std::string strSource;
    if (!LumReadFile(strPath, strSource))
    {
        m_diagnostics.Error(SLumPos{0, 0}, "cannot read the source file");
        return false;
    }
    // The canonical path: the debugger takes a source name as the file's own only
    // when it equals that form.
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(strPath, error);
    if (!error)
        absolute = std::filesystem::weakly_canonical(absolute, error);
    std::string strSourceName = error ? strPath : absolute.string();
    return Compile(strSource, strSourceName, aImage);
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
