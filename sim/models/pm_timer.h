// The ACPI power-management timer.
#pragma once

#include "../machine.h"

namespace vxtsim {

/// 24 bits that count 3.579545 MHz of virtual time (ACPI 3.0, 4.7.3.3). Writes are ignored.
class CPmTimer final : public CSimModel {
public:
    static constexpr uint64_t kHertz = 3'579'545;

    CPmTimer(CSimMachine& rMachine, uint16_t usPort) : m_rMachine(rMachine), m_usPort(usPort) {}

    uint32_t Count() const {
        constexpr uint64_t kSecond = 1'000'000'000;
        const uint64_t ullNow = m_rMachine.Now() + m_ullOffset;
        return static_cast<uint32_t>(ullNow / kSecond * kHertz + ullNow % kSecond * kHertz / kSecond) & 0xFFFFFF;
    }
    /// Winds the timer on, so that it wraps soon: `uTicks` are left.
    void WrapAfter(uint32_t uTicks) {
        m_ullOffset += uint64_t{(0x1000000 - Count() - uTicks) & 0xFFFFFF} * 1'000'000'000 / kHertz;
    }

    bool ReadPort(uint16_t usPort, uint32_t uWidth, uint32_t& ruValue) override {
        const uint32_t uOffset = uint32_t{usPort} - m_usPort;
        if (usPort < m_usPort || uOffset + uWidth > 4) return false;
        const uint32_t uMask = uWidth == 4 ? ~0u : (1u << (8 * uWidth)) - 1;
        ruValue = Count() >> (8 * uOffset) & uMask;
        return true;
    }
    bool WritePort(uint16_t usPort, uint32_t uWidth, uint32_t) override {
        return usPort >= m_usPort && usPort - m_usPort + uWidth <= 4;
    }

private:
    CSimMachine& m_rMachine;
    uint16_t m_usPort;
    uint64_t m_ullOffset = 0;  ///< ns
};

}  // namespace vxtsim
