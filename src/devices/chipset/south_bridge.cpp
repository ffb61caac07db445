#include "devices/chipset/south_bridge.h"

#include <algorithm>

#include "api/log/log_checks.h"
#include "devices/chipset/south_bridge_registers.h"
#include "platform/clock.h"

namespace vxt {

namespace {

constexpr uint16_t kChipVendor = 0x1002;
constexpr uint16_t kSQ3Devices[] = {0x4380, 0x4381};
/// SATA functions, by which the chip is known.
constexpr struct {
    uint16_t usDevice;
    const wchar_t* pszName;
} kSQ4Devices[] = {
    {0x4390, L"SQ4 SATA Mode"},  {0x4391, L"SQ4 AHCI Mode"}, {0x4392, L"SQ4 RAID Mode"},
    {0x4393, L"SQ4 RAID5 Mode"}, {0x4394, L"SQ4 FC Mode"},
};
constexpr CPciAddress kLpcBridge{.uBus = 0, .uDevice = 0x14, .uFunction = 3};
constexpr uint32_t kVariantRegister = 0x9C, kVariantE = 1;

constexpr CSouthBridgeRules kSQ3Rules{
    .pszClass = "CSQ3",
    .Identity = {.eType = vxtapi::kDeviceSouthBridge, .pszName = L"SQ3 Series Chipset", .pszVendor = kMakerVendor},
    .Fans = sb::g_Fans("index >= 0 && index <3", sb::g_FanSpeed),
    .Temperatures = sb::g_Temperatures(sb::g_OldTemperature),
    .Voltages = sb::kVoltages};
constexpr CSouthBridgeRules kSQ4Rules{
    .pszClass = "CSQ4",
    .Identity = {.eType = vxtapi::kDeviceSouthBridge, .pszName = L"SQ4 Series Chipset", .pszVendor = kMakerVendor},
    .Fans = sb::g_Fans(nullptr, sb::g_GuardedFanSpeed),
    .Temperatures = sb::g_Temperatures(sb::g_Temperature),
    .Voltages = sb::kVoltages};

constexpr const char* kCalibrationItem = "Core Trim Boost";
constexpr const char* kCalibrationOn = "Auto";
constexpr size_t kComparedOption = 20;  ///< bytes of an option's text that count

std::string_view g_Option(const QOR_CMOS_ITEM& rItem, size_t uValue) {
    // A value beyond the options has no text.
    return uValue < kCmosOptions ? g_CmosText(rItem.szOptionList[uValue]).substr(0, kComparedOption) : "";
}

}  // namespace

// --- what both chips have

CMonitoringSouthBridge::CMonitoringSouthBridge(CDriverHandler& rDriver, const CSouthBridgeRules& rRules)
    : CSouthBridge(rRules.Identity),
      m_rDriver(rDriver),
      m_Function(rDriver),
      m_Monitor(rDriver, sb::kMonitorPort),
      m_PowerManagement(rDriver, sb::kPowerManagementPort),
      m_rRules(rRules) {}

// The purpose of the sequence is not known; boards have come to rely on it as it is.
bool CMonitoringSouthBridge::PreparePowerManagement() {
    uint8_t uc8A = 0, uc8B = 0, uc87 = 0;
    const bool bRetCode = m_PowerManagement.Read(0x8A, uc8A) && m_PowerManagement.Write(0x8A, 0xF3) &&
                          m_PowerManagement.Read(0x8B, uc8B) && m_PowerManagement.Write(0x8B, 0x08) &&
                          m_PowerManagement.Read(0x87, uc87) &&
                          m_PowerManagement.Write(0x87, static_cast<uint8_t>(uc87 | 1)) &&
                          m_PowerManagement.Write(0x8A, uc8A) && m_PowerManagement.Write(0x8B, uc8B);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

double CMonitoringSouthBridge::_Read(const CSensorSeries& rSeries, int32_t nIndex, const char* pszOperation) const {
    const auto LogFunction = [pszOperation](const char*) { return pszOperation; };
    if (!rSeries.Has(nIndex) && !rSeries.pszCheck) return kNoReading;
    LOG_PROCESS_ERROR_OR(kNoReading, rSeries.Has(nIndex), rSeries.pszCheck);
    uint32_t uRaw = 0;
    const bool bRetCode = rSeries.ReadRaw(m_Monitor, nIndex, uRaw);
    LOG_PROCESS_ERROR_OR(kNoReading, bRetCode);
    return rSeries.pConvert(uRaw);
}

double CMonitoringSouthBridge::GetCurrentFanSpeed(int32_t nIndex) { return _Read(m_rRules.Fans, nIndex); }
double CMonitoringSouthBridge::GetCurrentTemperature(int32_t nIndex) { return _Read(m_rRules.Temperatures, nIndex); }
double CMonitoringSouthBridge::GetCurrentVoltage(int32_t nIndex) { return _Read(m_rRules.Voltages, nIndex); }

// --- SQ3

CSQ3::CSQ3(CDriverHandler& rDriver) : CMonitoringSouthBridge(rDriver, kSQ3Rules) {}

bool CSQ3::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    const bool bRetCode =
        std::ranges::any_of(kSQ3Devices, [this](uint16_t usDevice) { return m_Function.Find(kChipVendor, usDevice); });
    LOG_PROCESS_ERROR(bRetCode);
    m_pszModel = L"QOR SQ3 Chipset";
    return true;
}

// --- SQ4

CSQ4::CSQ4(CDriverHandler& rDriver, CCMOSItemList& rItems)
    : CMonitoringSouthBridge(rDriver, kSQ4Rules), m_rItems(rItems) {}

bool CSQ4::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    const auto pDevice = std::ranges::find_if(
        kSQ4Devices, [this](const auto& rDevice) { return m_Function.Find(kChipVendor, rDevice.usDevice); });
    const bool bFound = pDevice != std::end(kSQ4Devices);
    LOG_PROCESS_ERROR(bFound);
    m_pszSataMode = pDevice->pszName;
    bool bRetCode = _ReadStatus();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = _AverageTemperature();
    LOG_PROCESS_ERROR(bRetCode);
    uint32_t uVariant = 0;
    bRetCode = CPciFunction(m_rDriver, kLpcBridge).Read(kVariantRegister, uVariant);
    LOG_PROCESS_ERROR(bRetCode);
    m_pszModel = uVariant & kVariantE ? L"QOR SQ4E Chipset" : L"QOR SQ4 Chipset";
    return true;
}

