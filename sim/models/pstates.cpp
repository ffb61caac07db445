#include "pstates.h"

#include <algorithm>

namespace vxtsim {

namespace {

constexpr uint32_t kFidDid = 0x1FF, kVid = 0xFE00;  ///< bits 8:0 and 15:9 of definitions, control and status
constexpr uint32_t kFields = 0xFE40FFFF;            ///< these and the north bridge's: bits 22 and 31:25
constexpr int kPstateBit = 16;                      ///< control and status: bits 18:16
constexpr uint32_t kPstateMask = 7;
constexpr uint64_t kEnabled = uint64_t{1} << 63;  ///< of a definition
constexpr uint32_t kHwcr = 0xC0010015;            ///< bit 24: the time-stamp counter keeps the pace of P-state 0

}  // namespace

CPstates::CPstates(CSimMachine& rMachine, uint32_t uFidOffset)
    : m_rMachine(rMachine), m_uFidOffset(uFidOffset), m_Pending(rMachine.ProcessorCount()) {
    for (const uint32_t uIndex : {kLimit, kCurrent, kStatus}) rMachine.SetMsrReadOnly(uIndex);
    for (uint32_t uCore = 0; uCore < rMachine.ProcessorCount(); ++uCore)
        if (!rMachine.HasMsr(uCore, kControl))
            rMachine.Msr(uCore, kControl) = rMachine.Msr(uCore, kStatus) & (kFields | kPstateMask << kPstateBit);
}

bool CPstates::WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue) {
    if (uIndex != kCommand && uIndex != kControl) return false;
    m_rMachine.Msr(uCore, uIndex) = ullValue;
    if (uIndex == kControl) {
        _Request(uCore, static_cast<uint32_t>(ullValue >> kPstateBit) & kPstateMask,
                 static_cast<uint32_t>(ullValue) & kFields);
        return true;
    }
    const auto uLimits = static_cast<uint32_t>(m_rMachine.Msr(uCore, kLimit));
    const uint32_t uLast = uLimits >> 4 & kPstateMask;
    const uint32_t uPstate =
        std::min(std::max(static_cast<uint32_t>(ullValue) & kPstateMask, uLimits & kPstateMask), uLast);
    if (!m_rMachine.HasMsr(uCore, kDefinitions + uPstate)) return true;
    const uint64_t ullDefinition = m_rMachine.Msr(uCore, kDefinitions + uPstate);
    if (ullDefinition & kEnabled) _Request(uCore, uPstate, static_cast<uint32_t>(ullDefinition) & kFields);
    return true;
}

void CPstates::_Request(uint32_t uCore, uint32_t uPstate, uint32_t uFields) {
    m_Pending[uCore] = {m_rMachine.Now() + m_ullDelay, uPstate, uFields};
}

void CPstates::Tick(uint64_t) {
    for (uint32_t uCore = 0; uCore < m_Pending.size(); ++uCore) {
        if (!m_Pending[uCore] || m_bStuck || m_rMachine.Now() < m_Pending[uCore]->ullDone) continue;
        _Complete(*m_Pending[uCore], m_rMachine.Msr(uCore, kStatus), m_rMachine.Msr(uCore, kControl),
                  m_rMachine.Msr(uCore, kCurrent));
        m_Pending[uCore].reset();
    }
}

void CPstates::Describe(CMachineDescription& rDescription) const {
    for (uint32_t uCore = 0; uCore < m_Pending.size(); ++uCore)
        if (m_Pending[uCore] && !m_bStuck)
            _Complete(*m_Pending[uCore], rDescription.CoreMsr(uCore, kStatus), rDescription.CoreMsr(uCore, kControl),
                      rDescription.CoreMsr(uCore, kCurrent));
}

void CPstates::_Complete(const CRequest& rRequest, uint64_t& rullStatus, uint64_t& rullControl,
                         uint64_t& rullCurrent) const {
    uint32_t uFields = rRequest.uFields;
    // Limits: highest clock in units of 100 MHz (half the reference), highest and lowest voltage; 0 stands for none.
    const auto uMaximumClock = static_cast<uint32_t>(rullStatus >> 49 & 0x3F);
    if (uMaximumClock && _MHz(uFields) > uMaximumClock * m_rMachine.ReferenceMHz() / 2)
        uFields = (uFields & ~kFidDid) | (static_cast<uint32_t>(rullStatus) & kFidDid);
    const auto uHighest = static_cast<uint32_t>(rullStatus >> 35 & 0x7F),
               uLowest = static_cast<uint32_t>(rullStatus >> 42 & 0x7F);
    uint32_t uVid = (uFields & kVid) >> 9;  // lower codes are higher voltages
    if (uHighest) uVid = std::max(uVid, uHighest);
    if (uLowest) uVid = std::min(uVid, uLowest);
    uFields = (uFields & ~kVid) | uVid << 9;

    const uint64_t ullNew = uFields | rRequest.uPstate << kPstateBit;
    constexpr uint64_t kWhole = kFields | kPstateMask << kPstateBit;
    rullStatus = (rullStatus & ~kWhole) | ullNew;
    rullControl = (rullControl & ~kWhole) | ullNew;
    rullCurrent = rRequest.uPstate;
}

double CPstates::_MHz(uint64_t ullFields) const {
    return m_rMachine.ReferenceMHz() / 2 * static_cast<double>((ullFields & 0x3F) + m_uFidOffset) /
           static_cast<double>(1u << (ullFields >> 6 & 7));
}

double CPstates::CoreMHz(uint32_t uCore) const { return _MHz(m_rMachine.Msr(uCore, kStatus)); }

uint64_t CPstates::_Settled(uint32_t uCore) const {
    uint64_t ullStatus = m_rMachine.Msr(uCore, kStatus), ullControl = 0, ullCurrent = 0;
    if (m_Pending[uCore] && !m_bStuck) _Complete(*m_Pending[uCore], ullStatus, ullControl, ullCurrent);
    return ullStatus;
}

double CPstates::SettledVolts(uint32_t uCore) const {
    constexpr uint32_t kOff = 0x7C;  // and the codes behind it
    const auto uVid = static_cast<uint32_t>(_Settled(uCore) & kVid) >> 9;
    return uVid < kOff ? 1.55 - 0.0125 * uVid : 0;
}

double CPstates::TimeStampMHz(uint32_t uCore) const {
    const bool bPstate0 = m_rMachine.HasMsr(uCore, kHwcr) && m_rMachine.Msr(uCore, kHwcr) >> 24 & 1;
    return bPstate0 ? _MHz(m_rMachine.Msr(uCore, kDefinitions)) : m_rMachine.ReferenceMHz();
}

}  // namespace vxtsim
