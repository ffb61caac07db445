#include "fan_control.h"

#include <array>
#include <map>

#include "common/exit_code.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CEnvironmentController;
using vxtapi::CSouthBridge;
using vxttools::CFailure;
using vxttools::CQuantity;
using vxttools::EExit;

namespace {

// --- the two kinds of devices

/// The chip takes manual control away from the fan two further on: that one is put back as it was.
bool g_SetDuty(CSouthBridge& rBridge, int32_t nFan, uint32_t uPercent) {
    constexpr int32_t kFans = 4;
    const int32_t nOther = nFan + 2;
    uint32_t uOther = 0;
    const bool bHasOther = nOther < kFans && rBridge.SaveFanControl(nOther, &uOther);
    if (nOther < kFans && !bHasOther) return false;
    const bool bRetCode = rBridge.SetCurrentFanSpeed(nFan, uPercent);
    return (!bHasOther || rBridge.RestoreFanControl(nOther, uOther)) && bRetCode;
}
bool g_SetDuty(CEnvironmentController& rChip, int32_t nFan, uint32_t uPercent) {
    return rChip.SetCurrentFanSpeedPercentage(nFan, uPercent);
}

/// The lower one of a fan's two status bits.
EFanMode g_Mode(CSouthBridge& rBridge, int32_t nFan) {
    return rBridge.GetFanControlStatus(nFan) & 1 ? EFanMode::kManual : EFanMode::kAutomatic;
}
/// One make refuses a duty while the chip drives the fan; the other tells nothing of it.
EFanMode g_Mode(CEnvironmentController& rChip, int32_t nFan) {
    constexpr std::wstring_view kTells = L"ITE";
    uint32_t uIgnored = 0;
    if (rChip.GetVendor() != kTells || !rChip.SaveFanControl(nFan, &uIgnored)) return EFanMode::kUnknown;
    return rChip.GetCurrentFanSpeedPercentage(nFan, &uIgnored) ? EFanMode::kManual : EFanMode::kAutomatic;
}

std::optional<int32_t> g_StartTemperature(CSouthBridge&, int32_t) { return std::nullopt; }
std::optional<int32_t> g_StartTemperature(CEnvironmentController& rChip, int32_t nFan) {
    int32_t nCelsius = 0;
    return rChip.GetTemperatureLimitOfFanStart(nFan, &nCelsius) ? std::optional(nCelsius) : std::nullopt;
}

template <class TDevice> CFanOperations g_Operations(const CInventoryEntry& rEntry, int32_t nFan) {
    auto& rDevice = *static_cast<TDevice*>(rEntry.pDevice);
    return {
        .SetDuty = [&rDevice, nFan](uint32_t uPercent) { return g_SetDuty(rDevice, nFan, uPercent); },
        .Duty =
            [&rDevice, nFan] {
                uint32_t uPercent = 0;
                const bool bRead = rDevice.GetCurrentFanSpeedPercentage(nFan, &uPercent) && uPercent <= 100;
                return bRead ? std::optional(uPercent) : std::nullopt;
            },
        .Save = [&rDevice, nFan](uint32_t& ruState) { return rDevice.SaveFanControl(nFan, &ruState); },
        .Restore = [&rDevice, nFan](uint32_t uState) { return rDevice.RestoreFanControl(nFan, uState); },
        .Mode = [&rDevice, nFan] { return g_Mode(rDevice, nFan); },
        .StartTemperature =
            [&rDevice, nFan] {
                constexpr vxttools::CPlausible kCelsius{-127, 127, true};
                CQuantity Start{.sId = {}, .sLabel = "Starts at", .sUnit = "°C"};
                const std::optional<int32_t> oCelsius = g_StartTemperature(rDevice, nFan);
                if (oCelsius && *oCelsius < kCelsius.dHigh) Start.Judge(*oCelsius, kCelsius);
                if (!Start.oValue)
                    Start.sReason = oCelsius ? "never: its limit is as high as it goes" : "the chip does not tell it";
                return Start;
            },
    };
}

/// "environment/0/fan/1" -> "environment/fan/1"
std::string g_WithoutIndex(const std::string& sName) {
    const size_t uIndex = sName.find('/'), uRest = sName.find('/', uIndex + 1);
    return sName.substr(0, uIndex) + sName.substr(uRest);
}

}  // namespace

