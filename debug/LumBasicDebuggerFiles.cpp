// The debugger's profile files, for the source on display: the counts in a ".Profile"
// file beside the source, and the listing of the source with its counts.
#include <lumbasic/LumBasicDebugger.h>

#include <lumbasic/LumBasicDebugWindow.h>
#include <lumbasic/LumBasicProfiler.h>
#include <lumbasic/LumMessageBox.h>

#include "core/LumFilePolicy.h"
#include "core/LumFrame.h"
#include "debug/LumDebugHost.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace
{
const char* const FILE_LABEL = "CLUMBASICDEBUGGER";
} // namespace

// Under a host's file policy a profile file must lie inside its root, whatever the
// source's directory: the name runs up to the first dot of the whole path. A resolver
// lets no file be written.
std::string CLumBasicDebugger::ProfilePath(const std::string& strSource, const char* pszSuffix) const
{
    std::string strPath = LumProfileFileName(strSource, pszSuffix);
    if (m_pFilePolicy)
        m_pFilePolicy->Admit(strPath);
    return strPath;
}

std::string CLumBasicDebugger::MakeProfileName() const
{
    return ProfilePath(m_strCurrentSource, ".Profile");
}

std::string CLumBasicDebugger::MakeProfileExportName() const
{
    return ProfilePath(m_strCurrentSource, "_Profile.txt");
}

// A missing file is no failure: the counts start empty. Without counting the counts
// are neither shown nor saved, so no file is read.
void CLumBasicDebugger::LoadProfile()
{
    LumFrame(FILE_LABEL, "CLumBasicDebugger::LoadProfile", [&] {
        if (m_pProfiler != nullptr && m_fProfile)
            m_pProfiler->LoadFile(MakeProfileName());
    });
}

// A file that cannot be opened is told in a box, not thrown, so that the other
// sources are still saved.
void CLumBasicDebugger::SaveProfile()
{
    LumFrame(FILE_LABEL, "CLumBasicDebugger::SaveProfile", [&] {
        if (m_pProfiler == nullptr)
            return;
        std::string strPath = MakeProfileName();
        if (m_pProfiler->SaveFile(strPath))
        {
            LumTellProfileWritten(m_strCurrentSource, strPath);
            return;
        }
        LumMessageBox(LoadMessage(LUM_MSG_PROFILE_NOT_SAVED).c_str(),
                      LoadMessage(LUM_MSG_DEBUGGER_CAPTION).c_str(), LUM_MB_OK | LUM_MB_ICONEXCLAMATION);
    });
}

void CLumBasicDebugger::ExportProfile()
{
    if (m_pDlg)
    {
        m_pDlg->ExportProfile();
        LumTellProfileWritten(m_strCurrentSource, MakeProfileExportName());
    }
    else
        m_mapDueListings[m_strCurrentSource] = DueListing{m_pProfiler, m_fHasSource};
}

void CLumBasicDebugger::WriteDueListings()
{
    for (const auto& entry : m_mapDueListings)
    {
        auto itText = m_mapSources.find(entry.first);
        WriteListing(entry.first, itText != m_mapSources.end() ? itText->second.c_str() : nullptr,
                     entry.second.m_pProfiler, entry.second.m_fHasSource);
        LumTellProfileWritten(entry.first, LumProfileFileName(entry.first, "_Profile.txt"));
    }
    m_mapDueListings.clear();
}

void CLumBasicDebugger::WriteProfileListing() const
{
    WriteListing(m_strCurrentSource, m_pszSource.get(), m_pProfiler, m_fHasSource);
}

// A line reached shows its count in five digits, any other six blanks, so that the
// source text stands in one column while counts have at most five digits.
void CLumBasicDebugger::WriteListing(const std::string& strSource, const char* pszText,
                                     const CLumBasicProfiler* pProfiler, int fHasSource) const
{
    LumFrame(FILE_LABEL, "CLumBasicDebugger::WriteProfileListing", [&] {
        std::string strPath = ProfilePath(strSource, "_Profile.txt");
        std::ofstream out(strPath, std::ios::trunc);
        if (!out)
            LumRaise(LUM_MSG_FILE_UNWRITABLE, strPath.c_str(), strerror(errno));
        bool fCounted = m_fProfile && fHasSource && pProfiler != nullptr;
        long nLine = 0;
        for (const std::string& strLine : LumSplitSourceLines(pszText))
        {
            ++nLine;
            int nHits = fCounted ? pProfiler->GetHits(nLine) : 0;
            if (nHits != 0)
                out << LumFormat("%05d ", nHits);
            else
                out << "      ";
            out << strLine << '\n';
        }
        out.close();
        if (!out)
            LumRaise(LUM_MSG_FILE_UNWRITABLE, strPath.c_str(), strerror(errno));
    });
}
