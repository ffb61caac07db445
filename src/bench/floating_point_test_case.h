// The floating-point load of the stability test.
#pragma once

#include <array>
#include <memory>

#include "bench/fft/squaring.h"
#include "bench/silicon_hook.h"
#include "bench/stress_test_case.h"

namespace vxt {

/// One pass squares a large number over and over; from pass to pass it takes the next size, from the first-level cache to
/// main memory and around again. A size always begins with the same number, so that errors in the same place can be told.
class CFloatingPointTestCase final : public CStressTestCase {
public:
    explicit CFloatingPointTestCase(uint32_t uCore)
        : CStressTestCase(vxtapi::kTestFloatingPoint, uCore), m_Silicon(uCore) {}

private:
    bool _Compute() override;
    /// The number of the next size that memory can be had for, if that of the last pass was not cut short; null: for none.
    fft::CSquaring* _NextNumber();
    void _Report(const fft::CFinding& rFinding);

    std::array<std::shared_ptr<const fft::CTables>, vxtapi::kTestSizes> m_Tables;  ///< shared with other cores
    std::unique_ptr<fft::CSquaring> m_pNumber;
    CSiliconHook m_Silicon;
    size_t m_uSize = 0;  ///< of the next pass
};

}  // namespace vxt
