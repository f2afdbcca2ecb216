#include <lumbasic/LumFunctions.h>

LUM_IMPLEMENT_RUNTIME(CLumFunctions, CLumObject, nullptr)

CLumFunctions::~CLumFunctions()
{
    RemoveAll();
}

void CLumFunctions::SetAt(const std::string& strName, CallInfo* pInfo)
{
    CallInfo** pp = m_map.Find(strName);
    if (pp == nullptr)
    {
        m_map.Insert(strName, pInfo);
        return;
    }
    if (*pp != pInfo)
        delete *pp;
    *pp = pInfo;
}

void CLumFunctions::RemoveAll()
{
    for (auto& entry : m_map)
        delete entry.m_value;
    m_map.RemoveAll();
}
