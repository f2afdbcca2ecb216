// The module chain of an interpreter: attaching, finding and unloading modules, and
// the walkers through which the run loop offers them every run, statement and
// function.
#include <lumbasic/LumBasicExtModul.h>

#include "core/LumFrame.h"

#include <cstring>

namespace
{
const char* const FILE_LABEL = "LUMBASICEXTMODULCLASS";

// The hooks walk the whole chain, so that every module gets its hook; only a hole
// in the middle of the list is an error.
template <class Hook>
int WalkHooks(const std::vector<CLumBasicExtModul*>& aModuls, const char* pszMethod, Hook hook)
{
    int nResult = 1;
    for (size_t i = 0; i < aModuls.size(); ++i)
    {
        if (aModuls[i] == nullptr)
        {
            if (i + 1 < aModuls.size())
                LumRaise(LUM_MSG_EXT_LIST_BROKEN, pszMethod);
            continue;
        }
        if (hook(aModuls[i]) == 0)
            nResult = 0;
    }
    return nResult;
}

// Offers a statement token down the chain until a module consumes it.
template <class Offer>
__attribute__((noinline)) int OfferToken(const std::vector<CLumBasicExtModul*>& aModuls, const Offer& offer)
{
    return LumFrame(FILE_LABEL, "CLumBasic::DispatchTokenEM", [&] {
        int nResult = 1;
        for (size_t i = 0; i < aModuls.size() && nResult != 0; ++i)
            if (aModuls[i] != nullptr)
                nResult = offer(aModuls[i]);
        return nResult;
    });
}
} // namespace

int CLumBasic::LoadExtModul(CLumBasicExtModul* pExtModul)
{
    return LumFrame(FILE_LABEL, "CLumBasic::LoadExtModul", [&] {
        if (pExtModul == nullptr)
            LumRaise(LUM_MSG_NULL_ARGUMENT, "CLumBasic::LoadExtModul", "CLumBasicExtModul *pExtModul",
                     "NULL");
        m_pExtModuls->push_back(pExtModul);
        pExtModul->SetBasisModul(this);
        return 1;
    });
}

int CLumBasic::LoadExtModulesFromIni(const char*)
{
    return 1;
}

int CLumBasic::UnLoadAllExtModuls()
{
    return LumFrame(FILE_LABEL, "CLumBasic::UnLoadAllExtModuls", [&] {
        // Every module is detached before the first one goes, so that no module's
        // destructor can reach the interpreter through another.
        SetBasisModulEM(nullptr);
        // The host's registered names go with their module.
        m_pHostModul = nullptr;
        while (!m_pExtModuls->empty())
        {
            CLumBasicExtModul* pModul = m_pExtModuls->front();
            m_pExtModuls->erase(m_pExtModuls->begin());
            delete pModul;
        }
        return 1;
    });
}

CLumBasicExtModul* CLumBasic::GetExtModul(const char* pszClassName) const
{
    return LumFrame(FILE_LABEL, "CLumBasic::GetExtModul", [&] {
        const char* pszName = pszClassName != nullptr ? pszClassName : "";
        for (CLumBasicExtModul* pModul : *m_pExtModuls)
            if (pModul != nullptr && strcmp(pModul->GetRuntimeClass()->m_lpszClassName, pszName) == 0)
                return pModul;
        LumRaise(LUM_MSG_EXT_NOT_FOUND, pszName);
    });
}

int CLumBasic::PreRunLoopEM()
{
    return LumFrame(FILE_LABEL, "CLumBasic::PreRunLoopEM", [&] {
        return WalkHooks(*m_pExtModuls, "CLumBasic::PreRunLoopEM",
                         [](CLumBasicExtModul* pModul) { return pModul->PreRunLoop(); });
    });
}

int CLumBasic::PostRunLoopEM()
{
    return LumFrame(FILE_LABEL, "CLumBasic::PostRunLoopEM", [&] {
        return WalkHooks(*m_pExtModuls, "CLumBasic::PostRunLoopEM",
                         [](CLumBasicExtModul* pModul) { return pModul->PostRunLoop(); });
    });
}

// On the path of every statement: with no module attached it costs one comparison,
// and the walk with its frame stays out of line.
int CLumBasic::DispatchTokenEM(unsigned short wToken)
{
    if (m_pExtModuls->empty())
        return 1;
    return OfferToken(*m_pExtModuls,
                      [wToken](CLumBasicExtModul* pModul) { return pModul->DispatchToken(wToken); });
}

CLumsVarValue* CLumBasic::ExtFunctionEM(unsigned short wToken)
{
    return LumFrame(FILE_LABEL, "CLumBasic::ExtFunctionEM", [&] {
        CLumsVarValue* pResult = nullptr;
        const std::vector<CLumBasicExtModul*>& aModuls = *m_pExtModuls;
        for (size_t i = 0; i < aModuls.size() && pResult == nullptr; ++i)
            if (aModuls[i] != nullptr)
                pResult = aModuls[i]->ExtFunction(wToken);
        return pResult;
    });
}

void CLumBasic::SetBasisModulEM(CLumBasic* pBasis)
{
    LumFrame(FILE_LABEL, "CLumBasic::SetBasisModulEM", [&] {
        const std::vector<CLumBasicExtModul*>& aModuls = *m_pExtModuls;
        for (size_t i = 0; i < aModuls.size(); ++i)
            if (aModuls[i] != nullptr)
                aModuls[i]->SetBasisModul(pBasis);
    });
}
