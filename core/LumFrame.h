// The exception frame of the library. Every function that reports failures wraps
// its body in one of these helpers instead of hand-writing try/catch:
//  - a CLumsException gets the file label and the method label appended and goes on;
//  - anything else becomes a new CLumsException with message 10900 and the labels.
// The slow path lives out of line, so the happy path costs nothing but the call.
#pragma once

#include <lumbasic/LumsException.h>
#include "res/LumMessages.h"

#include <string>
#include <utility>

// printf-style formatting into a std::string.
std::string LumFormat(const char* pszFormat, ...);

// Throws a new CLumsException whose first entry is catalogue message `id` formatted
// with the arguments.
[[noreturn]] void LumRaise(int id, ...);

namespace lumframe
{
struct NoContext
{
    void operator()(CLumsException&) const {}
};
struct Unexpected
{
    void operator()(CLumsException& e) const { e.AddString() = LoadMessage(LUM_MSG_UNEXPECTED); }
};
// Behind the labels of the exception made from a standard exception: its what(), so
// that a failure of the host's own code says what it was. Only for a frame's `otherAfter`,
// which runs while that exception is in flight.
struct ForeignText
{
    void operator()(CLumsException& e) const;
};

// Called from inside a catch(...) handler: completes the trail of whatever is in flight.
template <class AfterLabels, class OtherBefore, class OtherAfter>
[[noreturn]] __attribute__((noinline, cold)) void
Translate(const char* pszFile, const char* pszMethod, const AfterLabels& after, const OtherBefore& before,
          const OtherAfter& otherAfter)
{
    try
    {
        throw;
    }
    catch (CLumsException& e)
    {
        e.Add(pszFile);
        e.Add(pszMethod);
        after(e);
        throw;
    }
    catch (...)
    {
        CLumsException e;
        before(e);
        e.Add(pszFile);
        e.Add(pszMethod);
        otherAfter(e);
        throw e;
    }
}
} // namespace lumframe

// For the body of a frame that recursion of the program passes through: inlined into
// the function that opens the frame, it adds no machine frame, which keeps the return
// addresses of a deep recursion fewer.
// Unoptimised builds keep the bodies apart: merged, their frames grow by the
// sanitizers' padding of every body at once.
#ifdef __OPTIMIZE__
#define LUM_INLINE_BODY __attribute__((always_inline))
#else
#define LUM_INLINE_BODY
#endif

// The standard frame.
template <class Body>
__attribute__((always_inline)) inline decltype(auto) LumFrame(const char* pszFile, const char* pszMethod,
                                                              Body&& body)
{
    try
    {
        return body();
    }
    catch (...)
    {
        lumframe::Translate(pszFile, pszMethod, lumframe::NoContext(), lumframe::Unexpected(),
                            lumframe::NoContext());
    }
}

// The frame with context lines: `after` adds entries behind the labels of a passing
// CLumsException; `before` and `otherAfter` frame the labels of a new one made from
// any other failure.
template <class Body, class After, class Before, class OtherAfter>
decltype(auto) LumFrameEx(const char* pszFile, const char* pszMethod, const After& after,
                          const Before& before, const OtherAfter& otherAfter, Body&& body)
{
    try
    {
        return body();
    }
    catch (...)
    {
        lumframe::Translate(pszFile, pszMethod, after, before, otherAfter);
    }
}

// The catch-all clause alone: a CLumsException passes untouched.
template <class Body> decltype(auto) LumFrameCatchAll(const char* pszFile, const char* pszMethod, Body&& body)
{
    try
    {
        return body();
    }
    catch (CLumsException&)
    {
        throw;
    }
    catch (...)
    {
        lumframe::Translate(pszFile, pszMethod, lumframe::NoContext(), lumframe::Unexpected(),
                            lumframe::NoContext());
    }
}

// For destructors, which must not throw: whatever the body raises ends here.
template <class Body> void LumNoThrow(Body&& body) noexcept
{
    try
    {
        body();
    }
    catch (...)
    {
    }
}

// Runs a probe that may fail in any way: true when it finished. For code that tries a
// faster way first and leaves the failure to the ordinary path, which reports it.
template <class Body> bool LumSucceeds(Body&& body) noexcept
{
    try
    {
        body();
        return true;
    }
    catch (...)
    {
        return false;
    }
}
