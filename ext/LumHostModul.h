// The module that holds the statements and functions a host registered by name with
// an interpreter. It sits in the interpreter's chain like every module, attached at
// the first registration, and claims the tokens of its names and no other: with it
// alone attached, the fast paths still run the program's own statements.
#pragma once

#include <lumbasic/LumBasicExtModul.h>
#include <lumbasic/LumHostArgs.h>

#include <memory>
#include <utility>
#include <vector>

class CLumHostModul : public CLumBasicExtModul
{
    LUM_DECLARE_RUNTIME(CLumHostModul)

public:
    // Takes a name that the interpreter has checked against the language; refuses one
    // registered before, and one whose token a registered name has.
    void Add(SLumHostName name, LumHostStatement fnStatement, LumHostFunction fnFunction);
    const std::vector<SLumHostName>& GetNames() const { return m_aNames; }

protected:
    int DispatchToken(unsigned short wToken) override;
    CLumsVarValue* ExtFunction(unsigned short wToken) override;

private:
    // Behind a pointer, so that a callable that registers further names while it runs
    // stays where it is.
    struct SEntry
    {
        std::string m_strName;
        int m_nArgs;
        LumHostStatement m_fnStatement;
        LumHostFunction m_fnFunction;
    };
    // The entry of a registered token of the kind asked for; null for any other.
    const SEntry* Find(unsigned short wToken, bool fFunction) const;
    // Reads the call's operands from the stream, each with the variable it names.
    void ReadArguments(const SEntry& entry, CLumHostArgs& args);

    std::vector<SLumHostName> m_aNames;
    std::vector<std::unique_ptr<SEntry>> m_aEntries;
    // Tokens in ascending order, each with the index of its name.
    std::vector<std::pair<unsigned short, size_t>> m_aTokens;
};
