#include "firmware_settings.h"

#include <algorithm>

#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CClockGenerator;
using vxtapi::CVoltageController;
using vxtapi::FirmwareLimits;
using vxttools::CChange;
using vxttools::CChangePlan;
using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CPlausible;
using vxttools::EExit;
using vxttools::kPlausibleClock;

namespace {

constexpr CPlausible kVoltage{0.0001, 30};  // V
constexpr const char* kNoValue = "the firmware gives no value";
constexpr uint32_t kLongestList = 1u << 20;
constexpr uint32_t kMostVoltages = 4096;

/// The firmware counts in kHz and mV: half a unit beside the wanted value is another value.
constexpr double kHalfUnit = 0.5e-3;

using CListOperation = bool (CClockGenerator::*)(double*, uint32_t&);

struct CClockRow {
    const char* pszKey;
    const char* pszLabel;
    CClockGenerator::eClock eWhich;
    double (CClockGenerator::*pRead)();
    bool (CClockGenerator::*pWrite)(double);
    CListOperation pList;  ///< null: the library offers none
};
constexpr CClockRow kClocks[] = {
    {"external", "External reference clock", CClockGenerator::kExternalClock, &CClockGenerator::GetExternalClock,
     &CClockGenerator::SetExternalClock, &CClockGenerator::GetExternalClockList},
    {"pcie", "PCIe clock", CClockGenerator::kPCIeClock, &CClockGenerator::GetPCIeClock, &CClockGenerator::SetPCIeClock,
     &CClockGenerator::GetPCIeClockList},
    {"third", "Third clock, the board's choice", CClockGenerator::kThirdClock, &CClockGenerator::GetThirdClock,
     &CClockGenerator::SetThirdClock, nullptr},
};

struct CFirmwareDevice {
    CInventoryEntry Entry;
    const char* pszOwner;
    std::vector<CDeviceSetting> Settings = {};

    std::string Path() const { return g_DevicePath(Entry.eType, Entry.uIndex); }
    std::vector<CSetting> Plain() const {
        std::vector<CSetting> Plain;
        for (const CDeviceSetting& rSetting : Settings) Plain.push_back(rSetting.Setting);
        return Plain;
    }
};

/// Reads the value and takes over what the firmware says of it.
template <class TRead>
CDeviceSetting g_Reach(CSetting Setting, const CPlausible& rPlausible, const FirmwareLimits& rLimits, TRead Read,
                       std::function<bool(double)> Write) {
    const auto Told = [](double d) { return d > 0 ? std::optional(d) : std::nullopt; };
    CSetting& rSetting = Setting;
    rSetting.dTolerance = kHalfUnit;
    rSetting.Limits = {Told(rLimits.dMinimum), Told(rLimits.dMaximum)};
    if (rSetting.Limits.oMaximum && rLimits.dMinimum > rLimits.dMaximum) rSetting.Limits = {};  // they rule all out
    rSetting.oDefault = Told(rLimits.dDefault);
    rSetting.oStep = Told(rLimits.dStep);
    rSetting.Judge(Read(), rPlausible, kNoValue);
    const auto ReadJudged = [Read, rPlausible] {
        CSetting Now;
        Now.Judge(Read(), rPlausible, kNoValue);
        return Now.oValue;
    };
    return {std::move(Setting), ReadJudged, std::move(Write)};
}

std::vector<double> g_List(CClockGenerator& rGenerator, CListOperation pList) {
    uint32_t uSize = 0;
    if (!pList || !(rGenerator.*pList)(nullptr, uSize) || uSize > kLongestList) return {};
    std::vector<double> Values(uSize);
    if (!(rGenerator.*pList)(Values.data(), uSize)) return {};
    Values.resize(std::min<size_t>(uSize, Values.size()));
    std::erase_if(Values, [](double d) { return !(d > 0); });  // no clock
    return Values;
}

CFirmwareDevice g_Clocks(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceClockGen);
    if (Devices.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "this machine's firmware offers no clock generator" + CHostLibrary::FilterHint());
    return {Devices.front(), "clock generator", g_ClockSettings(Devices.front())};
}

/// "CPU VDD (core)" -> "cpu_vdd_core"; a name that others have already gets a number behind it.
std::string g_Key(const std::string& sName, const std::vector<CDeviceSetting>& rOthers) {
    std::string sKey;
    for (const char c : sName) {
        const bool bUpper = c >= 'A' && c <= 'Z', bPlain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (bUpper || bPlain)
            sKey += bUpper ? static_cast<char>(c - 'A' + 'a') : c;
        else if (!sKey.empty() && !sKey.ends_with('_'))
            sKey += '_';
    }
    if (sKey.ends_with('_')) sKey.pop_back();
    if (sKey.empty()) sKey = "voltage";
    std::string sUnique = sKey;
    const auto IsTaken = [&](const CDeviceSetting& r) { return r.Setting.sKey == sUnique; };
    for (uint32_t i = 2; std::ranges::any_of(rOthers, IsTaken); ++i) sUnique = sKey + "_" + std::to_string(i);
    return sUnique;
}

