#include "LumBatchWorker.h"

CLumBatchWorker::CLumBatchWorker(const SLumBatchProgram& program)
    : m_program(program), m_cBasic(&m_cStore, nullptr),
      m_cFile(program.m_aImage.data(), program.m_aImage.size())
{
    if (program.m_fnSetUp)
        program.m_fnSetUp(m_cBasic);
}

bool CLumBatchWorker::Run(std::string& strReport)
{
    try
    {
        m_cBasic.DoFile(m_cFile);
        return true;
    }
    catch (const CLumsException& e)
    {
        strReport = LumFailureReport(e, m_program.m_strName);
        return false;
    }
}
