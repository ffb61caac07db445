#include "devices/chipset/super_io.h"

#include <algorithm>
#include <cwchar>

#include "api/log/log.h"

namespace vxt {

namespace {

constexpr uint8_t kLogicalDeviceRegister = 0x07, kActiveRegister = 0x30, kBaseRegister = 0x60;
constexpr uint8_t kMonitorDevice = 4;

}  // namespace

CSuperIo::CSuperIo(CDriverHandler& rDriver, const CSuperIoRules& rRules)
    : CDeviceBase(rRules.Identity), m_rDriver(rDriver), m_rRules(rRules), m_pChip(rRules.Chips.data()) {}

bool CSuperIo::TakeName(uint16_t usId) {
    const auto pChip = std::ranges::find(m_rRules.Chips, usId, &CSuperIoChip::usId);
    if (pChip == m_rRules.Chips.end()) return false;
    m_pChip = &*pChip;
    std::swprintf(m_szName.data(), m_szName.size(), L"%ls SIO Chip", m_pChip->pszModel);
    g_GetLog().WriteLog(kLogInformation, "Found device %ls.", m_szName.data());  // ASCII
    return true;
}

const char* CSuperIo::FindMonitor(uint16_t usAlignment) {
    constexpr const char* kRequestFailed = "bRetCode";
    const CPortPair Chip(m_rDriver, m_usPort);
    uint8_t ucActive = 0;
    if (!Chip.Write(kLogicalDeviceRegister, kMonitorDevice) || !Chip.Read(kActiveRegister, ucActive))
        return kRequestFailed;
    if (ucActive == 0) {
        g_GetLog().WriteLog(kLogError, "%ls is not activated.", GetModel());
        return nullptr;
    }
    uint16_t usBaseAddr = 0;
    if (!Chip.ReadWord(kBaseRegister, usBaseAddr)) return kRequestFailed;
    m_usBaseAddr = static_cast<uint16_t>(usBaseAddr / usAlignment * usAlignment);
    return m_usBaseAddr != 0 ? nullptr : "m_usBaseAddr != 0";
}

}  // namespace vxt
