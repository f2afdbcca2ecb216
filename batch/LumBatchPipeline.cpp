#include "LumBatchPipeline.h"

#include "LumBatchWorker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace
{
struct SSlot
{
    std::unique_ptr<CLumBatchChunk> m_pChunk;
    bool m_fDone = false;
};

// What the threads and the caller's thread share, under its lock.
class CShared
{
public:
    explicit CShared(const SLumPipeline& pipeline) : m_pipeline(pipeline) {}

    void Work()
    {
        std::unique_ptr<CLumBatchWorker> pWorker;
        std::string strError;
        try
        {
            pWorker = std::make_unique<CLumBatchWorker>(*m_pipeline.m_pProgram);
        }
        catch (const CLumsException& e)
        {
            strError = LumFailureReport(e, m_pipeline.m_pProgram->m_strName);
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        if (pWorker)
            while (SSlot* pSlot = NextSlot(lock))
            {
                lock.unlock();
                pSlot->m_pChunk->Run(*pWorker);
                lock.lock();
                pSlot->m_fDone = true;
                m_cvDone.notify_all();
            }
        else
        {
            if (m_strError.empty())
                m_strError = strError;
            Abort();
        }
        --m_nAlive;
        m_cvDone.notify_all();
        // The worker goes on its own thread, which its cursor belongs to.
        lock.unlock();
        pWorker.reset();
    }

    // Makes chunks while the window has room, takes the finished ones in order.
    void Drive()
    {
        size_t nWindow = static_cast<size_t>(m_nAlive) * 4;
        std::unique_lock<std::mutex> lock(m_mutex);
        while (true)
        {
            while (!m_fNoMore && !m_fAbort && m_aWindow.size() < nWindow)
            {
                lock.unlock();
                std::unique_ptr<CLumBatchChunk> pChunk = m_pipeline.m_fnNext();
                lock.lock();
                if (!pChunk)
                    m_fNoMore = true;
                else
                {
                    m_aWindow.push_back(SSlot{std::move(pChunk), false});
                    m_aTodo.push_back(&m_aWindow.back());
                    m_cvWork.notify_one();
                }
            }
            m_cvWork.notify_all();
            m_cvDone.wait(lock,
                          [&] { return m_aWindow.empty() || m_aWindow.front().m_fDone || m_nAlive == 0; });
            if (m_fAbort || m_aWindow.empty() || !m_aWindow.front().m_fDone)
                break;
            std::unique_ptr<CLumBatchChunk> pChunk = std::move(m_aWindow.front().m_pChunk);
            m_aWindow.pop_front();
            lock.unlock();
            bool fGoOn = m_pipeline.m_fnTake(std::move(pChunk));
            lock.lock();
            if (!fGoOn)
                break;
        }
        Abort();
    }

    void Started(int nThreads) { m_nAlive = nThreads; }
    const std::string& GetError() const { return m_strError; }

private:
    // The next chunk to run, or null when there is none to come.
    SSlot* NextSlot(std::unique_lock<std::mutex>& lock)
    {
        m_cvWork.wait(lock, [&] { return !m_aTodo.empty() || m_fNoMore || m_fAbort; });
        if (m_fAbort || m_aTodo.empty())
            return nullptr;
        SSlot* pSlot = m_aTodo.front();
        m_aTodo.pop_front();
        return pSlot;
    }
    void Abort()
    {
        m_fAbort = true;
        m_aTodo.clear();
        m_cvWork.notify_all();
    }

    const SLumPipeline& m_pipeline;
    std::mutex m_mutex;
    std::condition_variable m_cvWork, m_cvDone;
    // Chunks made and not yet taken, in order; a deque keeps their places.
    std::deque<SSlot> m_aWindow;
    std::deque<SSlot*> m_aTodo;
    bool m_fNoMore = false;
    bool m_fAbort = false;
    int m_nAlive = 0;
    std::string m_strError;
};
} // namespace

bool LumRunPipeline(const SLumPipeline& pipeline, std::string& strError)
{
    CShared shared(pipeline);
    int nThreads = pipeline.m_nJobs < 1 ? 1 : pipeline.m_nJobs;
    shared.Started(nThreads);
    std::vector<std::thread> aThreads;
    for (int i = 0; i < nThreads; ++i)
        aThreads.emplace_back([&shared] { shared.Work(); });
    shared.Drive();
    for (std::thread& thread : aThreads)
        thread.join();
    strError = shared.GetError();
    return strError.empty();
}
