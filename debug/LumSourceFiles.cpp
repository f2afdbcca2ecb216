#include <lumbasic/LumSourceFiles.h>

#include "core/LumFrame.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

bool CLumSourceFiles::Exists(const std::string& strPath) const
{
    std::error_code error;
    return !strPath.empty() && std::filesystem::is_regular_file(strPath, error);
}

std::string CLumSourceFiles::AbsolutePath(const std::string& strPath) const
{
    std::error_code error;
    std::filesystem::path path =
        std::filesystem::weakly_canonical(std::filesystem::absolute(strPath, error), error);
    return error ? std::string() : path.string();
}

std::string CLumSourceFiles::ReadBytes(const std::string& strPath) const
{
    std::ifstream in(strPath, std::ios::binary);
    if (!in)
        LumRaise(LUM_MSG_FILE_UNREADABLE, strPath.c_str(), strerror(errno));
    std::ostringstream ss;
    ss << in.rdbuf();
    if (in.bad())
        LumRaise(LUM_MSG_FILE_UNREADABLE, strPath.c_str(), strerror(errno));
    return ss.str();
}

std::string CLumCrLfSourceFiles::ReadBytes(const std::string& strPath) const
{
    std::string strBytes = CLumSourceFiles::ReadBytes(strPath);
    std::string strText;
    strText.reserve(strBytes.size() + strBytes.size() / 16);
    for (size_t i = 0; i < strBytes.size(); ++i)
    {
        if (strBytes[i] == '\n' && (i == 0 || strBytes[i - 1] != '\r'))
            strText += '\r';
        strText += strBytes[i];
    }
    return strText;
}

namespace
{
CLumSourceFiles* s_pFiles = nullptr;
} // namespace

CLumSourceFiles* LumSetSourceFiles(CLumSourceFiles* pFiles)
{
    CLumSourceFiles* pBefore = s_pFiles;
    s_pFiles = pFiles;
    return pBefore;
}

CLumSourceFiles& LumGetSourceFiles()
{
    static CLumSourceFiles s_cDefault;
    return s_pFiles != nullptr ? *s_pFiles : s_cDefault;
}
