// Benchmarks, stability test and automatic tuning.
#pragma once

#include <vxtapi/benchmark_center.h>
#include <vxtapi/system_tune.h>
#include <vxtapi/test_center.h>

namespace vxtapi {

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
    virtual CSystemTune* GetSystemTune() = 0;  ///< slot 4: likewise
    virtual ~CPerformanceControl() = default;
};

}  // namespace vxtapi
