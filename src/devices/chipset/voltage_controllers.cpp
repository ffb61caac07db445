#include "devices/chipset/voltage_controllers.h"

#include <algorithm>
#include <optional>

#include "api/log/log_checks.h"
#include "devices/chipset/firmware_units.h"
#include "firmware/wmi_values.h"
#include "registers/no_throw.h"

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

CPWMController::CPWMController(const CVoltageRules& rRules, CQORBIOSHandler& rHandler)
    : CDeviceBase(rRules.Identity), m_rRules(rRules), m_rQorBiosHandler(rHandler) {}
CCustomerPWMController::CCustomerPWMController(CQORBIOSHandler& rHandler) : CPWMController(kCustomerRules, rHandler) {}
CDefaultPWMController::CDefaultPWMController(CQORBIOSHandler& rHandler) : CPWMController(kDefaultRules, rHandler) {}

const char* CPWMController::LogClass() const { return m_rRules.pszClass; }

bool CPWMController::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    const CQORBIOSHandler& rQorBiosHandler = m_rQorBiosHandler;  // the name that the log shows
    LOG_PROCESS_ERROR(rQorBiosHandler.IsAvailable());
    const bool bRetCode = _InitFunctionTable();
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CPWMController::_InitFunctionTable() {
    CCapabilityPack pack;
    bool bRetCode = m_rQorBiosHandler.GetObjectID(pack);
    LOG_PROCESS_ERROR(bRetCode);
    m_Functions.clear();
    bRetCode = g_NoThrow([&] { m_Functions.reserve(pack.Records.size()); });
    LOG_PROCESS_ERROR(bRetCode);
    for (const CFunctionRecord& rRecord : pack.Records) {
        const auto oName = m_rRules.NameOf(rRecord);
        if (!oName) continue;
        CFunction& rFunction = m_Functions.emplace_back(CFunction{rRecord.uID, {}, {}});
        g_CopyText<wchar_t>(*oName, rFunction.szName);
        bRetCode = g_ReadFirmwareLimits(m_rQorBiosHandler, rFunction.uID, rFunction.Limits);
        LOG_CHECK_ERROR(bRetCode);
        if (rFunction.Limits.dDefault == 0.0)
            rFunction.Limits.dDefault = m_rQorBiosHandler.GetValue(rFunction.uID) / kFirmwareUnits;
    }
    m_nVoltageCount = static_cast<int32_t>(m_Functions.size());
    LOG_PROCESS_ERROR(m_nVoltageCount > 0);
    return true;
}

// The text of the index check is kept letter for letter: hosts search logs for it.
// clang-format off
const wchar_t* CPWMController::GetVoltageName(int32_t index) {
    LOG_PROCESS_ERROR_OR(L"", index >=0 && index < m_nVoltageCount);
    return m_Functions[static_cast<size_t>(index)].szName.data();
}

double CPWMController::GetVoltage(int32_t index) {
    LOG_PROCESS_ERROR(index >=0 && index < m_nVoltageCount);
    return m_rQorBiosHandler.GetValue(m_Functions[static_cast<size_t>(index)].uID) / kFirmwareUnits;
}

bool CPWMController::SetVoltage(int32_t index, double dVolts) {
    LOG_PROCESS_ERROR(index >=0 && index < m_nVoltageCount);
    return m_rQorBiosHandler.SetValue(m_Functions[static_cast<size_t>(index)].uID, g_ToFirmware(dVolts));
}

bool CPWMController::GetVoltageLimits(int32_t index, vxtapi::FirmwareLimits* pLimits) {
    LOG_PROCESS_ERROR(pLimits);
    LOG_PROCESS_ERROR(index >=0 && index < m_nVoltageCount);
    *pLimits = m_Functions[static_cast<size_t>(index)].Limits;
    return true;
}
// clang-format on

}  // namespace vxt
