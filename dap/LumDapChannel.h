// What the run of a debug adapter says to the client, from any thread: answers to
// requests and events. The server implements it over its framed stream.
#pragma once

#include <lumbasic/LumsException.h>

#include "res/LumMessages.h"

#include <nlohmann/json.hpp>

#include <initializer_list>

#include <string>

using json = nlohmann::json;

class CLumDapChannel
{
public:
    virtual ~CLumDapChannel() = default;
    // The answer to `request`: a success with `body`, or a failure with its message.
    virtual void Respond(const json& request, const json& body) = 0;
    virtual void Refuse(const json& request, const std::string& strMessage) = 0;
    virtual void Event(const std::string& strEvent, const json& body) = 0;
    // Text for the client's console: category "stdout", "stderr" or "console".
    void Output(const std::string& strCategory, const std::string& strText)
    {
        Event("output", json{{"category", strCategory}, {"output", strText}});
    }
};

// A message of the catalogue with each "%s" replaced by the next of `aArgs`.
inline std::string LumDapMessage(int nId, std::initializer_list<std::string> aArgs = {})
{
    std::string strText = LoadMessage(nId);
    size_t nAt = 0;
    for (const std::string& strArg : aArgs)
    {
        nAt = strText.find("%s", nAt);
        if (nAt == std::string::npos)
            break;
        strText.replace(nAt, 2, strArg);
        nAt += strArg.size();
    }
    return strText;
}
