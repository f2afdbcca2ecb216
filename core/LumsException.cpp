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
