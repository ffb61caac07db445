// Benchmarks, stability test and automatic tuning.
#pragma once

#include <vxtapi/benchmark_center.h>
#include <vxtapi/test_center.h>

namespace vxtapi {

class CSystemTune;

/// Owner of the benchmark center, the test center and the automatic tuning. Obtained from GetPerformanceControl().
class CPerformanceControl {
public:
    /// Slot 0: called by InitVXTAPI. A second call changes nothing.
    virtual bool Initialize() = 0;
    /// Slot 1: called by UnInitVXTAPI; always true. Running tests are stopped.
    virtual bool Uninitialize() = 0;
    /// Slot 2: null before Initialize and after Uninitialize, as all three.
    virtual CBenchmarkCenter* GetBenchmarkCenter() = 0;
    virtual CTestCenter* GetTestCenter() = 0;  ///< slot 3: null also when Initialize failed
    /// Slot 4: null in this version: automatic tuning is not built yet.
    virtual CSystemTune* GetSystemTune() = 0;
    virtual ~CPerformanceControl() = default;
};

}  // namespace vxtapi
