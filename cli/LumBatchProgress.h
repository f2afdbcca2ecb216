// The progress bar of `lumbasic batch` on standard error: records done, records per
// second and the time left, redrawn a few times a second; nothing at all when
// standard error is no terminal.
#pragma once

#include "LumBatchJob.h"

#include <chrono>

class CLumBatchProgress
{
public:
    CLumBatchProgress();
    void Show(const SLumBatchProgress& at);
    // Removes the bar, for a line of text or the end.
    void Clear();

private:
    bool m_fTerminal;
    bool m_fShown = false;
    std::chrono::steady_clock::time_point m_start, m_last;
};
