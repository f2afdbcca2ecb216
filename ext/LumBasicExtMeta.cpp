#include <lumbasic/LumBasicExtModul.h>

#include <cstring>
#include <memory>

CLumBasicExtMeta* CLumBasicExtMeta::sm_pFirstMeta = nullptr;
std::mutex CLumBasicExtMeta::sm_cMetaLock;

CLumBasicExtMeta::CLumBasicExtMeta(const CLumRuntimeClass& rClass)
{
    std::lock_guard<std::mutex> lock(sm_cMetaLock);
    m_pNext = sm_pFirstMeta;
    sm_pFirstMeta = this;
    m_pClass = &rClass;
}

const CLumRuntimeClass* CLumBasicExtMeta::GetRuntimeClass(const char* pszClassName)
{
    if (pszClassName == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(sm_cMetaLock);
    for (const CLumBasicExtMeta* pMeta = sm_pFirstMeta; pMeta != nullptr; pMeta = pMeta->m_pNext)
        if (strcmp(pMeta->m_pClass->m_lpszClassName, pszClassName) == 0)
            return pMeta->m_pClass;
    return nullptr;
}

std::vector<const CLumRuntimeClass*> CLumBasicExtMeta::GetRegisteredClasses()
{
    std::vector<const CLumRuntimeClass*> aClasses;
    std::lock_guard<std::mutex> lock(sm_cMetaLock);
    for (const CLumBasicExtMeta* pMeta = sm_pFirstMeta; pMeta != nullptr; pMeta = pMeta->m_pNext)
        aClasses.push_back(pMeta->m_pClass);
    return aClasses;
}

// The factory runs outside the lock: a module's constructor may itself look
// classes up.
CLumBasicExtModul* CLumBasicExtMeta::CreateExtModule(const char* pszClassName)
{
    const CLumRuntimeClass* pClass = GetRuntimeClass(pszClassName);
    if (pClass == nullptr)
        return nullptr;
    std::unique_ptr<CLumObject> pObject(pClass->CreateObject());
    CLumBasicExtModul* pModul = LumDownCast<CLumBasicExtModul>(pObject.get());
    if (pModul != nullptr)
        pObject.release();
    return pModul;
}
