#include "silicon.h"

#include <algorithm>

namespace vxtsim {

uint64_t CSilicon::Miscompute(uint32_t uCore) {
    const double dExcess = m_rClock.CoreMHz(uCore) - m_dMaximum;
    double& rStrain = m_Strain[uCore];
    rStrain = std::clamp(dExcess / kAlwaysMHz, 0.0, 1.0) + (dExcess > 0 ? rStrain : 0.0);
    if (rStrain < 1) return 0;
    rStrain -= 1;
    // xorshift64: its middle bits are the fairest.
    m_ullRandom ^= m_ullRandom << 13, m_ullRandom ^= m_ullRandom >> 7, m_ullRandom ^= m_ullRandom << 17;
    return uint64_t{1} << (m_ullRandom >> 32 & 63);
}

}  // namespace vxtsim
