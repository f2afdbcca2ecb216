#include <lumbasic/LumBasicFile.h>

#include "core/LumFrame.h"
#include "fast/LumFastForm.h"
#include "expr/LumReadCache.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sys/stat.h>

LUM_IMPLEMENT_RUNTIME(CLumBasicFile, CLumObject, nullptr)

namespace
{
const char* const FILE_LABEL = "LUMBASICFILE";
const size_t INITIAL_POSITIONS = 100;

// The checked images alive on this thread, so that a position moved into another
// image (a call into an imported program, the return from it) finds its bounds.
thread_local std::vector<CLumImageRange*> t_aImages;

// The constructors from memory have no frame of their own: a null image fails with
// the labels written out.
void RefuseNull(const unsigned char* pData)
{
    if (pData != nullptr)
        return;
    CLumsException e;
    e.AddString() = LumFormat(LoadMessage(LUM_MSG_BAD_ADDRESS).c_str(), static_cast<const void*>(pData));
    e.Add(FILE_LABEL);
    e.Add("CLumBasicFile::CLumBasicFile( pData )");
    throw e;
}

struct FileCloser
{
    void operator()(FILE* p) const { fclose(p); }
};
} // namespace

CLumBasicFile::CLumBasicFile(const char* pszPath)
{
    LumFrame(FILE_LABEL, "CLumBasicFile::CLumBasicFile(LPCTSTR)", [&] {
        std::unique_ptr<FILE, FileCloser> pFile(fopen(pszPath ? pszPath : "", "rb"));
        if (!pFile)
            LumRaise(LUM_MSG_FILE_UNREADABLE, pszPath ? pszPath : "", strerror(errno));
        // A device or a pipe named as an image could be read without end.
        struct stat info;
        if (fstat(fileno(pFile.get()), &info) != 0 || !S_ISREG(info.st_mode))
            LumRaise(LUM_MSG_FILE_UNREADABLE, pszPath, "keine gewöhnliche Datei");
        std::vector<unsigned char> aContent;
        unsigned char chunk[65536];
        size_t n;
        while ((n = fread(chunk, 1, sizeof chunk, pFile.get())) > 0)
        {
            if (aContent.size() + n > MAX_IMAGE_LENGTH)
                LumRaise(LUM_MSG_FILE_UNREADABLE, pszPath, "zu groß");
            aContent.insert(aContent.end(), chunk, chunk + n);
        }
        if (ferror(pFile.get()))
            LumRaise(LUM_MSG_FILE_UNREADABLE, pszPath, strerror(errno));
        Adopt(aContent);
    });
}

CLumBasicFile::CLumBasicFile(const std::vector<uint8_t>& aImage)
{
    LumFrame(FILE_LABEL, "CLumBasicFile::CLumBasicFile( aImage )", [&] { Adopt(aImage); });
}

// A copy of the bytes, at most MAX_IMAGE_LENGTH of them, with the terminating token
// behind them: owned, and every read checked.
void CLumBasicFile::Adopt(const std::vector<uint8_t>& aContent)
{
    m_nLength = static_cast<uint32_t>(aContent.size());
    m_pBase = new unsigned char[m_nLength + 2];
    m_fOwnBuffer = 1;
    if (m_nLength > 0)
        memcpy(m_pBase, aContent.data(), m_nLength);
    m_pBase[m_nLength] = 0;
    m_pBase[m_nLength + 1] = 0;
    Register();
    m_aPositions.reserve(INITIAL_POSITIONS);
    SetMemoryMode(m_pBase);
}

CLumBasicFile::CLumBasicFile(const unsigned char* pData)
{
    RefuseNull(pData);
    m_pBase = const_cast<unsigned char*>(pData);
    m_pLo = nullptr;
    m_nRegion = std::numeric_limits<size_t>::max();
    m_aPositions.reserve(INITIAL_POSITIONS);
    SetMemoryMode(pData);
}

CLumBasicFile::CLumBasicFile(const unsigned char* pData, size_t nLength)
{
    RefuseNull(pData);
    m_pBase = const_cast<unsigned char*>(pData);
    m_pImage = std::make_shared<CLumImageRange>();
    m_pImage->m_pBegin = pData;
    m_pImage->m_pEnd = pData + nLength;
    t_aImages.push_back(m_pImage.get());
    m_aPositions.reserve(INITIAL_POSITIONS);
    SetMemoryMode(pData);
}

void CLumBasicFile::Register()
{
    m_pImage = std::make_shared<CLumImageRange>();
    m_pImage->m_pBegin = m_pBase;
    m_pImage->m_pEnd = m_pBase + m_nLength + 2;
    t_aImages.push_back(m_pImage.get());
}

CLumBasicFile::~CLumBasicFile()
{
    delete m_pFastForm;
    delete m_pReadCache;
    if (m_pImage)
    {
        auto it = std::find(t_aImages.begin(), t_aImages.end(), m_pImage.get());
        if (it != t_aImages.end())
            t_aImages.erase(it);
        m_pImage->m_pBegin = nullptr;
        m_pImage->m_pEnd = nullptr;
    }
    if (m_fOwnBuffer)
        delete[] m_pBase;
}

