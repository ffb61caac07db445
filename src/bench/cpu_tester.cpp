#include "bench/cpu_tester.h"

#include <new>

#include "api/log/log_checks.h"

namespace vxt {

bool CCPUTester::Run() {
    if (!m_pCPUTesterIC || !m_pCPUTesterFPC) return false;
    const bool bInteger = m_pCPUTesterIC->Run();
    return m_pCPUTesterFPC->Run() && bInteger;
}

bool CCPUTester::Init() {
    if (!m_pCPUTesterIC) m_pCPUTesterIC.reset(new (std::nothrow) CIntegerComputation);
    LOG_PROCESS_ERROR(m_pCPUTesterIC);
    if (!m_pCPUTesterFPC) m_pCPUTesterFPC.reset(new (std::nothrow) CFloatingPointComputation);
    LOG_PROCESS_ERROR(m_pCPUTesterFPC);
    return true;
}

bool CCPUTester::Uninit() {
    m_pCPUTesterIC.reset();
    m_pCPUTesterFPC.reset();
    return true;
}

}  // namespace vxt
