#include <lumbasic/LumBasicExtModul.h>

#include "core/LumFrame.h"

LUM_IMPLEMENT_DYNCREATE(CLumBasicExtModul, CLumObject)

namespace
{
const char* const FILE_LABEL = "LUMBASICEXTMODUL";
} // namespace

// The base class knows no setting: whatever reaches it is the caller's mistake, and
// the detail line says which argument was wrong.
void CLumBasicExtModul::SetParm(const char* pszName, const char* pszValue)
{
    CLumsException e;
    e.AddString() = LoadMessage(LUM_MSG_UNEXPECTED);
    e.Add(FILE_LABEL);
    e.Add("CLumBasicExtModul::SetParm");
    if (pszName == nullptr)
        e.AddString() = LoadMessage(LUM_MSG_EXT_PARM_NULL_NAME);
    else if (pszValue == nullptr)
        e.AddString() = LoadMessage(LUM_MSG_EXT_PARM_NULL_VALUE);
    else
        e.AddString() = LumFormat(LoadMessage(LUM_MSG_EXT_PARM_REFUSED).c_str(), pszName, pszValue);
    throw e;
}

const char* CLumBasicExtModul::GetParm(const char*)
{
    return nullptr;
}

CLumBasic* CLumBasicExtModul::GetDefinedBasisModul() const
{
    return LumFrame(FILE_LABEL, "CLumBasicExtModul::GetDefinedBasisModul", [&] {
        if (m_pBasisModul == nullptr)
            LumRaise(LUM_MSG_EXT_NO_BASIS, GetRuntimeClass()->m_lpszClassName);
        return m_pBasisModul;
    });
}
