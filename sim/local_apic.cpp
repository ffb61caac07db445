#include "local_apic.h"

namespace vxtsim {

namespace {

constexpr uint32_t kPeriodic = 1u << 17;  ///< of the timer's vector entry

}  // namespace

uint32_t CLocalApic::Read(uint32_t uOffset, uint64_t ullNow) const {
    if (uOffset == kCurrentCount) return _Count(ullNow);
    const auto it = m_Registers.find(uOffset);
    return it == m_Registers.end() ? 0 : it->second;
}

void CLocalApic::Write(uint32_t uOffset, uint32_t uValue, uint64_t ullNow) {
    if (uOffset == kInitialCount) _SetCount(uValue, ullNow);
    if (uOffset == kDivide || uOffset == kTimerLvt) _SetCount(_Count(ullNow), ullNow);  // at the new pace from here
    m_Registers[uOffset] = uValue;
}

void CLocalApic::SetBusClock(double dMHz, uint64_t ullNow) {
    _SetCount(_Count(ullNow), ullNow);
    m_dBusMHz = dMHz;
}

void CLocalApic::_SetCount(uint32_t uCount, uint64_t ullNow) {
    m_uCount = uCount;
    m_ullSince = ullNow;
}

void CLocalApic::Synchronize(volatile uint32_t* pRegisters, uint32_t uFirst, uint32_t uBytes, uint64_t ullNow) {
    m_bGoesRound = true;
    for (const uint32_t uOffset : {kTimerLvt, kDivide, kInitialCount, kCurrentCount}) {
        if (uOffset < uFirst || uOffset - uFirst + sizeof(uint32_t) > uBytes) continue;
        volatile uint32_t& ruRegister = pRegisters[(uOffset - uFirst) / sizeof(uint32_t)];
        if (uOffset == kCurrentCount) {
            ruRegister = _Count(ullNow);
        } else if (const uint32_t uValue = ruRegister; uValue != Read(uOffset, ullNow)) {
            Write(uOffset, uValue, ullNow);
        }
    }
}

uint32_t CLocalApic::_Count(uint64_t ullNow) const {
    const uint64_t ullElapsed =
        static_cast<uint64_t>(static_cast<double>(ullNow - m_ullSince) * m_dBusMHz / 1000.0 / _Divider());
    if (ullElapsed <= m_uCount) return static_cast<uint32_t>(m_uCount - ullElapsed);
    if (!m_bGoesRound && !(Read(kTimerLvt, ullNow) & kPeriodic)) return 0;
    const uint64_t ullInitial = Read(kInitialCount, ullNow);
    return static_cast<uint32_t>(ullInitial - (ullElapsed - m_uCount - 1) % (ullInitial + 1));
}

uint32_t CLocalApic::_Divider() const {
    const auto it = m_Registers.find(kDivide);
    const uint32_t uValue = it == m_Registers.end() ? 0 : it->second;
    const uint32_t uCode = (uValue >> 1 & 4) | (uValue & 3);  // bits 3, 1 and 0: by 2, 4, 8 ... 128, 1
    return uCode == 7 ? 1 : 2u << uCode;
}

}  // namespace vxtsim
