#include "LumOutputFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

CLumOutputFile::~CLumOutputFile()
{
    Discard();
}

bool CLumOutputFile::Open(const std::string& strPath, std::string& strError)
{
    m_strPath = strPath;
    struct stat info;
    if (stat(strPath.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
    {
        strError = strPath + ": " + strerror(EISDIR);
        return false;
    }
    std::string strTemp = strPath + ".partial-XXXXXX";
    int nFd = mkstemp(&strTemp[0]);
    if (nFd < 0 || (m_pFile = fdopen(nFd, "wb")) == nullptr)
    {
        strError = strPath + ": " + strerror(errno);
        if (nFd >= 0)
        {
            close(nFd);
            unlink(strTemp.c_str());
        }
        return false;
    }
    m_strTemp = strTemp;
    // mkstemp makes the file for its owner alone; the output gets the usual rights.
    mode_t nMask = umask(0);
    umask(nMask);
    fchmod(nFd, 0666 & ~nMask);
    return true;
}

void CLumOutputFile::Write(const std::string& str)
{
    if (m_pFile != nullptr && !str.empty() && fwrite(str.data(), 1, str.size(), m_pFile) != str.size() &&
        !m_nError)
        m_nError = errno;
}

bool CLumOutputFile::Commit(std::string& strError)
{
    if (m_pFile == nullptr)
        return true;
    if (fflush(m_pFile) != 0 && !m_nError)
        m_nError = errno;
    if (fclose(m_pFile) != 0 && !m_nError)
        m_nError = errno;
    m_pFile = nullptr;
    if (!m_nError && rename(m_strTemp.c_str(), m_strPath.c_str()) != 0)
        m_nError = errno;
    if (m_nError)
    {
        strError = m_strPath + ": " + strerror(m_nError);
        unlink(m_strTemp.c_str());
        return false;
    }
    m_strTemp.clear();
    return true;
}

void CLumOutputFile::Discard()
{
    if (m_pFile != nullptr)
        fclose(m_pFile);
    m_pFile = nullptr;
    if (!m_strTemp.empty())
        unlink(m_strTemp.c_str());
    m_strTemp.clear();
}
