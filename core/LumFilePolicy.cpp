#include "core/LumFilePolicy.h"

#include "core/LumFrame.h"

#include <cerrno>
#include <cstring>

namespace
{
const char* const FILE_LABEL = "LUMBASIC";

// Whether `path` is `root` or lies below it; both are canonical.
bool IsInside(const std::filesystem::path& root, const std::filesystem::path& path)
{
    auto itPath = path.begin();
    for (auto itRoot = root.begin(); itRoot != root.end(); ++itRoot, ++itPath)
        if (itPath == path.end() || *itPath != *itRoot)
            return false;
    return true;
}
} // namespace

CLumFilePolicy::CLumFilePolicy(const char* pszRoot)
{
    std::error_code error;
    m_root = std::filesystem::canonical(pszRoot != nullptr ? pszRoot : "", error);
    if (error)
        LumRaise(LUM_MSG_FILE_UNREADABLE, pszRoot != nullptr ? pszRoot : "", error.message().c_str());
    if (!std::filesystem::is_directory(m_root, error))
        LumRaise(LUM_MSG_FILE_UNREADABLE, pszRoot, strerror(ENOTDIR));
}

CLumFilePolicy::CLumFilePolicy(LumFileResolver fnResolve)
    : m_fResolver(true), m_fnResolve(std::move(fnResolve))
{
}

void CLumFilePolicy::Refuse(const std::string& strName)
{
    LumRaise(LUM_MSG_FILE_REFUSED, strName.c_str());
}

// The name is resolved as the open would resolve it: ".." after a symbolic link leads
// from where the link points. What does not exist yet (a profile file to be written)
// is taken by its name below the part that exists.
void CLumFilePolicy::Admit(const std::string& strName) const
{
    if (m_fResolver)
        Refuse(strName);
    std::error_code error;
    std::filesystem::path path = std::filesystem::absolute(strName, error);
    if (!error)
        path = std::filesystem::weakly_canonical(path, error);
    if (error || !IsInside(m_root, path))
        Refuse(strName);
}

std::vector<uint8_t> CLumFilePolicy::Resolve(const std::string& strName) const
{
    std::vector<uint8_t> aBytes;
    if (!m_fResolver || !m_fnResolve || !m_fnResolve(strName, aBytes))
        Refuse(strName);
    return aBytes;
}

CLumBasicFile* CLumFilePolicy::OpenImage(const char* pszName) const
{
    std::string strName = pszName != nullptr ? pszName : "";
    if (!m_fResolver)
    {
        Admit(strName);
        return new CLumBasicFile(strName.c_str());
    }
    std::vector<uint8_t> aImage = Resolve(strName);
    if (aImage.size() > CLumBasicFile::MAX_IMAGE_LENGTH)
        LumRaise(LUM_MSG_FILE_UNREADABLE, strName.c_str(), "zu groß");
    return new CLumBasicFile(aImage);
}

void CLumBasic::SetFileRoot(const char* pszRoot)
{
    LumFrame(FILE_LABEL, "CLumBasic::SetFileRoot()",
             [&] { m_pFilePolicy = std::make_shared<const CLumFilePolicy>(pszRoot); });
}

void CLumBasic::SetFileResolver(LumFileResolver fnResolve)
{
    m_pFilePolicy = std::make_shared<const CLumFilePolicy>(std::move(fnResolve));
}

void CLumBasic::ClearFilePolicy()
{
    m_pFilePolicy.reset();
}
