// What the core's arithmetic gets wrong, put into a number in work.
#pragma once

#include "bench/fft/squaring.h"

namespace vxt {

class CSiliconHook final : public fft::CFaultHook {
public:
    explicit CSiliconHook(uint32_t uCore) : m_ullRandom(uCore + 1) {}
    void Touch(std::span<double> Work) override;

private:
    uint32_t m_uTouches = 0;
    double m_dAsked = 0;   ///< when, by platform::RunningSeconds
    uint64_t m_ullRandom;  ///< which number is wrong: another one each time, so that no two errors are alike
};

}  // namespace vxt
