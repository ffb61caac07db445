// The local APIC's timer, driven by virtual time.
#pragma once

#include <cstdint>
#include <map>

namespace vxtsim {

/// One local APIC for the whole machine: the library measures on one core at a time. Registers other than the timer's
/// hold what is written to them.
class CLocalApic {
public:
    static constexpr uint32_t kTimerLvt = 0x320, kInitialCount = 0x380, kCurrentCount = 0x390, kDivide = 0x3E0;

    explicit CLocalApic(double dBusMHz) : m_dBusMHz(dBusMHz) {}

    uint32_t Read(uint32_t uOffset, uint64_t ullNow) const;
    void Write(uint32_t uOffset, uint32_t uValue, uint64_t ullNow);
    void SetBusClock(double dMHz, uint64_t ullNow);

    /// Brings registers that a client sees as real memory in step: takes over what it wrote, puts the count there.
    /// `pRegisters` stands for the page's `uBytes` bytes from `uFirst`. A count rewritten with the same value cannot be
    /// seen there, so from the first call on the timer goes round instead of stopping at zero.
    void Synchronize(volatile uint32_t* pRegisters, uint32_t uFirst, uint32_t uBytes, uint64_t ullNow);

private:
    void _SetCount(uint32_t uCount, uint64_t ullNow);
    uint32_t _Count(uint64_t ullNow) const;
    uint32_t _Divider() const;

    double m_dBusMHz;
    std::map<uint32_t, uint32_t> m_Registers;
    uint32_t m_uCount = 0;  ///< at m_ullSince
    uint64_t m_ullSince = 0;
    bool m_bGoesRound = false;
};

}  // namespace vxtsim
