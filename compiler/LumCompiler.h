// The compiler of the language: source text in, program image out, with every error
// it can find. This is the one class a host or a tool needs.
#pragma once

#include "LumCodeGen.h"
#include "LumDiagnostics.h"
#include "LumLexer.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

class CLumCompiler
{
public:
    explicit CLumCompiler(SLumCompileOptions options = {}) : m_options(options) {}

    // Compiles `source`; the image's source-name record holds `strSourceName`, the
    // path under which the debugger finds the source. False if errors were found.
    bool Compile(std::string_view source, const std::string& strSourceName, std::vector<uint8_t>& aImage);
    // Reads and compiles a file, recording its canonical absolute path.
    bool CompileFile(const std::string& strPath, std::vector<uint8_t>& aImage);
    const CLumDiagnostics& GetDiagnostics() const { return m_diagnostics; }
    // The syntax of the last source compiled, errors or not: its tokens, its comments
    // and its tree, for the tools that show a source (formatter, language server).
    const std::vector<SLumLexToken>& GetTokens() const { return m_aTokens; }
    const std::vector<SLumComment>& GetComments() const { return m_aComments; }
    const CLumProgram& GetProgram() const { return m_program; }
    // The lines of the last image whose markers reach the debugger, for coverage.
    const std::set<int32_t>& GetSteppedLines() const { return m_setSteppedLines; }

private:
    // Where the token at `pos` ends; `pos` itself if none starts there.
    SLumPos TokenEnd(SLumPos pos) const;

    SLumCompileOptions m_options;
    CLumDiagnostics m_diagnostics;
    std::vector<SLumLexToken> m_aTokens;
    std::vector<SLumComment> m_aComments;
    CLumProgram m_program;
    std::set<int32_t> m_setSteppedLines;
};

// The whole content of a file; false if it cannot be read.
bool LumReadFile(const std::string& strPath, std::string& strContent);
// Why a file cannot be read, in the words of strerror ("No such file or directory",
// "Is a directory", ...); empty if nothing stands in the way of opening it.
std::string LumFileProblem(const std::string& strPath);
// The name a compiled source records in its image: the source's canonical absolute path.
std::string LumSourceNameFor(const std::string& strPath);
// The default image path of a source: its suffix replaced by ".lbc".
std::string LumImagePathFor(const std::string& strSource);
