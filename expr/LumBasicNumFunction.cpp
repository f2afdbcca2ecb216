// Built-in functions that yield numbers.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"

// FIXME: the numeric built-ins are not built yet; their tokens fail cleanly until they are.
CLumsVarValue* CLumExpression::Abs()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_ABS));
}
CLumsVarValue* CLumExpression::Sgn()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_SGN));
}
CLumsVarValue* CLumExpression::Asc()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_ASC));
}
CLumsVarValue* CLumExpression::Len()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_LEN));
}
CLumsVarValue* CLumExpression::Val()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_VAL));
}
CLumsVarValue* CLumExpression::Fix()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_FIX));
}
CLumsVarValue* CLumExpression::Frac()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_FRAC));
}
CLumsVarValue* CLumExpression::InStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_INSTR));
}
CLumsVarValue* CLumExpression::Round()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_ROUND));
}
double CLumExpression::DoubleRound(double, int, int)
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_ROUND));
}
