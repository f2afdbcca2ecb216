#include "LumBatchJob.h"

#include "LumBatchPipeline.h"
#include "LumBatchWorker.h"
#include "LumLineSource.h"
#include "LumOutputFile.h"
#include "LumRecordReader.h"
#include "LumRecordWriter.h"

namespace
{
// Records a chunk holds at most: small enough that the threads share the work
// evenly and a stop is quick, large enough that handing chunks over costs little.
const size_t CHUNK_RECORDS = 512;

class CFileChunk : public CLumBatchChunk
{
public:
    struct SRecord
    {
        size_t m_nAt, m_nLength;
        uint64_t m_nLine;
    };

    CFileChunk(const SLumBatchJob& job, const CLumRecordReader& reader, const CLumRecordWriter& writer,
               uint64_t nFirst)
        : m_job(job), m_reader(reader), m_writer(writer), m_nFirst(nFirst)
    {
    }

    void Add(std::string_view line, uint64_t nLine)
    {
        m_aRecords.push_back(SRecord{m_strText.size(), line.size(), nLine});
        m_strText.append(line.data(), line.size());
    }
    size_t GetCount() const { return m_aRecords.size(); }

    void Run(CLumBatchWorker& worker) override
    {
        CLumRecordReader::SScratch scratch;
        std::string strError;
        for (const SRecord& record : m_aRecords)
        {
            if (m_job.m_pStop != nullptr && m_job.m_pStop->load(std::memory_order_relaxed))
                break;
            std::string_view line(m_strText.data() + record.m_nAt, record.m_nLength);
            CLumVariables& store = worker.NewStore();
            CLumRecordReader::EResult eResult = m_reader.ReadRecord(line, store, scratch, strError);
            if (eResult == CLumRecordReader::MALFORMED)
            {
                m_strMalformed =
                    m_job.m_strIn + ":" + std::to_string(record.m_nLine) + ": error: " + strError;
                break;
            }
            if (eResult == CLumRecordReader::READ && worker.Run(strError))
                m_writer.AppendRecord(worker.GetStore(), m_strOut);
            else
                AddFailure(record, line, eResult == CLumRecordReader::READ ? strError : strError + "\n");
            ++m_nDone;
        }
    }

    const SLumBatchJob& m_job;
    const CLumRecordReader& m_reader;
    const CLumRecordWriter& m_writer;
    uint64_t m_nFirst;
    std::string m_strText;
    std::vector<SRecord> m_aRecords;
    // What the run gave: the records done, in order from the first, their output and
    // the failed ones' reports; the reason when a line was no record at all.
    size_t m_nDone = 0;
    size_t m_nFailed = 0;
    std::string m_strOut, m_strErrors, m_strMalformed;

private:
    void AddFailure(const SRecord& record, std::string_view line, const std::string& strReport)
    {
        m_strErrors += "record " + std::to_string(m_nFirst + (&record - m_aRecords.data())) + " (line " +
                       std::to_string(record.m_nLine) + "): " + strReport + "  input: ";
        m_strErrors.append(line.data(), line.size());
        m_strErrors += '\n';
        ++m_nFailed;
    }
};

// The batch's state on the caller's thread: the input, the outputs, the counts.
class CJob
{
public:
    CJob(const SLumBatchProgram& program, const SLumBatchJob& job, SLumBatchSummary& summary)
        : m_program(program), m_job(job), m_summary(summary), m_reader(LumRecordFormOf(job.m_strIn)),
          m_writer(LumRecordFormOf(job.m_strOut), job.m_aFields)
    {
    }

