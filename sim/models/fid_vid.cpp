#include "fid_vid.h"

#include <algorithm>

namespace vxtsim {

namespace {

constexpr uint64_t kFrequency = 0x3F;              ///< both registers: bits 5:0
constexpr uint64_t kInitiate = uint64_t{1} << 16;  ///< control
constexpr uint64_t kPending = uint64_t{1} << 31;   ///< status
constexpr uint64_t kUnlocked = 0x2A;               ///< maximum frequency code of a processor without a limit

uint64_t g_Bits(uint64_t ullValue, int nLow, uint64_t ullMask) { return ullValue >> nLow & ullMask; }

}  // namespace

CFidVid::CFidVid(CSimMachine& rMachine, bool bRevisionF)
    : m_rMachine(rMachine),
      m_bSixBitVoltage(bRevisionF),
      m_bOddFrequencies(rMachine.Cpuid(0, 0x80000007).uEdx >> 6 & 1),
      m_Pending(rMachine.ProcessorCount()) {
    rMachine.SetMsrReadOnly(kStatus);
}

bool CFidVid::WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue) {
    if (uIndex != kControl) return false;
    m_rMachine.Msr(uCore, kControl) = ullValue & ~kInitiate;
    if (ullValue & kInitiate) {
        m_rMachine.Msr(uCore, kStatus) |= kPending;
        m_Pending[uCore] = {m_rMachine.Now() + m_ullDelay, ullValue};
    }
    return true;
}

void CFidVid::Tick(uint64_t) {
    for (uint32_t uCore = 0; uCore < m_Pending.size(); ++uCore) {
        if (!m_Pending[uCore] || m_bStuck || m_rMachine.Now() < m_Pending[uCore]->ullDone) continue;
        _Complete(m_Pending[uCore]->ullControl, m_rMachine.Msr(uCore, kStatus));
        m_Pending[uCore].reset();
    }
}

void CFidVid::Describe(CMachineDescription& rDescription) const {
    for (uint32_t uCore = 0; uCore < m_Pending.size(); ++uCore)
        if (m_Pending[uCore] && !m_bStuck)
            _Complete(m_Pending[uCore]->ullControl, rDescription.CoreMsr(uCore, kStatus));
}

void CFidVid::_Complete(uint64_t ullControl, uint64_t& rullStatus) const {
    const uint64_t ullVoltageMask = m_bSixBitVoltage ? 0x3F : 0x1F;
    uint64_t ullFrequency = ullControl & kFrequency;
    if (!m_bOddFrequencies) ullFrequency &= ~uint64_t{1};
    if (const uint64_t ullMaximum = g_Bits(rullStatus, 16, 0x3F); ullMaximum != kUnlocked)
        ullFrequency = std::min(ullFrequency, ullMaximum);
    const uint64_t ullHighest = g_Bits(rullStatus, 48, ullVoltageMask);  // lower codes are higher voltages
    const uint64_t ullVoltage = std::max(g_Bits(ullControl, 8, ullVoltageMask), ullHighest);
    rullStatus &= ~(kPending | kFrequency | uint64_t{0x3F} << 32);
    rullStatus |= ullFrequency | ullVoltage << 32;
}

double CFidVid::_MHz(uint64_t ullStatus) const {
    return m_rMachine.ReferenceMHz() * (4.0 + 0.5 * static_cast<double>(ullStatus & kFrequency));
}

double CFidVid::CoreMHz(uint32_t uCore) const { return _MHz(m_rMachine.Msr(uCore, kStatus)); }

uint64_t CFidVid::_Settled(uint32_t uCore) const {
    uint64_t ullStatus = m_rMachine.Msr(uCore, kStatus);
    if (m_Pending[uCore] && !m_bStuck) _Complete(m_Pending[uCore]->ullControl, ullStatus);
    return ullStatus;
}

// Codes 20h to 3Fh, of revision F only, go on in half the steps.
double CFidVid::SettledVolts(uint32_t uCore) const {
    const auto dVid = static_cast<double>(g_Bits(_Settled(uCore), 32, m_bSixBitVoltage ? 0x3F : 0x1F));
    return dVid < 0x20 ? 1.55 - 0.025 * dVid : 0.7625 - 0.0125 * (dVid - 0x20);
}

}  // namespace vxtsim
