// Functions of the program called from inside an expression.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"

// FIXME: user functions in expressions are not built yet; the token fails cleanly until it is.
CLumsVarValue* CLumExpression::UserFunction()
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_USERFUNCTION));
}
