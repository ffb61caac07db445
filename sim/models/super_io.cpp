#include "super_io.h"

namespace vxtsim {

namespace {

constexpr uint8_t kNobody = 0xFF;
constexpr uint8_t kControl = 0x02, kLeaveBit = 1 << 1, kDevice = 0x07, kFirstIdentity = 0x20;
constexpr uint8_t kActive = 0x30, kBaseHigh = 0x60, kBaseLow = 0x61;  // of a logical device
constexpr uint16_t kDecoded = 0xFFF8, kMonitorOffset = 5;

std::vector<uint8_t> g_MonitorDump(const CMachineDescription& rMachine, uint16_t usPort) {
    const auto it = rMachine.SuperIo.find({usPort, CSuperIoPart::kMonitor});
    return it == rMachine.SuperIo.end() ? std::vector<uint8_t>() : it->second;
}

}  // namespace

CSuperIo::CSuperIo(CSimMachine& rMachine, uint16_t usPort, const CSuperIoChip& rChip)
    : m_rMachine(rMachine),
      m_usPort(usPort),
      m_rChip(rChip),
      m_Monitor(rMachine, *rChip.pMonitor, usPort, g_MonitorDump(rMachine.Description(), usPort)) {
    for (const auto& [Part, rRegisters] : rMachine.Description().SuperIo)
        if (Part.usPort == usPort && Part.eKind != CSuperIoPart::kMonitor) m_Parts[Part] = rRegisters;
    m_ucDevice = _Read(kDevice);
}

bool CSuperIo::ReadPort(uint16_t usPort, uint32_t uWidth, uint32_t& ruValue) {
    if (uWidth != 1) return false;
    if (usPort == m_usPort) return ruValue = m_bOpen ? m_ucIndex : kNobody, true;
    if (usPort == m_usPort + 1)
        return ruValue = !m_bOpen ? kNobody : m_ucIndex == kDevice ? m_ucDevice : _Read(m_ucIndex), true;
    const auto oMonitor = _MonitorPort();
    if (oMonitor && usPort == *oMonitor) return ruValue = m_ucMonitorIndex, true;
    if (oMonitor && usPort == *oMonitor + 1) return ruValue = m_Monitor.Read(m_ucMonitorIndex), true;
    return false;
}

bool CSuperIo::WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue) {
    if (uWidth != 1) return false;
    const auto ucValue = static_cast<uint8_t>(uValue);
    if (usPort == m_usPort) {
        if (!m_bOpen) return _Key(ucValue), true;
        if (m_rChip.ucLeave != kLeavesByRegister && ucValue == m_rChip.ucLeave) return m_bOpen = false, true;
        return m_ucIndex = ucValue, true;
    }
    if (usPort == m_usPort + 1) {
        m_uKeys = 0;
        if (m_bOpen) _Write(ucValue);
        return true;
    }
    const auto oMonitor = _MonitorPort();
    if (oMonitor && usPort == *oMonitor) return m_ucMonitorIndex = ucValue, true;
    if (oMonitor && usPort == *oMonitor + 1) return m_Monitor.Write(m_ucMonitorIndex, ucValue), true;
    return false;
}

void CSuperIo::_Key(uint8_t ucKey) {
    const std::span<const uint8_t> Keys = m_rChip.Keys(m_usPort);
    m_uKeys = ucKey == Keys[m_uKeys] ? m_uKeys + 1 : ucKey == Keys[0] ? 1 : 0;
    if (m_uKeys < Keys.size()) return;
    m_bOpen = true, m_uKeys = 0;
}

std::vector<uint8_t>* CSuperIo::_Find(uint8_t ucRegister) {
    const bool bGlobal = ucRegister < CSuperIoPart::kGlobals;
    const auto it =
        m_Parts.find(bGlobal ? CSuperIoPart{m_usPort} : CSuperIoPart{m_usPort, CSuperIoPart::kDevice, m_ucDevice});
    return it == m_Parts.end() || ucRegister >= it->second.size() ? nullptr : &it->second;
}

uint8_t CSuperIo::_Read(uint8_t ucRegister) {
    const auto* const pRegisters = _Find(ucRegister);
    return pRegisters ? (*pRegisters)[ucRegister] : kNobody;
}

void CSuperIo::_Write(uint8_t ucValue) {
    if (m_ucIndex == kDevice) {
        m_ucDevice = ucValue;
    } else if (m_ucIndex == kControl && m_rChip.ucLeave == kLeavesByRegister && ucValue & kLeaveBit) {
        m_bOpen = false;
    } else if (m_ucIndex >= kFirstIdentity && m_ucIndex <= m_rChip.ucLastIdentity) {
        return;
    } else if (auto* const pRegisters = _Find(m_ucIndex)) {
        if ((*pRegisters)[m_ucIndex] != ucValue) m_rMachine.Touch();
        (*pRegisters)[m_ucIndex] = ucValue;
    }
}

std::optional<uint16_t> CSuperIo::_MonitorPort() const {
    const auto it = m_Parts.find({m_usPort, CSuperIoPart::kDevice, CSuperIoPart::kMonitorDevice});
    if (it == m_Parts.end() || it->second.size() <= kBaseLow || !(it->second[kActive] & 1)) return std::nullopt;
    const auto usBase = static_cast<uint16_t>((it->second[kBaseHigh] << 8 | it->second[kBaseLow]) & kDecoded);
    return usBase ? std::optional(static_cast<uint16_t>(usBase + kMonitorOffset)) : std::nullopt;
}

void CSuperIo::Describe(CMachineDescription& rDescription) const {
    for (const auto& [Part, rRegisters] : m_Parts) rDescription.SuperIo[Part] = rRegisters;
    if (const auto it = rDescription.SuperIo.find({m_usPort, CSuperIoPart::kMonitor}); it != rDescription.SuperIo.end())
        m_Monitor.Describe(rDescription, it->second);
}

}  // namespace vxtsim
