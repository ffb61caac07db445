#include "devices/chipset/f71882.h"

#include <algorithm>

#include "api/log/log_checks.h"
#include "devices/chipset/f71882_registers.h"
#include "registers/scope_exit.h"

namespace vxt {

namespace {

using namespace f71882;

constexpr CSuperIoChip kChips[] = {{0x0541, L"F71882", kMap}, {0x0723, L"F71889", kMap}};
constexpr CSuperIoRules kRules{.pszClass = "CF71882",
                               .Identity = {.eType = vxtapi::kDeviceEnvironment,
                                            .pszName = L"Fintek SIO Chip",
                                            .pszDescription = L"F718xx SIO Chip",
                                            .pszVendor = L"Fintek"},
                               .Chips = kChips};

}  // namespace

CF71882::CF71882(CDriverHandler& rDriver) : CSuperIo(rDriver, kRules) {}

bool CF71882::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    if (!std::ranges::any_of(kPorts, [this](uint16_t usPort) { return _Find_F71882(usPort); })) return false;
    const char* const pszFailed = FindMonitor();
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    if (m_usBaseAddr == 0) return false;
    const bool bRetCode = _ReadScales();
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CF71882::_Find_F71882(uint16_t usPort) {
    const CPortPair Chip(m_rDriver, usPort);
    CScopeExit Leave([&] { Chip.Select(kLeaveKey); });
    uint16_t usId = 0;
    bool bRetCode = Chip.Select(kEnterKey) && Chip.Select(kEnterKey) && Chip.ReadWord(kChipIdRegister, usId);
    LOG_PROCESS_ERROR(bRetCode);
    if (!TakeName(usId)) return false;
    uint8_t ucData[2]{};
    bRetCode = Chip.Read(kVendorHigh, ucData[0]);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(ucData[0] == (SIO_FINTEK_ID >> 8));
    bRetCode = Chip.Read(kVendorLow, ucData[1]);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(ucData[1] == (SIO_FINTEK_ID & 0x00FF));
    m_usPort = usPort;
    Leave.Dismiss();  // Kept: the chip stays in configuration mode
    return true;
}

bool CF71882::_ReadScales() {
    uint8_t ucFlags = 0, ucUnused = 0;
    uint8_t aucScales[2]{};
    for (size_t i = 0; i < std::size(kVoltageScales); ++i)
        if (!Monitor().Read(kVoltageScales[i], aucScales[i])) return false;
    for (size_t i = 0; i < std::size(kScaleBits); ++i) {
        const auto& [ucRegister, ucLowBit] = kScaleBits[i];
        m_auScales[i] = kScales[aucScales[ucRegister - kVoltageScales[0]] >> ucLowBit & 3];
    }
    if (!Monitor().Read(kFlags, ucFlags)) return false;
    for (size_t i = 0; i < m_abFlags.size(); ++i) m_abFlags[i] = ucFlags >> i & 1;
    return Monitor().Read(kUnused, ucUnused);  // Kept: read, and nothing made of it
}

bool CF71882::GetCurrentFanSpeedPercentage(int32_t nFan, uint32_t* puPercent) {
    uint32_t uDuty = 0;
    if (!Map().Duties.Has(nFan)) return false;
    LOG_PROCESS_ERROR(puPercent);
    const bool bRetCode = Map().Duties.ReadRaw(Monitor(), nFan, uDuty);
    LOG_PROCESS_ERROR(bRetCode);
    *puPercent = g_DutyPercent(uDuty, kFullDuty);
    return true;
}

bool CF71882::SetCurrentFanSpeedPercentage(int32_t nFan, uint32_t uPercent) {
    if (!Map().Duties.Has(nFan)) return false;
    LOG_PROCESS_ERROR(uPercent <= 100);
    const bool bRetCode = Monitor().Write(Map().Duties.Register(nFan), g_DutyOf(uPercent, kFullDuty));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CF71882::SaveFanControl(int32_t nFan, uint32_t* puState) {
    LOG_PROCESS_ERROR(puState);
    LOG_PROCESS_ERROR(Map().Duties.Has(nFan));
    const bool bRetCode = Map().Duties.ReadRaw(Monitor(), nFan, *puState);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CF71882::RestoreFanControl(int32_t nFan, uint32_t uState) {
    LOG_PROCESS_ERROR(Map().Duties.Has(nFan));
    const bool bRetCode = Monitor().Write(Map().Duties.Register(nFan), static_cast<uint8_t>(uState));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

uint32_t CF71882::GetCurrentTemperature(int32_t nIndex) {
    constexpr uint32_t kNoTemperature = 0xFFFF;
    if (!Map().Temperatures.Has(nIndex)) return kNoTemperature;
    uint32_t uCelsius = 0;
    const bool bRetCode = Map().Temperatures.ReadRaw(Monitor(), nIndex, uCelsius);
    LOG_PROCESS_ERROR_OR(kNoTemperature, bRetCode);
    return uCelsius;
}

double CF71882::GetCurrentVoltage(int32_t nIndex) {
    if (!Map().Voltages.Has(nIndex)) return 0.0;
    uint32_t uRaw = 0;
    const bool bRetCode = Map().Voltages.ReadRaw(Monitor(), nIndex, uRaw);
    LOG_PROCESS_ERROR(bRetCode);
    const auto uIndex = static_cast<size_t>(nIndex);
    return uRaw * kInputFactors[uIndex] * kVoltsPerStep * m_auScales[uIndex];
}

}  // namespace vxt
