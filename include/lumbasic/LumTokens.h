// The token vocabulary of program images. Every table that depends on tokens (the
// enum, the names, the statement dispatch, the built-in functions, the disassembler)
// is generated from the lists below, so that they cannot drift apart.
#pragma once

#include <lumbasic/LumExport.h>

// X(NAME, VALUE): every token, by class (low byte).
#define LUM_TOKENS(X)                                                                                        \
    X(SOURCENAME, 0x0380)                                                                                    \
    X(IF, 0x0181)                                                                                            \
    X(ELSE, 0x0281)                                                                                          \
    X(ENDIF, 0x0381)                                                                                         \
    X(FOR, 0x0481)                                                                                           \
    X(NEXT, 0x0781)                                                                                          \
    X(DECLARE, 0x0881)                                                                                       \
    X(FUNCTION, 0x0981)                                                                                      \
    X(SUB, 0x0A81)                                                                                           \
    X(AS, 0x0B81)                                                                                            \
    X(WHILE, 0x0C81)                                                                                         \
    X(WEND, 0x0D81)                                                                                          \
    X(DO, 0x0E81)                                                                                            \
    X(LOOP, 0x0F81)                                                                                          \
    X(IMPORT, 0x1181)                                                                                        \
    X(DEBUGINFO, 0xFF81)                                                                                     \
    X(AND, 0x0182)                                                                                           \
    X(OR, 0x0282)                                                                                            \
    X(EQ, 0x0382)                                                                                            \
    X(NE, 0x0482)                                                                                            \
    X(GT, 0x0582)                                                                                            \
    X(LT, 0x0682)                                                                                            \
    X(GE, 0x0782)                                                                                            \
    X(LE, 0x0882)                                                                                            \
    X(PLUS, 0x0982)                                                                                          \
    X(MINUS, 0x0A82)                                                                                         \
    X(MUL, 0x0B82)                                                                                           \
    X(DIV, 0x0C82)                                                                                           \
    X(SEPARATOR, 0xFC82)                                                                                     \
    X(INDEX, 0xFD82)                                                                                         \
    X(NAME, 0xFE82)                                                                                          \
    X(EXPRESSION, 0xFF82)                                                                                    \
    X(ASSIGN, 0x0183)                                                                                        \
    X(DIM, 0x0283)                                                                                           \
    X(CALL, 0x0383)                                                                                          \
    X(END, 0x0483)                                                                                           \
    X(CALLEX, 0x0583)                                                                                        \
    X(LEFT, 0x0184)                                                                                          \
    X(RIGHT, 0x0284)                                                                                         \
    X(MID, 0x0384)                                                                                           \
    X(ABS, 0x0484)                                                                                           \
    X(SGN, 0x0584)                                                                                           \
    X(ASC, 0x0684)                                                                                           \
    X(CHR, 0x0784)                                                                                           \
    X(LEN, 0x0884)                                                                                           \
    X(RTRIM, 0x0984)                                                                                         \
    X(LTRIM, 0x0A84)                                                                                         \
    X(STR, 0x0B84)                                                                                           \
    X(VAL, 0x0C84)                                                                                           \
    X(USERFUNCTION, 0x0D84)                                                                                  \
    X(FIX, 0x0E84)                                                                                           \
    X(FRAC, 0x0F84)                                                                                          \
    X(INSTR, 0x1084)                                                                                         \
    X(ROUND, 0x1184)                                                                                         \
    X(SHOWMESSAGE, 0x1284)                                                                                   \
    X(SYSTIME, 0x1384)                                                                                       \
    X(TYPE_LONG, 0x0185)                                                                                     \
    X(TYPE_DOUBLE, 0x0285)                                                                                   \
    X(TYPE_STRING, 0x0385)

// X(TOKEN, HANDLER): statement tokens and the CLumBasic handler each one runs.
#define LUM_STATEMENT_HANDLERS(X)                                                                            \
    X(IF, If)                                                                                                \
    X(ELSE, Else)                                                                                            \
    X(ENDIF, EndIf)                                                                                          \
    X(FOR, For)                                                                                              \
    X(NEXT, Next)                                                                                            \
    X(DECLARE, Declare)                                                                                      \
    X(FUNCTION, Sub)                                                                                         \
    X(SUB, Sub)                                                                                              \
    X(WHILE, While)                                                                                          \
    X(WEND, Wend)                                                                                            \
    X(DO, DoLoop)                                                                                            \
    X(LOOP, Loop)                                                                                            \
    X(IMPORT, Import)                                                                                        \
    X(DEBUGINFO, SetDebugInfo)                                                                               \
    X(ASSIGN, Assign)                                                                                        \
    X(EQ, Assign)                                                                                            \
    X(DIM, Dim)                                                                                              \
    X(CALL, Call)                                                                                            \
    X(END, End)                                                                                              \
    X(CALLEX, CallEx)                                                                                        \
    X(SHOWMESSAGE, ShowMessage)

// X(TOKEN, METHOD): built-in function tokens and the CLumExpression method of each.
#define LUM_FUNCTION_HANDLERS(X)                                                                             \
    X(LEFT, LeftStr)                                                                                         \
    X(RIGHT, RightStr)                                                                                       \
    X(MID, MidStr)                                                                                           \
    X(ABS, Abs)                                                                                              \
    X(SGN, Sgn)                                                                                              \
    X(ASC, Asc)                                                                                              \
    X(CHR, ChrStr)                                                                                           \
    X(LEN, Len)                                                                                              \
    X(RTRIM, RTrimStr)                                                                                       \
    X(LTRIM, LTrimStr)                                                                                       \
    X(STR, StrStr)                                                                                           \
    X(VAL, Val)                                                                                              \
    X(USERFUNCTION, UserFunction)                                                                            \
    X(FIX, Fix)                                                                                              \
    X(FRAC, Frac)                                                                                            \
    X(INSTR, InStr)                                                                                          \
    X(ROUND, Round)                                                                                          \
    X(SYSTIME, GetSysTimeStr)

enum LumToken : unsigned short
{
#define LUM_TOKEN_ENUM(name, value) LBT_##name = value,
    LUM_TOKENS(LUM_TOKEN_ENUM)
#undef LUM_TOKEN_ENUM
};

// Node kinds of expression trees and the constant types.
enum LumNodeKind : unsigned short
{
    LBN_OPERATOR = 0x027A,
    LBN_CONSTANT = 0x037A,
    LBN_VARIABLE = 0x047A,
    LBN_FUNCTION = 0x057A,
    LBN_ARRAY = 0x067A,
    LBN_NAMEWANTED = 0x0080,
    LBN_KIND_MASK = 0xFF7F,
};

enum LumConstType : unsigned short
{
    LBN_CONST_DOUBLE = 0x0100,
    LBN_CONST_LONG = 0x0200,
    LBN_CONST_STRING = 0x0300,
};

// "LBT_IF" for 0x0181; null for a value that no list names.
LUM_API const char* LumTokenName(unsigned short wToken);
