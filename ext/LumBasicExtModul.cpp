// The hooks through which extension modules see every run, statement and function.
#include <lumbasic/LumBasic.h>

// FIXME: the module chain is not built yet. With no module attached every hook
// answers as an empty chain does: go on, not consumed, unknown function.
int CLumBasic::PreRunLoopEM()
{
    return 1;
}

int CLumBasic::PostRunLoopEM()
{
    return 1;
}

int CLumBasic::DispatchTokenEM(unsigned short)
{
    return 1;
}

CLumsVarValue* CLumBasic::ExtFunctionEM(unsigned short)
{
    return nullptr;
}

int CLumBasic::SetBasisModulEM()
{
    return 1;
}
