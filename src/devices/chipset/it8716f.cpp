#include "devices/chipset/it8716f.h"

#include <algorithm>

#include "api/log/log_checks.h"
#include "devices/chipset/it8716f_registers.h"
#include "registers/scope_exit.h"

namespace vxt {

namespace {

using namespace it8716f;

constexpr CSuperIoChip kChips[] = {{0x8716, L"IT8716F", kMap}, {0x8718, L"IT8718F", kMap}, {0x8720, L"IT8720F", kMap}};
constexpr CSuperIoRules kRules{.pszClass = "CIT8716F",
                               .Identity = {.eType = vxtapi::kDeviceEnvironment,
                                            .pszName = L"ITE SIO Chip",
                                            .pszDescription = L"IT87xx SIO Chip",
                                            .pszVendor = L"ITE"},
                               .Chips = kChips};

/// The bit of a fan in registers that have one for each.
constexpr uint8_t g_FanBit(int32_t nFan) { return static_cast<uint8_t>(1u << nFan); }

}  // namespace

CIT8716F::CIT8716F(CDriverHandler& rDriver) : CSuperIo(rDriver, kRules) {}

bool CIT8716F::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    return std::ranges::any_of(kPorts, [this](uint16_t usPort) { return _Find_IT8716F(usPort); });
}

bool CIT8716F::_Find_IT8716F(uint16_t usPort) {
    const CPortPair Chip(m_rDriver, usPort);
    uint16_t usId = 0;
    bool bRetCode = std::ranges::all_of(kEnterKeys, [&](uint8_t ucKey) { return Chip.Select(ucKey); }) &&
                    Chip.Select(usPort == kPorts[0] ? kEnterKeyAt2E : kEnterKeyAt4E) &&
                    Chip.ReadWord(kChipIdRegister, usId);
    LOG_PROCESS_ERROR(bRetCode);
    // Leaving is a register's write here: another maker's chip must not get it.
    if (usId >> 8 != kMakersChips) return false;
    const CScopeExit Leave([&] { Chip.Write(kConfigureControl, kLeave); });
    if (!TakeName(usId)) return false;
    m_usPort = usPort;
    return _PrepareMonitor();
}

bool CIT8716F::_PrepareMonitor() {
    const auto LogFunction = [](const char*) { return "Init"; };
    const char* const pszFailed = FindMonitor(kMonitorAlignment);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    if (m_usBaseAddr == 0) return false;
    uint8_t ucVendor = 0, ucWideCounters = 0;
    const bool bRetCode = Monitor().Read(kVendorRegister, ucVendor) && Monitor().Read(kWideCounters, ucWideCounters);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(ucVendor == kVendor);
    for (size_t i = 0; i < m_abWideCounters.size(); ++i) m_abWideCounters[i] = ucWideCounters >> i & 1;
    return true;
}

uint32_t CIT8716F::GetCurrentFanSpeed(int32_t nFan) {
    if (!Map().Tachometers.Has(nFan)) return kNoReading;
    uint32_t uCount = 0;
    const bool bRetCode =
        Map().Tachometers.ReadRaw(Monitor(), nFan, uCount, m_abWideCounters[static_cast<size_t>(nFan)]);
    LOG_PROCESS_ERROR_OR(kNoReading, bRetCode);
    if (uCount == 0 || uCount >= kNoSignal) return kNoReading;
    return kTachometerClock / (2 * uCount);
}

bool CIT8716F::GetCurrentFanSpeedPercentage(int32_t nFan, uint32_t* puPercent) {
    if (!Map().Duties.Has(nFan)) return false;
    LOG_PROCESS_ERROR(puPercent);
    uint8_t ucModes = 0, ucSwitches = 0;
    bool bRetCode = Monitor().Read(kFanModes, ucModes);
    LOG_PROCESS_ERROR(bRetCode);
    if (!(ucModes & g_FanBit(nFan))) {
        bRetCode = Monitor().Read(kFanSwitches, ucSwitches);
        LOG_PROCESS_ERROR(bRetCode);
        *puPercent = ucSwitches & g_FanBit(nFan) ? 100 : 0;
        return true;
    }
    uint32_t uDuty = 0;
    bRetCode = Map().Duties.ReadRaw(Monitor(), nFan, uDuty);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR((uDuty & kAutomatic) == 0);
    *puPercent = g_DutyPercent(uDuty, kFullDuty);
    return true;
}

bool CIT8716F::_SetMode(int32_t nFan, bool bDuty) {
    uint8_t ucModes = 0;
    if (!Monitor().Read(kFanModes, ucModes)) return false;
    const auto ucWanted = static_cast<uint8_t>(bDuty ? ucModes | g_FanBit(nFan) : ucModes & ~g_FanBit(nFan));
    return ucWanted == ucModes || Monitor().WriteSelected(ucWanted);
}

bool CIT8716F::SetCurrentFanSpeedPercentage(int32_t nFan, uint32_t uPercent) {
    if (!Map().Duties.Has(nFan)) return false;
    LOG_PROCESS_ERROR(uPercent <= 100);
    const bool bRetCode =
        Monitor().Write(Map().Duties.Register(nFan), g_DutyOf(uPercent, kFullDuty)) && _SetMode(nFan, true);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CIT8716F::GetTemperatureLimitOfFanStart(int32_t zoneIndex, int32_t* pnCelsius) {
    LOG_PROCESS_ERROR(pnCelsius);
    LOG_PROCESS_ERROR(zoneIndex >= 0 && zoneIndex < MAX_ZONE);
    uint32_t uRaw = 0;
    const bool bRetCode = Map().StartLimits.ReadRaw(Monitor(), zoneIndex, uRaw);
    LOG_PROCESS_ERROR(bRetCode);
    *pnCelsius = static_cast<int32_t>(uRaw ^ 0x80) - 0x80;  // signed, eight bits
    return true;
}

// What a fan's control consists of: its duty register, and in bit 8 whether that is in force.

bool CIT8716F::SaveFanControl(int32_t nFan, uint32_t* puState) {
    LOG_PROCESS_ERROR(puState);
    LOG_PROCESS_ERROR(Map().Duties.Has(nFan));
    uint32_t uDuty = 0;
    uint8_t ucModes = 0;
    const bool bRetCode = Map().Duties.ReadRaw(Monitor(), nFan, uDuty) && Monitor().Read(kFanModes, ucModes);
    LOG_PROCESS_ERROR(bRetCode);
    *puState = uDuty | (ucModes & g_FanBit(nFan) ? 1u << 8 : 0u);
    return true;
}

bool CIT8716F::RestoreFanControl(int32_t nFan, uint32_t uState) {
    LOG_PROCESS_ERROR(Map().Duties.Has(nFan));
    const bool bRetCode =
        Monitor().Write(Map().Duties.Register(nFan), static_cast<uint8_t>(uState)) && _SetMode(nFan, uState >> 8 & 1);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

}  // namespace vxt
