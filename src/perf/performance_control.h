// Directory of the benchmark center, the test center and the automatic tuning.
#pragma once

#include <vxtapi/device_manager.h>
#include <vxtapi/performance_control.h>

namespace vxt {

class CBenchmarkCenter;
class CTestCenter;

/// Owns none of the services; starts and ends two of them with the library. Automatic tuning needs neither.
class CPerformanceControl final : public vxtapi::CPerformanceControl {
public:
    /// All four must outlive the object. `rDevices`: whose processors are tested.
    CPerformanceControl(CBenchmarkCenter& rBenchmarkCenter, CTestCenter& rTestCenter, vxtapi::CSystemTune& rSystemTune,
                        vxtapi::CDeviceManager& rDevices)
        : m_rBenchmarkCenter(rBenchmarkCenter),
          m_rTestCenter(rTestCenter),
          m_rSystemTune(rSystemTune),
          m_rDevices(rDevices) {}

    bool Initialize() override;
    bool Uninitialize() override;
    vxtapi::CBenchmarkCenter* GetBenchmarkCenter() override { return m_pBenchmarkCenter; }
    vxtapi::CTestCenter* GetTestCenter() override { return m_pTestCenter; }
    vxtapi::CSystemTune* GetSystemTune() override { return m_pSystemTune; }

private:
    CBenchmarkCenter& m_rBenchmarkCenter;
    CTestCenter& m_rTestCenter;
    vxtapi::CSystemTune& m_rSystemTune;
    vxtapi::CDeviceManager& m_rDevices;
    vxtapi::CBenchmarkCenter* m_pBenchmarkCenter = nullptr;
    vxtapi::CTestCenter* m_pTestCenter = nullptr;
    vxtapi::CSystemTune* m_pSystemTune = nullptr;
};

CPerformanceControl& g_GetPerformanceControl();

}  // namespace vxt
