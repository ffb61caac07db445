#include "machine_profile.h"

#include <algorithm>

#include "common/text.h"
#include "core_family.h"
#include "core_limits.h"
#include "cpu_report.h"
#include "device_types.h"
#include "firmware_settings.h"
#include "link_settings.h"
#include "memory_settings.h"

namespace vxtctl {

using vxtapi::CCPU;

namespace {

/// The library passes any other over; null: there is none.
vxtapi::CGraphicsProcessor* g_IntegratedGraphics(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceGpu);
    auto* const pGpu = Devices.empty() ? nullptr : static_cast<vxtapi::CGraphicsProcessor*>(Devices.front().pDevice);
    return pGpu && pGpu->IsIntegrated() ? pGpu : nullptr;
}

/// Gathers the settings, device by device, in the order in which the library applies them.
class CGathering {
public:
    explicit CGathering(const CHostLibrary& rLibrary) : m_rLibrary(rLibrary) {
        _AddSwitches();
        _AddCores();
        if (auto oClock = g_FirstLinkClock(rLibrary))
            _Add({std::move(*oClock),
                  {vxtapi::kProfileLinkSection, _Name(vxtapi::kDeviceHtLink), vxtapi::kProfileLinkMultiplier},
                  g_DevicePath(vxtapi::kDeviceHtLink, 0) + "/link/0",
                  "link 0"});
        _AddClocks();
        _AddGraphics();
        _AddVoltages();
        _AddMemory();
    }
    std::vector<CProfileSetting> Take() { return std::move(m_Settings); }

private:
    void _AddSwitches();
    void _AddCores();
    void _AddClocks();
    void _AddGraphics();
    void _AddVoltages();
    void _AddMemory();

    std::wstring _Name(vxtapi::eDeviceType eType) const { return m_rLibrary.Devices(eType).front().pDevice->GetName(); }
    /// A setting below the section that is called like the device's type.
    CProfileSetting* _AddBelowType(const CInventoryEntry& rEntry, const wchar_t* pszKey, const char* pszOwner,
                                   CDeviceSetting Reached) {
        return _Add({std::move(Reached),
                     {rEntry.pDevice->GetTypeName(), rEntry.pDevice->GetName(), pszKey},
                     g_DevicePath(rEntry.eType, rEntry.uIndex),
                     pszOwner});
    }
    CProfileSetting* _Add(CProfileSetting Added);

    const CHostLibrary& m_rLibrary;
    std::vector<CProfileSetting> m_Settings;
};

/// Null when the machine cannot have it.
CProfileSetting* CGathering::_Add(CProfileSetting Added) {
    if (Added.Setting.oFixed) return nullptr;
    if (g_FindSetting(m_Settings, Added)) Added.eApplied = EApplied::kByAnother;
    return &m_Settings.emplace_back(std::move(Added));
}

void CGathering::_AddSwitches() {
    using CState = bool[2];
    struct CRow {
        const char *pszKey, *pszLabel;
        const wchar_t *pszProfileKey, *pszOther;
    };
    constexpr CRow kRows[] = {
        {"clock_divisor", kClockDivisorLabel, vxtapi::kProfileClockDivisor, vxtapi::kProfileTlbCaching},
        {"tlb_caching", kTlbCachingLabel, vxtapi::kProfileTlbCaching, vxtapi::kProfileClockDivisor},
    };
    for (const CInventoryEntry& rCore : m_rLibrary.Devices(vxtapi::kDeviceCpu)) {
        CCPU& rCpu = *static_cast<CCPU*>(rCore.pDevice);
        if (!g_IsOneOf(g_Family(rCpu), kOnly10h)) continue;
        for (size_t i = 0; i < std::size(kRows); ++i) {
            const CRow& rRow = kRows[i];
            const auto Read = [&rCpu, i]() -> std::optional<double> {
                CState State{};
                if (!rCpu.GetBoostState(&State[0], &State[1])) return std::nullopt;
                return State[i];
            };
            const auto Write = [&rCpu, i](double dValue) {
                CState State{};
                if (!rCpu.GetBoostState(&State[0], &State[1])) return false;
                State[i] = dValue != 0;
                return rCpu.SetBoostState(State[0], State[1]);
            };
            CSetting Setting{.sKey = rRow.pszKey, .sLabel = rRow.pszLabel, .sUnit = "", .oValue = Read()};
            Setting.bSwitch = true;
            Setting.Legal = {0, 1};
            if (!Setting.oValue) Setting.Fail(vxttools::kNotRead);
            CProfileSetting* const pAdded = _Add({{std::move(Setting), Read, Write},
                                                  vxtapi::kProfileCpuSection,
                                                  rCpu.GetName(),
                                                  rRow.pszProfileKey,
                                                  g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex),
                                                  "core " + std::to_string(rCore.uIndex)});
            pAdded->sPairKey = rRow.pszOther;
        }
    }
}