bool CSQ4::_ReadStatus() {
    uint32_t uVoltageStatus = 0;
    const bool bRetCode = m_Monitor.Read(sb::kFanStatus, m_ucFanStatus) &&
                          m_Monitor.Read(sb::kTemperatureStatus, m_ucTemperatureStatus) &&
                          sb::kVoltageStatus.ReadRaw(m_Monitor, 0, uVoltageStatus);
    m_usVoltageStatus = static_cast<uint16_t>(uVoltageStatus);
    return bRetCode;
}

bool CSQ4::_AverageTemperature() {
    constexpr uint8_t kOn = 4, kOff = 0;
    constexpr uint32_t kReadings = 16;
    if (!m_PowerManagement.Write(sb::kSensorClock, kOn)) return false;
    uint32_t uSum = 0;
    for (uint32_t i = 0; i < kReadings; ++i) {
        uint32_t uRaw = 0;
        if (!kSQ4Rules.Temperatures.ReadRaw(m_Monitor, 0, uRaw)) return false;
        uSum += uRaw;
        platform::Sleep(1);
    }
    m_uAverageTemperature = uSum / kReadings;
    return m_PowerManagement.Write(sb::kSensorClock, kOff);
}

// The texts of the index checks are kept letter for letter: hosts search logs for them.
// clang-format off
uint32_t CSQ4::GetFanControlStatus(int32_t index) {
    LOG_PROCESS_ERROR(index >=0 && index < 4);
    return sb::g_ChannelStatus(m_ucFanStatus, index);
}