CFan::CFan(const CInventoryEntry& rDevice, uint32_t uFan, std::optional<CSensor> oSpeed, std::optional<CSensor> oDuty)
    : m_sId(g_DevicePath(rDevice.eType, rDevice.uIndex) + "/fan/" + std::to_string(uFan)),
      m_sChip(vxttools::g_Utf8(rDevice.pDevice->GetModel())),
      m_uFan(uFan),
      m_oSpeed(std::move(oSpeed)),
      m_oDuty(std::move(oDuty)),
      m_Operations(rDevice.eType == vxtapi::kDeviceSouthBridge
                       ? g_Operations<CSouthBridge>(rDevice, static_cast<int32_t>(uFan))
                       : g_Operations<CEnvironmentController>(rDevice, static_cast<int32_t>(uFan))),
      m_eMode(IsControlled() ? m_Operations.Mode() : EFanMode::kUnknown) {}

std::optional<double> CFan::Duty() const {
    if (!IsControlled() || m_eMode == EFanMode::kAutomatic) return std::nullopt;
    const std::optional<uint32_t> oPercent = m_Operations.Duty();
    return oPercent ? std::optional<double>(*oPercent) : std::nullopt;
}

std::optional<double> CFan::Speed() const { return m_oSpeed ? g_ReadSensor(*m_oSpeed).oValue : std::nullopt; }

bool CFan::SetDuty(uint32_t uPercent) {
    if (!m_Operations.SetDuty(uPercent)) return false;
    if (m_eMode == EFanMode::kAutomatic) m_eMode = EFanMode::kManual;
    return true;
}

std::optional<CFanState> CFan::Save() const {
    CFanState State{};
    if (!IsControlled() || !m_Operations.Save(State.uControl)) return std::nullopt;
    if (m_eMode == EFanMode::kAutomatic) return State;
    State.oDuty = m_Operations.Duty();
    return State.oDuty ? std::optional(State) : std::nullopt;
}

bool CFan::Restore(const CFanState& rState) {
    constexpr int kTries = 3;
    for (int i = 0; i < kTries; ++i) {
        if (!m_Operations.Restore(rState.uControl)) continue;
        if (!rState.oDuty) return m_eMode = EFanMode::kAutomatic, true;
        if (m_Operations.Duty() == rState.oDuty) return true;
    }
    return false;
}

std::vector<CFan> g_FindFans(const CHostLibrary& rLibrary) {
    const std::vector<CSensor> Sensors = g_FindSensors(rLibrary);
    std::vector<CFan> Fans;
    for (const vxtapi::eDeviceType eType : {vxtapi::kDeviceSouthBridge, vxtapi::kDeviceEnvironment})
        for (const CInventoryEntry& rDevice : rLibrary.Devices(eType)) {
            const std::string sPath = g_DevicePath(rDevice.eType, rDevice.uIndex) + "/";
            std::map<uint32_t, std::array<std::optional<CSensor>, 2>> ByNumber;  // speed, duty
            for (const CSensor& rSensor : Sensors)
                if (rSensor.oFan && rSensor.sId.starts_with(sPath))
                    ByNumber[*rSensor.oFan][rSensor.eKind == ESensor::kDuty] = rSensor;
            for (auto& [uFan, rFound] : ByNumber)
                Fans.emplace_back(rDevice, uFan, std::move(rFound[0]), std::move(rFound[1]));
        }
    return Fans;
}

CFan& g_FindFan(const CHostLibrary& rLibrary, std::vector<CFan>& rFans, const std::string& sName) {
    const std::string sWanted = sName.starts_with('/') ? sName.substr(1) : sName;
    std::vector<CFan*> Found;
    std::vector<std::string> Known;
    std::string sFound;
    for (CFan& rFan : rFans) {
        Known.push_back(rFan.Name());
        const std::string sFull = "/" + rFan.Name();
        if (rFan.Name() != sWanted && g_WithoutIndex(rFan.Name()) != sWanted && !sFull.ends_with("/" + sWanted))
            continue;
        Found.push_back(&rFan);
        sFound += (sFound.empty() ? "" : ", ") + rFan.Name();
    }
    if (Found.size() > 1) throw CFailure(EExit::kUsage, "'" + sName + "' may be any of " + sFound);
    if (Found.empty()) {
        const CFailure Absent = rLibrary.Absent("fan '" + sName + "'");
        throw CFailure(Absent.Exit(), Absent.what() + std::string("; 'vxtctl fan' lists all") +
                                          vxttools::g_DidYouMean(sWanted, Known));
    }
    return *Found.front();
}

}  // namespace vxtctl
