#include "bench/silicon_hook.h"

#include <bit>

#include "platform/silicon.h"

namespace vxt {

void CSiliconHook::Touch(std::span<double> Work) {
    constexpr size_t kNumbers = size_t{1} << 20;  // some milliseconds of work
    m_uTouched += Work.size();
    if (m_uTouched < kNumbers) return;
    m_uTouched = 0;
    const uint64_t ullWrong = platform::SiliconFault();
    if (ullWrong == 0) return;
    m_ullRandom = m_ullRandom * 0x5851F42D4C957F2D + ullWrong + 1;
    double& rdNumber = Work[static_cast<size_t>(m_ullRandom >> 16) % Work.size()];
    rdNumber = std::bit_cast<double>(std::bit_cast<uint64_t>(rdNumber) ^ ullWrong);
}

}  // namespace vxt
