// Built-in functions that yield strings.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"

// FIXME: the string built-ins are not built yet; their tokens fail cleanly until they are.
CLumsVarValue* CLumExpression::LeftStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_LEFT));
}
CLumsVarValue* CLumExpression::RightStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_RIGHT));
}
CLumsVarValue* CLumExpression::MidStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_MID));
}
CLumsVarValue* CLumExpression::ChrStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_CHR));
}
CLumsVarValue* CLumExpression::RTrimStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_RTRIM));
}
CLumsVarValue* CLumExpression::LTrimStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_LTRIM));
}
CLumsVarValue* CLumExpression::StrStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_STR));
}
CLumsVarValue* CLumExpression::GetSysTimeStr()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_SYSTIME));
}