    bool Run(std::string& strError)
    {
        if (!m_input.Open(m_job.m_strIn, strError) || !ReadHeader(strError) || !Skip(strError) ||
            !m_out.Open(m_job.m_strOut, strError) ||
            (!m_job.m_strErrors.empty() && !m_errors.Open(m_job.m_strErrors, strError)))
            return false;
        std::string strHeader;
        m_writer.AppendHeader(strHeader);
        m_out.Write(strHeader);
        SLumPipeline pipeline;
        pipeline.m_pProgram = &m_program;
        pipeline.m_nJobs = m_job.m_nJobs;
        pipeline.m_fnNext = [this] {
            return Next();
        };
        pipeline.m_fnTake = [this](std::unique_ptr<CLumBatchChunk> pChunk) {
            return Take(static_cast<CFileChunk&>(*pChunk));
        };
        if (!LumRunPipeline(pipeline, strError))
            return false;
        if (!m_strError.empty())
        {
            strError = m_strError;
            return false;
        }
        std::string_view line;
        uint64_t nLine = 0;
        if (m_summary.m_nFirstNotDone == 0 && !m_fEnd && m_input.Next(line, nLine, strError))
            m_summary.m_nFirstNotDone = m_nNext;
        return m_out.Commit(strError) && (m_job.m_strErrors.empty() || m_errors.Commit(strError));
    }

private:
    bool ReadHeader(std::string& strError)
    {
        if (!m_reader.NeedsHeader())
            return true;
        std::string_view line;
        uint64_t nLine = 0;
        if (!m_input.Next(line, nLine, strError))
        {
            if (strError.empty())
                strError = m_job.m_strIn +
                           ": error: no header line; a CSV file starts with a line naming the fields";
            return false;
        }
        if (line.substr(0, 3) == "\xEF\xBB\xBF")
            line.remove_prefix(3);
        if (m_reader.ReadHeader(line, strError))
            return true;
        strError = m_job.m_strIn + ":" + std::to_string(nLine) + ": error: " + strError;
        return false;
    }

    bool Skip(std::string& strError)
    {
        std::string_view line;
        uint64_t nLine = 0;
        for (; m_nNext <= m_job.m_nSkip; ++m_nNext)
            if (!m_input.Next(line, nLine, strError))
                return strError.empty();
        return true;
    }

    std::unique_ptr<CLumBatchChunk> Next()
    {
        if (m_fEnd || (m_job.m_pStop != nullptr && m_job.m_pStop->load()))
            return nullptr;
        auto pChunk = std::make_unique<CFileChunk>(m_job, m_reader, m_writer, m_nNext);
        std::string_view line;
        uint64_t nLine = 0;
        while (pChunk->GetCount() < CHUNK_RECORDS && m_input.Next(line, nLine, m_strError))
            pChunk->Add(line, nLine);
        m_fEnd = pChunk->GetCount() < CHUNK_RECORDS;
        m_nNext += pChunk->GetCount();
        if (pChunk->GetCount() == 0 || !m_strError.empty())
            return nullptr;
        return pChunk;
    }

    bool Take(CFileChunk& chunk)
    {
        if (!chunk.m_strMalformed.empty())
        {
            m_strError = chunk.m_strMalformed;
            return false;
        }
        if (m_writer.WritesNamed())
            SettleNamed(chunk.m_strOut);
        else
            m_out.Write(chunk.m_strOut);
        if (!m_job.m_strErrors.empty())
            m_errors.Write(chunk.m_strErrors);
        else if (!chunk.m_strErrors.empty() && m_job.m_fnReport)
            m_job.m_fnReport(chunk.m_strErrors);
        m_summary.m_nRead += chunk.m_nDone;
        m_summary.m_nFailed += chunk.m_nFailed;
        m_summary.m_nWritten += chunk.m_nDone - chunk.m_nFailed;
        if (m_job.m_fnProgress)
            m_job.m_fnProgress(
                SLumBatchProgress{m_summary.m_nRead, m_input.GetBytesRead(), m_input.GetSize()});
        if (chunk.m_nDone == chunk.GetCount())
            return true;
        m_summary.m_nFirstNotDone = chunk.m_nFirst + chunk.m_nDone;
        return false;
    }

    void SettleNamed(const std::string& strNamed)
    {
        std::string strOut;
        for (size_t nAt = 0; nAt < strNamed.size();)
        {
            size_t nEnd = strNamed.find(CLumRecordWriter::NAMED_RECORD_END, nAt);
            CLumRecordWriter::SettleNamed(std::string_view(strNamed).substr(nAt, nEnd - nAt), m_aColumns,
                                          strOut);
            nAt = nEnd + 1;
        }
        m_out.Write(strOut);
    }

    const SLumBatchProgram& m_program;
    const SLumBatchJob& m_job;
    SLumBatchSummary& m_summary;
    CLumRecordReader m_reader;
    CLumRecordWriter m_writer;
    CLumLineSource m_input;
    CLumOutputFile m_out, m_errors;
    // The number of the next record the input gives, from 1.
    uint64_t m_nNext = 1;
    bool m_fEnd = false;
    std::vector<std::string> m_aColumns;
    std::string m_strError;
};
} // namespace

bool LumRunBatchJob(const SLumBatchProgram& program, const SLumBatchJob& job, SLumBatchSummary& summary,
                    std::string& strError)
{
    summary = SLumBatchSummary();
    return CJob(program, job, summary).Run(strError);
}