uint32_t CSQ4::GetTemperatureControlStatus(int32_t index) {
    LOG_PROCESS_ERROR(index >=0 && index < 4);
    return sb::g_ChannelStatus(m_ucTemperatureStatus, index);
}

uint32_t CSQ4::GetVoltageControlStatus(int32_t index) {
    LOG_PROCESS_ERROR(index >=0 && index < 7);
    return sb::g_ChannelStatus(m_usVoltageStatus, index);
}

double CSQ4::GetTemperatureThreshold(int32_t index, int32_t nWhich) {
    LOG_PROCESS_ERROR_OR(kNoReading, index >= 0 && index <4);
    const int64_t llRegister = sb::g_ThresholdRegister(index, nWhich);
    LOG_PROCESS_ERROR_OR(kNoReading, llRegister >= 0 && llRegister < 0xFF);  // it and the next one
    const auto ucRegister = static_cast<uint8_t>(llRegister);
    const CSensorSeries Threshold{.nCount = 1, .ucLow = ucRegister, .ucHigh = static_cast<uint8_t>(ucRegister + 1)};
    uint32_t uRaw = 0;
    const bool bRetCode = Threshold.ReadRaw(m_Monitor, 0, uRaw);
    LOG_PROCESS_ERROR_OR(kNoReading, bRetCode);
    return sb::g_Temperature(uRaw);
}
// clang-format on

// --- SQ4: fan control

