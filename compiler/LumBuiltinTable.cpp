#include "LumBuiltinTable.h"

#include "LumLexer.h"

#include <lumbasic/LumTokens.h>

namespace
{
const SLumBuiltin s_aBuiltins[] = {
    {"Left$", LBT_LEFT, "SN", 2, ELumType::String, "s$, n",
     "The first n bytes of s$; n of 0 or less gives \"\"."},
    {"Right$", LBT_RIGHT, "SN", 2, ELumType::String, "s$, n",
     "The last n bytes of s$; n of 0 or less gives \"\"."},
    {"Mid$", LBT_MID, "SNN", 2, ELumType::String, "s$, start, n",
     "Up to n bytes of s$ from position start (from 0); without n the rest."},
    {"Abs", LBT_ABS, "N", 1, ELumType::Number, "x", "The absolute value of x, of the type of x."},
    {"Sgn", LBT_SGN, "N", 1, ELumType::Number, "x", "-1, 0 or 1 by the sign of x."},
    {"Asc", LBT_ASC, "S", 1, ELumType::Number, "s$",
     "The first byte of s$ as a signed 8-bit number; \"\" gives 0."},
    {"Chr$", LBT_CHR, "N", 1, ELumType::String, "code", "One byte: code modulo 255, with the sign of code."},
    {"Len", LBT_LEN, "S", 1, ELumType::Number, "s$", "The number of bytes of s$."},
    {"RTrim$", LBT_RTRIM, "S", 1, ELumType::String, "s$",
     "s$ without blanks, tabs and line breaks at its end."},
    {"LTrim$", LBT_LTRIM, "S", 1, ELumType::String, "s$",
     "s$ without blanks, tabs and line breaks at its start."},
    {"Str$", LBT_STR, "NS", 1, ELumType::String, "x, template$",
     "x as text (\"%ld\" or \"%f\"), or filled into a template such as \"999.999,99\"."},
    {"Val", LBT_VAL, "S", 1, ELumType::Number, "s$", "The number at the start of s$, 0.0 if there is none."},
    {"Fix", LBT_FIX, "N", 1, ELumType::Number, "x", "The whole part of x, cut towards zero."},
    {"Frac", LBT_FRAC, "N", 1, ELumType::Number, "x", "x - Fix(x) for a double; a long passes unchanged."},
    {"InStr", LBT_INSTR, "SS", 2, ELumType::Number, "s$, find$",
     "The position of find$ in s$, from 0; -1 if it is not there."},
    {"Round", LBT_ROUND, "NNN", 1, ELumType::Number, "x, digits, mode",
     "x rounded to digits decimal places (default 2) by mode (default 4: away from zero; 2: commercially)."},
    {"ShowMessage", LBT_SHOWMESSAGE, "SSN", 3, ELumType::Number, "caption$, text$, style",
     "Shows a message box and gives the number of the button the user chose."},
    {"SysTime$", LBT_SYSTIME, "S", 0, ELumType::String, "format$",
     "The local time formatted by strftime with format$."},
};
} // namespace

const SLumBuiltin* LumFindBuiltin(std::string_view name)
{
    for (const SLumBuiltin& builtin : s_aBuiltins)
    {
        std::string_view full(builtin.m_pszName);
        if (LumEqualsNoCase(name, full))
            return &builtin;
        if (full.back() == '$' && LumEqualsNoCase(name, full.substr(0, full.size() - 1)))
            return &builtin;
    }
    return nullptr;
}

const SLumBuiltin* LumBuiltins(size_t& nCount)
{
    nCount = sizeof(s_aBuiltins) / sizeof(s_aBuiltins[0]);
    return s_aBuiltins;
}

std::vector<std::string> LumBuiltinParams(const SLumBuiltin& builtin)
{
    std::vector<std::string> aParams;
    std::string_view params(builtin.m_pszParams);
    while (!params.empty())
    {
        size_t nComma = params.find(", ");
        aParams.emplace_back(params.substr(0, nComma));
        params = nComma == std::string_view::npos ? std::string_view() : params.substr(nComma + 2);
    }
    return aParams;
}

std::string LumBuiltinSignature(const SLumBuiltin& builtin)
{
    std::vector<std::string> aParams = LumBuiltinParams(builtin);
    std::string strText = std::string(builtin.m_pszName) + "(";
    for (size_t i = 0; i < aParams.size(); ++i)
    {
        bool fOptional = static_cast<int>(i) >= builtin.m_nRequired;
        strText += (fOptional ? (i > 0 ? " [, " : "[") : (i > 0 ? ", " : "")) + aParams[i];
    }
    for (size_t i = static_cast<size_t>(builtin.m_nRequired); i < aParams.size(); ++i)
        strText += "]";
    return strText + ")";
}

const char* LumOperatorSymbol(unsigned short wToken)
{
    switch (wToken)
    {
    case LBT_AND:
        return "And";
    case LBT_OR:
        return "Or";
    case LBT_EQ:
        return "=";
    case LBT_NE:
        return "<>";
    case LBT_GT:
        return ">";
    case LBT_LT:
        return "<";
    case LBT_GE:
        return ">=";
    case LBT_LE:
        return "<=";
    case LBT_PLUS:
        return "+";
    case LBT_MINUS:
        return "-";
    case LBT_MUL:
        return "*";
    case LBT_DIV:
        return "/";
    default:
        return nullptr;
    }
}