void CGathering::_AddCores() {
    const std::vector<CInventoryEntry> Cores = m_rLibrary.Devices(vxtapi::kDeviceCpu);
    for (const CInventoryEntry& rCore : Cores) {
        if (rCore.uIndex >= std::size(vxtapi::kProfileMultipliers)) break;
        CCPU& rCpu = *static_cast<CCPU*>(rCore.pDevice);
        const CCoreLimits Limits(rCpu);
        const auto Add = [&](CSetting Setting, const wchar_t* pszElement, const wchar_t* pszKey,
                             std::optional<double> (*pRead)(CCPU&), bool (CCPU::*pWrite)(double)) {
            if (!Setting.oValue) Setting.Fail(vxttools::kNotRead);
            return _Add({{std::move(Setting), [&rCpu, pRead] { return pRead(rCpu); },
                          [&rCpu, pWrite](double d) { return (rCpu.*pWrite)(d); }},
                         {vxtapi::kProfileCpuSection, pszElement, pszKey},
                         g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex),
                         "core " + std::to_string(rCore.uIndex)});
        };
        // Core 0's voltages are everybody's.
        const wchar_t* const pszFirst = Cores.front().pDevice->GetName();
        Add(Limits.Multiplier, rCpu.GetName(), vxtapi::kProfileMultipliers[rCore.uIndex], g_ReadMultiplier,
            &CCPU::SetCurrentMultiplier);
        Add(Limits.Voltage, pszFirst, vxtapi::kProfileCpuVoltage, g_ReadVoltage, &CCPU::SetCurrentVoltage)->bZeroKeeps =
            true;
        if (g_IsOneOf(g_Family(rCpu), kOnly10h))
            Add(Limits.NbVoltage, pszFirst, vxtapi::kProfileNbVoltage, g_ReadNbVoltage, &CCPU::SetCurrentNBVoltage)
                ->bZeroKeeps = true;
    }
}

void CGathering::_AddClocks() {
    const std::vector<CInventoryEntry> Devices = m_rLibrary.Devices(vxtapi::kDeviceClockGen);
    if (Devices.empty()) return;
    std::vector<CDeviceSetting> Clocks = g_ClockSettings(Devices.front());
    constexpr const wchar_t* kKeys[] = {vxtapi::kProfileExternalClock, vxtapi::kProfilePCIeClock};
    for (size_t i = 0; i < std::size(kKeys); ++i)
        _AddBelowType(Devices.front(), kKeys[i], "clock generator", std::move(Clocks[i]));
}

void CGathering::_AddGraphics() {
    vxtapi::CGraphicsProcessor* const pGpu = g_IntegratedGraphics(m_rLibrary);
    if (!pGpu) return;
    const auto Read = [pGpu] {
        CSetting Now;
        Now.Judge(pGpu->GetEngineClock(), vxttools::kPlausibleClock, vxttools::kNotRead);
        return Now.oValue;
    };
    CSetting Setting{.sKey = "engine_clock", .sLabel = "Integrated graphics clock", .sUnit = "MHz", .oValue = Read()};
    if (!Setting.oValue) Setting.Fail(vxttools::kNotRead);
    if (vxtapi::EngineClockLimits Told{}; pGpu->GetEngineClockLimits(&Told)) {
        Setting.Limits = {Told.dLowest, Told.dHighest};
        if (Told.dStep != 0) Setting.oStep = Told.dStep;
    }
    _AddBelowType(m_rLibrary.Devices(vxtapi::kDeviceGpu).front(), vxtapi::kProfileEngineClock, "graphics",
                  {std::move(Setting), Read, [pGpu](double d) { return pGpu->SetEngineClock(d); }});
}