CLumFastForm& CLumBasicFile::MakeFastForm()
{
    m_pFastForm = new CLumFastForm();
    return *m_pFastForm;
}

void CLumBasicFile::Rewind()
{
    m_aPositions.clear();
    m_nStackDepth = 0;
    m_pPosition = nullptr;
    SetMemoryMode(m_pBase);
}

void CLumBasicFile::Forget() noexcept
{
    delete m_pFastForm;
    m_pFastForm = nullptr;
    delete m_pReadCache;
    m_pReadCache = nullptr;
}

CLumReadCache& CLumBasicFile::GetReadCache()
{
    if (m_pReadCache == nullptr)
        m_pReadCache = new CLumReadCache();
    return *m_pReadCache;
}

void CLumBasicFile::FindRegion()
{
    // An unchecked image trusts every address.
    if (!m_pImage)
        return;
    for (const CLumImageRange* pRange : t_aImages)
    {
        if (m_pPosition >= pRange->m_pBegin && m_pPosition <= pRange->m_pEnd)
        {
            m_pLo = pRange->m_pBegin;
            m_nRegion = static_cast<size_t>(pRange->m_pEnd - pRange->m_pBegin);
            return;
        }
    }
    // Nowhere: every read from here fails until the position comes back.
    m_pLo = nullptr;
    m_nRegion = 0;
}

void CLumBasicFile::Damaged() const
{
    long nOffset =
        static_cast<long>(reinterpret_cast<uintptr_t>(m_pPosition) - reinterpret_cast<uintptr_t>(m_pBase));
    LumRaise(LUM_MSG_IMAGE_DAMAGED, nOffset);
}

const char* CLumBasicFile::GetCountedText(unsigned* pnLength)
{
    unsigned nLength = GetToken();
    if (pnLength != nullptr)
        *pnLength = nLength;
    if (nLength == 0)
        return "";
    const char* psz = static_cast<const char*>(GetPtr(static_cast<int>(nLength)));
    if (memchr(psz, 0, nLength) == nullptr)
    {
        m_pPosition -= nLength;
        Damaged();
    }
    return psz;
}

unsigned int CLumBasicFile::Read(void* p, unsigned int n)
{
    return LumFrame(FILE_LABEL, "CLumBasicFile::Read()", [&] {
        if (m_pPosition == nullptr)
            LumRaise(LUM_MSG_READ_UNSET);
        memcpy(p, GetPtr(static_cast<int>(n)), n);
        return n;
    });
}

long CLumBasicFile::Seek(long nOffset, unsigned int nFrom)
{
    return LumFrame(FILE_LABEL, "CLumBasicFile::Seek()", [&] {
        if (m_pPosition == nullptr)
            LumRaise(LUM_MSG_SEEK_UNSET);
        // Address arithmetic on integers: a damaged skip may point anywhere, and the
        // bounds check of the next read reports it.
        uintptr_t nBase = reinterpret_cast<uintptr_t>(m_pBase);
        uintptr_t nPosition = reinterpret_cast<uintptr_t>(m_pPosition);
        switch (nFrom)
        {
        case 0:
            nPosition = nBase + static_cast<uintptr_t>(nOffset);
            break;
        case 1:
            nPosition += static_cast<uintptr_t>(nOffset);
            break;
        case 2:
            if (m_nLength != 0)
                nPosition =
                    nOffset > 0 ? nBase + m_nLength : nBase + m_nLength + static_cast<uintptr_t>(nOffset);
            break;
        default:
            break;
        }
        m_pPosition = reinterpret_cast<unsigned char*>(nPosition);
        return static_cast<long>(nPosition - nBase);
    });
}

void CLumBasicFile::SetMemoryMode(const unsigned char* p)
{
    if (p != nullptr)
    {
        if (m_pPosition != nullptr)
        {
            m_aPositions.push_back(SavedPosition{m_pPosition, m_pLo, m_nRegion});
            ++m_nStackDepth;
        }
        else if (m_pImage)
        {
            m_pLo = m_pImage->m_pBegin;
            m_nRegion = static_cast<size_t>(m_pImage->m_pEnd - m_pImage->m_pBegin);
        }
        m_pPosition = const_cast<unsigned char*>(p);
        if (!InRegion(m_pPosition))
            FindRegion();
        return;
    }
    LumFrame(FILE_LABEL, "CLumBasicFile::SetMemoryMode()", [&] {
        if (m_nStackDepth < 1)
            LumRaise(LUM_MSG_POSITION_STACK_EMPTY);
        const SavedPosition& saved = m_aPositions.back();
        m_pPosition = saved.m_pPosition;
        m_pLo = saved.m_pLo;
        m_nRegion = saved.m_nRegion;
        m_aPositions.pop_back();
        --m_nStackDepth;
    });
}
