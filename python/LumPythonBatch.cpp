#include "LumPythonBatch.h"

#include "LumBatchPipeline.h"
#include "LumBatchWorker.h"

#include <lumbasic/LumsException.h>

namespace
{
// Records a chunk holds at most, as in the command line's batches.
const size_t CHUNK_RECORDS = 256;

class CPyChunk : public CLumBatchChunk
{
public:
    CPyChunk(const std::vector<LumPyRecord>& aRecords, const std::vector<std::string>& aFields,
             std::vector<SLumPyOutcome>& aOutcomes, size_t nFirst, size_t nEnd)
        : m_aRecords(aRecords), m_aFields(aFields), m_aOutcomes(aOutcomes), m_nFirst(nFirst), m_nEnd(nEnd)
    {
    }

    // Each record writes only its own outcome: the threads touch no shared slot.
    void Run(CLumBatchWorker& worker) override
    {
        for (size_t i = m_nFirst; i < m_nEnd; ++i)
        {
            LumFillStore(m_aRecords[i], worker.NewStore());
            SLumPyOutcome& outcome = m_aOutcomes[i];
            outcome.m_fFailed = !worker.Run(outcome.m_strReport);
            if (!outcome.m_fFailed)
                LumReadStore(worker.GetStore(), m_aFields, outcome.m_result);
        }
    }

private:
    const std::vector<LumPyRecord>& m_aRecords;
    const std::vector<std::string>& m_aFields;
    std::vector<SLumPyOutcome>& m_aOutcomes;
    size_t m_nFirst, m_nEnd;
};
} // namespace

std::vector<SLumPyOutcome> LumRunPyBatch(const SLumBatchProgram& program,
                                         const std::vector<LumPyRecord>& aRecords,
                                         const std::vector<std::string>& aFields, int nJobs)
{
    std::vector<SLumPyOutcome> aOutcomes(aRecords.size());
    size_t nNext = 0;
    SLumPipeline pipeline;
    pipeline.m_pProgram = &program;
    pipeline.m_nJobs = nJobs;
    pipeline.m_fnNext = [&]() -> std::unique_ptr<CLumBatchChunk> {
        if (nNext >= aRecords.size())
            return nullptr;
        size_t nEnd = std::min(aRecords.size(), nNext + CHUNK_RECORDS);
        auto pChunk = std::make_unique<CPyChunk>(aRecords, aFields, aOutcomes, nNext, nEnd);
        nNext = nEnd;
        return pChunk;
    };
    pipeline.m_fnTake = [](std::unique_ptr<CLumBatchChunk>) {
        return true;
    };
    std::string strError;
    if (!LumRunPipeline(pipeline, strError))
        throw CLumsException(strError);
    return aOutcomes;
}