void CGathering::_AddVoltages() {
    for (const auto eType : {vxtapi::kDeviceCustomerPwm, vxtapi::kDeviceDefaultPwm}) {
        const std::vector<CInventoryEntry> Devices = m_rLibrary.Devices(eType);
        if (Devices.empty()) continue;
        auto& rController = *static_cast<vxtapi::CVoltageController*>(Devices.front().pDevice);
        std::vector<CDeviceSetting> Voltages = g_VoltageSettings(Devices.front());
        const auto Add = [&](size_t i) {
            _AddBelowType(Devices.front(), rController.GetVoltageName(static_cast<int32_t>(i)),
                          eType == vxtapi::kDeviceCustomerPwm ? "voltage controller" : "common voltages",
                          std::move(Voltages[i]));
        };
        if (eType == vxtapi::kDeviceCustomerPwm) {
            for (size_t i = 0; i < Voltages.size(); ++i) Add(i);
            continue;
        }
        for (const wchar_t* const pszName : vxtapi::kProfileVoltages)
            for (size_t i = 0; i < Voltages.size(); ++i)
                if (std::wstring_view(rController.GetVoltageName(static_cast<int32_t>(i))) == pszName) {
                    Add(i);
                    break;  // the library takes the first one of a name
                }
    }
}

void CGathering::_AddMemory() {
    const std::vector<CInventoryEntry> Devices = m_rLibrary.Devices(vxtapi::kDeviceMemoryController);
    if (Devices.empty()) return;
    const std::vector<CMemorySetting> Settings = g_MemorySettings(m_rLibrary);
    const auto Add = [&](const auto& rFields, bool bIsTiming) {
        for (const vxtapi::ProfileField& rField : rFields)
            for (const CMemorySetting& rSetting : Settings) {
                if (rSetting.bIsTiming != bIsTiming || rSetting.uOffset != rField.uOffset) continue;
                CProfileSetting* const pAdded = _AddBelowType(Devices.front(), rField.pszKey, "memory", rSetting);
                if (!pAdded || pAdded->eApplied != EApplied::kByAnother) continue;
                pAdded->eApplied = EApplied::kByTool;
                pAdded->sSharedKey = std::exchange(pAdded->sKey, kReadToWriteKey);
            }
    };
    Add(vxtapi::kProfileTimings, true);
    Add(vxtapi::kProfileConfiguration, false);
}

}  // namespace

std::vector<CProfileSetting> g_MachineProfile(const CHostLibrary& rLibrary) { return CGathering(rLibrary).Take(); }

const CProfileSetting* g_FindSetting(const std::vector<CProfileSetting>& rMachine, const CProfileNames& rNames) {
    const auto it = std::ranges::find_if(rMachine, [&](const CProfileSetting& r) { return r.IsSame(rNames); });
    return it == rMachine.end() ? nullptr : &*it;
}

std::vector<CUnheld> g_Unheld(const CHostLibrary& rLibrary) {
    constexpr size_t kCores = std::size(vxtapi::kProfileMultipliers);
    std::vector<CUnheld> Unheld;
    for (const CInventoryEntry& rCore : rLibrary.Devices(vxtapi::kDeviceCpu))
        if (rCore.uIndex >= kCores)
            Unheld.push_back(
                {g_DevicePath(rCore.eType, rCore.uIndex) + "/multiplier", "Multiplier",
                 "profiles keep multipliers and voltages of the first " + std::to_string(kCores) + " cores only"});
    for (const CInventoryEntry& rGenerator : rLibrary.Devices(vxtapi::kDeviceClockGen)) {
        const CSetting Third = g_ClockSettings(rGenerator).back().Setting;
        if (Third.oValue)
            Unheld.push_back({g_DevicePath(rGenerator.eType, rGenerator.uIndex) + "/" + Third.sKey, Third.sLabel,
                              "profiles have no key for it"});
    }
    return Unheld;
}

}  // namespace vxtctl
