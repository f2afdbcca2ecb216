#include "LumProgramFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace
{
// As the interpreter's own limit for an image: no program needs more, and a file of
// any size must not exhaust the host.
constexpr size_t MAX_FILE_LENGTH = size_t(256) << 20;

struct FileCloser
{
    void operator()(FILE* p) const { fclose(p); }
};

bool Fail(const std::string& strPath, int nError)
{
    fprintf(stderr, "lumbasic: %s: %s\n", strPath.c_str(), strerror(nError));
    return false;
}

bool ReadFile(const std::string& strPath, std::string& strContent, bool& fRegular)
{
    struct stat info;
    if (stat(strPath.c_str(), &info) != 0)
        return Fail(strPath, errno);
    // Opening a directory succeeds; only the read would fail.
    if (S_ISDIR(info.st_mode))
        return Fail(strPath, EISDIR);
    fRegular = S_ISREG(info.st_mode);
    std::unique_ptr<FILE, FileCloser> pFile(fopen(strPath.c_str(), "rb"));
    if (!pFile)
        return Fail(strPath, errno);
    strContent.clear();
    char chunk[65536];
    size_t n;
    while ((n = fread(chunk, 1, sizeof chunk, pFile.get())) > 0)
    {
        if (strContent.size() + n > MAX_FILE_LENGTH)
            return Fail(strPath, EFBIG);
        strContent.append(chunk, n);
    }
    if (ferror(pFile.get()))
        return Fail(strPath, errno != 0 ? errno : EIO);
    return true;
}
} // namespace

bool LumReadNamedFile(const std::string& strPath, std::string& strContent)
{
    bool fRegular = false;
    return ReadFile(strPath, strContent, fRegular);
}

bool LumWriteNamedFile(const std::string& strPath, const void* pData, size_t nSize)
{
    FILE* pFile = fopen(strPath.c_str(), "wb");
    bool fOk = pFile != nullptr && fwrite(pData, 1, nSize, pFile) == nSize;
    int nError = errno;
    if (pFile != nullptr && fclose(pFile) != 0 && fOk)
    {
        fOk = false;
        nError = errno;
    }
    if (!fOk)
        fprintf(stderr, "lumbasic: %s: %s\n", strPath.c_str(), strerror(nError != 0 ? nError : EIO));
    return fOk;
}

bool LumIsSourceText(std::string_view content)
{
    if (content.find('\0') != std::string_view::npos)
        return false;
    if (content.substr(0, 3) == "\xEF\xBB\xBF")
        return true;
    return content.empty() || static_cast<unsigned char>(content[0]) < 0x80;
}

bool LumReadProgramFile(const std::string& strPath, SLumProgramFile& file)
{
    file.m_strPath = strPath;
    if (!ReadFile(strPath, file.m_strContent, file.m_fRegular))
        return false;
    file.m_fSource = LumIsSourceText(file.m_strContent);
    return true;
}
