// What a stopped program shows a debug client: its frames, the scopes of a frame
// (the procedure's locals and the globals), variables with arrays as children, and
// expressions evaluated in its store. Made at each stop, on the run's thread, and
// gone when the program goes on, with the references it handed out.
#pragma once

#include "LumDapChannel.h"

#include <lumbasic/LumsException.h>
#include <lumbasic/LumsVarValue.h>

#include <string>
#include <vector>

class CLumBasicDebugger;
class CLumVariables;

class CLumDapInspector
{
public:
    // `aFrames`: the procedures running, innermost first; `strProgram` names the
    // program's source where a frame records none.
    CLumDapInspector(CLumBasicDebugger& debugger, CLumVariables& store, std::vector<SLumCallSite> aFrames,
                     std::string strProgram);

    // The bodies of the answers. A request they cannot serve throws
    // std::runtime_error with the message for the client.
    json StackTrace(const json& args) const;
    json Scopes(const json& args);
    json Variables(const json& args);
    json SetVariable(const json& args);
    json Evaluate(const json& args);
    // The value of an expression of the language in the frame, without changing the
    // store: a variable's or array element's own value, else the expression computed
    // on a copy of the store. Throws std::runtime_error with the reason.
    CLumsVarValue Value(const std::string& strExpression, size_t nFrame) const;

    static json SourceOf(const std::string& strPath);

private:
    // What a variables reference stands for: the keys under `m_strPrefix` (the locals
    // of a procedure, "@Name@"), the globals (no prefix), or an array's elements
    // (prefix "name:").
    struct SContainer
    {
        std::string m_strPrefix;
        bool m_fArray;
    };
    // A variable under a container: its shown name and its key, or for an array its
    // name and the prefix of its elements' keys.
    struct SMember
    {
        std::string m_strName;
        std::string m_strKey;
        const CLumsVarValue* m_pValue; // null for an array
    };
    int Reference(const std::string& strPrefix, bool fArray);
    const SContainer& Container(const json& args) const;
    size_t Frame(const json& args) const;
    // The key a name of the frame's procedure stands for: its local, else the global.
    std::string KeyOf(const std::string& strName, size_t nFrame) const;
    json Describe(const SMember& member);
    std::vector<SMember> Members(const SContainer& container) const;
    CLumsVarValue Compute(const std::string& strExpression, size_t nFrame) const;

    CLumBasicDebugger& m_debugger;
    CLumVariables& m_store;
    std::vector<SLumCallSite> m_aFrames;
    std::string m_strProgram;
    std::vector<SContainer> m_aContainers;
};

// A value in the store's text form, and the name of its type.
std::string LumDapText(const CLumsVarValue& value);
const char* LumDapType(const CLumsVarValue& value);
