// The statements and functions a host registers with an interpreter by name: checked
// here against the language, held by the interpreter's host module.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumCompile.h>

#include "core/LumFrame.h"
#include "ext/LumHostModul.h"

namespace
{
const char* const FILE_LABEL = "LUMBASICHOSTNAMES";

// The name with its token, refused where it cannot name a host's statement or function.
SLumHostName Checked(const char* pszMethod, const char* pszName, int nArgs, bool fFunction, bool fCallable)
{
    if (pszName == nullptr)
        LumRaise(LUM_MSG_NULL_ARGUMENT, pszMethod, "const char *pszName", "NULL");
    if (!fCallable)
        LumRaise(LUM_MSG_NULL_ARGUMENT, pszMethod, fFunction ? "LumHostFunction" : "LumHostStatement",
                 "NULL");
    if (nArgs < LUM_ANY_ARGS)
        LumRaise(LUM_MSG_NULL_ARGUMENT, pszMethod, "int nArgs", std::to_string(nArgs).c_str());
    SLumHostName name{pszName, LumHostToken(pszName), fFunction, nArgs};
    if (name.m_wToken == 0)
        LumRaise(LUM_MSG_HOST_NO_NAME, pszName);
    if (LumIsLanguageWord(pszName))
        LumRaise(LUM_MSG_HOST_LANGUAGE_WORD, pszName);
    return name;
}
} // namespace

void CLumBasic::RegisterFunction(const char* pszName, int nArgs, LumHostFunction fnFunction)
{
    LumFrame(FILE_LABEL, "CLumBasic::RegisterFunction", [&] {
        SLumHostName name = Checked("CLumBasic::RegisterFunction", pszName, nArgs, true, bool(fnFunction));
        Register(std::move(name), nullptr, std::move(fnFunction));
    });
}

void CLumBasic::RegisterStatement(const char* pszName, int nArgs, LumHostStatement fnStatement)
{
    LumFrame(FILE_LABEL, "CLumBasic::RegisterStatement", [&] {
        SLumHostName name = Checked("CLumBasic::RegisterStatement", pszName, nArgs, false, bool(fnStatement));
        Register(std::move(name), std::move(fnStatement), nullptr);
    });
}

// The host module joins the chain at the first registration, behind the modules
// attached so far, and leaves it as they do.
void CLumBasic::Register(SLumHostName name, LumHostStatement fnStatement, LumHostFunction fnFunction)
{
    if (m_pHostModul == nullptr)
    {
        auto pModul = std::make_unique<CLumHostModul>();
        LoadExtModul(pModul.get());
        m_pHostModul = pModul.release();
    }
    m_pHostModul->Add(std::move(name), std::move(fnStatement), std::move(fnFunction));
}

const std::vector<SLumHostName>& CLumBasic::GetHostNames() const
{
    static const std::vector<SLumHostName> s_aNone;
    return m_pHostModul != nullptr ? m_pHostModul->GetNames() : s_aNone;
}
