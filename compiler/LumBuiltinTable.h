// The built-in functions by their source names, with the arguments each takes. One
// table serves the code generator (names, argument checks), the documentation and
// the language server (completion, hover, signature help).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// What an expression is known to give before it runs.
enum class ELumType
{
    Unknown,
    Number,
    String,
};

struct SLumBuiltin
{
    const char* m_pszName;
    unsigned short m_wToken;
    // One letter per argument: 'S' a string, 'N' a number; arguments from
    // m_nRequired on may be left out.
    const char* m_pszArgs;
    int m_nRequired;
    ELumType m_eResult;
    // The arguments' names as docs/functions.md writes them, "s$, n", and one line of
    // what the function does: shown by editors as the user types.
    const char* m_pszParams;
    const char* m_pszDoc;
};

// The entry for a name, case-insensitive, "Left$" and "Left" alike; null if none.
const SLumBuiltin* LumFindBuiltin(std::string_view name);
// The whole table, `nCount` entries.
const SLumBuiltin* LumBuiltins(size_t& nCount);

// The names of a built-in's arguments, in order.
std::vector<std::string> LumBuiltinParams(const SLumBuiltin& builtin);
// How a built-in is called, the arguments that may be left out in brackets:
// "Round(x [, digits [, mode]])".
std::string LumBuiltinSignature(const SLumBuiltin& builtin);

// The source text of an operator token ("+", "<>", "And"); null for any other token.
const char* LumOperatorSymbol(unsigned short wToken);
