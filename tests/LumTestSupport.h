// Helpers for tests that build images and run them through the public interface.
#pragma once

#include <lumbasic/LumBasic.h>

#include "tools/imagewriter/LumImageWriter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lumtest
{
// Writes the head of a procedure: token, name, parameter names joined by ":".
inline void Head(CLumImageWriter& w, const char* pszName, const char* pszParams = "",
                 unsigned short wToken = LBT_SUB)
{
    w.Token(wToken);
    w.CountedText(pszName);
    w.CountedText(pszParams);
}

inline void EndProc(CLumImageWriter& w, unsigned short wKind = LBT_SUB)
{
    w.Token(LBT_END);
    w.Token(wKind);
}

inline void AssignName(CLumImageWriter& w, const char* pszName, const CLumTree& value)
{
    w.Token(LBT_ASSIGN);
    w.Token(LBT_NAME);
    w.CountedText(pszName);
    w.Expression(value);
    w.Separator();
}

inline void Declare(CLumImageWriter& w, const char* pszName, CLumImageWriter::Label head)
{
    w.Token(LBT_DECLARE);
    w.Word(0);
    w.Word(0);
    w.ProcOffset(head);
    w.CountedText(pszName);
    w.CountedText(std::string("Declare ") + pszName);
    w.Separator();
}

// An image of Sub Main whose body `body` writes, then the terminator.
inline std::vector<uint8_t> MainProgram(const std::function<void(CLumImageWriter&)>& body)
{
    CLumImageWriter w;
    Head(w, "Main");
    body(w);
    EndProc(w);
    w.Terminator();
    return w.Finish();
}

// Runs an image from memory; gives the trail of a failure, empty on success.
inline std::vector<std::string> RunImage(CLumBasic& basic, const std::vector<uint8_t>& image)
{
    try
    {
        basic.DoMemory(image.data(), image.size());
    }
    catch (const CLumsException& e)
    {
        return e.GetTrail();
    }
    return {};
}

// An interpreter of a derived class: the run loop leaves every statement to its
// handler on the image's stream, so a program must fare the same here as on a plain
// interpreter, which runs the fast form.
class CStreamBasic : public CLumBasic
{
public:
    explicit CStreamBasic(CLumVariables* pVariables) : CLumBasic(pVariables, nullptr) {}
};

// The trail and the store a run leaves, on a plain interpreter or on the stream.
inline std::string RunOutcome(const std::vector<uint8_t>& image, bool fStream)
{
    CLumVariables vars;
    std::unique_ptr<CLumBasic> pBasic(fStream ? new CStreamBasic(&vars) : new CLumBasic(&vars, nullptr));
    std::string strOutcome;
    for (const std::string& str : RunImage(*pBasic, image))
        strOutcome += str + "\n";
    strOutcome += "--- store\n";
    vars.MakeString(&strOutcome);
    return strOutcome;
}

// A catalogue text formatted as the library formats it.
template <class... Args> std::string LumFormatForTest(const std::string& strFormat, Args... args)
{
    char buffer[2048];
    snprintf(buffer, sizeof buffer, strFormat.c_str(), args...);
    return buffer;
}

// Catalogue message `nId` formatted with the arguments, as the library raises it.
template <class... Args> std::string Message(int nId, Args... args)
{
    return LumFormatForTest(LoadMessage(nId), args...);
}

// The trail of the CLumsException that `fn` throws; empty when it throws none.
inline std::vector<std::string> TrailOf(const std::function<void()>& fn)
{
    try
    {
        fn();
    }
    catch (const CLumsException& e)
    {
        return e.GetTrail();
    }
    return {};
}
} // namespace lumtest
