#include "perf/performance_control.h"

#include "api/log/log_checks.h"
#include "bench/benchmark_center.h"
#include "bench/test_center.h"

namespace vxt {

bool CPerformanceControl::Initialize() {
    bool bRetCode = m_rBenchmarkCenter.Init();
    LOG_PROCESS_ERROR(bRetCode);
    m_pBenchmarkCenter = &m_rBenchmarkCenter;
    bRetCode = m_rTestCenter.Init(m_rDevices);
    LOG_PROCESS_ERROR(bRetCode);  // Kept: the benchmark center stays; Uninitialize ends it
    m_pTestCenter = &m_rTestCenter;
    m_pSystemTune = &m_rSystemTune;
    return true;
}

bool CPerformanceControl::Uninitialize() {
    m_rBenchmarkCenter.UnInit();
    m_rTestCenter.UnInit();
    m_pBenchmarkCenter = nullptr;
    m_pTestCenter = nullptr;
    m_pSystemTune = nullptr;
    return true;
}

}  // namespace vxt
