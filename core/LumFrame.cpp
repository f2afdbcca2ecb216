#include "core/LumFrame.h"

#include <cstdarg>
#include <cstdio>
#include <exception>

namespace
{
std::string VFormat(const char* pszFormat, va_list args)
{
    char buffer[512];
    va_list copy;
    va_copy(copy, args);
    int n = vsnprintf(buffer, sizeof buffer, pszFormat, copy);
    va_end(copy);
    if (n < 0)
        return std::string();
    if (static_cast<size_t>(n) < sizeof buffer)
        return std::string(buffer, static_cast<size_t>(n));
    std::string str(static_cast<size_t>(n), '\0');
    vsnprintf(&str[0], str.size() + 1, pszFormat, args);
    return str;
}
} // namespace

std::string LumFormat(const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    std::string str = VFormat(pszFormat, args);
    va_end(args);
    return str;
}

void LumRaise(int id, ...)
{
    std::string strFormat = LoadMessage(id);
    va_list args;
    va_start(args, id);
    CLumsException e;
    e.AddString() = VFormat(strFormat.c_str(), args);
    va_end(args);
    throw e;
}

void lumframe::ForeignText::operator()(CLumsException& e) const
{
    try
    {
        throw;
    }
    catch (const std::exception& x)
    {
        e.AddString() = LumFormat(LoadMessage(LUM_MSG_FOREIGN_EXCEPTION).c_str(), x.what());
    }
    catch (...)
    {
    }
}
