// Runs the records of a batch on threads and hands them back in their order. The
// records come in chunks: the caller makes them in order, any thread runs one, and
// the caller takes them back in the order it made them, however the threads finish.
#pragma once

#include "LumBatchProgram.h"

#include <functional>
#include <memory>
#include <string>

class CLumBatchWorker;

class CLumBatchChunk
{
public:
    virtual ~CLumBatchChunk() = default;
    // Runs the chunk's records on a thread's worker.
    virtual void Run(CLumBatchWorker& worker) = 0;
};

struct SLumPipeline
{
    const SLumBatchProgram* m_pProgram = nullptr;
    int m_nJobs = 1;
    // The next chunk, or null when there is none (or no more is to be taken).
    std::function<std::unique_ptr<CLumBatchChunk>()> m_fnNext;
    // A chunk run, in order; false ends the batch: no chunk more is run or taken.
    std::function<bool(std::unique_ptr<CLumBatchChunk>)> m_fnTake;
};

// Runs every chunk; false with the reason when a thread's worker cannot be set up.
bool LumRunPipeline(const SLumPipeline& pipeline, std::string& strError);