CFirmwareDevice g_Voltages(const CHostLibrary& rLibrary) {
    std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceCustomerPwm);  // it has the board's own, too
    if (Devices.empty()) Devices = rLibrary.Devices(vxtapi::kDeviceDefaultPwm);
    if (Devices.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "this machine's firmware offers no voltage controller" + CHostLibrary::FilterHint());
    return {Devices.front(), "voltage controller", g_VoltageSettings(Devices.front())};
}

void g_Report(CDocument& rDocument, const char* pszArray, const CFirmwareDevice& rDevice,
              vxttools::CFindings& rFindings) {
    const std::vector<CSetting> Settings = rDevice.Plain();
    rDocument["device"] = rDevice.Path();
    rDocument[pszArray] = g_SettingsToJson(Settings, rDevice.Path(), rFindings);
    rDocument.SetCsv(pszArray);
    g_AddSettingTable(rDocument,
                      vxttools::g_Utf8(rDevice.Entry.pDevice->GetDescription()) + ", " + rDevice.Path().substr(1),
                      Settings);
}

CChangePlan g_Plan(const CFirmwareDevice& rDevice, const std::vector<CAssignment>& rAssignments, bool bForce) {
    const std::vector<CSetting> Settings = rDevice.Plain();
    CChangePlan Plan;
    for (const CAssignment& rAssignment : rAssignments) {
        CChange Change = g_PlanSetting(Settings, rAssignment, rDevice.Path(), bForce);
        const auto it = std::ranges::find_if(
            rDevice.Settings, [&](const CDeviceSetting& r) { return r.Setting.sKey == rAssignment.sKey; });
        Change.sOwner = rDevice.pszOwner;
        Change.sDoubt = "was not taken over by the firmware";
        Change.Read = it->Read;
        Change.Write = [Write = it->Write, dValue = rAssignment.dValue] { return Write(dValue); };
        Change.Restore = it->Write;
        Plan.Add(std::move(Change));
    }
    return Plan;
}

}  // namespace

std::vector<CDeviceSetting> g_ClockSettings(const CInventoryEntry& rGenerator) {
    CClockGenerator& rDevice = *static_cast<CClockGenerator*>(rGenerator.pDevice);
    std::vector<CDeviceSetting> Clocks;
    for (const CClockRow& rRow : kClocks) {
        CSetting Clock{rRow.pszKey, rRow.pszLabel, "MHz"};
        Clock.SetLegal(g_List(rDevice, rRow.pList));
        FirmwareLimits Limits{};
        (void)rDevice.GetClockLimits(rRow.eWhich, &Limits);  // stays zero, which means not told
        Clocks.push_back(g_Reach(
            std::move(Clock), kPlausibleClock, Limits, [&rDevice, pRead = rRow.pRead] { return (rDevice.*pRead)(); },
            [&rDevice, pWrite = rRow.pWrite](double d) { return (rDevice.*pWrite)(d); }));
    }
    return Clocks;
}

std::vector<CDeviceSetting> g_VoltageSettings(const CInventoryEntry& rController) {
    CVoltageController& rDevice = *static_cast<CVoltageController*>(rController.pDevice);
    const uint32_t uCount = std::min(rDevice.GetVoltageCount(), kMostVoltages);
    std::vector<CDeviceSetting> Voltages;
    for (int32_t i = 0; i < static_cast<int32_t>(uCount); ++i) {
        const std::string sName = vxttools::g_Utf8(rDevice.GetVoltageName(i));
        FirmwareLimits Limits{};
        (void)rDevice.GetVoltageLimits(i, &Limits);
        Voltages.push_back(g_Reach(
            {g_Key(sName, Voltages), sName, "V"}, kVoltage, Limits, [&rDevice, i] { return rDevice.GetVoltage(i); },
            [&rDevice, i](double d) { return rDevice.SetVoltage(i, d); }));
    }
    return Voltages;
}

void g_AddClocks(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings) {
    g_Report(rDocument, "clocks", g_Clocks(rLibrary), rFindings);
}

void g_AddVoltages(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings) {
    g_Report(rDocument, "voltages", g_Voltages(rLibrary), rFindings);
}

CChangePlan g_PlanClockChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                               bool bForce) {
    return g_Plan(g_Clocks(rLibrary), rAssignments, bForce);
}

CChangePlan g_PlanVoltageChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                                 bool bForce) {
    return g_Plan(g_Voltages(rLibrary), rAssignments, bForce);
}

}  // namespace vxtctl
