#include <lumbasic/LumTokens.h>

const char* LumTokenName(unsigned short wToken)
{
    switch (wToken)
    {
#define LUM_TOKEN_NAME(name, value)                                                                          \
    case value:                                                                                              \
        return "LBT_" #name;
        LUM_TOKENS(LUM_TOKEN_NAME)
#undef LUM_TOKEN_NAME
    default:
        return nullptr;
    }
}
