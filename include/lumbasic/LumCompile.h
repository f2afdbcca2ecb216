// Compiling in memory: source text in, program image out, which CLumBasic::DoMemory
// runs. Nothing is read from or written to files.
//
//     std::vector<uint8_t> aImage = LumCompile("Sub Main\n  total = price * 2\nEnd Sub\n");
//     basic.DoMemory(aImage.data(), aImage.size());
//
// The errors of a source come as one exception, CLumCompileException, which is a
// CLumsException: a host that reports the trail of a failed run reports the errors
// of a source the same way.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumsException.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CLumBasic;

// One error of a source or of an extension table. Lines and columns count from 1;
// both are 0 for a fault of the text as a whole.
struct LUM_API SLumCompileError
{
    std::string m_strName; // the source's name (SLumCompileSettings), or "extensions"
    int m_nLine = 0;
    int m_nColumn = 0;
    std::string m_strMessage;
};

// Every error that the compiler found, sorted by position; or those of the extension
// table, when it has any, as the source is not compiled then. The trail, and what(),
// has a line per error in the form that `lumbasic compile` writes:
// "name:line:column: error: text".
class LUM_API CLumCompileException : public CLumsException
{
public:
    explicit CLumCompileException(std::vector<SLumCompileError> aErrors);

    const std::vector<SLumCompileError>& GetErrors() const { return m_aErrors; }

private:
    std::vector<SLumCompileError> m_aErrors;
};

struct LUM_API SLumCompileSettings
{
    // Names the source in error messages (empty: "<source>") and in the image, where
    // the debugger looks for the source's file by it (empty: no file).
    std::string m_strSourceName;
    // The statements and functions of the host's extension modules, in the text form
    // of an extension table, one entry a line: "statement Print 0x2083" or
    // "function Env$ 0x2084" (docs/modules.md). Empty: none.
    std::string m_strExtensions;
    // A line marker in front of each statement, for the line in a failure's trail and
    // for the debugger; false compiles as `lumbasic compile --no-lines` does.
    bool m_fLineMarkers = true;
};

// The image of `source`. Throws CLumCompileException when the source or the
// extension table has errors.
LUM_API std::vector<uint8_t> LumCompile(std::string_view source, const SLumCompileSettings& settings = {});
// The image of `source` for `basic`: the statements and functions registered with it
// (CLumBasic::RegisterFunction, RegisterStatement) are known by name, with their
// numbers of arguments, besides those of the settings' extension table.
LUM_API std::vector<uint8_t> LumCompile(std::string_view source, const CLumBasic& basic,
                                        const SLumCompileSettings& settings = {});

// Whether `name` is a word of the language, a keyword or a built-in function, in any
// case and with or without "$": such a name cannot name a host's statement or function.
LUM_API bool LumIsLanguageWord(std::string_view name);
