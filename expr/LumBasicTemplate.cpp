// Writing a value through a picture template.
#include "expr/LumExpression.h"

#include "core/LumFrame.h"

// FIXME: template filling is not built yet.
int CLumExpression::FillTemplate(char*, const char*, CLumsVarValue*, int)
{
    LumRaise(LUM_MSG_NOT_BUILT, static_cast<unsigned>(LBT_STR));
}
