#include "smbus_host.h"

namespace vxtsim {

namespace {

constexpr uint8_t kBusy = 1 << 0, kDone = 1 << 1, kDeviceError = 1 << 2, kCollision = 1 << 3, kFailed = 1 << 4;
constexpr uint8_t kStart = 1 << 6, kProtocol = 7 << 2, kByteData = 2 << 2, kKill = 1 << 1;  // control register
constexpr uint8_t kReadTransfer = 1;                                                        // bit 0 of the address

}  // namespace

bool CSmbusHost::ReadPort(uint16_t usPort, uint32_t uWidth, uint32_t& ruValue) {
    if (uWidth != 1 || usPort < m_usBase || usPort - m_usBase >= kRegisters) return false;
    _Settle();
    const auto eRegister = static_cast<ERegister>(usPort - m_usBase);
    uint8_t ucValue = m_aucRegisters[eRegister];
    const bool bAfterTransfer = m_aucRegisters[kStatus] & kDone;
    if (eRegister == kStatus && m_bAlwaysBusy) ucValue |= kBusy;
    if (eRegister == kAddress && bAfterTransfer && m_uWrongAddressReads) --m_uWrongAddressReads, ucValue ^= 0x02;
    if (eRegister == kCommand && bAfterTransfer && m_uWrongCommandReads) --m_uWrongCommandReads, ucValue ^= 0x01;
    ruValue = ucValue;
    return true;
}

bool CSmbusHost::WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue) {
    if (uWidth != 1 || usPort < m_usBase || usPort - m_usBase >= kRegisters) return false;
    _Settle();
    const bool bWasWriting = _IsWriting();
    const auto eRegister = static_cast<ERegister>(usPort - m_usBase);
    const auto ucValue = static_cast<uint8_t>(uValue);
    if (eRegister == kStatus) {  // ones clear the flags; the busy bit is the controller's own
        m_aucRegisters[kStatus] = static_cast<uint8_t>(m_aucRegisters[kStatus] & ~(ucValue & ~kBusy));
    } else if (eRegister == kControl) {
        m_aucRegisters[kControl] = ucValue & static_cast<uint8_t>(~kStart);  // the start bit reads as zero
        if (ucValue & kKill && m_bRunning) m_bRunning = false, m_aucRegisters[kStatus] = kFailed;
        if (ucValue & kStart && !m_bRunning && !m_bAlwaysBusy) _Start();
    } else {
        m_aucRegisters[eRegister] = ucValue;
    }
    if (bWasWriting || _IsWriting()) m_rMachine.Touch();
    return true;
}

bool CSmbusHost::_IsWriting() const { return m_bRunning && !(m_aucRegisters[kAddress] & kReadTransfer); }

void CSmbusHost::_Start() {
    m_bRunning = true;
    m_ullDone = m_rMachine.Now() + kTransferNanoseconds;
    m_aucRegisters[kStatus] |= kBusy;
}

void CSmbusHost::_Settle() {
    if (!m_bRunning || m_bNeverCompletes || m_rMachine.Now() < m_ullDone) return;
    m_bRunning = false;
    m_aucRegisters[kStatus] = static_cast<uint8_t>((m_aucRegisters[kStatus] & ~kBusy) | _Transfer());
}

uint8_t CSmbusHost::_Transfer() {
    if (m_bCollides) return kCollision;
    if ((m_aucRegisters[kControl] & kProtocol) != kByteData) return kFailed;
    const auto it = m_Devices.find(m_aucRegisters[kAddress] >> 1);
    const uint8_t ucCommand = m_aucRegisters[kCommand];
    if (it == m_Devices.end() || ucCommand >= it->second.size()) return kDeviceError;
    if (m_aucRegisters[kAddress] & kReadTransfer) {
        m_aucRegisters[kData0] = it->second[ucCommand];
    } else {
        it->second[ucCommand] = m_aucRegisters[kData0];
    }
    return kDone;
}

void CSmbusHost::Describe(CMachineDescription& rDescription) const {
    CSmbusHost Later(*this);
    if (m_bRunning && !m_bNeverCompletes) Later._Transfer();
    for (const auto& [ucAddress, rRegisters] : Later.m_Devices)
        if (!rRegisters.empty()) rDescription.Smbus[ucAddress] = rRegisters;
}

}  // namespace vxtsim
