// The few protocol terms that the server's parts share: error codes, the error a
// request ends with, the position encoding the client and the server agreed on.
#pragma once

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

using json = nlohmann::json;

enum ELumLspError
{
    LSP_PARSE_ERROR = -32700,
    LSP_INVALID_REQUEST = -32600,
    LSP_METHOD_NOT_FOUND = -32601,
    LSP_INVALID_PARAMS = -32602,
    LSP_INTERNAL_ERROR = -32603,
    LSP_SERVER_NOT_INITIALIZED = -32002,
    LSP_REQUEST_FAILED = -32803,
};

// A request that cannot be answered: the server answers with this code and text and
// goes on.
class CLumLspError : public std::runtime_error
{
public:
    CLumLspError(int nCode, const std::string& strMessage) : std::runtime_error(strMessage), m_nCode(nCode) {}
    int GetCode() const { return m_nCode; }

private:
    int m_nCode;
};

// How a position's character counts: UTF-16 code units, the protocol's default, or
// bytes of UTF-8 where the client offers it.
enum class ELumEncoding
{
    Utf16,
    Utf8,
};

// Kinds of the protocol's enumerations that the server uses.
enum ELumLspKind
{
    LSP_SEVERITY_ERROR = 1,
    LSP_SEVERITY_WARNING = 2,
    LSP_COMPLETION_FUNCTION = 3,
    LSP_COMPLETION_VARIABLE = 6,
    LSP_COMPLETION_KEYWORD = 14,
    LSP_COMPLETION_SNIPPET = 15,
    LSP_SYMBOL_FUNCTION = 12,
    LSP_MESSAGE_WARNING = 2,
    LSP_MESSAGE_LOG = 4,
    LSP_INSERT_SNIPPET = 2,
};
