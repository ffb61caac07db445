// Benchmarks, stability test and automatic tuning.
#pragma once

#include <cstdint>

namespace vxtapi {

class CBenchmarkCenter;
class CTestCenter;
class CSystemTune;

/// Owner of the benchmark center, the test center and the automatic tuning. Obtained from GetPerformanceControl().
class CPerformanceControl {
public:
    /// Called by InitVXTAPI.
    virtual bool Initialize() = 0;
    /// Called by UnInitVXTAPI.
    virtual bool Uninitialize() = 0;
    /// Null in this version: benchmarks are not built yet.
    virtual CBenchmarkCenter* GetBenchmarkCenter() = 0;
    /// Null in this version: the stability test is not built yet.
    virtual CTestCenter* GetTestCenter() = 0;
    /// Null in this version: automatic tuning is not built yet.
    virtual CSystemTune* GetSystemTune() = 0;
    virtual ~CPerformanceControl() = default;
};

}  // namespace vxtapi
