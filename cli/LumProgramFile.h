// Files named on the command line: read whole, with the reason when they cannot be,
// and a program file told apart by its content as source text or a program image.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Reads a file whole. False, with "lumbasic: FILE: reason" on standard error (the
// reason as strerror words it: "No such file or directory", "Is a directory", ...),
// when it cannot.
bool LumReadNamedFile(const std::string& strPath, std::string& strContent);

// Writes a file whole. False, with "lumbasic: FILE: reason" on standard error, when it
// cannot.
bool LumWriteNamedFile(const std::string& strPath, const void* pData, size_t nSize);

// Whether a file's content is source text rather than a program image, whatever its
// name. An image holds zero bytes (every one ends with the terminating token 0) and
// starts with a token, whose low byte, its class, is 0x80 or more: a compiled image
// with LBT_SOURCENAME, bytes 80 03. Source text holds no zero byte, and starts with a
// byte below 0x80 (a keyword, a name, a comment, a blank) or a UTF-8 byte order mark.
bool LumIsSourceText(std::string_view content);

// A program file named on the command line.
struct SLumProgramFile
{
    std::string m_strPath;
    std::string m_strContent;
    bool m_fSource = false;
    // A regular file, which the interpreter can read again by its path.
    bool m_fRegular = false;
};

// Reads a program file and tells what it holds; false after the reason went to
// standard error.
bool LumReadProgramFile(const std::string& strPath, SLumProgramFile& file);
