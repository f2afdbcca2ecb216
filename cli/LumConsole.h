// The command line's console: the statements Print and Input, registered with every
// interpreter the command line makes through the embedding API, and known to its
// compiler, so that `Print "Hallo"` needs no option. They belong to the command
// line, not to the language: a host of its own registers what it offers.
#pragma once

#include "LumExtensionTable.h"

#include <lumbasic/LumBasic.h>

#include <functional>
#include <string>

class CLumConsole
{
public:
    // Takes Print's lines, each ending in a newline, and Input's prompts.
    using Output = std::function<void(const std::string& strText)>;
    // Asks for a line with `strPrompt` shown; false at the end of the input.
    using Input = std::function<bool(const std::string& strPrompt, std::string& strLine)>;

    // Standard output and standard input, until a session replaces them.
    CLumConsole() = default;
    void SetOutput(Output fnOutput) { m_fnOutput = std::move(fnOutput); }
    void SetInput(Input fnInput) { m_fnInput = std::move(fnInput); }
    // The console's own ends: the text to standard output; the prompt there, then a
    // line of standard input.
    static void WriteStandard(const std::string& strText);
    static bool ReadStandard(const std::string& strPrompt, std::string& strLine);

    // Print a, b, ...: the arguments' texts on one line, a blank between them.
    // Input prompt, variable: the prompt, then a line into the variable; a number for a
    // variable of a numeric type, where an empty line or the input's end gives 0.
    void RegisterWith(CLumBasic& basic);
    // The console's names for the compiler, behind those of `table`: an extension
    // table that names Print itself (a console module's) keeps its own.
    static void AddNamesTo(CLumExtensionTable& table);

private:
    Output m_fnOutput = WriteStandard;
    Input m_fnInput = ReadStandard;
};
