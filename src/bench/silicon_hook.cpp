#include "bench/silicon_hook.h"

#include <bit>

#include "platform/clock.h"
#include "platform/silicon.h"

namespace vxt {

void CSiliconHook::Touch(std::span<double> Work) {
    // Looking at the clock each time would cost more than the stages that lie between.
    constexpr uint32_t kTouches = 256;
    constexpr double kSeconds = 0.002;
    if (++m_uTouches % kTouches != 0) return;
    const double dNow = platform::RunningSeconds();
    if (dNow - m_dAsked < kSeconds) return;
    m_dAsked = dNow;
    const uint64_t ullWrong = platform::SiliconFault();
    if (ullWrong == 0) return;
    m_ullRandom = m_ullRandom * 0x5851F42D4C957F2D + ullWrong + 1;
    double& rdNumber = Work[static_cast<size_t>(m_ullRandom >> 16) % Work.size()];
    rdNumber = std::bit_cast<double>(std::bit_cast<uint64_t>(rdNumber) ^ ullWrong);
}

}  // namespace vxt
