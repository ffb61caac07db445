// The integer load of the stability test.
#pragma once

#include "bench/stress_test_case.h"

namespace vxt {

/// One pass: the sum of (i * i) / i for i = 1 to 9,999,999 in 64-bit arithmetic, then the sum of +i for odd and -i for even i
/// from 0 to 9,999,999 in 32-bit arithmetic; both are known.
class CIntegerTestCase final : public CStressTestCase {
public:
    explicit CIntegerTestCase(uint32_t uCore) : CStressTestCase(vxtapi::kTestInteger, uCore) {}

private:
    bool _Compute() override;
    void _Compare(uint32_t uCode, uint64_t ullExpected, uint64_t ullFound);
};

}  // namespace vxt
