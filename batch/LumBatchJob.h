// A batch from file to file: the records of an input file (CSV with a header, or
// JSON Lines) through the program on several threads, the results in input order to
// the output file, each failed record with its number, its report and its input to
// the errors file. Nothing is written half: the files are written under names of
// their own and renamed into place at the end, or removed when the input turns out
// to be bad.
#pragma once

#include "LumBatchField.h"
#include "LumBatchProgram.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct SLumBatchProgress
{
    uint64_t m_nRecords = 0;
    uint64_t m_nBytesRead = 0;
    // The input's size, 0 when it is not known.
    uint64_t m_nBytesTotal = 0;
};

struct SLumBatchJob
{
    std::string m_strIn;
    std::string m_strOut;
    // Empty: the failed records go to m_fnReport.
    std::string m_strErrors;
    // The variables written for each record; empty: every global.
    std::vector<SLumBatchField> m_aFields;
    int m_nJobs = 1;
    // Records passed over at the start, as a run that was stopped has named them.
    uint64_t m_nSkip = 0;
    // Set (from a signal handler, say): no new record is started.
    const std::atomic<bool>* m_pStop = nullptr;
    std::function<void(const SLumBatchProgress&)> m_fnProgress;
    // The failed records' text when there is no errors file.
    std::function<void(const std::string&)> m_fnReport;
};

struct SLumBatchSummary
{
    uint64_t m_nRead = 0;
    uint64_t m_nWritten = 0;
    uint64_t m_nFailed = 0;
    // The number of the first record not done when the batch was stopped; 0 when
    // every record was done.
    uint64_t m_nFirstNotDone = 0;
};

// Runs the batch; false with the reason ("FILE:LINE: error: ...", or "FILE: reason")
// for input that is bad or a file that cannot be read or written, and then no output
// file is made or changed.
bool LumRunBatchJob(const SLumBatchProgram& program, const SLumBatchJob& job, SLumBatchSummary& summary,
                    std::string& strError);
