// What may end a run between statements. A run with none of them set pays one test
// of the watch word per statement; the rest is here, out of the way.
#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"

namespace
{
void Watch(std::atomic<unsigned>& nWatch, unsigned nBit, bool fOn)
{
    if (fOn)
        nWatch.fetch_or(nBit, std::memory_order_relaxed);
    else
        nWatch.fetch_and(~nBit, std::memory_order_relaxed);
}
} // namespace

void CLumBasic::SLumRunBudget::SetLimit(unsigned long nLimit)
{
    m_nLimit = nLimit;
    Watch(m_nWatch, LIMIT, nLimit != 0);
}

void CLumBasic::SLumRunBudget::SetMemoryLimit(size_t nBytes)
{
    m_nMemoryLimit = nBytes;
    Watch(m_nWatch, MEMORY, nBytes != 0);
}

bool CLumBasic::SLumRunBudget::IsOverMemory() const noexcept
{
    return m_nMemoryLimit != 0 && LumValueBytes() - m_nBytesAtStart > static_cast<int64_t>(m_nMemoryLimit);
}

bool CLumBasic::SLumRunBudget::Admit(bool* pfOverMemory) noexcept
{
    bool fStop = (m_nWatch.load(std::memory_order_relaxed) & STOP) != 0;
    bool fOverMemory = !fStop && IsOverMemory();
    m_nBytesAtStart -= m_nBytesAhead;
    m_nBytesAdmitted = m_nBytesAhead;
    m_nBytesAhead = 0;
    if (pfOverMemory != nullptr)
        *pfOverMemory = fOverMemory;
    if (fStop || fOverMemory)
        return false;
    if (m_nLimit != 0 && ++m_nCount > m_nLimit)
    {
        --m_nCount;
        return false;
    }
    return true;
}

void CLumBasic::SLumRunBudget::Enforce()
{
    bool fOverMemory = false;
    if (Admit(&fOverMemory))
        return;
    // A request is answered once: the next run starts afresh.
    if ((m_nWatch.fetch_and(~static_cast<unsigned>(STOP), std::memory_order_relaxed) & STOP) != 0)
        LumRaise(LUM_MSG_STOP_REQUESTED);
    if (fOverMemory)
        LumRaise(LUM_MSG_MEMORY_LIMIT, static_cast<unsigned long>(m_nMemoryLimit));
    LumRaise(LUM_MSG_STATEMENT_LIMIT, m_nLimit);
}
