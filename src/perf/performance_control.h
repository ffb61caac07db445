// Owner of the benchmark center, the test center and the automatic tuning.
#pragma once

#include <vxtapi/performance_control.h>

namespace vxt {

/// None of the three services is built yet: start-up and shut-down have nothing to do and the getters return null.
class CPerformanceControl final : public vxtapi::CPerformanceControl {
public:
    bool Initialize() override { return true; }
    bool Uninitialize() override { return true; }
    vxtapi::CBenchmarkCenter* GetBenchmarkCenter() override { return nullptr; }
    vxtapi::CTestCenter* GetTestCenter() override { return nullptr; }
    vxtapi::CSystemTune* GetSystemTune() override { return nullptr; }
};

CPerformanceControl& g_GetPerformanceControl();

}  // namespace vxt
