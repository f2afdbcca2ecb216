// Statements and functions a host adds to the language by name, each with a callable:
//
//     basic.RegisterFunction("Rate", 2, [](CLumHostArgs& args) {
//         return CLumsVarValue(args.GetNumber(1) * args.GetNumber(2));
//     });
//     basic.RegisterStatement("Log", LUM_ANY_ARGS, [](CLumHostArgs& args) { ... });
//
// The callable gets the arguments of one call as values, may store into a variable
// that an argument names, and a function's callable gives the function's value.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumsVarValue.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

class CLumBasic;
class CLumHostModul;

// A call may give any number of arguments.
constexpr int LUM_ANY_ARGS = -1;

// The arguments of one call of a host's statement or function, numbered from 1.
class LUM_API CLumHostArgs
{
public:
    CLumHostArgs(const CLumHostArgs&) = delete;
    CLumHostArgs& operator=(const CLumHostArgs&) = delete;

    // The name the statement or function was registered under.
    const std::string& GetName() const { return m_strName; }
    int GetCount() const { return static_cast<int>(m_aValues.size()); }
    // An argument as the program gave it: a string, a Long, a Double or empty. Past
    // the last one fails with "Der 3. Parameter fehlt.", as a built-in function does.
    const CLumsVarValue& GetValue(int nParam) const;
    // An argument as a number, a Long or a string, with the checks and messages of
    // the built-in functions: a string where a number is wanted fails, and so does a
    // number where a string is wanted; an empty value reads as 0 or "".
    double GetNumber(int nParam) const;
    long GetLong(int nParam) const;
    std::string GetText(int nParam) const;
    // The variable an argument names when the program gave a plain variable, as in
    // `Input "Name? ", name$`; null for any other expression.
    const char* GetVariableName(int nParam) const;
    // Stores a value into that variable, as an assignment in the program would: the
    // value takes the type of the name ("Der numerischen Variablen n kann kein String
    // zugewiesen werden." otherwise), a local of the running procedure is found first.
    // Fails when the argument is no plain variable.
    void SetVariable(int nParam, const CLumsVarValue& value);
    // The interpreter the call runs on.
    CLumBasic& GetBasic() const { return m_rBasic; }

private:
    friend class CLumHostModul;
    CLumHostArgs(CLumBasic& basic, const std::string& strName) : m_rBasic(basic), m_strName(strName) {}
    // Fails for an argument that the call does not have.
    void CheckParam(int nParam) const;

    CLumBasic& m_rBasic;
    const std::string& m_strName;
    std::vector<CLumsVarValue> m_aValues;
    // The name of each argument that is a plain variable, in the image; null else.
    std::vector<const char*> m_aNames;
};

using LumHostStatement = std::function<void(CLumHostArgs& args)>;
using LumHostFunction = std::function<CLumsVarValue(CLumHostArgs& args)>;

// A registered name as the compiler needs it.
struct SLumHostName
{
    std::string m_strName;
    unsigned short m_wToken = 0;
    bool m_fFunction = false;
    int m_nArgs = LUM_ANY_ARGS;
};

// The token of a host's name in program images. It follows from the name alone,
// whatever its case, never from the order of registration, so an image runs on every
// interpreter that registers the names it uses. Its low byte is never one of the
// interpreter's classes (0x80 to 0x85), so it meets neither a token of the language
// nor one of the hand-picked tokens of extension modules (0x2083, ...). 0 for a text
// that has no name's form: a letter, then letters, digits and "_", and "$" or "%" at
// the end. A function of nothing but its argument: safe from any thread.
LUM_API unsigned short LumHostToken(std::string_view name);
