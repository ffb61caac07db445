// Directory of the benchmark center, the test center and the automatic tuning.
#pragma once

#include <vxtapi/device_manager.h>
#include <vxtapi/performance_control.h>

namespace vxt {

class CBenchmarkCenter;
class CTestCenter;

/// Owns none of the services; starts and ends two of them with the library. Automatic tuning is not built yet.
class CPerformanceControl final : public vxtapi::CPerformanceControl {
public:
    /// All three must outlive the object. `rDevices`: whose processors are tested.
    CPerformanceControl(CBenchmarkCenter& rBenchmarkCenter, CTestCenter& rTestCenter, vxtapi::CDeviceManager& rDevices)
        : m_rBenchmarkCenter(rBenchmarkCenter), m_rTestCenter(rTestCenter), m_rDevices(rDevices) {}

    bool Initialize() override;
    bool Uninitialize() override;
    vxtapi::CBenchmarkCenter* GetBenchmarkCenter() override { return m_pBenchmarkCenter; }
    vxtapi::CTestCenter* GetTestCenter() override { return m_pTestCenter; }
    vxtapi::CSystemTune* GetSystemTune() override { return nullptr; }

private:
    CBenchmarkCenter& m_rBenchmarkCenter;
    CTestCenter& m_rTestCenter;
    vxtapi::CDeviceManager& m_rDevices;
    vxtapi::CBenchmarkCenter* m_pBenchmarkCenter = nullptr;
    vxtapi::CTestCenter* m_pTestCenter = nullptr;
};

CPerformanceControl& g_GetPerformanceControl();

}  // namespace vxt
