// What may end a run between statements. A run with none of them set pays one test
// of the watch word per statement; the rest is here, out of the way.
#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"

void CLumBasic::SLumRunBudget::SetLimit(unsigned long nLimit)
{
    m_nLimit = nLimit;
    if (nLimit != 0)
        m_nWatch.fetch_or(LIMIT, std::memory_order_relaxed);
    else
        m_nWatch.fetch_and(~static_cast<unsigned>(LIMIT), std::memory_order_relaxed);
}

void CLumBasic::SLumRunBudget::SetMemoryLimit(size_t nBytes)
{
    m_nMemoryLimit = nBytes;
    if (nBytes != 0)
        m_nWatch.fetch_or(MEMORY, std::memory_order_relaxed);
    else
        m_nWatch.fetch_and(~static_cast<unsigned>(MEMORY), std::memory_order_relaxed);
}

bool CLumBasic::SLumRunBudget::Admit() noexcept
{
    unsigned nWatch = m_nWatch.load(std::memory_order_relaxed);
    if ((nWatch & STOP) != 0)
        return false;
    if ((nWatch & MEMORY) != 0 && LumValueBytes() - m_nBytesAtStart > static_cast<int64_t>(m_nMemoryLimit))
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
    if (Admit())
        return;
    // A request is answered once: the next run starts afresh.
    if ((m_nWatch.fetch_and(~static_cast<unsigned>(STOP), std::memory_order_relaxed) & STOP) != 0)
        LumRaise(LUM_MSG_STOP_REQUESTED);
    if (m_nMemoryLimit != 0 && LumValueBytes() - m_nBytesAtStart > static_cast<int64_t>(m_nMemoryLimit))
        LumRaise(LUM_MSG_MEMORY_LIMIT, static_cast<unsigned long>(m_nMemoryLimit));
    LumRaise(LUM_MSG_STATEMENT_LIMIT, m_nLimit);
}
