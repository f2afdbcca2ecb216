// One thread's share of a batch: an interpreter and a store of its own, and a cursor
// over the shared image that it keeps from record to record, so that each record runs
// the statements translated for the first. Each record gets the store emptied, as a
// new one. The plain way (SetFastPaths(false), `--plain`) is the twin to compare
// with: a new store and a new cursor for each record. Made, used and freed on one
// thread.
#pragma once

#include "LumBatchProgram.h"

#include <lumbasic/LumBasic.h>

#include <memory>
#include <string>

class CLumBatchWorker
{
public:
    // Sets the interpreter up by the program's m_fnSetUp, which may throw.
    explicit CLumBatchWorker(const SLumBatchProgram& program);
    CLumBatchWorker(const CLumBatchWorker&) = delete;
    CLumBatchWorker& operator=(const CLumBatchWorker&) = delete;

    // The store, emptied for the next record to fill.
    CLumVariables& NewStore();
    // Runs the program over the store; false with the short report of the failure.
    bool Run(std::string& strReport);
    // The store as the last run left it.
    const CLumVariables& GetStore() const { return *m_pStore; }

private:
    const SLumBatchProgram& m_program;
    std::unique_ptr<CLumVariables> m_pStore;
    CLumBasic m_cBasic;
    CLumBasicFile m_cFile;
};
