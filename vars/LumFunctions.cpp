#include <lumbasic/LumFunctions.h>

LUM_IMPLEMENT_RUNTIME(CLumFunctions, CLumObject, nullptr)

CLumFunctions::~CLumFunctions()
{
    RemoveAll();
}

void CLumFunctions::SetAt(const std::string& strName, CallInfo* pInfo)
{
    m_nGeneration = CLumVariables::NextGeneration();
    CallInfo** pp = m_map.Find(strName);
    if (pp == nullptr)
    {
        m_map.Insert(strName, pInfo);
        return;
    }
    if (*pp != pInfo)
        Retire(*pp);
    *pp = pInfo;
}

void CLumFunctions::RemoveAll()
{
    m_nGeneration = CLumVariables::NextGeneration();
    for (const auto& entry : m_map)
        Retire(entry.m_value);
    m_map.RemoveAll();
}

void CLumFunctions::Retire(CallInfo* pInfo)
{
    if (m_nPins > 0)
        m_aRetired.emplace_back(pInfo);
    else
        delete pInfo;
}
