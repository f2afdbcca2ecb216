// The table of declared procedures, from name to CallInfo. The table owns its records.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>
#include <lumbasic/LumStringMap.h>
#include <lumbasic/LumVariables.h>

#include <memory>
#include <string>
#include <vector>

struct CLumImageRange;

struct LUM_API CallInfo
{
    unsigned short m_wInfo1 = 0;
    unsigned short m_wInfo2 = 0;
    unsigned char* m_pCode = nullptr;
    std::string m_strDeclaration;
    std::string m_strSource;
    // The line of the declaration: where a failure before the procedure's first line
    // marker stands. 0 in an image without markers.
    long m_nLine = 0;
    int m_fMainModule = 0;
    // The image that holds the procedure; a call checks that it is still loaded.
    std::shared_ptr<const CLumImageRange> m_pImage;
};

class LUM_API CLumFunctions : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumFunctions)

public:
    CLumFunctions() = default;
    CLumFunctions(const CLumFunctions&) : CLumFunctions() {}
    // Copying a table adds nothing.
    CLumFunctions& operator=(const CLumFunctions&) { return *this; }
    ~CLumFunctions() override;

    // Enters the record under the name and takes it over; the last one wins. A record
    // replaced while the table is pinned lives on until the last pin goes.
    void SetAt(const std::string& strName, CallInfo* pInfo);
    // A call holds a pin from finding its record to entering the procedure: its
    // arguments may run a Declare of the same name, which must not free that record.
    void Pin() { ++m_nPins; }
    void Unpin()
    {
        if (--m_nPins == 0)
            m_aRetired.clear();
    }
    CallInfo* Lookup(std::string_view name) const
    {
        CallInfo* const* pp = m_map.Find(name);
        return pp ? *pp : nullptr;
    }
    size_t GetCount() const { return m_map.GetCount(); }
    // Changes whenever a record is entered or removed, so that a record found for a
    // name stays the answer while the generation is the same. No two tables share one.
    uint64_t GetGeneration() const { return m_nGeneration; }
    const CLumStringMap<CallInfo*>& GetMap() const { return m_map; }
    void RemoveAll();

private:
    void Retire(CallInfo* pInfo);

    CLumStringMap<CallInfo*> m_map;
    uint64_t m_nGeneration = CLumVariables::NextGeneration();
    int m_nPins = 0;
    std::vector<std::unique_ptr<CallInfo>> m_aRetired;
};
