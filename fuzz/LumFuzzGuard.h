// How the paths judge what leaves the library.
#pragma once

#include <lumbasic/LumsException.h>

#include <exception>
#include <string>

namespace lumfuzz
{
// Runs `body` where a CLumsException is a clean failure of the input; any other
// exception is a fault, as the host would see it.
template <class Body> std::string Handled(Body&& body)
{
    try
    {
        return body();
    }
    catch (const CLumsException&)
    {
        return "";
    }
    catch (const std::exception& e)
    {
        return std::string("an exception other than CLumsException: ") + e.what();
    }
    catch (...)
    {
        return "an exception other than CLumsException";
    }
}

// Runs `body`, which must not throw at all.
template <class Body> std::string NoThrow(Body&& body)
{
    try
    {
        return body();
    }
    catch (const std::exception& e)
    {
        return std::string("an exception: ") + e.what();
    }
    catch (...)
    {
        return "an exception";
    }
}
} // namespace lumfuzz
