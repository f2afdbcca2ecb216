// The hit counts of one source: how often each line was reached, and in how many
// debugger runs. The debugger keeps one per source and saves it in a ".Profile" file
// beside the source, so that counts add up from run to run. A host reads such a file
// with LoadFile and GetHits, as `lumbasic profile` does.
//
// The counts live in a hash table of 17 buckets, a line in bucket (line >> 4) % 17,
// each new line at the head of its chain: a saved file lists the entries in the
// table's walking order, buckets ascending and each chain from its head, which is the
// order files of earlier versions hold. The chains give that order only: a line is
// found through an index, so that a file of many lines in one bucket loads in linear
// time, and a line reached before has a slot in a table indexed by the line itself,
// so that a hit costs one lookup and one store.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

class CLumArchive;

class LUM_API CLumBasicProfiler : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumBasicProfiler)

public:
    static constexpr int BUCKETS = 17;

    CLumBasicProfiler();

    void CountHit(long nLine)
    {
        if (!m_fRunCounted)
            CountRun();
        uint32_t nSlot = static_cast<uint32_t>(nLine);
        if (nSlot < m_aSlots.size() && m_aSlots[nSlot] != 0)
            Raise(m_aEntries[m_aSlots[nSlot] - 1]);
        else
            CountFirstHit(static_cast<int32_t>(nLine));
    }
    // Whether the line has an entry that a hit finds at once.
    bool HasSlot(long nLine) const
    {
        uint32_t nSlot = static_cast<uint32_t>(nLine);
        return nSlot < m_aSlots.size() && m_aSlots[nSlot] != 0;
    }
    // CountHit `nHits` times over, wrapping alike.
    void CountHits(long nLine, uint32_t nHits)
    {
        if (nHits == 0)
            return;
        if (!m_fRunCounted)
            CountRun();
        uint32_t nSlot = static_cast<uint32_t>(nLine);
        if (nSlot < m_aSlots.size() && m_aSlots[nSlot] != 0)
            Raise(m_aEntries[m_aSlots[nSlot] - 1], nHits);
        else
            Raise(m_aEntries[CountFirstHit(static_cast<int32_t>(nLine))], nHits - 1);
    }
    // The line's count, 0 for a line without an entry.
    int GetHits(long nLine) const;
    // How many debugger runs took at least one hit, saved ones included.
    int GetRuns() const { return m_nRuns; }
    // Reads or writes the counts, by the archive's direction, in the layout of a
    // ".Profile" file.
    virtual void Serialize(CLumArchive& ar);

    // Reads the ".Profile" file at `strPath` into this object; false when it cannot
    // be opened. A file that ends early fails with a message.
    bool LoadFile(const std::string& strPath);
    // Writes the counts to `strPath`; false when it cannot be opened. A failed write
    // fails with a message.
    bool SaveFile(const std::string& strPath);

private:
    struct Entry
    {
        int32_t m_nLine;
        int32_t m_nHits;
        int32_t m_nNext; // index of the next entry of the chain, -1 at its end
    };

    // Counts wrap around instead of overflowing.
    static void Raise(Entry& entry, uint32_t nHits = 1)
    {
        entry.m_nHits = static_cast<int32_t>(static_cast<uint32_t>(entry.m_nHits) + nHits);
    }
    static int Bucket(int32_t nLine)
    {
        return static_cast<int>((static_cast<uint32_t>(nLine) >> 4) % BUCKETS);
    }
    void CountRun();
    // Gives the index of the line's entry.
    size_t CountFirstHit(int32_t nLine);
    int32_t Find(int32_t nLine) const;
    void SetAt(int32_t nLine, int32_t nHits);

    int m_fRunCounted = 0;
    int32_t m_nRuns = 0;
    int32_t m_aHeads[BUCKETS];
    std::vector<Entry> m_aEntries;
    // By line: the index of its entry.
    std::unordered_map<int32_t, int32_t> m_mapIndex;
    // By line: the index of its entry plus 1, 0 for none yet. Only lines that CountHit
    // met get a slot, and only below MAX_SLOT.
    std::vector<uint32_t> m_aSlots;
};

// The name of a profile file of a source: the text before the first "." of the whole
// path, directories included, then the suffix.
LUM_API std::string LumProfileFileName(const std::string& strSource, const char* pszSuffix);

// Told of each profile file the debugger has written, the counts or the listing of a
// source: the source's name and the file's path. A dot in a directory's name puts the
// files outside the source's directory, so a host may want to say where they went.
using LumProfileWrittenFunction =
    std::function<void(const std::string& strSource, const std::string& strFile)>;

// Installs the function and gives the one before; an empty function tells nobody.
LUM_API LumProfileWrittenFunction LumSetProfileWritten(LumProfileWrittenFunction fnWritten);
