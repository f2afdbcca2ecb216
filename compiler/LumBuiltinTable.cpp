#include "LumBuiltinTable.h"

#include "LumLexer.h"

#include <lumbasic/LumTokens.h>

namespace
{
const SLumBuiltin s_aBuiltins[] = {
    {"Left$", LBT_LEFT, "SN", 2, ELumType::String},
    {"Right$", LBT_RIGHT, "SN", 2, ELumType::String},
    {"Mid$", LBT_MID, "SNN", 2, ELumType::String},
    {"Abs", LBT_ABS, "N", 1, ELumType::Number},
    {"Sgn", LBT_SGN, "N", 1, ELumType::Number},
    {"Asc", LBT_ASC, "S", 1, ELumType::Number},
    {"Chr$", LBT_CHR, "N", 1, ELumType::String},
    {"Len", LBT_LEN, "S", 1, ELumType::Number},
    {"RTrim$", LBT_RTRIM, "S", 1, ELumType::String},
    {"LTrim$", LBT_LTRIM, "S", 1, ELumType::String},
    {"Str$", LBT_STR, "NS", 1, ELumType::String},
    {"Val", LBT_VAL, "S", 1, ELumType::Number},
    {"Fix", LBT_FIX, "N", 1, ELumType::Number},
    {"Frac", LBT_FRAC, "N", 1, ELumType::Number},
    {"InStr", LBT_INSTR, "SS", 2, ELumType::Number},
    {"Round", LBT_ROUND, "NNN", 1, ELumType::Number},
    {"ShowMessage", LBT_SHOWMESSAGE, "SSN", 3, ELumType::Number},
    {"SysTime$", LBT_SYSTIME, "S", 0, ELumType::String},
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
