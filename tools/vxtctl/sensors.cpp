#include "sensors.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

#include "common/findings.h"
#include "common/text.h"
#include "core_family.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CCPU;
using vxtapi::CEnvironmentController;
using vxtapi::CSouthBridge;
using vxttools::CLimits;
using vxttools::CPlausible;
using vxttools::CQuantity;

namespace {

constexpr double kNone = CSouthBridge::kNoReading;
constexpr const char* kNotConnected = "nothing is connected there, or it could not be read";
constexpr const char* kStandsStill = "it stands still, is not connected, or could not be read";

struct CExpected {
    CPlausible Plausible;
    const char* pszNone;
};
struct CKindRow {
    const char* pszWord;   ///< in paths
    const char* pszLabel;  ///< before the number
    const char* pszUnit;
    CExpected Expected;
};
/// By ESensor. Sensors of silicon end at 125 °C: what reads more is open or does not answer.
constexpr CKindRow kKinds[] = {
    {"temperature", "Temperature", "°C", {{-55, 125, true}, kNotConnected}},
    {"fan", "Fan", "RPM", {{50, 30'000}, kStandsStill}},
    {"duty", "Fan duty", "%", {{0, 100, true}, "the chip drives the fan itself, or it could not be read"}},
    {"voltage",
     "Voltage",
     "V",
     {{0.0001, 30}, "nothing is connected there, its scale is not known, or it could not be read"}},
};

/// Equal sensors of one kind of device.
template <class TDevice> struct CSeriesRow {
    ESensor eKind;
    int32_t nCount;
    double (*pRead)(TDevice& rDevice, int32_t nIndex);
    std::string_view sOnly = {};  ///< name of the one class of devices that has them; empty: all have
    CLimits (*pLimits)(TDevice& rDevice, int32_t nIndex) = nullptr;
    const CExpected* pExpected = nullptr;  ///< null: as sensors of that kind are
};
constexpr std::string_view kSQ3 = "SQ3 Series Chipset", kSQ4 = "SQ4 Series Chipset", kFintek = "Fintek SIO Chip",
                           kIte = "ITE SIO Chip";

// --- the chips

/// An input that reads 0 is below the coldest that there is.
double g_Celsius(double dReading) {
    constexpr double kColdest = -273.15;
    return dReading > kColdest ? dReading : kNone;
}

double g_BridgeTemperature(CSouthBridge& rBridge, int32_t nIndex) {
    return g_Celsius(rBridge.GetCurrentTemperature(nIndex));
}

/// The older chip tells kelvins divided by 273.16.
double g_OldBridgeTemperature(CSouthBridge& rBridge, int32_t nIndex) {
    return g_Celsius((rBridge.GetCurrentTemperature(nIndex) - 1) *
                     273.16);  // of no reading it makes less than the coldest
}

/// A fan that stands still reads 10 RPM or infinity on the older chip.
double g_BridgeFan(CSouthBridge& rBridge, int32_t nIndex) {
    const double dReading = rBridge.GetCurrentFanSpeed(nIndex);
    constexpr CPlausible kFan = kKinds[static_cast<size_t>(ESensor::kFan)].Expected.Plausible;
    return dReading >= kFan.dLow && std::isfinite(dReading) ? dReading : kNone;
}

/// The highest of the limits that a chip has for a temperature.
CLimits g_BridgeLimits(CSouthBridge& rBridge, int32_t nIndex) {
    constexpr CPlausible kLimit = kKinds[0].Expected.Plausible;
    CLimits Limits;
    for (int32_t nWhich = 0; nWhich < 3; ++nWhich) {
        const double dLimit = rBridge.GetTemperatureThreshold(nIndex, nWhich);
        if (dLimit > 0 && dLimit <= kLimit.dHigh) Limits.oMaximum = std::max(dLimit, Limits.oMaximum.value_or(dLimit));
    }
    return Limits;
}

template <class TDevice> double g_Duty(TDevice& rDevice, int32_t nFan) {
    uint32_t uPercent = 0;
    return rDevice.GetCurrentFanSpeedPercentage(nFan, &uPercent) ? uPercent : kNone;
}

/// Ten bits of 2.933 mV: the highest, 3.0005 V, stands for all that is more, and for a converter that does not answer.
constexpr CExpected kBridgeVoltage{{0.0001, 3.0}, kKinds[static_cast<size_t>(ESensor::kVoltage)].Expected.pszNone};

/// None while the chip drives the fan itself: what was written last is not in force then.
double g_BridgeDuty(CSouthBridge& rBridge, int32_t nFan) {
    return rBridge.GetFanControlStatus(nFan) & 1 ? g_Duty(rBridge, nFan) : kNone;
}

constexpr CSeriesRow<CSouthBridge> kSouthBridge[] = {
    {ESensor::kTemperature, 4, g_OldBridgeTemperature, kSQ3},
    {ESensor::kTemperature, 4, g_BridgeTemperature, kSQ4, g_BridgeLimits},
    {ESensor::kFan, 3, g_BridgeFan},
    {ESensor::kDuty, 3, g_BridgeDuty, kSQ4},
    {.eKind = ESensor::kVoltage,
     .nCount = 8,
     .pRead = [](CSouthBridge& r, int32_t nIndex) { return r.GetCurrentVoltage(nIndex); },
     .pExpected = &kBridgeVoltage},
};

/// Whole numbers have two marks for a reading that is none.
double g_Whole(uint32_t uReading) {
    constexpr uint32_t kNoTemperature = 0xFFFF;
    return uReading == CEnvironmentController::kNoReading || uReading == kNoTemperature ? kNone : uReading;
}

constexpr CSeriesRow<CEnvironmentController> kEnvironment[] = {
    {ESensor::kTemperature, 3,
     [](CEnvironmentController& r, int32_t nIndex) { return g_Whole(r.GetCurrentTemperature(nIndex)); }, kFintek},
    {ESensor::kFan, 3, [](CEnvironmentController& r, int32_t nIndex) { return g_Whole(r.GetCurrentFanSpeed(nIndex)); },
     kIte},
    {ESensor::kDuty, 3, g_Duty<CEnvironmentController>},
    {ESensor::kVoltage, 8, [](CEnvironmentController& r, int32_t nIndex) { return r.GetCurrentVoltage(nIndex); },
     kFintek},
};

/// The first generation of K8 has no temperature in its thermal register.
double g_CoreTemperature(CCPU& rCpu, int32_t) {
    double dCelsius = kNone;
    const void* const pThermal = g_Family(rCpu) == EFamily::kFirstK8 ? nullptr : rCpu.GetThermTrip();
    if (pThermal) std::memcpy(&dCelsius, pThermal, sizeof dCelsius);
    return dCelsius;
}

constexpr CExpected kCoreTemperature{{0.0001, 150}, "the thermal register of this processor holds none"};
constexpr CExpected kCoreVoltage{{0.0001, 3}, nullptr};

constexpr CSeriesRow<CCPU> kProcessor[] = {
    {.eKind = ESensor::kTemperature, .nCount = 1, .pRead = g_CoreTemperature, .pExpected = &kCoreTemperature},
    {.eKind = ESensor::kVoltage,
     .nCount = 1,
     .pRead = [](CCPU& r, int32_t) { return r.GetCurrentVoltage(); },
     .pExpected = &kCoreVoltage},
};

template <class TDevice>
void g_AddSeries(std::vector<CSensor>& rSensors, const CInventoryEntry& rEntry, const CSeriesRow<TDevice>& rRow) {
    auto& rDevice = *static_cast<TDevice*>(rEntry.pDevice);
    if (!rRow.sOnly.empty() && vxttools::g_Utf8(rDevice.GetName()) != rRow.sOnly) return;
    const CKindRow& rKind = kKinds[static_cast<size_t>(rRow.eKind)];
    const CExpected& rExpected = rRow.pExpected ? *rRow.pExpected : rKind.Expected;
    const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
    for (int32_t i = 0; i < rRow.nCount; ++i) {
        const std::string sNumber = std::to_string(i);
        const bool bIsCore = rEntry.eType == vxtapi::kDeviceCpu;
        CSensor& rSensor = rSensors.emplace_back(
            CSensor{.sId = sPath + "/" + rKind.pszWord + "/" + sNumber,
                    .sDevicePath = sPath,
                    .sDevice = bIsCore ? "Core " + std::to_string(rEntry.uIndex) : vxttools::g_Utf8(rDevice.GetModel()),
                    .sLabel = rKind.pszLabel + (rRow.nCount > 1 ? " " + sNumber : std::string()),
                    .eKind = rRow.eKind,
                    .sUnit = rKind.pszUnit,
                    .Plausible = rExpected.Plausible,
                    .pszNone = rExpected.pszNone,
                    .Read = [&rDevice, pRead = rRow.pRead, i] { return pRead(rDevice, i); }});
        if (rRow.pLimits) rSensor.Limits = rRow.pLimits(rDevice, i);
        if (rRow.eKind == ESensor::kFan || rRow.eKind == ESensor::kDuty) rSensor.oFan = static_cast<uint32_t>(i);
    }
}

template <class TDevice>
void g_AddDevices(std::vector<CSensor>& rSensors, const CHostLibrary& rLibrary, vxtapi::eDeviceType eType,
                  std::span<const CSeriesRow<TDevice>> Rows) {
    for (const CInventoryEntry& rEntry : rLibrary.Devices(eType))
        for (const CSeriesRow<TDevice>& rRow : Rows) g_AddSeries(rSensors, rEntry, rRow);
}

}  // namespace

const char* g_KindWord(ESensor eKind) { return kKinds[static_cast<size_t>(eKind)].pszWord; }

const char* g_KindLabel(ESensor eKind) { return kKinds[static_cast<size_t>(eKind)].pszLabel; }
const char* g_KindUnit(ESensor eKind) { return kKinds[static_cast<size_t>(eKind)].pszUnit; }

std::optional<ESensor> g_KindOfId(std::string_view sId) {
    const bool bIsId = sId.starts_with('/') && std::ranges::all_of(sId, [](char c) {
                           return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '/';
                       });
    const size_t uNumber = sId.rfind('/'), uWord = bIsId && uNumber > 0 ? sId.rfind('/', uNumber - 1) : sId.npos;
    if (uWord == sId.npos || !vxttools::g_ParseUnsigned(sId.substr(uNumber + 1))) return std::nullopt;
    const auto it = std::ranges::find(kKinds, sId.substr(uWord + 1, uNumber - uWord - 1), &CKindRow::pszWord);
    return it == std::end(kKinds) ? std::nullopt : std::optional(static_cast<ESensor>(it - std::begin(kKinds)));
}

std::vector<CSensor> g_FindSensors(const CHostLibrary& rLibrary) {
    std::vector<CSensor> Sensors;
    g_AddDevices<CCPU>(Sensors, rLibrary, vxtapi::kDeviceCpu, kProcessor);
    g_AddDevices<CSouthBridge>(Sensors, rLibrary, vxtapi::kDeviceSouthBridge, kSouthBridge);
    g_AddDevices<CEnvironmentController>(Sensors, rLibrary, vxtapi::kDeviceEnvironment, kEnvironment);
    return Sensors;
}

CQuantity g_ReadSensor(const CSensor& rSensor) {
    CQuantity Quantity{.sId = rSensor.sId, .sLabel = rSensor.sLabel, .sUnit = rSensor.sUnit, .Limits = rSensor.Limits};
    Quantity.Judge(rSensor.Read(), rSensor.Plausible);
    if (!Quantity.oValue && !Quantity.bOutOfRange)
        Quantity.sReason = rSensor.pszNone ? rSensor.pszNone : vxttools::kNotRead;
    return Quantity;
}

}  // namespace vxtctl
