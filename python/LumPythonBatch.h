// Records of Python through the program on the library's threads: read from their
// dicts first, run with the GIL released, given back as dicts in their order.
#pragma once

#include "LumBatchProgram.h"
#include "LumPythonValues.h"

#include <string>
#include <vector>

struct SLumPyOutcome
{
    bool m_fFailed = false;
    // The short report of a failed run.
    std::string m_strReport;
    LumPyRecord m_result;
};

// Runs every record; called without the GIL. A thread whose interpreter cannot be
// set up fails the whole batch with a CLumsException.
std::vector<SLumPyOutcome> LumRunPyBatch(const SLumBatchProgram& program,
                                         const std::vector<LumPyRecord>& aRecords,
                                         const std::vector<std::string>& aFields, int nJobs);
