#include "devices/chipset/voltage_controllers.h"

#include <algorithm>
#include <optional>

#include "devices/chipset/firmware_units.h"
#include "devices/framework/class_checks.h"
#include "firmware/wmi_values.h"

namespace vxt {

namespace {

constexpr uint32_t kFirstVoltage = 0x02010000;

struct CVoltageName {
    uint32_t uID;
    std::wstring_view sName;
};
constexpr CVoltageName kCommonVoltages[] = {
    {0x02010000, L"MemVDDQ"},   {0x02020000, L"MemVTT"},    {0x02030000, L"CPUVDDC"},
    {0x02040000, L"NBCoreVol"}, {0x02050000, L"NBPCIEVol"}, {0x02060000, L"CNBHTVol"},
};

}  // namespace

struct CVoltageRules {
    const char* pszClass;
    CDeviceIdentity Identity;
    std::span<const CVoltageName> Names;  ///< empty: every voltage, under the firmware's name

    /// Its name; nothing when the class does not drive it.
    std::optional<std::wstring_view> NameOf(const CFunctionRecord& rRecord) const {
        if (rRecord.uID < kFirstVoltage) return std::nullopt;
        if (Names.empty()) return rRecord.szID.data();
        const auto it = std::ranges::find(Names, rRecord.uID, &CVoltageName::uID);
        return it == Names.end() ? std::nullopt : std::optional(it->sName);
    }
};

namespace {

constexpr CVoltageRules kCustomerRules{.pszClass = "CCustomerPWMController",
                                       .Identity = {.eType = vxtapi::kDeviceCustomerPwm,
                                                    .pszName = L"Customer PWM Controller",
                                                    .uVersion = 1,
                                                    .pszVendor = kMakerVendor},
                                       .Names = {}};
constexpr CVoltageRules kDefaultRules{.pszClass = "CDefaultPWMController",
                                      .Identity = {.eType = vxtapi::kDeviceDefaultPwm,
                                                   .pszName = L"QOR Default PWM Controller",
                                                   .pszVendor = kMakerVendor},
                                      .Names = kCommonVoltages};

}  // namespace

CPWMController::CPWMController(const CVoltageRules& rRules) : CDeviceBase(rRules.Identity), m_rRules(rRules) {}
CCustomerPWMController::CCustomerPWMController() : CPWMController(kCustomerRules) {}
CDefaultPWMController::CDefaultPWMController() : CPWMController(kDefaultRules) {}

const char* CPWMController::_GetClassName() const { return m_rRules.pszClass; }

bool CPWMController::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    CQORBIOSHandler& rQorBiosHandler = g_GetQORBIOSHandler();
    FAMILY_PROCESS_ERROR(rQorBiosHandler.IsAvailable());
    const bool bRetCode = _InitFunctionTable();
    FAMILY_PROCESS_ERROR(bRetCode);
    return true;
}

bool CPWMController::_InitFunctionTable() {
    CQORBIOSHandler& rQorBiosHandler = g_GetQORBIOSHandler();
    CCapabilityPack pack;
    bool bRetCode = rQorBiosHandler.GetObjectID(pack);
    FAMILY_PROCESS_ERROR(bRetCode);
    m_Functions.clear();
    for (const CFunctionRecord& rRecord : pack.Records) {
        const auto oName = m_rRules.NameOf(rRecord);
        if (!oName) continue;
        CFunction& rFunction = m_Functions.emplace_back(CFunction{rRecord.uID, {}, {}});
        g_CopyText<wchar_t>(*oName, rFunction.szName);
        bRetCode = g_ReadFirmwareLimits(rQorBiosHandler, rFunction.uID, rFunction.Limits);
        FAMILY_CHECK_ERROR(bRetCode);
        if (rFunction.Limits.dDefault == 0.0)
            rFunction.Limits.dDefault = rQorBiosHandler.GetValue(rFunction.uID) / kFirmwareUnits;
    }
    m_nVoltageCount = static_cast<int32_t>(m_Functions.size());
    FAMILY_PROCESS_ERROR(m_nVoltageCount > 0);
    return true;
}

// The text is kept letter for letter: hosts search logs for it.
#define INDEX_PROCESS_ERROR_OR(bad) \
    FAMILY_CHECK_(bad, "index >=0 && index < m_nVoltageCount", __func__, index >= 0 && index < m_nVoltageCount)

const wchar_t* CPWMController::GetVoltageName(int32_t index) {
    INDEX_PROCESS_ERROR_OR(L"");
    return m_Functions[static_cast<size_t>(index)].szName.data();
}

double CPWMController::GetVoltage(int32_t index) {
    INDEX_PROCESS_ERROR_OR(0.0);
    return g_GetQORBIOSHandler().GetValue(m_Functions[static_cast<size_t>(index)].uID) / kFirmwareUnits;
}

bool CPWMController::SetVoltage(int32_t index, double dVolts) {
    INDEX_PROCESS_ERROR_OR(false);
    return g_GetQORBIOSHandler().SetValue(m_Functions[static_cast<size_t>(index)].uID, g_ToFirmware(dVolts));
}

bool CPWMController::GetVoltageLimits(int32_t index, vxtapi::FirmwareLimits* pLimits) {
    FAMILY_PROCESS_ERROR(pLimits);
    INDEX_PROCESS_ERROR_OR(false);
    *pLimits = m_Functions[static_cast<size_t>(index)].Limits;
    return true;
}

}  // namespace vxt