bool CSQ4::SetCurrentFanSpeed(int32_t nIndex, uint32_t uPercent) {
    LOG_PROCESS_ERROR(nIndex >= 0 && nIndex < sb::kFans);
    LOG_PROCESS_ERROR(uPercent <= 100);
    uint8_t ucStatus = 0;
    bool bRetCode = m_Monitor.Read(sb::kFanStatus, ucStatus);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Monitor.WriteSelected(sb::g_Manual(ucStatus, nIndex));  // Kept: the index stands from reading
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Monitor.Write(sb::g_DutyRegister(nIndex), g_DutyOf(uPercent, sb::kFullDuty));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CSQ4::GetCurrentFanSpeedPercentage(int32_t nIndex, uint32_t* puPercent) {
    LOG_PROCESS_ERROR(puPercent);
    LOG_PROCESS_ERROR(nIndex >= 0 && nIndex < sb::kFans);
    uint8_t ucDuty = 0;
    const bool bRetCode = m_Monitor.Read(sb::g_DutyRegister(nIndex), ucDuty);
    LOG_PROCESS_ERROR(bRetCode);
    *puPercent = g_DutyPercent(ucDuty, sb::kFullDuty);
    return true;
}

bool CSQ4::SaveFanControl(int32_t nIndex, uint32_t* puState) {
    LOG_PROCESS_ERROR(puState);
    LOG_PROCESS_ERROR(nIndex >= 0 && nIndex < sb::kFans);
    uint8_t ucStatus = 0, ucDuty = 0;
    const bool bRetCode =
        m_Monitor.Read(sb::kFanStatus, ucStatus) && m_Monitor.Read(sb::g_DutyRegister(nIndex), ucDuty);
    LOG_PROCESS_ERROR(bRetCode);
    *puState = static_cast<uint32_t>(ucDuty << 8 | ucStatus);
    return true;
}

bool CSQ4::RestoreFanControl(int32_t nIndex, uint32_t uState) {
    LOG_PROCESS_ERROR(nIndex >= 0 && nIndex < sb::kFans);
    uint8_t ucStatus = 0;
    bool bRetCode = m_Monitor.Write(sb::g_DutyRegister(nIndex), static_cast<uint8_t>(uState >> 8));
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Monitor.Read(sb::kFanStatus, ucStatus);
    LOG_PROCESS_ERROR(bRetCode);
    const auto ucFan = static_cast<uint8_t>(0x11u << (2 * nIndex));
    bRetCode = m_Monitor.Write(sb::kFanStatus, static_cast<uint8_t>((ucStatus & ~ucFan) | (uState & ucFan)));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

// --- SQ4: clock calibration, a setup item of the firmware

bool CSQ4::IsCTBSupported() { return m_rItems.FindItem(kCalibrationItem) != CCMOSItemList::kNoItem; }

bool CSQ4::GetCTBState() {
    const uint16_t usItemIndex = m_rItems.FindItem(kCalibrationItem);
    LOG_PROCESS_ERROR(usItemIndex != 0xFFFF);
    const QOR_CMOS_ITEM* const pItemInfo = m_rItems.GetItemInfo(usItemIndex);
    LOG_PROCESS_ERROR(pItemInfo);
    const int32_t nItemValue = m_rItems.GetItemValue(usItemIndex);
    LOG_PROCESS_ERROR(nItemValue >= 0);
    // Kept: that it is off is reported like a failure.
    LOG_PROCESS_ERROR(g_Option(*pItemInfo, static_cast<size_t>(nItemValue)) != CMOS_ITEM_DISABLED,
                      "strcmp(pItemInfo->szOptionList[nItemValue], CMOS_ITEM_DISABLED)");
    return true;
}

bool CSQ4::SetCTBState(bool bEnable) {
    const uint16_t usItemIndex = m_rItems.FindItem(kCalibrationItem);
    LOG_PROCESS_ERROR(usItemIndex != 0xFFFF);
    const QOR_CMOS_ITEM* const pItemInfo = m_rItems.GetItemInfo(usItemIndex);
    LOG_PROCESS_ERROR(pItemInfo);
    const std::string_view sWanted = bEnable ? kCalibrationOn : CMOS_ITEM_DISABLED;
    const uint32_t uOptions = std::min<uint32_t>(pItemInfo->usOptionCount, kCmosOptions);
    uint32_t uValue = 0;
    while (uValue < uOptions && g_Option(*pItemInfo, uValue) != sWanted) ++uValue;
    if (uValue == uOptions) return true;  // Kept: an item without that option stays as it is
    const bool bRetCode = m_rItems.SetItemValue(usItemIndex, uValue);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

// --- SQ4: watchdog timer

bool CSQ4::_ReadWatchdogBase() {
    uint8_t ucControl = 0;
    if (!m_PowerManagement.Read(sb::kWatchdogControl, ucControl)) return false;
    uint32_t uBase = 0;
    for (uint8_t i = 0; i < 4; ++i) {
        uint8_t ucByte = 0;
        if (!m_PowerManagement.Read(static_cast<uint8_t>(sb::kWatchdogBase + i), ucByte)) return false;
        uBase |= uint32_t{ucByte} << (8 * i);
    }
    m_ulWDTBaseAddress = uBase;
    return true;
}

bool CSQ4::EnableWatchDogTimer(bool bEnable) {
    bool bRetCode = _ReadWatchdogBase();
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(m_ulWDTBaseAddress != 0);
    uint32_t uControl = 0;
    bRetCode = m_rDriver.ReadMemory(m_ulWDTBaseAddress, sizeof(uControl), &uControl);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_PowerManagement.Select(sb::kWatchdogControl);
    LOG_PROCESS_ERROR(bRetCode);
    if (bEnable) {
        bRetCode =
            m_PowerManagement.WriteSelected(sb::kWatchdogNothing) && m_PowerManagement.Select(sb::kWatchdogControl);
        LOG_PROCESS_ERROR(bRetCode);
    }
    bRetCode = m_PowerManagement.WriteSelected(bEnable ? sb::kWatchdogOn : sb::kWatchdogOff);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_rDriver.WriteMemory(uint64_t{m_ulWDTBaseAddress} + sb::kWatchdogCountOffset,
                                     sizeof(sb::kWatchdogCount), &sb::kWatchdogCount);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CSQ4::TriggerWatchDogTimer(bool bRun) {
    LOG_PROCESS_ERROR(m_ulWDTBaseAddress != 0);
    const uint32_t uControl = bRun ? sb::kWatchdogTrigger : sb::kWatchdogStop;
    const bool bRetCode = m_rDriver.WriteMemory(m_ulWDTBaseAddress, sizeof(uControl), &uControl);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

}  // namespace vxt
