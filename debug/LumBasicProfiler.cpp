#include <lumbasic/LumBasicProfiler.h>

#include "core/LumFrame.h"
#include "debug/LumArchive.h"
#include "debug/LumDebugHost.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace
{
CLumObject* CreateProfiler()
{
    return new CLumBasicProfiler();
}

// Lines above this count through their chain alone: the slots stay small whatever
// line numbers an image holds.
const uint32_t MAX_SLOT = 1u << 20;
} // namespace

const CLumRuntimeClass CLumBasicProfiler::classCLumBasicProfiler = {
    "CLumBasicProfiler", 0x80000001u, &CLumObject::classCLumObject, CreateProfiler};

CLumBasicProfiler::CLumBasicProfiler()
{
    for (int32_t& nHead : m_aHeads)
        nHead = -1;
}

void CLumBasicProfiler::CountRun()
{
    m_nRuns = static_cast<int32_t>(static_cast<uint32_t>(m_nRuns) + 1u);
    m_fRunCounted = 1;
}

int32_t CLumBasicProfiler::Find(int32_t nLine) const
{
    auto it = m_mapIndex.find(nLine);
    return it == m_mapIndex.end() ? -1 : it->second;
}

void CLumBasicProfiler::SetAt(int32_t nLine, int32_t nHits)
{
    int32_t i = Find(nLine);
    if (i >= 0)
    {
        m_aEntries[i].m_nHits = nHits;
        return;
    }
    int nBucket = Bucket(nLine);
    m_aEntries.push_back(Entry{nLine, nHits, m_aHeads[nBucket]});
    m_aHeads[nBucket] = static_cast<int32_t>(m_aEntries.size() - 1);
    m_mapIndex.emplace(nLine, m_aHeads[nBucket]);
}

// The slow way of CountHit: the line has no slot yet.
size_t CLumBasicProfiler::CountFirstHit(int32_t nLine)
{
    int32_t i = Find(nLine);
    if (i < 0)
    {
        SetAt(nLine, 0);
        i = m_aHeads[Bucket(nLine)];
    }
    Raise(m_aEntries[i]);
    uint32_t nSlot = static_cast<uint32_t>(nLine);
    if (nSlot < MAX_SLOT)
    {
        if (nSlot >= m_aSlots.size())
            m_aSlots.resize(std::min<size_t>(MAX_SLOT, std::max<size_t>(nSlot + 1, 2 * m_aSlots.size())));
        m_aSlots[nSlot] = static_cast<uint32_t>(i) + 1;
    }
    return static_cast<size_t>(i);
}

int CLumBasicProfiler::GetHits(long nLine) const
{
    int32_t i = Find(static_cast<int32_t>(nLine));
    return i < 0 ? 0 : m_aEntries[i].m_nHits;
}

void CLumBasicProfiler::Serialize(CLumArchive& ar)
{
    if (ar.IsStoring())
    {
        ar << m_nRuns << static_cast<int32_t>(m_aEntries.size());
        for (int32_t nHead : m_aHeads)
            for (int32_t i = nHead; i >= 0; i = m_aEntries[i].m_nNext)
                ar << m_aEntries[i].m_nLine << m_aEntries[i].m_nHits;
        return;
    }
    int32_t nCount = 0;
    ar >> m_nRuns >> nCount;
    // Entry by entry: a count that promises more than the file holds ends at the file's
    // end, having taken no more memory than the entries read.
    for (int32_t n = 0; n < nCount; ++n)
    {
        int32_t nLine = 0;
        int32_t nHits = 0;
        ar >> nLine >> nHits;
        SetAt(nLine, nHits);
    }
}

bool CLumBasicProfiler::LoadFile(const std::string& strPath)
{
    // A directory opens for reading on some platforms but is no profile on any.
    std::error_code error;
    if (std::filesystem::is_directory(strPath, error))
        return false;
    std::ifstream in(strPath, std::ios::binary);
    if (!in)
        return false;
    CLumArchive ar(in, strPath);
    Serialize(ar);
    return true;
}

bool CLumBasicProfiler::SaveFile(const std::string& strPath)
{
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    if (!out)
        return false;
    CLumArchive ar(out, strPath);
    Serialize(ar);
    out.close();
    if (!out)
        LumRaise(LUM_MSG_FILE_UNWRITABLE, strPath.c_str(), strerror(errno));
    return true;
}

std::string LumProfileFileName(const std::string& strSource, const char* pszSuffix)
{
    return strSource.substr(0, strSource.find('.')) + pszSuffix;
}

namespace
{
LumProfileWrittenFunction& Written()
{
    static LumProfileWrittenFunction s_fnWritten;
    return s_fnWritten;
}
} // namespace

LumProfileWrittenFunction LumSetProfileWritten(LumProfileWrittenFunction fnWritten)
{
    LumProfileWrittenFunction fnBefore = std::move(Written());
    Written() = std::move(fnWritten);
    return fnBefore;
}

void LumTellProfileWritten(const std::string& strSource, const std::string& strFile)
{
    if (Written())
        Written()(strSource, strFile);
}
