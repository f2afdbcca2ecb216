#include "LumBatchWorker.h"

CLumBatchWorker::CLumBatchWorker(const SLumBatchProgram& program)
    : m_program(program), m_pStore(std::make_unique<CLumVariables>()), m_cBasic(m_pStore.get(), nullptr),
      m_cFile(program.m_aImage.data(), program.m_aImage.size())
{
    if (program.m_fnSetUp)
        program.m_fnSetUp(m_cBasic);
}

CLumVariables& CLumBatchWorker::NewStore()
{
    if (m_cBasic.GetFastPaths())
        m_pStore->Clear();
    else
    {
        m_pStore = std::make_unique<CLumVariables>();
        m_cBasic.SetVariables(m_pStore.get());
    }
    return *m_pStore;
}

bool CLumBatchWorker::Run(std::string& strReport)
{
    try
    {
        if (m_cBasic.GetFastPaths())
            m_cBasic.DoFile(m_cFile);
        else
            m_cBasic.DoMemory(m_program.m_aImage.data(), m_program.m_aImage.size());
        return true;
    }
    catch (const CLumsException& e)
    {
        strReport = LumFailureReport(e, m_program.m_strName);
        return false;
    }
}
