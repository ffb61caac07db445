// The floating-point load of the stability test.
#pragma once

#include "bench/stress_test_case.h"

namespace vxt {

/// One pass: large numbers of all sizes, from the first-level cache to main memory, are squared again and again.
class CFloatingPointTestCase final : public CStressTestCase {
public:
    explicit CFloatingPointTestCase(uint32_t uCore) : CStressTestCase(vxtapi::kTestFloatingPoint, uCore) {}

private:
    void _Compute() override;
};

}  // namespace vxt
