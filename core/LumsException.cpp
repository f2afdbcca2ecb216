#include <lumbasic/LumsException.h>

const char* CLumsException::what() const noexcept
{
    try
    {
        m_strWhat.clear();
        for (const std::string& str : m_aTrail)
        {
            if (!m_strWhat.empty())
                m_strWhat += '\n';
            m_strWhat += str;
        }
        return m_strWhat.c_str();
    }
    catch (...)
    {
        return "CLumsException";
    }
}

std::string& CLumsException::NewEntry()
{
    if (m_aTrail.size() < MAX_HEAD + MAX_TAIL)
    {
        m_aTrail.emplace_back();
        return m_aTrail.back();
    }
    // Full: the oldest entry of the tail joins the omitted ones.
    if (m_nOmitted == 0)
        m_aTrail.insert(m_aTrail.begin() + MAX_HEAD, std::string());
    m_aTrail.erase(m_aTrail.begin() + MAX_HEAD + 1);
    ++m_nOmitted;
    m_aTrail[MAX_HEAD] = "... " + std::to_string(m_nOmitted) + " Einträge ausgelassen ...";
    m_aTrail.emplace_back();
    return m_aTrail.back();
}
